/** The IGMP rule removal, second half: when the multicast VLAN is released, and what becomes of the template list. */
#include "vlan/rule_sides.h"

namespace mcadapt::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;

/** IGMP alone, as after a rule set by mode, with one rule of upstream VLAN 101 and multicast VLAN 105 on port 0. */
class RuleRemovalVlan : public RuleTest<IgmpRules> {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        serve_igmp_alone();
        put_rules(0, {plain_rule()});
        put_template_vlans({105});
    }
};

// --- When the VLAN is released

TEST_F(RuleRemovalVlan, the_vlan_released_is_the_records_not_the_rules) // intended
{
    put_template_vlans({105, 300});
    EXPECT_THAT(remove(rule_of(101, 300)).calls, ElementsAre("igmp_vlan_del(300)"));
    EXPECT_THAT(PortVlanCfg[0], Each(IsEmptyRule()));
    expect_lists({105}, {105}, 1);
}

TEST_F(RuleRemovalVlan, the_release_comes_once_for_each_rule_removed)
{
    put_rules(0, {rule_of(7, 1), rule_of(101, 2), rule_of(101, 3)});
    put_template_vlans({300});
    EXPECT_THAT(remove(rule_of(101, 300)).calls, ElementsAre("igmp_vlan_del(300)", "igmp_vlan_del(300)"));
    expect_lists({}, {}, 0);
}

TEST_F(RuleRemovalVlan, with_several_rules_of_the_vlan_the_last_one_removed_releases_it)
{
    errors_logged();
    put_rules(0, {rule_of(7, 1), rule_of(101, 105), rule_of(101, 105)});
    const auto seen = remove(plain_rule());
    EXPECT_EQ(seen.trace, log_of({called("igmp_vlan_del(105)"), err("\n delete PortVlanCfg is not find!\n")}));
}

TEST_F(RuleRemovalVlan, a_refused_release_is_told_by_its_low_byte_and_otherwise_ignored)
{
    for (const ByteResult &engine : kByteResults) {
        SCOPED_TRACE(engine.answer);
        SetUp();
        errors_logged();
        platform().answer("igmp_vlan_del", engine.answer);

        const auto seen = remove(plain_rule());

        Log wanted = {err("\n delete PortVlanCfg is not find!\n")};
        if (engine.status != 0)
            wanted.insert(wanted.begin(), err("ERROR!igmp_adapt_vlan_change Fail\n"));
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.output, log_of(wanted));
        expect_lists({}, {}, 0);
    }
}

// --- What becomes of the list

TEST_F(RuleRemovalVlan, the_first_entry_of_the_vlan_is_dropped_and_the_list_closes_up)
{
    struct Row {
        std::vector<uint16_t> before, after;
    };
    const std::vector<Row> rows = {
        {{105}, {}},
        {{105, 1, 2}, {1, 2}},
        {{1, 2, 105}, {1, 2}},
        {{105, 105, 1}, {105, 1}},
        {{9, 105, 3, 7}, {9, 3, 7}}, // in its order, not by value
        {{1, 0x1069, 2}, {1, 0x1069, 2}},
        {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 105}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
        {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16},
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.before));
        SetUp();
        put_template_vlans(row.before);
        remove(plain_rule());
        expect_lists(row.after, row.after, static_cast<int32_t>(row.after.size()));
    }
}

TEST_F(RuleRemovalVlan, both_lists_close_up_even_when_the_vlan_was_not_found)
{
    for (const int32_t count : {0, 1, 3, 16}) {
        SCOPED_TRACE(count);
        SetUp();
        put_template_vlans({0, 7, 0, 8});
        globle_parm.TemplateVlan[15] = 9;
        setVlanNumber = count;
        remove(plain_rule());
        expect_lists({7, 8}, {7, 8, 9}, count);
    }
}

TEST_F(RuleRemovalVlan, entries_behind_the_count_are_not_dropped)
{
    put_template_vlans({7, 105});
    setVlanNumber = 1;
    remove(plain_rule());
    expect_lists({7, 105}, {7, 105}, 1);
}

TEST_F(RuleRemovalVlan, the_mirror_loses_the_entry_of_the_same_index_whatever_it_holds)
{
    put_template_vlans({7, 105, 8});
    globle_parm.TemplateVlan[0] = 105;
    globle_parm.TemplateVlan[1] = 77;
    remove(plain_rule());
    expect_lists({7, 8}, {105, 8}, 2);
}

// --- A port that compaction refuses

TEST_F(RuleRemovalVlan, a_configured_port_above_29_has_its_rules_cleared_in_place)
{
    errors_logged();
    portState[1].portNo = 40;
    put_rules(1, {rule_of(101, 1, 40), rule_of(7, 2, 40), rule_of(101, 3, 40)});

    const auto seen = remove(rule_of(101, 300, 40));

    const Log refused = {err("\n port(40) is invalid!"), err("checkPortlogic logicPort err= -1\r\n"),
                         called("igmp_vlan_del(300)")};
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.trace, log_of(refused + refused + Log{err("\n delete PortVlanCfg is not find!\n")}));
    EXPECT_THAT(PortVlanCfg[1][0], IsEmptyRule());
    EXPECT_EQ(PortVlanCfg[1][1], rule_of(7, 2, 40));
    EXPECT_THAT(PortVlanCfg[1][2], IsEmptyRule());
    EXPECT_EQ(setVlanCfgNumber[1], 1);
    EXPECT_THAT(live_rules(0), ElementsAre(plain_rule()));
}

} // namespace
} // namespace mcadapt::test
