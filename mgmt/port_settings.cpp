/**
 * @file
 * Per-port settings: group limit, fast leave, bandwidth, and the control list of channels.
 */
#include "core/counts.h"
#include "core/limits.h"
#include "core/log.h"
#include "core/ports.h"
#include "mcadapt/omci.h"
#include "mcadapt/std_omci.h"
#include "platform/protocol_engine.h"

namespace mcadapt {

static int find_limit_port(uint32_t port)
{
    if (port > kHighestLimitPort) {
        LOG_ERROR(Igmp, "\n omci_set_port_igmpgroup_limit port is invalid .\n");
        return kNoLogicPort;
    }
    return check_management_port(port);
}

// The engine's kind of a control-list option.
static uint32_t control_kind(uint32_t opt)
{
    if (opt == 0)
        return 1;
    return opt == 1 ? 0 : 2;
}

} // namespace mcadapt

using namespace mcadapt;

int32_t omci_set_port_igmpgroup_limit(uint32_t port, int32_t limit)
{
    LOG_CONFIG(Igmp, "omci_set_port_igmpgroup_limit is in! group num = %d port = %d\n", limit, port);
    const int logic_port = find_limit_port(port);
    if (logic_port == kNoLogicPort)
        return -1;
    if (limit == 0)
        limit = kNoGroupLimit;
    globle_parm.port[logic_port].grouplimit = static_cast<uint16_t>(limit);
    if (grp_info *const status = mc_status_global)
        status->statusGroupLimit[logic_port] = static_cast<uint32_t>(limit);
    const int32_t status = byte_status(igmp_if_max_group_num_set(port, limit));
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_if_max_group_num_set Fail");
    return status;
}

int32_t std_omci_set_port_igmpgroup_limit(uint32_t port, int32_t limit)
{
    LOG_TRACE(Igmp, "std_omci_set_port_igmpgroup_limit is in!\n");
    const int32_t status = omci_set_port_igmpgroup_limit(port, limit);
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!std_omci_set_port_igmpgroup_limit Fail");
    return status;
}

int32_t omci_get_port_igmpgroup_limit(uint32_t port, uint16_t *out)
{
    LOG_CONFIG(Igmp, "[omci_get_port_igmpgroup_limit]: port %d.\r\n", port);
    // intended: indexed by the number given, not by its logic port; the mode word lies behind the two limits
    uint32_t limit = 0;
    const grp_info *const status = mc_status_global;
    if (status != nullptr && port < MC_LOGIC_PORTS)
        limit = status->statusGroupLimit[port];
    else if (status != nullptr && port == MC_LOGIC_PORTS)
        limit = status->statusMode;
    *out = static_cast<uint16_t>(limit);
    return 0;
}

int32_t omci_set_port_igmp_leave_mode(uint32_t port, uint32_t enable)
{
    LOG_CONFIG(Igmp, "omci_set_port_igmp_leave_mode  port=%d leave mode = %d\n", port, enable);
    const int logic_port = check_management_port(port);
    if (logic_port == kNoLogicPort)
        return -1;
    globle_parm.port[logic_port].leavemod = static_cast<uint16_t>(enable);
    const int32_t status = byte_status(igmp_if_fast_leave_enable(port, enable));
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_if_fast_leave_enable Fail");
    return status;
}

int32_t std_max_multi_bandwidth_limit(uint32_t port, uint32_t enable, uint32_t maxBandwidth, uint32_t vlan)
{
    LOG_CONFIG(Igmp, "\n [std_max_multi_bandwidth_limit] portNo = %d,enable = %d,max_bandwidth = %d,vlan = %d", port,
               enable, maxBandwidth, vlan);
    const int logic_port = check_management_port(port);
    if (logic_port == kNoLogicPort)
        return -1;
    globle_parm.port[logic_port].max_bandwidth = maxBandwidth;
    if (igmp_if_max_bandwidth_set(port, enable, maxBandwidth, vlan) != 0)
        LOG_ERROR(Igmp, "\n ERROR!tarvomax_multi_bandwidth_limit Fail");
    return 0; // intended: also when the engine refuses
}

int32_t omci_set_port_to_control_multicast_list_table(uint32_t port, uint32_t opt, uint32_t dsVlan, uint32_t first,
                                                      uint32_t last)
{
    LOG_CONFIG(Igmp, "\n omci_set_port_to_control_multicast_list_table is in\tport(%d) opt(%d) ds_vlan(%d)", port, opt,
               dsVlan);
    int32_t status = 0;
    // intended: the index wraps, so a last one of 0xFFFFFFFF is never passed
    for (uint32_t index = first; index <= last; ++index) {
        status = igmp_set_multicast_control(port, control_kind(opt), static_cast<uint16_t>(dsVlan), index);
        if (status != 0)
            LOG_ERROR(Igmp, "\n ERROR!igmp_set_multicast_control port(%d) Fail", port);
    }
    return status;
}
