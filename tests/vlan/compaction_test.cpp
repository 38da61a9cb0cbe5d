/** Compaction of the rule tables and of the VLAN lists, and the test whether a VLAN is still used. */
#include <algorithm>

#include "support/library_test.h"
#include "support/matchers.h"
#include "vlan/expected_log.h"
#include "vlan/rule_cases.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

using RuleTable = vlanCfgNode[MC_LOGIC_PORTS][MC_RULES_PER_PORT];
using RuleRow = std::vector<vlanCfgNode>;

class RuleCompaction : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        clear(table);
    }

    static void clear(RuleTable &rules)
    {
        for (auto &row : rules)
            std::fill(std::begin(row), std::end(row), empty_rule());
    }

    static void put(RuleTable &rules, int logic_port, const RuleRow &row)
    {
        std::copy(row.begin(), row.end(), rules[logic_port]);
    }

    /** A whole row: these rules, cleared ones behind. */
    static RuleRow row_of(RuleRow rules)
    {
        rules.resize(MC_RULES_PER_PORT, empty_rule());
        return rules;
    }

    static vlanCfgNode numbered(uint16_t in_up)
    {
        return rule(0, 1, in_up, 2, 3, 4, 5, 6, static_cast<uint16_t>(in_up + 1000), 8);
    }

    RuleTable table;
};

/** What compaction makes of a row: live is what has an `in_up_vlan`, whatever its other fields. */
struct PackedRow {
    RuleRow before, after;
};

const std::vector<PackedRow> &packed_rows()
{
    const vlanCfgNode a = rule(0, 1, 300, 2, 3, 4, 5, 6, 7, 8);
    const vlanCfgNode b = rule(29, 11, 100, 12, 13, 14, 15, 16, 17, 18);
    const vlanCfgNode flagged = rule(0).in_up(200).flag(9);
    const vlanCfgNode without_data = rule(1, 1, 400, 2, 3, 4, 5, 6, 0xFFFF, 8);
    const vlanCfgNode untagged = rule(0).in_up(0).in_data(5);
    const vlanCfgNode without_upstream = rule(0, 1, 0xFFFF, 2, 3, 4, 5, 6, 7, 8);
    const vlanCfgNode gap = empty_rule();
    static const std::vector<PackedRow> rows = {
        {{}, {}},
        {{a, b, flagged}, {a, b, flagged}}, // by position, not by value
        {{gap, a}, {a}},
        {{gap, gap, b, gap, a, gap, gap, flagged}, {b, a, flagged}},
        {{gap, gap, gap, gap, gap, gap, gap, gap, gap, gap, gap, gap, gap, gap, gap, a}, {a}},
        {{gap, a, b, a, b, a, b, a, b, a, b, a, b, a, b, a}, {a, b, a, b, a, b, a, b, a, b, a, b, a, b, a}},
        {{a, a, a, a, a, a, a, a, a, a, a, a, a, a, a, b}, {a, a, a, a, a, a, a, a, a, a, a, a, a, a, a, b}},
        {{gap, without_data, untagged}, {without_data, untagged}},
        {{without_upstream, a}, {a}},
        {{a, without_upstream}, {a}},
    };
    return rows;
}

// --- sortPortVlanCfg

TEST_F(RuleCompaction, igmp_rules_of_the_port_close_up_in_a_copy)
{
    for (const PackedRow &row : packed_rows())
        for (const int logic_port : {0, 1}) {
            SetUp();
            put(table, logic_port, row.before);
            put(table, 1 - logic_port, {empty_rule(), numbered(1)}); // the other port's row stays as it is

            mcRuleTable packed = nullptr;
            const auto seen = observe([&] { packed = sortPortVlanCfg(table, logic_port == 0 ? 0 : 29); });

            ASSERT_NE(packed, nullptr);
            EXPECT_THAT(seen.changed, IsEmpty());
            EXPECT_NE(packed, table);
            EXPECT_THAT(RuleRow(packed[logic_port], packed[logic_port] + 16), ElementsAreArray(row_of(row.after)));
            EXPECT_THAT(RuleRow(packed[1 - logic_port], packed[1 - logic_port] + 16),
                        ElementsAreArray(row_of({empty_rule(), numbered(1)})));
            EXPECT_THAT(table[logic_port], ElementsAreArray(row_of(row.before))) << "the argument is only read";
        }
}

