/** The MLD rule removal, what only this family does: at most one rule goes, and the release's status is returned. */
#include "vlan/rule_sides.h"

namespace mcadapt::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class MldRuleRemoval : public RuleTest<MldRules> {};

// --- Whole passes

/** A pass in which every step has something to do and the engine refuses. */
class MldRuleRemovalWholePass : public MldRuleRemoval {
protected:
    void SetUp() override
    {
        MldRuleRemoval::SetUp();
        igmp_adapt = 1; // no concern of this side
        mldInitParams.mldAdapt = 1;
        put_mld_rules(1, {rule_of(50, 300, 29), rule_of(103, 105, 29), rule_of(103, 105, 29)});
        mldInitParams.mldPortVlanCfg[1][2].in_data_vlan = 400;
        put_mld_template_vlans({300, 105, 400});
        put_static_groups(1, {static_group(105, 1)});
        platform().answer("mld_pack_set_mc_vlan", 256);
    }

    const vlanCfgNode given = rule(29, 0, 0xFFFF, 102, 5, 103, 104, 6, 105, 106);

    // intended: the compaction lines come twice, and "setp one!" needs a mask bit while the dump needs none
    static Log whole_pass()
    {
        return {
            mld_dbg("onu_std_omci_delete_multicast_vlan is in! port_index = 29\n"),
            mld_dbg("multicast_vlan tagmode = 0, is untag mode!\n"),
            mld_dbg("\n logicPort is 1"),
            mld_dbg("mldsortPortVlanCfg usport = 29\r\n"),
            mld_dbg("checkPortlogic logicPort = 1\r\n"),
            mld_dbg("mldsortPortVlanCfg usport = 29\r\n"),
            mld_dbg("checkPortlogic logicPort = 1\r\n"),
            mld_dbg("\n setp one!"),
            dump_of("portNO(29), prouptagmode(1), in_up_vlan(50), out_up_vlan(102)\r\n"
                    "portNO(29), prodntagmode(5), in_dn_vlan(103), out_dn_vlan(104)\r\n"
                    "portNO(29), datedntagmode(6), in_data_vlan(300), out_data_vlan(106)\r\n"
                    "portNO(29), prouptagmode(1), in_up_vlan(103), out_up_vlan(102)\r\n"
                    "portNO(29), prodntagmode(5), in_dn_vlan(103), out_dn_vlan(104)\r\n"
                    "portNO(29), datedntagmode(6), in_data_vlan(400), out_data_vlan(106)\r\n"
                    "portNO(0) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
                    "portNO(1) grouplimit(0) leavemod(0) max_bandwidth(0)\r\n"
                    "TemplateVlan(300)\tTemplateVlan(105)\tTemplateVlan(400)\t\r\n"
                    "defaultVlan(4088), general_member_interval(1), last_member_query_count(2)\r\n"
                    "last_member_query_interval(1), learningMode(0), multiMode(2)\r\n"
                    "query_interval(125), query_max_resp_time(10), robustness(2), version(3)\r\n"),
            mld_cfg("del temp_var = 105\r\n"),
            called("mld_pack_set_mc_vlan(0, 105)"),
            mld_err("ERROR!mld_adapt_vlan_change Fail\n"),
        };
    }
};

TEST_F(MldRuleRemovalWholePass, every_step_comes_in_its_order_and_each_line_under_its_own_bit)
{
    expect_under_all_masks([&] { return remove(given); }, whole_pass(), 256);
}

TEST_F(MldRuleRemovalWholePass, one_rule_and_its_vlan_go_and_nothing_of_the_igmp_side_changes)
{
    vlanCfgNode record = given;
    const auto seen = remove_in_place(record);

    const vlanCfgNode other = rule_of(103, 400, 29);
    EXPECT_EQ(record, rule(29, 0, 103, 104, 5, 103, 104, 6, 105, 106)) << "normalised in place";
    EXPECT_THAT(live_mld_rules(1), ElementsAre(rule_of(50, 300, 29), other));
    EXPECT_THAT(mldInitParams.mldPortVlanCfg[1][2], IsEmptyRule());
    EXPECT_EQ(mldInitParams.mldTemplateVlan[1], 400);
    EXPECT_EQ(mldInitParams.mldVlanList[0], 300 | 400u << 16);
    EXPECT_EQ(mldInitParams.mldVlanList[1], 0u);
    EXPECT_EQ(mldInitParams.setVlanNumber, 2);
    EXPECT_THAT(
        seen.changed,
        ElementsAreArray(Fields{"mldInitParams.setVlanNumber", "mldInitParams.mldTemplateVlan[1]",
                                "mldInitParams.mldTemplateVlan[2]", "mldInitParams.mldSetVlanCfgNumber[1]",
                                "mldInitParams.mldVlanList[0]", "mldInitParams.mldVlanList[1]",
                                "mldInitParams.mldVlanList[2]", "mldInitParams.mldPortVlanCfg[1][1].in_data_vlan"} +
                         rule_fields("mldInitParams.mldPortVlanCfg[1][2]")));
}

