// The tables of RFC 9776 sections 6.3 and 6.4 and RFC 9777 sections 7.3 and 7.4, row by row, through packets.
#include "engine_fixture.h"

namespace engine_test {
namespace {

constexpr Duration kInterval = 260s; // 2 x 125 s + 10 s
constexpr Duration kLow = 2s;        // last member query time, 2 x 1 s

struct Row {
    const char *name;
    std::vector<int> running; // the state before: INCLUDE(running) or EXCLUDE(running, blocked)
    bool exclude;
    int type;
    std::vector<int> named;
    const char *state;  // after
    const char *timers; // of each running source and of the group: old, new, low (of a queried one)
    bool asks_group;
    std::vector<int> asks_sources;
};

const Row kRows[] = {
    // INCLUDE (A) with A = {1 2}, B = {2 3}
    {"INCLUDE IS_IN", {1, 2}, false, wire::kIsIn, {2, 3}, "IN(1 2 3)", "1:old 2:new 3:new", false, {}},
    {"INCLUDE IS_EX", {1, 2}, false, wire::kIsEx, {2, 3}, "EX(2;3)", "2:old group:new", false, {}},
    {"INCLUDE ALLOW", {1, 2}, false, wire::kAllow, {2, 3}, "IN(1 2 3)", "1:old 2:new 3:new", false, {}},
    {"INCLUDE BLOCK", {1, 2}, false, wire::kBlock, {2, 3}, "IN(1 2)", "1:old 2:low", false, {2}},
    {"INCLUDE TO_EX", {1, 2}, false, wire::kToEx, {2, 3}, "EX(2;3)", "2:low group:new", false, {2}},
    {"INCLUDE TO_IN", {1, 2}, false, wire::kToIn, {2, 3}, "IN(1 2 3)", "1:low 2:new 3:new", false, {1}},
    // EXCLUDE (X,Y) with X = {1 2}, Y = {3 4}, A = {2 4 5}
    {"EXCLUDE IS_IN",
     {1, 2},
     true,
     wire::kIsIn,
     {2, 4, 5},
     "EX(1 2 4 5;3)",
     "1:old 2:new 4:new 5:new group:old",
     false,
     {}},
    {"EXCLUDE IS_EX", {1, 2}, true, wire::kIsEx, {2, 4, 5}, "EX(2 5;4)", "2:old 5:new group:new", false, {}},
    {"EXCLUDE ALLOW",
     {1, 2},
     true,
     wire::kAllow,
     {2, 4, 5},
     "EX(1 2 4 5;3)",
     "1:old 2:new 4:new 5:new group:old",
     false,
     {}},
    {"EXCLUDE BLOCK",
     {1, 2},
     true,
     wire::kBlock,
     {2, 4, 5},
     "EX(1 2 5;3 4)",
     "1:old 2:low 5:low group:old",
     false,
     {2, 5}},
    {"EXCLUDE TO_EX", {1, 2}, true, wire::kToEx, {2, 4, 5}, "EX(2 5;4)", "2:low 5:low group:new", false, {2, 5}},
    {"EXCLUDE TO_IN",
     {1, 2},
     true,
     wire::kToIn,
     {2, 4, 5},
     "EX(1 2 4 5;3)",
     "1:low 2:new 4:new 5:new group:low",
     true,
     {1}},
};

class StateTables : public TwinTest {
protected:
    // Everything of the state before starts at one time, and the record comes 10 seconds later.
    void prepare(const Row &row)
    {
        engine_.remove_all_groups(false);
        engine_.remove_vlan(n.family, 100);
        engine_.add_vlan(n.family, 100);
        if (row.exclude) {
            give(record(wire::kIsEx, {3, 4}));
            give(record(wire::kAllow, row.running));
        } else {
            give(record(wire::kIsIn, row.running));
        }
        started_ = clock_.now();
        pass(10s);
        library_.forget();
    }

    std::string timer(Time end) const
    {
        if (end == started_ + kInterval)
            return "old";
        if (end == clock_.now() + kInterval)
            return "new";
        return end == clock_.now() + kLow ? "low" : "other";
    }

    std::string timers() const
    {
        const GroupView view = engine_.groups(n.family).at(0);
        std::string out;
        for (std::size_t i = 0; i < view.wanted.size(); ++i) {
            const std::string address = text(view.wanted[i]);
            out += (out.empty() ? "" : " ") + address.substr(address.find_last_of(".:") + 1) + ":" +
                   timer(view.wanted_until[i]);
        }
        if (view.exclude)
            out += (out.empty() ? "" : " ") + ("group:" + timer(view.expires));
        return out;
    }

    Lines queries(const Row &row) const
    {
        Lines out;
        if (row.asks_group)
            out.push_back(group_query());
        if (!row.asks_sources.empty())
            out.push_back(source_query(row.asks_sources));
        return out;
    }

