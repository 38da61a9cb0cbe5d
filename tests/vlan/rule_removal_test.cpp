/** The IGMP rule removal: which rules go, how the scan resumes, which groups are withdrawn, when a VLAN is released. */
#include "vlan/rule_sides.h"

namespace mcadapt::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class RuleRemoval : public RuleTest<IgmpRules> {
protected:
    static std::vector<vlanCfgNode> rules_of(const std::vector<uint16_t> &upstream)
    {
        std::vector<vlanCfgNode> rules;
        for (const uint16_t in_up : upstream)
            rules.push_back(rule_of(in_up, 105));
        return rules;
    }

    static std::vector<uint16_t> in_ups(int logic_port)
    {
        std::vector<uint16_t> vlans;
        for (const vlanCfgNode &live : live_rules(logic_port))
            vlans.push_back(live.in_up_vlan);
        return vlans;
    }
};

constexpr char kEnded[] = "\r\n[MC_DBG_ERR]: \n delete PortVlanCfg is not find!\n";

// --- Whole passes

/** A pass in which every step has something to do and the engine refuses what it can. */
class RuleRemovalWholePass : public RuleRemoval {
protected:
    void SetUp() override
    {
        RuleRemoval::SetUp();
        igmp_adapt = 1;
        put_rules(1, {rule_of(50, 300, 29), rule_of(104, 105, 29), rule_of(60, 400, 29)});
        put_mld_rules(1, {rule_of(104, 105, 29)});
        put_template_vlans({300, 105, 400});
        put_mld_template_vlans({105});
        put_static_groups(1, {static_group(9, 1), static_group(105, 0xE1010203)});
        platform().answer("igmp_if_static_group_source_del", 0x180);
        platform().answer("igmp_vlan_del", 5);
        platform().answer("mld_pack_set_mc_vlan", 256);
    }

    const vlanCfgNode given = rule(29, 2, 0xFFFF, 102, 5, 103, 104, 6, 105, 106);

    static Log whole_pass()
    {
        return {
            cfg("[onu_std_omci_delete_multicast_vlan] is in! port_index = "
                "29,2, 65535, 102, 5, 103, 104, 6, 105, 106.\r\n"),
            dbg("multicast_vlan tagmode = 2, is translate mode!\n"),
            dbg("\n logicPort is 1"),
            dbg("sortPortVlanCfg usport = 29\r\n"),
            dbg("checkPortlogic logicPort = 1\r\n"),
            called("igmp_if_static_group_source_del(1, 105, 3774939651, 0, 1)"),
            err("\n ERROR!igmp_if_static_group_source_add Fail"), // intended: the install's text
            ungated("\n setp one!"),
            cfg("del temp_var = 105\r\n"),
            called("igmp_vlan_del(105)"),
            err("ERROR!igmp_adapt_vlan_change Fail\n"),
            mld_dbg("onu_std_omci_delete_multicast_vlan is in! port_index = 29\n"),
            mld_dbg("multicast_vlan tagmode = 2, is translate mode!\n"),
            mld_dbg("\n logicPort is 1"),
            mld_dbg("mldsortPortVlanCfg usport = 29\r\n"),
            mld_dbg("checkPortlogic logicPort = 1\r\n"),
            mld_dbg("mldsortPortVlanCfg usport = 29\r\n"),
            mld_dbg("checkPortlogic logicPort = 1\r\n"),
            mld_cfg("del temp_var = 105\r\n"),
            called("mld_pack_set_mc_vlan(0, 105)"),
            mld_err("ERROR!mld_adapt_vlan_change Fail\n"),
            err("\n ERROR!mld_onu_std_omci_delete_multicast_vlan Fail"),
            err("\n delete PortVlanCfg is not find!\n"), // intended: after a removal too
        };
    }
};

TEST_F(RuleRemovalWholePass, every_step_comes_in_its_order_and_each_line_under_its_own_bit)
{
    // intended: no refusal shows
    expect_under_all_masks([&] { return remove(given); }, whole_pass(), 0);
}