TEST_F(MldRuleRemovalWholePass, step_one_and_the_dump_need_mldAdapt_1)
{
    for (const uint32_t value : {0xFFFFFFFFu, 0u, 2u, 257u}) {
        SCOPED_TRACE(value);
        SetUp();
        errors_logged();
        mldInitParams.mldAdapt = value;
        EXPECT_EQ(remove(given).output, log_of({mld_err("ERROR!mld_adapt_vlan_change Fail\n")}));
    }
}

// --- The rule as given

TEST_F(MldRuleRemoval, until_rules_are_set_by_mode_the_upstream_side_is_derived_in_place)
{
    for_each_traced(kNormalised, [](const Normalisation &row) {
        flag_omci_version = 1; // the IGMP side's switch
        put_mld_rules(0, {rule_of(row.kept_in_up, 105)});
        vlanCfgNode record = row.given();

        const auto seen = remove_in_place(record);

        // intended: without the word "mld" that the install's lines carry
        EXPECT_THAT(seen.output,
                    StartsWith(log_of({mld_dbg("onu_std_omci_delete_multicast_vlan is in! port_index = 0\n"),
                                       mld_dbg("multicast_vlan tagmode = %d, is %s mode!\n", row.mode, row.mode_name),
                                       mld_dbg("\n logicPort is 0"), mld_dbg("mldsortPortVlanCfg")})));
        EXPECT_EQ(record, row.kept());
        EXPECT_THAT(live_mld_rules(0), IsEmpty());
    });
}

// --- Refusals

TEST_F(MldRuleRemoval, a_port_that_is_not_configured_is_refused_once_the_record_was_derived)
{
    for (const int port : {1, 28, 30, 255}) {
        SCOPED_TRACE(port);
        SetUp();
        everything_logged();
        const auto number = static_cast<uint8_t>(port);
        portState[0].portNo = number; // the IGMP side's ports
        vlanCfgNode record = rule(number, 0, 0xFFFF, 102, 5, 0, 104, 6, 105, 106);

        const auto seen = remove_in_place(record);

        expect_refused(seen, {mld_dbg("onu_std_omci_delete_multicast_vlan is in! port_index = %d\n", port),
                              mld_dbg("multicast_vlan tagmode = 0, is untag mode!\n"),
                              mld_err("\n port(%d) is invalid!", port)});
        EXPECT_EQ(record, rule(number, 0, 0, 104, 5, 0, 104, 6, 105, 106)) << "derived, but not yet zeroed";
    }
}

TEST_F(MldRuleRemoval, a_port_without_rules_is_refused_by_a_trace_line)
{
    everything_logged();
    mldInitParams.mldPortVlanCfg[0][0] = plain_rule(); // not counted
    vlanCfgNode record = rule(0, 1, 0xFFFF, 102, 5, 103, 104, 6, 105, 106);

    const auto seen = remove_in_place(record);

    expect_refused(seen, {mld_dbg("onu_std_omci_delete_multicast_vlan is in! port_index = 0\n"),
                          mld_dbg("multicast_vlan tagmode = 1, is tag mode!\n"), mld_dbg("\n logicPort is 0"),
                          mld_dbg("\n vlan is not been disposed,use default vlan!")});
    EXPECT_EQ(record.in_up_vlan, 0xFFFF) << "not yet zeroed";
}

TEST_F(MldRuleRemoval, with_no_rule_that_matches_it_ends_with_0_at_once)
{
    everything_logged();
    mldInitParams.mldAdapt = 1;
    put_mld_rules(0, {rule_of(0x1065, 105), rule_of(999, 105)});

    const auto seen = remove(plain_rule());

    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.trace, log_of({mld_dbg("onu_std_omci_delete_multicast_vlan is in! port_index = 0\n"),
                                  mld_dbg("multicast_vlan tagmode = 1, is tag mode!\n"), mld_dbg("\n logicPort is 0"),
                                  mld_err("\n delete PortVlanCfg is not find!")}));
    EXPECT_THAT(seen.changed, IsEmpty());
}

TEST_F(MldRuleRemoval, a_port_that_compaction_refuses_ends_with_minus_1_after_the_rule_was_cleared)
{
    errors_logged();
    mldInitParams.mldAdapt = 1;
    mldInitParams.mldPortState[1].portNo = 40;
    put_mld_rules(1, {rule_of(101, 105, 40), rule_of(7, 2, 40)});
    put_mld_template_vlans({105});

    const auto seen = remove(plain_rule(40));

    EXPECT_EQ(seen.result, -1);
    EXPECT_EQ(seen.trace,
              log_of({mld_err("\n port(40) is invalid!"), mld_err("checkPortlogic logicPort err = -1 \r\n")}));
    EXPECT_THAT(seen.changed, ElementsAreArray(MldRules::rule_and_count("1", "0")));
    EXPECT_EQ(mldInitParams.mldPortVlanCfg[1][1], rule_of(7, 2, 40));
}

// --- Which rule goes