    Time started_{0};
};

TEST_P(StateTables, every_record_type_in_both_filter_modes_does_what_the_table_says)
{
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        prepare(row);
        give(record(row.type, row.named));
        EXPECT_EQ(group_state(), row.state);
        EXPECT_EQ(timers(), row.timers);
        EXPECT_EQ(library_.sent, queries(row));
    }
}

TEST_P(StateTables, who_is_not_the_querier_neither_asks_nor_lowers_a_timer)
{
    for (const Row &row : kRows) {
        SCOPED_TRACE(row.name);
        prepare(row);
        give(wire::query(n.family, {n.newest, "", 100, false, 2, 125, {}, -1}));
        library_.forget();
        give(record(row.type, row.named));
        EXPECT_EQ(group_state(), row.state);
        std::string expected = row.timers;
        for (std::size_t at = 0; (at = expected.find("low", at)) != std::string::npos;)
            expected.replace(at, 3, "old"); // a source new in EXCLUDE mode gets the group timer, which is old too
        EXPECT_EQ(timers(), expected);
        EXPECT_THAT(library_.sent, IsEmpty());
    }
}

TEST_P(StateTables, records_without_effect_on_an_unknown_group_make_no_membership)
{
    for (const int type : {wire::kIsIn, wire::kToIn, wire::kAllow}) {
        give(record(type, {}));
        EXPECT_EQ(group_state(), "-") << type;
    }
    give(record(wire::kBlock, {1, 2}));
    EXPECT_EQ(group_state(), "-");
    EXPECT_THAT(library_.entries, IsEmpty());
    EXPECT_THAT(library_.sent, IsEmpty());
}

struct FirstRow {
    int type;
    const char *state;
};

TEST_P(StateTables, the_first_record_of_a_group_starts_from_INCLUDE_of_nothing)
{
    const FirstRow rows[] = {{wire::kIsIn, "IN(1 2)"},
                             {wire::kToIn, "IN(1 2)"},
                             {wire::kAllow, "IN(1 2)"},
                             {wire::kIsEx, "EX(;1 2)"},
                             {wire::kToEx, "EX(;1 2)"}};
    for (const FirstRow &row : rows) {
        SCOPED_TRACE(row.state);
        engine_.remove_vlan(n.family, 100);
        engine_.add_vlan(n.family, 100);
        library_.forget();
        give(record(row.type, {2, 1}));
        EXPECT_EQ(group_state(), row.state);
        EXPECT_THAT(library_.entries, ElementsAre(entry('+', n.group)));
        EXPECT_THAT(library_.sent, IsEmpty());
    }
}

// --- Section 6.3 and 7.2.3: what the timers do

TEST_P(StateTables, a_source_timer_in_INCLUDE_mode_deletes_the_source)
{
    give(record(wire::kIsIn, {1}));
    pass(100s);
    give(record(wire::kIsIn, {2}));
    pass(kInterval - 100s - 1ns);
    EXPECT_EQ(group_state(), "IN(1 2)");
    pass(1ns);
    EXPECT_EQ(group_state(), "IN(2)");
}

TEST_P(StateTables, the_last_source_timer_in_INCLUDE_mode_ends_the_membership)
{
    give(record(wire::kIsIn, {1}));
    pass(kInterval - 1ns);
    EXPECT_EQ(group_state(), "IN(1)");
    pass(1ns);
    EXPECT_EQ(group_state(), "-");
    EXPECT_THAT(library_.entries, ElementsAre(entry('+', n.group), entry('-', n.group)));
}

TEST_P(StateTables, a_source_timer_in_EXCLUDE_mode_blocks_the_source)
{
    give(record(wire::kIsEx, {3}));
    give(record(wire::kAllow, {1}));
    pass(100s);
    give(record(wire::kIsEx, {1, 3}));
    pass(kInterval - 100s - 1ns);
    EXPECT_EQ(group_state(), "EX(1;3)");
    pass(1ns);
    EXPECT_EQ(group_state(), "EX(;1 3)");
}

TEST_P(StateTables, the_group_timer_ends_EXCLUDE_mode_and_keeps_the_sources_whose_timers_run)
{
    give(record(wire::kIsEx, {3}));
    pass(100s);
    give(record(wire::kAllow, {1}));
    pass(kInterval - 100s - 1ns);
    EXPECT_EQ(group_state(), "EX(1;3)");
    pass(1ns);
    EXPECT_EQ(group_state(), "IN(1)");
    EXPECT_THAT(library_.entries, ElementsAre(entry('+', n.group)));
}

TEST_P(StateTables, the_group_timer_of_a_group_without_running_sources_ends_the_membership)
{
    give(record(wire::kIsEx, {3}));
    pass(kInterval);
    EXPECT_EQ(group_state(), "-");
    EXPECT_THAT(library_.entries, ElementsAre(entry('+', n.group), entry('-', n.group)));
}

FOR_BOTH_FAMILIES(StateTables);

} // namespace
} // namespace engine_test
