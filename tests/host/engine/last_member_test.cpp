// Leaving: last-member queries, their retransmission, fast leave.
#include "engine_fixture.h"

namespace engine_test {
namespace {

class LastMember : public TwinTest {
protected:
    void join() { give(wire::join(n.family, n.older, n.group)); }
    void leave() { give(wire::leave(n.family, n.group)); }
};

TEST_P(LastMember, a_leave_asks_at_once_and_again_and_ends_the_membership_after_the_last_member_time)
{
    join();
    leave();
    EXPECT_THAT(library_.sent, ElementsAre(group_query()));
    pass(999ms);
    EXPECT_THAT(library_.sent, testing::SizeIs(1));
    pass(1ms);
    EXPECT_THAT(library_.sent, ElementsAre(group_query(), group_query()));
    pass(999ms);
    EXPECT_EQ(library_.entries.back(), entry('+', n.group));
    pass(1ms);
    EXPECT_EQ(library_.entries.back(), entry('-', n.group));
    EXPECT_THAT(library_.sent, testing::SizeIs(2));
    EXPECT_EQ(engine_.next_timer(), kNever);
}

TEST_P(LastMember, a_report_in_time_keeps_the_membership_and_the_queries_left_carry_the_suppress_flag)
{
    join();
    leave();
    pass(500ms);
    join();
    pass(500ms);
    EXPECT_THAT(library_.sent, ElementsAre(group_query(), group_query(true)));
    pass(200s);
    EXPECT_EQ(group_state(), "EX(;)");
    EXPECT_THAT(library_.entries, ElementsAre(entry('+', n.group)));
    EXPECT_THAT(library_.sent, testing::SizeIs(2));
    EXPECT_GT(engine_.next_timer(), clock_.now() + 10s) << "no round of queries is left";
}

TEST_P(LastMember, repeated_leaves_neither_add_queries_nor_prolong_the_time)
{
    join();
    for (int i = 0; i < 10; ++i) {
        leave();
        pass(150ms);
    }
    EXPECT_THAT(library_.sent, testing::SizeIs(2));
    pass(500ms);
    EXPECT_EQ(group_state(), "-");
}

TEST_P(LastMember, neither_do_repeated_blocks)
{
    give(record(wire::kIsIn, {1, 2}));
    for (int i = 0; i < 10; ++i) {
        give(record(wire::kBlock, {2}));
        pass(150ms);
    }
    EXPECT_THAT(library_.sent, testing::SizeIs(2));
    pass(500ms);
    EXPECT_EQ(group_state(), "IN(1)");
}

TEST_P(LastMember, a_leave_of_an_unknown_group_does_nothing)
{
    leave();
    EXPECT_THAT(library_.sent, IsEmpty());
    EXPECT_THAT(library_.entries, IsEmpty());
    EXPECT_EQ(engine_.counters(n.family).leaves_received, 1u);
}

TEST_P(LastMember, a_leave_on_one_port_leaves_the_other_port_alone)
{
    join();
    give(wire::join(n.family, n.older, n.group), 1);
    leave();
    pass(10s);
    EXPECT_EQ(group_state(0), "-");
    EXPECT_EQ(group_state(1), "EX(;)");
}

TEST_P(LastMember, blocked_sources_are_asked_for_until_their_own_last_member_time)
{
    give(record(wire::kIsIn, {1, 2}));
    give(record(wire::kBlock, {2}));
    pass(500ms);
    give(record(wire::kAllow, {2}));
    pass(500ms);
    EXPECT_THAT(library_.sent, ElementsAre(source_query({2}), source_query({2}, true)));
    pass(10s);
    EXPECT_EQ(group_state(), "IN(1 2)");
}

TEST_P(LastMember, queries_with_and_without_suppress_go_out_apart)
{
    give(record(wire::kIsIn, {1, 2}));
    give(record(wire::kBlock, {1, 2}));
    give(record(wire::kAllow, {2}));
    pass(1s);
    EXPECT_THAT(library_.sent, ElementsAre(source_query({1, 2}), source_query({1}), source_query({2}, true)));
}

TEST_P(LastMember, count_and_interval_are_the_ones_set)
{
    engine_.set_last_member_count(4);
    engine_.set_last_member_interval(3);
    join();
    leave();
    pass(12s - 1ns);
    EXPECT_THAT(library_.sent, testing::SizeIs(4));
    EXPECT_EQ(group_state(), "EX(;)");
    pass(1ns);
    EXPECT_EQ(group_state(), "-");
}

TEST_P(LastMember, queries_want_their_answer_within_the_last_member_interval_and_tell_the_units_own_values)
{
    engine_.set_last_member_interval(3);
    give(record(wire::kIsEx, {1}));
    give(record(wire::kAllow, {2}));
    give(record(wire::kToIn));
    ASSERT_EQ(library_.packets.size(), 2u); // for the group and for source 2
    for (const wire::Bytes &packet : library_.packets) {
        const bool igmp = n.family == Family::kIgmp;
        EXPECT_EQ(igmp ? packet[25] : packet[52] * 256 + packet[53], igmp ? 30 : 3000);
        EXPECT_EQ(packet[igmp ? 32 : 72], 2);   // robustness
        EXPECT_EQ(packet[igmp ? 33 : 73], 125); // query interval
    }
}

TEST_P(LastMember, a_count_of_one_asks_once)
{
    engine_.set_last_member_count(1);
    join();
    leave();
    pass(1s);
    EXPECT_EQ(group_state(), "-");
    EXPECT_THAT(library_.sent, ElementsAre(group_query()));
}

TEST_P(LastMember, fast_leave_of_the_port_ends_the_membership_at_once)
{
    engine_.set_port_fast_leave(0, 1);
    join();
    give(wire::join(n.family, n.older, n.group), 1);
    leave();
    EXPECT_EQ(group_state(0), "-");
    EXPECT_THAT(library_.sent, IsEmpty());
    give(wire::leave(n.family, n.group), 1);
    EXPECT_EQ(group_state(1), "EX(;)") << "the other port asks";
    EXPECT_THAT(library_.sent, ElementsAre(group_query(false, 1)));
}

TEST_P(LastMember, fast_leave_of_every_port_can_be_taken_back_for_one)
{
    engine_.set_fast_leave(1);
    engine_.set_port_fast_leave(0, 0);
    join();
    leave();
    EXPECT_EQ(group_state(), "EX(;)");
    give(wire::join(n.family, n.older, n.group), 1);
    give(wire::leave(n.family, n.group), 1);
    EXPECT_EQ(group_state(1), "-");
    engine_.set_fast_leave(0);
    give(wire::join(n.family, n.older, n.group), 1);
    give(wire::leave(n.family, n.group), 1);
    EXPECT_EQ(group_state(1), "EX(;)");
}

struct FastRow {
    std::vector<int> running;
    bool exclude;
    int type;
    std::vector<int> named;
    const char *state;
};

TEST_P(LastMember, fast_leave_does_at_once_what_silence_would_have_done)
{
    const FastRow rows[] = {
        {{1, 2}, false, wire::kBlock, {2}, "IN(1)"},      {{1, 2}, false, wire::kBlock, {1, 2}, "-"},
        {{1, 2}, false, wire::kToIn, {2, 3}, "IN(2 3)"},  {{1, 2}, false, wire::kToIn, {}, "-"},
        {{1, 2}, false, wire::kToEx, {2, 3}, "EX(;2 3)"}, {{1, 2}, true, wire::kBlock, {2, 5}, "EX(1;2 3 5)"},
        {{1, 2}, true, wire::kToIn, {2, 4}, "IN(2 4)"},   {{1, 2}, true, wire::kToIn, {}, "-"},
        {{1, 2}, true, wire::kToEx, {2, 5}, "EX(;2 5)"},
    };
    engine_.set_fast_leave(1);
    for (const FastRow &row : rows) {
        SCOPED_TRACE(row.state);
        engine_.remove_vlan(n.family, 100);
        engine_.add_vlan(n.family, 100);
        if (row.exclude)
            give(record(wire::kIsEx, {3}));
        give(record(wire::kAllow, row.running));
        library_.forget();
        give(record(row.type, row.named));
        EXPECT_EQ(group_state(), row.state);
        EXPECT_THAT(library_.sent, IsEmpty());
    }
}

FOR_BOTH_FAMILIES(LastMember);

} // namespace
} // namespace engine_test
