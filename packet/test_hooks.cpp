/**
 * @file
 * Test and tuning hooks of the packet path: plain stores.
 */
#include "mcadapt/engine_callbacks.h"
#include "mcadapt/records.h"

int32_t igmp_set_table_return(uint32_t value)
{
    tablereturn = value == 0 ? 0 : 1;
    return static_cast<int32_t>(tablereturn);
}

int32_t igmp_adapt_set_test_uplink(uint32_t port)
{
    testuplink = port;
    return 0;
}

int32_t igmp_adapt_set_sig_vlan(uint32_t index, uint32_t up, uint32_t second, uint32_t down)
{
    if (index >= MC_LOGIC_PORTS)
        return 0;
    portParm &port = globle_parm.port[index];
    port.svlan = up == 0 ? MC_NO_VLAN : static_cast<uint16_t>(up); // 0 is tested before it is cut
    port.svlan_s = static_cast<uint16_t>(second);
    port.cvlan = static_cast<uint16_t>(down);
    return 0;
}

void igmp_adapt_set_pkt_process_disable(uint8_t flag) { globle_parm.pkt_process_disable = flag; }
