/**
 * @file
 * Port numbers, and the logic port that a switch port number stands for.
 */
#ifndef MCADAPT_CORE_PORTS_H
#define MCADAPT_CORE_PORTS_H

#include <cstdint>

#include "core/families.h"

namespace mcadapt {

/** The uplink, and the highest switch port there is. */
constexpr uint32_t kUplinkPort = 29;
/** The engine's number for the uplink. */
constexpr uint32_t kEngineUplinkPort = 0xFFFF;
constexpr int kNoLogicPort = -1;

/** Finds the logic port of a switch port; `kNoLogicPort` when it is not configured. Prints nothing. */
template <class F> inline int find_logic_port(uint32_t port)
{
    const portStateNode(&ports)[MC_LOGIC_PORTS] = F::ports();
    if (port == ports[0].portNo)
        return 0;
    if (port == ports[1].portNo)
        return 1;
    return kNoLogicPort;
}

/** As `find_logic_port`, but refuses ports above 29 first; each refusal is logged as an error. */
template <class F> int check_port_state(uint32_t port);

/** As `check_port_state`, with the line that the management operations add to a refusal. */
int check_management_port(uint32_t port);

template <class F> inline bool is_uplink(int logic_port)
{
    return F::ports()[logic_port].portType == MC_PORT_TYPE_UPLINK;
}

} // namespace mcadapt

#endif