TEST_F(RuleCompaction, igmp_counts_do_not_matter)
{
    put_rules(0, {numbered(1), empty_rule(), numbered(2)});
    setVlanCfgNumber[0] = 0;
    const mcRuleTable packed = sortPortVlanCfg(PortVlanCfg, 0);
    EXPECT_EQ(packed[0][1], numbered(2));
    EXPECT_THAT(PortVlanCfg[0][1], IsEmptyRule());
}

TEST_F(RuleCompaction, the_igmp_workspace_is_overwritten_by_the_next_call_and_may_be_its_argument)
{
    put(table, 0, {empty_rule(), numbered(1)});
    const mcRuleTable first = sortPortVlanCfg(table, 29);
    EXPECT_THAT(first[0][0], IsEmptyRule());
    const mcRuleTable second = sortPortVlanCfg(first, 0);
    EXPECT_EQ(first, second);
    EXPECT_EQ(second[0][0], numbered(1));
}

/** A port number, and the trace of its compaction for each family, after the first line. */
struct SortPort {
    uint32_t port, first_port, second_port;
    int logic_port; // -1 refused
    Log igmp, mld;
};

std::vector<SortPort> sort_ports()
{
    const LogPart refused = err("checkPortlogic logicPort err= -1\r\n");
    const LogPart mld_refused = mld_err("checkPortlogic logicPort err = -1 \r\n"); // intended: other blanks
    std::vector<SortPort> rows;
    const auto add = [&](uint32_t port, uint32_t first, uint32_t second, int logic, Log igmp, Log mld) {
        rows.push_back({port, first, second, logic, std::move(igmp), std::move(mld)});
    };
    for (const uint32_t port : {30u, 255u, 256u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        const auto shown = static_cast<int>(port);
        const Log igmp = {err("\n port(%d) is invalid!", shown), refused};
        const Log mld = {mld_err("\n port(%d) is invalid!", shown), mld_refused};
        add(port, 0, 29, -1, igmp, mld);
        add(port, 0, port, -1, igmp, mld); // configured, and refused all the same
    }
    for (const uint32_t port : {1u, 28u})
        add(port, 0, 29, -1, {err("\n [checkPortState]port(%d) is not find!", static_cast<int>(port)), refused},
            {mld_err("\n [checkPortState]port(%d) is not find!", static_cast<int>(port)), mld_refused});
    add(0, 0, 29, 0, {dbg("checkPortlogic logicPort = 0\r\n")}, {mld_dbg("checkPortlogic logicPort = 0\r\n")});
    add(29, 0, 29, 1, {dbg("checkPortlogic logicPort = 1\r\n")}, {mld_dbg("checkPortlogic logicPort = 1\r\n")});
    add(5, 5, 5, 0, {dbg("checkPortlogic logicPort = 0\r\n")}, {mld_dbg("checkPortlogic logicPort = 0\r\n")});
    return rows;
}

TEST_F(RuleCompaction, the_igmp_port_is_checked_and_told_under_its_own_mask)
{
    for (const SortPort &row : sort_ports())
        for (const uint32_t mask : {0u, 0x01u, 0x04u, 0x05u, 0xFFFFFFFAu}) {
            SCOPED_TRACE(row.port);
            SetUp();
            mc_debug = mask;
            mld_debug = ~mask;
            portState[0].portNo = row.first_port;
            portState[1].portNo = row.second_port;

            mcRuleTable packed = table;
            const auto seen = observe([&] { packed = sortPortVlanCfg(table, row.port); });

            EXPECT_EQ(packed == nullptr, row.logic_port < 0);
            EXPECT_EQ(seen.trace,
                      log_of(Log{dbg("sortPortVlanCfg usport = %d\r\n", static_cast<int>(row.port))} + row.igmp));
            EXPECT_THAT(seen.changed, IsEmpty());
        }
}

// --- mldsortPortVlanCfg

TEST_F(RuleCompaction, mld_rules_of_the_port_close_up_in_the_mld_table_itself)
{
    for (const PackedRow &row : packed_rows())
        for (const int logic_port : {0, 1})
            for (const bool own_table : {false, true}) {
                SetUp();
                RuleTable &given = own_table ? mldInitParams.mldPortVlanCfg : table;
                put(given, logic_port, row.before);
                put(given, 1 - logic_port, {empty_rule(), numbered(1)});

                const mcRuleTable packed = mldsortPortVlanCfg(given, logic_port == 0 ? 0 : 29);

                // intended: no workspace, whichever table was given
                EXPECT_EQ(packed, mldInitParams.mldPortVlanCfg);
                EXPECT_THAT(mldInitParams.mldPortVlanCfg[logic_port], ElementsAreArray(row_of(row.after)));
                EXPECT_THAT(mldInitParams.mldPortVlanCfg[1 - logic_port],
                            ElementsAreArray(row_of({empty_rule(), numbered(1)})));
                if (!own_table) {
                    EXPECT_THAT(table[logic_port], ElementsAreArray(row_of(row.before)));
                }
            }
}

TEST_F(RuleCompaction, the_mld_port_is_checked_and_told_under_its_own_mask)
{
    for (const SortPort &row : sort_ports())
        for (const uint32_t mask : {0u, 0x01u, 0x04u, 0x05u, 0xFFFFFFFAu}) {
            SCOPED_TRACE(row.port);
            SetUp();
            mc_debug = ~mask;
            mld_debug = mask;
            mldInitParams.mldPortState[0].portNo = row.first_port;
            mldInitParams.mldPortState[1].portNo = row.second_port;
            put(table, 0, {empty_rule(), numbered(1)});
            put(table, 1, {empty_rule(), numbered(2)});

            mcRuleTable packed = table;
            const auto seen = observe([&] { packed = mldsortPortVlanCfg(table, row.port); });

            EXPECT_EQ(packed == nullptr, row.logic_port < 0);
            EXPECT_EQ(seen.trace,
                      log_of(Log{mld_dbg("mldsortPortVlanCfg usport = %d\r\n", static_cast<int>(row.port))} + row.mld));
            // intended: the table was copied before the port is looked at
            EXPECT_EQ(mldInitParams.mldPortVlanCfg[0][row.logic_port == 0 ? 0 : 1], numbered(1));
            EXPECT_EQ(mldInitParams.mldPortVlanCfg[1][row.logic_port == 1 ? 0 : 1], numbered(2));
            EXPECT_THAT(records_of(seen.changed), ElementsAre("mldInitParams"));
        }
}

TEST_F(RuleCompaction, the_counts_of_mld_stay)
{
    mldInitParams.mldSetVlanCfgNumber[0] = 7;
    mldsortPortVlanCfg(table, 0);
    EXPECT_EQ(mldInitParams.mldSetVlanCfgNumber[0], 7);
}

// --- sortMcVlan, sortmldVlan

class VlanListCompaction : public LibraryTest {};

TEST_F(VlanListCompaction, what_is_not_0_moves_to_the_front_in_its_order)
{
    struct Lists {
        std::vector<uint16_t> before, after;
    };
    const std::vector<Lists> rows = {
        {{}, {}},
        {{5, 3, 4}, {5, 3, 4}}, // nothing is sorted by value
        {{0, 7}, {7}},
        {{0, 9, 0, 0, 8, 9, 0, 0xFFFF}, {9, 8, 9, 0xFFFF}},
        {{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, {1}},
        {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
        {{16, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15},
         {16, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
    };
    for (const auto sort : {sortMcVlan, sortmldVlan})
        for (const Lists &row : rows) {
            SCOPED_TRACE(::testing::PrintToString(row.before));
            std::vector<uint16_t> list = row.before;
            std::vector<uint16_t> wanted = row.after;
            list.resize(16);
            wanted.resize(16);
            const std::vector<uint16_t> given = list;

            uint16_t *packed = nullptr;
            const auto seen = observe([&] { packed = sort(list.data()); });

            EXPECT_THAT(std::vector<uint16_t>(packed, packed + 16), ElementsAreArray(wanted));
            EXPECT_EQ(list, given) << "the argument is only read";
            EXPECT_EQ(seen.trace, "");
            EXPECT_THAT(seen.changed, IsEmpty());
        }
}

TEST_F(VlanListCompaction, each_function_has_one_workspace_of_its_own)
{
    const uint16_t ones[16] = {1, 1};
    const uint16_t twos[16] = {0, 2};
    const uint16_t *igmp = sortMcVlan(ones);
    const uint16_t *mld = sortmldVlan(twos);
    EXPECT_NE(igmp, mld);
    EXPECT_THAT(std::vector<uint16_t>(igmp, igmp + 3), ElementsAre(1, 1, 0));
    EXPECT_EQ(sortMcVlan(twos), igmp);
    EXPECT_EQ(sortmldVlan(ones), mld);
    EXPECT_THAT(std::vector<uint16_t>(igmp, igmp + 3), ElementsAre(2, 0, 0));
}

// --- IsSameVlanExist

TEST_F(RuleCompaction, a_vlan_is_free_when_no_counted_rule_of_either_port_carries_it)
{
    struct Case {
        const char *what;
        int32_t counts[2];
        uint16_t vlan;
        int32_t free;
    };
    // Row 0 of the table carries 100 and 0x1069, row 1 carries 0xFFFF and 200, and both go on behind that with 300; row
    // 0 ends with 500.
    put(table, 0, {rule(0).in_data(100), rule(0).in_data(0x1069), rule(0).in_data(300)});
    put(table, 1, {rule(0).in_data(0xFFFF), rule(0).in_data(200), rule(0).in_data(300)});
    table[0][15] = rule(0).in_data(500);
    const Case cases[] = {
        {"in row 0", {2, 2}, 100, 0},
        {"in row 1", {2, 2}, 200, 0},
        {"in row 1 with no rule in row 0", {0, 2}, 200, 0},
        {"in row 0 with no rule in row 1", {2, 0}, 100, 0},
        {"behind the count", {2, 2}, 300, 1},
        {"just behind the count", {1, 0}, 0x69, 1},
        {"nothing counted", {0, 0}, 100, 1},
        {"counts below 0", {-1, -1}, 100, 1},
        {"nowhere", {2, 2}, 4000, 1},
        {"the rule's low 12 bits", {2, 2}, 0x69, 0},
        {"all bits of the VLAN", {2, 2}, 0x1069, 1}, // intended: never equal
        {"all bits of a VLAN that a rule carries in 12", {2, 2}, 0x1064, 1},
        {"low bits of no VLAN", {2, 2}, 0x0FFF, 0},
        {"no VLAN", {2, 2}, 0xFFFF, 1},
        {"the last of a full row 0", {16, 0}, 500, 0},
        {"just behind 15 rules", {15, 0}, 500, 1},
    };
    for (const Case &c : cases)
        for (const uint32_t logic_port : {0u, 1u, 7u}) { // not used
            SCOPED_TRACE(c.what);
            std::copy(std::begin(c.counts), std::end(c.counts), setVlanCfgNumber);
            for (const uint32_t mask : {0u, 0x01u, 0xFFFFFFFEu}) {
                mc_debug = mask;
                const auto seen = observe([&] { return IsSameVlanExist(table, logic_port, c.vlan); });
                EXPECT_EQ(seen.result, c.free);
                EXPECT_EQ(seen.trace, c.free == 1 ? "" : log_of({dbg("\nIsSameVlanExist is find")}));
                EXPECT_THAT(seen.changed, IsEmpty());
            }
        }
}

TEST_F(RuleCompaction, the_test_for_a_used_vlan_ends_at_the_first_rule)
{
    traces_logged();
    put(table, 0, RuleRow(16, rule(0).in_data(100)));
    put(table, 1, RuleRow(16, rule(0).in_data(100)));
    setVlanCfgNumber[0] = setVlanCfgNumber[1] = 16;
    const auto seen = observe([&] { return IsSameVlanExist(table, 0, 100); });
    EXPECT_EQ(seen.output, log_of({dbg("\nIsSameVlanExist is find")}));
}

TEST_F(RuleCompaction, the_test_for_a_used_vlan_stays_inside_its_row)
{
    put(table, 1, {rule(0).in_data(100)});
    setVlanCfgNumber[0] = 17;
    EXPECT_EQ(IsSameVlanExist(table, 0, 100), 1);
}

} // namespace
} // namespace mcadapt::test
