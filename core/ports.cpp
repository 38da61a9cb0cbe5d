#include "core/ports.h"

#include "core/log.h"

namespace mcadapt {

template <class F> int check_port_state(uint32_t port)
{
    if (port > kUplinkPort) {
        LOG_ERROR(F, "\n port(%d) is invalid!", port);
        return kNoLogicPort;
    }
    const int logic_port = find_logic_port<F>(port);
    if (logic_port == kNoLogicPort)
        LOG_ERROR(F, "\n [checkPortState]port(%d) is not find!", port);
    return logic_port;
}

template int check_port_state<Igmp>(uint32_t port);
template int check_port_state<Mld>(uint32_t port);

int check_management_port(uint32_t port)
{
    const int logic_port = check_port_state<Igmp>(port);
    if (logic_port == kNoLogicPort)
        LOG_ERROR(Igmp, "port number is invalid!\r\n");
    return logic_port;
}

} // namespace mcadapt
