/**
 * @file
 * The two protocol families: `Igmp` and `Mld` name each side's records by the same words, and nothing else.
 *
 * Code that is the same for both is written once over a family `F`; where the families differ, the difference stands
 * in that code, marked as intended.
 */
#ifndef MCADAPT_CORE_FAMILIES_H
#define MCADAPT_CORE_FAMILIES_H

#include <cstdint>

#include "mcadapt/packet_path.h"
#include "mcadapt/records.h"

namespace mcadapt {

using RuleRow = vlanCfgNode[MC_RULES_PER_PORT];
using RuleTable = vlanCfgNode[MC_LOGIC_PORTS][MC_RULES_PER_PORT];

struct Igmp {
    static constexpr bool kMld = false;
    static uint32_t &debug() { return mc_debug; }
    static portStateNode (&ports())[MC_LOGIC_PORTS] { return portState; }
    static RuleTable &rules() { return PortVlanCfg; }
    static int32_t (&rule_counts())[MC_LOGIC_PORTS] { return setVlanCfgNumber; }
    static uint16_t (&template_vlans())[MC_TEMPLATE_VLANS] { return PortVlan; }
    static int32_t &template_count() { return setVlanNumber; }
    static uint32_t &set_by_mode() { return flag_omci_version; }
    static uint32_t &test_uplink() { return testuplink; }
    static uint8_t &source_port() { return srcPortNum; }
    static uint8_t (&mac())[6] { return sys_mac; }
    static int32_t send(const uint8_t *frame, uint16_t length, uint16_t port)
    {
        return l2_igmp_send_pkt(frame, length, port);
    }
};

struct Mld {
    static constexpr bool kMld = true;
    static uint32_t &debug() { return mld_debug; }
    static portStateNode (&ports())[MC_LOGIC_PORTS] { return mldInitParams.mldPortState; }
    static RuleTable &rules() { return mldInitParams.mldPortVlanCfg; }
    static int32_t (&rule_counts())[MC_LOGIC_PORTS] { return mldInitParams.mldSetVlanCfgNumber; }
    static uint32_t (&template_vlans())[MC_TEMPLATE_VLANS] { return mldInitParams.mldVlanList; }
    static int32_t &template_count() { return mldInitParams.setVlanNumber; }
    static uint32_t &set_by_mode() { return mldInitParams.mldOmciVersion; }
    static uint32_t &test_uplink() { return mldInitParams.mldTestUplink; }
    static uint8_t &source_port() { return mldInitParams.mldSrcPortNum; }
    static uint8_t (&mac())[6] { return mld_sys_mac; }
    static int32_t send(const uint8_t *frame, uint16_t length, uint16_t port)
    {
        return mld_l2_igmp_send_pkt(frame, length, port);
    }
};

} // namespace mcadapt

#endif
