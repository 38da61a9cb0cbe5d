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
    static auto &debug() { return mc_debug; }
    static auto &ports() { return portState; }
    static RuleTable &rules() { return PortVlanCfg; }
    static auto &rule_counts() { return setVlanCfgNumber; }
    static auto &template_vlans() { return PortVlan; }
    static auto &template_count() { return setVlanNumber; }
    static auto &set_by_mode() { return flag_omci_version; }
    static auto &test_uplink() { return testuplink; }
    static auto &source_port() { return srcPortNum; }
    static auto &mac() { return sys_mac; }
    static int32_t send(const uint8_t *frame, uint16_t length, uint16_t port)
    {
        return l2_igmp_send_pkt(frame, length, port);
    }
};

struct Mld {
    static constexpr bool kMld = true;
    static auto &debug() { return mld_debug; }
    static auto &ports() { return mldInitParams.mldPortState; }
    static RuleTable &rules() { return mldInitParams.mldPortVlanCfg; }
    static auto &rule_counts() { return mldInitParams.mldSetVlanCfgNumber; }
    static auto &template_vlans() { return mldInitParams.mldVlanList; }
    static auto &template_count() { return mldInitParams.setVlanNumber; }
    static auto &set_by_mode() { return mldInitParams.mldOmciVersion; }
    static auto &test_uplink() { return mldInitParams.mldTestUplink; }
    static auto &source_port() { return mldInitParams.mldSrcPortNum; }
    static auto &mac() { return mld_sys_mac; }
    static int32_t send(const uint8_t *frame, uint16_t length, uint16_t port)
    {
        return mld_l2_igmp_send_pkt(frame, length, port);
    }
};

} // namespace mcadapt

#endif