TEST_F(MldRuleRemoval, at_most_one_rule_goes_and_only_with_both_vlans_equal)
{
    struct Row {
        const char *what;
        std::vector<vlanCfgNode> before, after;
        bool released;
    };
    const std::vector<Row> rows = {
        {"one of two equal rules", {rule_of(101, 105), rule_of(101, 105)}, {rule_of(101, 105)}, false},
        {"the first of its upstream VLAN", {rule_of(7, 105), rule_of(101, 105)}, {rule_of(7, 105)}, false},
        {"only the first is looked at", // intended: the second one would match
         {rule_of(101, 300), rule_of(101, 105)},
         {rule_of(101, 300), rule_of(101, 105)},
         false},
        {"another multicast VLAN stays", {rule_of(101, 300)}, {rule_of(101, 300)}, true},
        {"another one above bit 11 too", {rule_of(101, 0x1069)}, {rule_of(101, 0x1069)}, false},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        SetUp();
        put_mld_rules(0, row.before);
        const auto seen = remove(plain_rule());
        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(live_mld_rules(0), ElementsAreArray(row.after));
        EXPECT_EQ(seen.calls.size(), row.released ? 1u : 0u);
    }
}

TEST_F(MldRuleRemoval, other_fields_of_the_rule_are_not_compared)
{
    put_mld_rules(0, {rule(7, 9, 101, 9, 9, 9, 9, 9, 105, 9)});
    remove(plain_rule());
    EXPECT_THAT(mldInitParams.mldPortVlanCfg[0], Each(IsEmptyRule()));
}

TEST_F(MldRuleRemoval, the_search_runs_over_all_positions_and_the_table_closes_up)
{
    put_mld_rules(0, {rule_of(1, 1)});
    mldInitParams.mldPortVlanCfg[0][9] = rule_of(8, 300);
    mldInitParams.mldPortVlanCfg[0][9].ruleFlag = 3;
    mldInitParams.mldPortVlanCfg[0][15] = rule_of(101, 300);
    remove(plain_rule()); // another multicast VLAN: nothing is removed, yet the table is compacted
    EXPECT_EQ(mldInitParams.mldSetVlanCfgNumber[0], 1);
    EXPECT_EQ(mldInitParams.mldPortVlanCfg[0][1].in_up_vlan, 8);
    EXPECT_EQ(mldInitParams.mldPortVlanCfg[0][1].ruleFlag, 3);
    EXPECT_EQ(mldInitParams.mldPortVlanCfg[0][2], rule_of(101, 300));
    EXPECT_THAT(mldInitParams.mldPortVlanCfg[0][3], IsEmptyRule());
    EXPECT_THAT(mldInitParams.mldPortVlanCfg[0][15], IsEmptyRule());
}

TEST_F(MldRuleRemoval, rules_of_the_other_port_are_not_found)
{
    for (const int logic_port : {0, 1}) {
        SCOPED_TRACE(logic_port);
        SetUp();
        put_mld_rules(logic_port, {rule_of(7, 1)});
        put_mld_rules(1 - logic_port, {rule_of(101, 105)});
        const auto seen = remove(plain_rule(logic_port == 0 ? 0 : 29));
        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(seen.changed, IsEmpty());
        EXPECT_THAT(seen.calls, IsEmpty());
    }
}

TEST_F(MldRuleRemoval, static_groups_move_nothing_and_are_not_withdrawn)
{
    for (const int32_t groups : {0, 1, 15, 32}) {
        SCOPED_TRACE(groups);
        SetUp();
        put_mld_rules(0, std::vector<vlanCfgNode>(16, plain_rule()));
        for (staticGroupEntry &entry : g_static_list[0])
            entry = static_group(105, 1);
        g_static_grp_num[0] = groups;
        EXPECT_THAT(remove(plain_rule()).calls, IsEmpty());
        EXPECT_EQ(mldInitParams.mldSetVlanCfgNumber[0], 15);
    }
}

// --- When the VLAN is released

TEST_F(MldRuleRemoval, the_vlan_released_is_the_records_even_when_no_rule_went) // intended
{
    put_mld_rules(0, {rule_of(101, 300)});
    put_mld_template_vlans({300, 105});
    EXPECT_THAT(remove(plain_rule()).calls, ElementsAre("mld_pack_set_mc_vlan(0, 105)"));
    EXPECT_THAT(live_mld_rules(0), ElementsAre(rule_of(101, 300)));
    EXPECT_THAT(mld_vlans(), ElementsAre(300));
}

TEST_F(MldRuleRemoval, the_engines_status_is_returned_whole)
{
    for (const int32_t answer : kFullResults) {
        SCOPED_TRACE(answer);
        SetUp();
        errors_logged();
        put_mld_rules(0, {plain_rule()});
        put_mld_template_vlans({105});
        platform().answer("mld_pack_set_mc_vlan", answer);
        const auto seen = remove(plain_rule());
        EXPECT_EQ(seen.result, answer);
        EXPECT_EQ(seen.output, answer == 0 ? "" : log_of({mld_err("ERROR!mld_adapt_vlan_change Fail\n")}));
        EXPECT_THAT(mld_vlans(), IsEmpty());
    }
}

} // namespace
} // namespace mcadapt::test
