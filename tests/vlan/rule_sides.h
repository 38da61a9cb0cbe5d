/**
 * @file
 * The two families of the rule operations under one set of names, and a fixture for tests of either.
 *
 * `RuleInstallBoth` and `RuleRemovalBoth` hold what the families have in common. Where they differ, each has cases of
 * its own: `RuleInstall` and `MldRuleInstall`, `RuleRemoval` and `MldRuleRemoval`.
 */
#ifndef MCADAPT_TESTS_VLAN_RULE_SIDES_H
#define MCADAPT_TESTS_VLAN_RULE_SIDES_H

#include <cstdint>
#include <string>
#include <vector>

#include "support/library_test.h"
#include "support/matchers.h"
#include "vlan/expected_log.h"
#include "vlan/rule_cases.h"

namespace mcadapt::test {

struct MldRules;

struct IgmpRules {
    using Other = MldRules;
    using Vlan = uint16_t;
    static constexpr char kName[] = "Igmp";
    static constexpr char kTrace[] = "\r\n[MC_DBG_DBG]: ";
    static constexpr char kConfig[] = "\r\n[MC_DBG_CFG]: ";
    static constexpr char kReleasingCall[] = "igmp_vlan_del";
    static constexpr bool kAsksForUplink = true;      // and turns VLAN learning on with EPON
    static constexpr bool kNormalisesInPlace = false; // works on a copy

    static int32_t install(const vlanCfgNode &rule) { return std_omci_set_multicast_vlan_onu(&rule); }
    static int32_t remove(const vlanCfgNode &rule) { return std_omci_delete_multicast_vlan_onu(&rule); }

    /** Not 0 once rules were set by mode. */
    static auto &by_mode() { return flag_omci_version; }
    /** Rule changes are traced while it is 1. */
    static void set_change_traces(uint32_t value) { igmp_adapt = static_cast<int32_t>(value); }
    static auto &default_vlan() { return globle_parm.defaultVlan; }
    static auto &ports() { return portState; }
    static auto &table() { return PortVlanCfg; }
    static auto &rule_counts() { return setVlanCfgNumber; }
    /** The VLAN list that the intake searches, the one beside it, and their count. */
    static auto &list() { return PortVlan; }
    static auto &list_beside() { return globle_parm.TemplateVlan; }
    static auto &list_count() { return setVlanNumber; }

    static void put_table_row(int logic_port, const std::vector<vlanCfgNode> &rules) { put_rules(logic_port, rules); }
    static void put_lists(const std::vector<uint16_t> &vlans) { put_template_vlans(vlans); }
    static std::vector<vlanCfgNode> live(int logic_port) { return live_rules(logic_port); }
    static std::vector<Vlan> listed() { return template_vlans(); }

    /** The fields written when a rule is stored or cleared, in the order in which changes are told. */
    static Fields rule_and_count(const std::string &logic_port, const std::string &position)
    {
        return rule_fields("PortVlanCfg[" + logic_port + "][" + position + "]") +
               Fields{"setVlanCfgNumber[" + logic_port + "]"};
    }

    static std::string registers(int vlan) { return "igmp_vlan_add(" + std::to_string(vlan) + ")"; }
    static std::string releases(int vlan) { return "igmp_vlan_del(" + std::to_string(vlan) + ")"; }

    /** How an operation with `plain_rule(port)` begins once rules were set by mode. */
    static Log install_head(int port, int logic_port)
    {
        return {cfg("[onu_std_omci_set_multicast_vlan]: is in! port_index = "
                    "%d,1, 101, 102, 5, 103, 104, 6, 105, 106.\r\n",
                    port),
                called("vx_hal_nni_upmode_get()"), dbg("\n logicPort is %d", logic_port)};
    }
    static Log removal_head(int port, int logic_port)
    {
        return {cfg("[onu_std_omci_delete_multicast_vlan] is in! port_index = "
                    "%d,1, 101, 102, 5, 103, 104, 6, 105, 106.\r\n",
                    port),
                dbg("\n logicPort is %d", logic_port), dbg("sortPortVlanCfg usport = %d\r\n", port),
                dbg("checkPortlogic logicPort = %d\r\n", logic_port)};
    }
    static LogPart scans(int vlan) { return dbg("***portVlan[j]= %d", vlan); }
    static LogPart still_used() { return dbg("\nIsSameVlanExist is find"); }
    /** How an install ends. intended: after a success too */
    static Log install_end() { return {err("\n PortVlan storege is wrong!")}; }

    /** What a removal returns of the engine's answer. intended: no refusal shows */
    static int32_t removal_result(int32_t) { return 0; }
};

struct MldRules {
    using Other = IgmpRules;
    using Vlan = uint32_t;
    static constexpr char kName[] = "Mld";
    static constexpr char kTrace[] = "\r\n[MC_MLD_DBG_DBG]: ";
    static constexpr char kConfig[] = "\r\n[MC_MLD_DBG_CFG]: ";
    static constexpr char kReleasingCall[] = "mld_pack_set_mc_vlan";
    static constexpr bool kAsksForUplink = false;
    static constexpr bool kNormalisesInPlace = true; // intended: the caller's record

    static int32_t install(vlanCfgNode &rule) { return mld_onu_std_omci_set_multicast_vlan(&rule); }
    static int32_t remove(vlanCfgNode &rule) { return mld_onu_std_omci_delete_multicast_vlan(&rule); }