TEST_F(RuleRemovalWholePass, rules_and_vlans_close_up_and_nothing_else_changes)
{
    vlanCfgNode record = given;
    const auto seen = remove_in_place(record);

    EXPECT_THAT(live_rules(1), ElementsAre(rule_of(50, 300, 29), rule_of(60, 400, 29)));
    EXPECT_THAT(PortVlanCfg[1][2], IsEmptyRule());
    EXPECT_THAT(PortVlan, ElementsAreArray({300, 400, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_THAT(globle_parm.TemplateVlan, ElementsAreArray({300, 400, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(setVlanNumber, 2);
    EXPECT_THAT(live_mld_rules(1), IsEmpty());
    EXPECT_THAT(seen.changed,
                ElementsAreArray(Fields{"globle_parm.TemplateVlan[1]", "globle_parm.TemplateVlan[2]",
                                        "mldInitParams.setVlanNumber", "mldInitParams.mldTemplateVlan[0]",
                                        "mldInitParams.mldSetVlanCfgNumber[1]", "mldInitParams.mldVlanList[0]"} +
                                 rule_fields("mldInitParams.mldPortVlanCfg[1][0]") +
                                 Fields{"PortVlanCfg[1][1].in_up_vlan", "PortVlanCfg[1][1].in_data_vlan"} +
                                 rule_fields("PortVlanCfg[1][2]") +
                                 Fields{"setVlanCfgNumber[1]", "PortVlan[1]", "PortVlan[2]", "setVlanNumber"}))
        << "the static groups stay listed";
    EXPECT_EQ(record, rule(29, 2, 0xFFFF, 102, 5, 103, 104, 6, 105, 106)) << "the caller's rule is only read";
}

TEST_F(RuleRemovalWholePass, step_one_is_told_whatever_the_masks_hold_but_only_with_igmp_adapt_1)
{
    for (const int32_t value : {1, -1, 0, 2, 257}) {
        SCOPED_TRACE(value);
        SetUp();
        igmp_adapt = value;
        EXPECT_EQ(remove(given).output, value == 1 ? "\n setp one!" : ""); // intended: and no dump
    }
}

// --- The rule as given

TEST_F(RuleRemoval, until_rules_are_set_by_mode_the_upstream_side_is_derived_by_tag_mode)
{
    for_each_traced(kNormalised, [](const Normalisation &row) {
        mld_debug = 0;
        mldInitParams.mldOmciVersion = 1; // or MLD derives by itself
        put_rules(0, {rule_of(row.kept_in_up, 105)});
        put_mld_rules(0, {rule_of(row.kept_in_up, 105)});

        const auto seen = remove(row.given());

        EXPECT_THAT(seen.output,
                    StartsWith(log_of({dbg("multicast_vlan tagmode = %d, is %s mode!\n", row.mode, row.mode_name),
                                       dbg("\n logicPort is 0"), dbg("sortPortVlanCfg usport = 0\r\n")})));
        EXPECT_THAT(live_rules(0), IsEmpty());
        EXPECT_THAT(live_mld_rules(0), IsEmpty()) << "MLD gets the rule as derived";
    });
}

TEST_F(RuleRemoval, an_epon_uplink_is_no_concern_of_a_removal)
{
    platform().uplink_mode = 0;
    put_rules(0, {rule_of(101, 105)});
    serve_igmp_alone();
    EXPECT_THAT(remove(plain_rule()).calls, ElementsAre("igmp_vlan_del(105)"));
}

// --- Refusals

TEST_F(RuleRemoval, a_port_that_is_not_configured_is_refused_and_mld_left_alone)
{
    for (const int port : {1, 28, 30, 255}) {
        SCOPED_TRACE(port);
        SetUp();
        everything_logged();
        mldInitParams.mldPortState[0].portNo = static_cast<uint32_t>(port);
        const auto number = static_cast<uint8_t>(port);
        put_mld_rules(0, {rule_of(101, 105, number)});

        const auto seen = remove(plain_rule(number));

        expect_refused(seen, {cfg("[onu_std_omci_delete_multicast_vlan] is in! port_index = "
                                  "%d,1, 101, 102, 5, 103, 104, 6, 105, 106.\r\n",
                                  port),
                              dbg("multicast_vlan tagmode = 1, is tag mode!\n"), err("\n port(%d) is invalid!", port)});
    }
}

TEST_F(RuleRemoval, a_port_without_rules_is_refused_by_a_trace_line_and_mld_left_alone)
{
    everything_logged();
    PortVlanCfg[0][0] = plain_rule(); // not counted
    put_mld_rules(0, {plain_rule()});

    expect_refused(remove(plain_rule()), {cfg("[onu_std_omci_delete_multicast_vlan] is in! port_index = "
                                              "0,1, 101, 102, 5, 103, 104, 6, 105, 106.\r\n"),
                                          dbg("multicast_vlan tagmode = 1, is tag mode!\n"), dbg("\n logicPort is 0"),
                                          dbg("\n vlan is not been disposed,use default vlan!")});
}

TEST_F(RuleRemoval, with_no_rule_that_matches_it_ends_with_0_and_mld_follows)
{
    for (const bool mld : {false, true}) {
        SCOPED_TRACE(mld ? "with MLD" : "IGMP alone");
        SetUp();
        errors_logged();
        flag_omci_version = mld ? 0 : 1;
        put_rules(0, {rule_of(999, 105)});
        put_mld_rules(0, {rule_of(999, 105)});

        const auto seen = remove(plain_rule());

        Log wanted = {err("\n delete PortVlanCfg is not find!\n")}; // intended: a line here, printed bare for MLD
        if (mld)
            wanted.insert(wanted.begin(), mld_err("\n delete PortVlanCfg is not find!"));
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.trace, log_of(wanted));
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

TEST_F(RuleRemoval, a_refusal_by_mld_is_told_but_not_returned)
{
    for (const int32_t answer : {0, 256, -1, 5})
        for (const uint32_t mask : {0u, 0x04u}) {
            SCOPED_TRACE(answer);
            SetUp();
            mc_debug = mask;
            put_rules(0, {plain_rule()});
            put_mld_rules(0, {plain_rule()});
            platform().answer("mld_pack_set_mc_vlan", answer);

            const auto seen = remove(plain_rule());

            Log wanted = {err("\n delete PortVlanCfg is not find!\n")};
            if (answer != 0)
                wanted.insert(wanted.begin(), err("\n ERROR!mld_onu_std_omci_delete_multicast_vlan Fail"));
            EXPECT_EQ(seen.result, 0);
            EXPECT_EQ(seen.output, log_of(wanted));
        }
}

TEST_F(RuleRemoval, mld_without_rules_is_told)
{
    errors_logged();
    put_rules(0, {plain_rule()});
    const auto seen = remove(plain_rule());
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.output, log_of({err("\n ERROR!mld_onu_std_omci_delete_multicast_vlan Fail")}) + kEnded);
}

TEST_F(RuleRemoval, whether_mld_follows_is_decided_after_the_engine_was_asked)
{
    put_rules(0, {plain_rule()});
    put_mld_rules(0, {plain_rule()});
    platform().on("igmp_vlan_del", [] { flag_omci_version = 1; });
    remove(plain_rule());
    EXPECT_EQ(live_mld_rules(0).size(), 1u);
}

// --- Which rules go

TEST_F(RuleRemoval, a_rule_is_matched_by_its_upstream_vlan_alone)
{
    for (const vlanCfgNode &stored :
         {rule(0, 1, 101, 102, 5, 103, 104, 6, 105, 106), rule(0, 1, 101, 102, 5, 103, 104, 6, 999, 106),
          rule(7, 9, 101, 9, 9, 9, 9, 9, 9, 9)}) {
        SetUp();
        serve_igmp_alone();
        put_rules(0, {stored});
        remove(plain_rule());
        EXPECT_THAT(PortVlanCfg[0], Each(IsEmptyRule()));
        EXPECT_EQ(setVlanCfgNumber[0], 0);
    }
}

TEST_F(RuleRemoval, all_16_bits_of_the_upstream_vlan_are_compared)
{
    serve_igmp_alone();
    put_rules(0, {rule_of(0x1065, 1), rule_of(0x0065, 2), rule_of(0xF065, 3)});
    remove(rule_of(0x0065, 2));
    EXPECT_THAT(in_ups(0), ElementsAre(0x1065, 0xF065));
}

TEST_F(RuleRemoval, a_record_without_upstream_vlan_removes_the_untagged_rules_and_never_an_empty_position)
{
    serve_igmp_alone();
    put_rules(0, {rule_of(101, 1), rule_of(0, 2)});
    remove(rule_of(0xFFFF, 2));
    EXPECT_THAT(in_ups(0), ElementsAre(101));
    EXPECT_EQ(setVlanCfgNumber[0], 1);
}

TEST_F(RuleRemoval, rules_of_the_other_port_stay)
{
    for (const int logic_port : {0, 1}) {
        SCOPED_TRACE(logic_port);
        SetUp();
        serve_igmp_alone();
        put_rules(logic_port, {rule_of(101, 1), rule_of(7, 1)});
        put_rules(1 - logic_port, {rule_of(101, 2)});
        remove(plain_rule(logic_port == 0 ? 0 : 29));
        EXPECT_THAT(in_ups(logic_port), ElementsAre(7));
        EXPECT_THAT(in_ups(1 - logic_port), ElementsAre(101));
    }
}

TEST_F(RuleRemoval, the_scan_runs_over_all_positions_not_only_the_counted_ones)
{
    serve_igmp_alone();
    put_rules(0, {rule_of(1, 1), rule_of(2, 2)});
    PortVlanCfg[0][15] = rule_of(101, 3);
    remove(plain_rule());
    EXPECT_EQ(setVlanCfgNumber[0], 1);
    EXPECT_THAT(PortVlanCfg[0][15], IsEmptyRule());
}

TEST_F(RuleRemoval, a_rule_keeps_its_flag_when_it_moves_up)
{
    serve_igmp_alone();
    put_rules(0, {plain_rule(), rule(0).in_up(7).in_data(8).flag(9)});
    PortVlanCfg[0][0].ruleFlag = 5;
    remove(plain_rule());
    EXPECT_EQ(PortVlanCfg[0][0].ruleFlag, 9);
    EXPECT_THAT(PortVlanCfg[0][1], IsEmptyRule());
}

// --- How the scan resumes

TEST_F(RuleRemoval, the_scan_goes_on_where_the_walk_over_the_static_groups_ended)
{
    // intended: one index serves both, so that of 16 rules that all match these stay, by number of static groups
    struct Row {
        int32_t groups;
        std::size_t left;
    };
    for (const Row &row : {Row{0, 1}, Row{1, 2}, Row{2, 3}, Row{3, 4}, Row{13, 14}, Row{14, 15}, Row{15, 15},
                           Row{16, 15}, Row{31, 15}, Row{32, 15}}) {
        SCOPED_TRACE(row.groups);
        SetUp();
        errors_logged();
        serve_igmp_alone();
        put_rules(0, std::vector<vlanCfgNode>(16, plain_rule()));
        put_template_vlans({105});
        for (int32_t i = 0; i < row.groups; ++i)
            g_static_list[0][i] = static_group(i == 0 ? 105 : 9, 1);
        g_static_grp_num[0] = row.groups;
        g_static_grp_num[1] = 5; // the other port's groups do not matter

        const auto seen = remove(plain_rule());

        EXPECT_EQ(live_rules(0).size(), row.left);
        EXPECT_EQ(PortVlanCfg[0][row.left - 1], plain_rule());
        EXPECT_THAT(PortVlanCfg[0][row.left], IsEmptyRule());
        EXPECT_EQ(platform().count("igmp_if_static_group_source_del"), row.groups == 0 ? 0 : 16 - row.left)
            << "once for each rule removed";
        EXPECT_EQ(seen.output, kEnded);
    }
}

TEST_F(RuleRemoval, what_moves_up_before_the_resumed_scan_stays)
{
    struct Row {
        std::vector<uint16_t> before;
        int32_t groups;
        std::vector<uint16_t> after;
    };
    const std::vector<Row> rows = {
        {{101, 101}, 0, {101}}, // the second moves to position 0
        {{101, 101, 101}, 0, {101}},
        {{7, 101, 101}, 0, {7}}, // position 1 is looked at again
        {{101, 7, 101}, 0, {7}},
        {{101, 7, 101}, 1, {7, 101}},
        {{101, 7, 8, 101}, 1, {7, 8}},
        {{7, 8, 101, 101}, 1, {7, 8}},
        {{7, 8, 101, 101}, 0, {7, 8}},
        {{7, 8, 9, 101, 101}, 15, {7, 8, 9, 101}},
        {{101, 7, 8, 9, 10, 101}, 4, {7, 8, 9, 10, 101}},
        {{101, 7, 8, 9, 10, 101}, 3, {7, 8, 9, 10}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.before) + " with " + std::to_string(row.groups) + " groups");
        SetUp();
        serve_igmp_alone();
        put_rules(0, rules_of(row.before));
        g_static_grp_num[0] = row.groups; // free entries: walked, not withdrawn

        const auto seen = remove(plain_rule());

        EXPECT_THAT(in_ups(0), ElementsAreArray(row.after));
        EXPECT_EQ(platform().count("igmp_if_static_group_source_del"), 0u);
    }
}

TEST_F(RuleRemoval, the_group_count_is_read_again_after_each_call_and_moves_the_scan)
{
    struct Row {
        int32_t before, during;
        std::size_t withdrawn, left;
    };
    // Six rules match. A walk that ends at index n lets the scan go on at position n + 1.
    for (const Row &row : {Row{2, 2, 6, 3}, Row{4, 1, 4, 2}, Row{1, 3, 6, 4}, Row{3, 0, 1, 1}}) {
        SCOPED_TRACE(std::to_string(row.before) + " then " + std::to_string(row.during));
        SetUp();
        serve_igmp_alone();
        put_rules(0, std::vector<vlanCfgNode>(6, plain_rule()));
        put_static_groups(0, {static_group(105, 1), static_group(105, 2), static_group(105, 3), static_group(105, 4)});
        g_static_grp_num[0] = row.before;
        platform().on("igmp_if_static_group_source_del", [&] { g_static_grp_num[0] = row.during; });

        remove(plain_rule());

        EXPECT_EQ(platform().count("igmp_if_static_group_source_del"), row.withdrawn);
        EXPECT_EQ(live_rules(0).size(), row.left);
    }
}

// --- Static groups

TEST_F(RuleRemoval, the_groups_of_the_records_vlan_are_withdrawn_and_stay_listed)
{
    errors_logged();
    serve_igmp_alone();
    put_rules(1, {rule_of(101, 999, 29)}); // the rule's own VLAN does not matter
    put_static_groups(0, {static_group(105, 7)});
    put_static_groups(1, {static_group(105, 1), static_group(999, 2), free_static_group(), static_group(0x1069, 3),
                          static_group(105, 0xFFFFFFFF), static_group(105, 5)});
    g_static_grp_num[1] = 5;
    platform().answers("igmp_if_static_group_source_del", {5, 256});

    const auto seen = remove(plain_rule(29));

    EXPECT_EQ(seen.trace, log_of({called("igmp_if_static_group_source_del(1, 105, 1, 0, 1)"),
                                  err("\n ERROR!igmp_if_static_group_source_add Fail"),
                                  called("igmp_if_static_group_source_del(1, 105, 4294967295, 0, 1)"),
                                  called("igmp_vlan_del(105)"), err("\n delete PortVlanCfg is not find!\n")}));
    EXPECT_THAT(seen.changed, ElementsAreArray(IgmpRules::rule_and_count("1", "0")));
}

TEST_F(RuleRemoval, withdrawing_is_judged_by_the_low_byte)
{
    for (const ByteResult &engine : kByteResults) {
        SCOPED_TRACE(engine.answer);
        SetUp();
        errors_logged();
        serve_igmp_alone();
        put_rules(0, {plain_rule()});
        put_static_groups(0, {static_group(105, 1)});
        platform().answer("igmp_if_static_group_source_del", engine.answer);

        const auto seen = remove(plain_rule());

        Log wanted = {err("\n delete PortVlanCfg is not find!\n")};
        if (engine.status != 0)
            wanted.insert(wanted.begin(), err("\n ERROR!igmp_if_static_group_source_add Fail"));
        EXPECT_EQ(seen.output, log_of(wanted));
        EXPECT_EQ(seen.result, 0);
    }
}

TEST_F(RuleRemoval, free_entries_match_a_record_without_multicast_vlan) // intended: only the VLANs are compared
{
    serve_igmp_alone();
    put_rules(0, {rule_of(101, 105)});
    put_static_groups(0, {free_static_group()});
    EXPECT_THAT(remove(rule_of(101, 0xFFFF)).calls,
                ElementsAre("igmp_if_static_group_source_del(0, 65535, 65535, 0, 1)", "igmp_vlan_del(4095)"));
}

TEST_F(RuleRemoval, a_full_static_list_is_walked_to_its_end_and_not_beyond)
{
    serve_igmp_alone();
    put_rules(0, {plain_rule()});
    for (auto &row : g_static_list)
        for (staticGroupEntry &entry : row)
            entry = static_group(105, 1);
    g_static_grp_num[0] = 1000;
    remove(plain_rule());
    EXPECT_EQ(platform().count("igmp_if_static_group_source_del"), 32u);
}

} // namespace
} // namespace mcadapt::test
