/**
 * @file
 * Configuration reset: the whole IGMP side, or one parameter of a port. MLD keeps what it holds.
 */
#include "core/counts.h"
#include "core/limits.h"
#include "core/log.h"
#include "core/ports.h"
#include "core/start_state.h"
#include "mcadapt/omci.h"
#include "mcadapt/startup.h"
#include "platform/protocol_engine.h"

namespace mcadapt {

static constexpr uint32_t kResetFastLeave = 0;
static constexpr uint32_t kResetGroupLimit = 2;

} // namespace mcadapt

using namespace mcadapt;

void omci_clear_igmp_all_parmeter()
{
    LOG_CONFIG(Igmp, "omci_clear_igmp_all_parmeter \n");
    clear_rules<Igmp>();
    clear_template_list();
    const int32_t status = byte_status(igmp_vlan_del_all());
    if (status != 0)
        LOG_ERROR(Igmp, "igmp_vlan_del_all is error! ret = %d\r\n", status);
    initIgmpGlobleParmeter();
    igmp_del_all_group();
}

int32_t omci_clear_igmp_parmeter(uint32_t port, uint32_t type)
{
    LOG_CONFIG(Igmp, "\n omci_clear_igmp_parmeter is in port = %d type = %d.\n", port, type);
    if (port > kHighestLimitPort) {
        LOG_ERROR(Igmp, "\n omci_clear_igmp_parmeter port is invalid .\n");
        return -1;
    }
    if (type != kResetFastLeave && type != kResetGroupLimit)
        return 0;
    const int logic_port = check_management_port(port);
    if (logic_port == kNoLogicPort)
        return -1;

    if (type == kResetFastLeave) {
        globle_parm.port[logic_port].leavemod = 0;
        igmp_if_fast_leave_enable(port, 0);
        return 0;
    }
    globle_parm.port[logic_port].grouplimit = kNoGroupLimit;
    if (grp_info *const status = mc_status_global)
        status->statusGroupLimit[logic_port] = kNoGroupLimit;
    igmp_if_max_group_num_set(port, kNoGroupLimit);
    return 0;
}