    static auto &by_mode() { return mldInitParams.mldOmciVersion; }
    static void set_change_traces(uint32_t value) { mldInitParams.mldAdapt = value; }
    static auto &default_vlan() { return mldInitParams.defaultVlan; }
    static auto &ports() { return mldInitParams.mldPortState; }
    static auto &table() { return mldInitParams.mldPortVlanCfg; }
    static auto &rule_counts() { return mldInitParams.mldSetVlanCfgNumber; }
    static auto &list() { return mldInitParams.mldVlanList; }
    static auto &list_beside() { return mldInitParams.mldTemplateVlan; }
    static auto &list_count() { return mldInitParams.setVlanNumber; }

    static void put_table_row(int logic_port, const std::vector<vlanCfgNode> &rules)
    {
        put_mld_rules(logic_port, rules);
    }
    static void put_lists(const std::vector<uint16_t> &vlans) { put_mld_template_vlans(vlans); }
    static std::vector<vlanCfgNode> live(int logic_port) { return live_mld_rules(logic_port); }
    static std::vector<Vlan> listed() { return mld_vlans(); }

    static Fields rule_and_count(const std::string &logic_port, const std::string &position)
    {
        return Fields{"mldInitParams.mldSetVlanCfgNumber[" + logic_port + "]"} +
               rule_fields("mldInitParams.mldPortVlanCfg[" + logic_port + "][" + position + "]");
    }

    static std::string registers(int vlan) { return "mld_pack_set_mc_vlan(1, " + std::to_string(vlan) + ")"; }
    static std::string releases(int vlan) { return "mld_pack_set_mc_vlan(0, " + std::to_string(vlan) + ")"; }

    static Log install_head(int port, int logic_port)
    {
        return {mld_dbg("mld_onu_std_omci_set_multicast_vlan is in! port_index = %d\n", port),
                mld_dbg("mld logicPort is %d\r\n", logic_port), mld_dbg("mld vlancfgtem(0)\r\n")};
    }
    /** intended: without the word "mld" that the install's lines carry, and the compaction lines come twice */
    static Log removal_head(int port, int logic_port)
    {
        const Log compaction = {mld_dbg("mldsortPortVlanCfg usport = %d\r\n", port),
                                mld_dbg("checkPortlogic logicPort = %d\r\n", logic_port)};
        return Log{mld_dbg("onu_std_omci_delete_multicast_vlan is in! port_index = %d\n", port),
                   mld_dbg("\n logicPort is %d", logic_port)} +
               compaction + compaction;
    }
    static LogPart scans(int vlan) { return mld_cfg("***mld portVlan[j]= %d", vlan); }
    static LogPart still_used() { return mld_dbg("\nIsSameVlanExist is find"); }
    static Log install_end() { return {}; }

    static int32_t removal_result(int32_t answer) { return answer; }
};

template <class Side> class RuleTest : public LibraryTest {
protected:
    static Observed<int32_t> install(vlanCfgNode given) { return install_in_place(given); }
    static Observed<int32_t> install_in_place(vlanCfgNode &given)
    {
        return observe([&] { return Side::install(given); });
    }
    static Observed<int32_t> remove(vlanCfgNode given) { return remove_in_place(given); }
    static Observed<int32_t> remove_in_place(vlanCfgNode &given)
    {
        return observe([&] { return Side::remove(given); });
    }

    /** The same but for the question for the uplink, with which every IGMP install begins. */
    static Observed<int32_t> without_uplink_question(Observed<int32_t> seen)
    {
        if (Side::kAsksForUplink) {
            EXPECT_EQ(seen.calls.at(0), "vx_hal_nni_upmode_get()");
            seen.calls.erase(seen.calls.begin());
        }
        return seen;
    }

    /** Runs an operation from the state of `SetUp` under every pair of masks. */
    template <class Operation> void expect_under_all_masks(Operation operation, const Log &whole_pass, int32_t result)
    {
        for (const auto &[igmp_mask, mld_mask] : all_log_masks()) {
            SCOPED_TRACE("mc_debug " + std::to_string(igmp_mask) + ", mld_debug " + std::to_string(mld_mask));
            SetUp();
            mc_debug = igmp_mask;
            mld_debug = mld_mask;

            const Observed<int32_t> seen = operation();

            EXPECT_EQ(seen.trace, log_of(whole_pass));
            EXPECT_EQ(seen.result, result);
        }
    }

    /** Runs `body` for one row after the other, from the state of `SetUp` and with the trace lines logged. */
    template <class Rows, class Body> void for_each_traced(const Rows &rows, Body body)
    {
        for (const auto &row : rows) {
            SCOPED_TRACE(::testing::PrintToString(row));
            SetUp();
            traces_logged();
            body(row);
        }
    }

    static void expect_refused(const Observed<int32_t> &seen, const Log &trace)
    {
        EXPECT_EQ(seen.result, -1);
        EXPECT_EQ(seen.trace, log_of(trace));
        EXPECT_THAT(seen.changed, ::testing::IsEmpty());
    }

    /** Entries that are not named are 0. */
    static void expect_lists(std::vector<typename Side::Vlan> list, std::vector<uint16_t> beside, int32_t count)
    {
        list.resize(16);
        beside.resize(16);
        EXPECT_THAT(Side::list(), ::testing::ElementsAreArray(list));
        EXPECT_THAT(Side::list_beside(), ::testing::ElementsAreArray(beside));
        EXPECT_EQ(Side::list_count(), count);
    }
};

using RuleSides = ::testing::Types<IgmpRules, MldRules>;

struct RuleSideName {
    template <class Side> static std::string GetName(int) { return Side::kName; }
};

} // namespace mcadapt::test

#endif
