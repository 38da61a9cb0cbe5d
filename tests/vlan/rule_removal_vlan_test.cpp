/** The IGMP rule removal, second half: when the multicast VLAN is released, and what becomes of the template list. */
#include "support/library_test.h"
#include "support/matchers.h"
#include "vlan/expected_log.h"
#include "vlan/rule_cases.h"

namespace mcadapt::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

/** IGMP alone, as after a rule set by mode, with one rule of upstream VLAN 101 and multicast VLAN 105 on port 0. */
class RuleRemovalVlan : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        flag_omci_version = 1;
        put_rules(0, {plain_rule()});
        put_template_vlans({105});
    }

    static Observed<int32_t> remove(const vlanCfgNode &given)
    {
        return observe([&] { return std_omci_delete_multicast_vlan_onu(&given); });
    }

    static void expect_lists(std::vector<uint16_t> port_vlan, std::vector<uint16_t> mirror, int32_t count)
    {
        port_vlan.resize(16);
        mirror.resize(16);
        EXPECT_THAT(PortVlan, ElementsAreArray(port_vlan));
        EXPECT_THAT(globle_parm.TemplateVlan, ElementsAreArray(mirror));
        EXPECT_EQ(setVlanNumber, count);
    }
};

// --- When the VLAN is released

TEST_F(RuleRemovalVlan, a_vlan_is_kept_while_a_rule_of_either_port_uses_it)
{
    struct Row {
        const char *what;
        std::vector<vlanCfgNode> user, uplink;
        bool released;
    };
    std::vector<vlanCfgNode> full_row(15, rule_of(8, 2, 29));
    full_row.push_back(rule_of(7, 105, 29));
    const std::vector<Row> rows = {
        {"no other rule", {}, {}, true},
        {"a rule of the port", {rule_of(7, 105)}, {}, false},
        {"a rule of the other port", {}, {rule_of(7, 105, 29)}, false},
        {"the last of many rules", {rule_of(7, 1), rule_of(8, 2)}, {rule_of(9, 3, 29), rule_of(7, 105, 29)}, false},
        {"the last rule of a full row", {}, full_row, false},
        {"rules of other VLANs", {rule_of(7, 104)}, {rule_of(7, 106, 29)}, true},
        {"a rule that differs above bit 11", {}, {rule_of(7, 0x1069, 29)}, false}, // intended: low 12 bits
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        SetUp();
        traces_logged();
        std::vector<vlanCfgNode> user = row.user;
        user.push_back(plain_rule());
        put_rules(0, user);
        put_rules(1, row.uplink);

        const auto seen = remove(plain_rule());

        const Log head = {dbg("\n logicPort is 0"), dbg("sortPortVlanCfg usport = 0\r\n"),
                          dbg("checkPortlogic logicPort = 0\r\n")};
        const Log tail = row.released ? Log{called("igmp_vlan_del(105)")} : Log{dbg("\nIsSameVlanExist is find")};
        EXPECT_EQ(seen.trace, log_of(head + tail));
        EXPECT_EQ(setVlanNumber, row.released ? 0 : 1);
    }
}

TEST_F(RuleRemovalVlan, rules_behind_the_count_do_not_keep_the_vlan)
{
    PortVlanCfg[1][0] = rule_of(7, 105, 29);
    EXPECT_THAT(remove(plain_rule()).calls, ElementsAre("igmp_vlan_del(105)"));
}

TEST_F(RuleRemovalVlan, a_vlan_above_12_bits_is_released_although_the_other_port_still_uses_it)
{
    // intended: 12 bits of the rules against 16 of the record
    put_rules(0, {rule_of(101, 0x1069)});
    put_rules(1, {rule_of(101, 0x1069, 29)});
    put_template_vlans({105, 0x1069});
    EXPECT_THAT(remove(rule_of(101, 0x1069)).calls, ElementsAre("igmp_vlan_del(105)"));
    expect_lists({105}, {105}, 1);
}

TEST_F(RuleRemovalVlan, the_default_vlan_is_never_released_and_stays_listed)
{
    struct Row {
        uint16_t vlan, default_of_igmp, default_elsewhere;
        bool released;
    };
    // The default VLAN that counts is the one of the IGMP parameters, with all its bits.
    for (const Row &row : {Row{105, 105, 0, false}, Row{105, 4088, 105, true}, Row{4088, 4088, 0, false},
                           Row{0x1069, 105, 0, true}, Row{105, 0x1069, 0, true}}) {
        SCOPED_TRACE(std::to_string(row.vlan) + " with default " + std::to_string(row.default_of_igmp));
        SetUp();
        put_rules(0, {rule_of(101, row.vlan)});
        put_template_vlans({row.vlan});
        globle_parm.defaultVlan = row.default_of_igmp;
        defaultVlan = row.default_elsewhere;
        mldInitParams.defaultVlan = row.default_elsewhere;

        const auto seen = remove(rule_of(101, row.vlan));

        EXPECT_EQ(seen.calls.size(), row.released ? 1u : 0u);
        EXPECT_EQ(setVlanNumber, row.released ? 0 : 1);
        EXPECT_THAT(PortVlanCfg[0], Each(IsEmptyRule()));
    }
}

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

TEST_F(RuleRemovalVlan, the_vlan_is_still_listed_when_the_engine_is_asked_but_the_rule_is_gone)
{
    std::vector<uint16_t> listed;
    std::size_t rules = 9;
    platform().on("igmp_vlan_del", [&] {
        listed = template_vlans();
        rules = live_rules(0).size();
    });
    remove(plain_rule());
    EXPECT_THAT(listed, ElementsAre(105));
    EXPECT_EQ(rules, 0u);
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

TEST_F(RuleRemovalVlan, without_a_release_the_lists_are_not_touched)
{
    put_template_vlans({0, 105, 0, 8});
    globle_parm.defaultVlan = 105;
    const auto seen = remove(plain_rule());
    EXPECT_THAT(seen.changed, ElementsAreArray(rule_fields("PortVlanCfg[0][0]") + Fields{"setVlanCfgNumber[0]"}));
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
