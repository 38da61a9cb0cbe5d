// Forwarding entries: asked for exactly when the first listener comes and when the last one goes.
#include "engine_fixture.h"

namespace engine_test {
namespace {

class Entries : public TwinTest {
protected:
    void join(const std::string &group, uint32_t port = 0) { give(wire::join(n.family, n.older, group), port); }
    void leave(const std::string &group, uint32_t port = 0) { give(wire::leave(n.family, group), port); }
};

TEST_P(Entries, further_reports_of_a_listener_do_not_touch_the_switch)
{
    for (int i = 0; i < 5; ++i) {
        join(n.group);
        give(record(wire::kIsEx, {i}));
        pass(10s);
    }
    EXPECT_THAT(library_.entries, ElementsAre(entry('+', n.group)));
    EXPECT_THAT(library_.joined, testing::SizeIs(1));
    EXPECT_EQ(engine_.counters(n.family).entries_added, 1u);
}

TEST_P(Entries, each_port_of_a_group_has_its_own)
{
    join(n.group, 0);
    join(n.group, 1);
    leave(n.group, 0);
    pass(2s);
    EXPECT_THAT(library_.entries, ElementsAre(entry('+', n.group, 0), entry('+', n.group, 1), entry('-', n.group, 0)));
}

TEST_P(Entries, a_refused_entry_is_tried_again_at_the_next_report_and_only_then)
{
    library_.add_answer = 1;
    join(n.group);
    pass(100s);
    EXPECT_THAT(library_.entries, testing::SizeIs(1));
    EXPECT_FALSE(engine_.groups(n.family).at(0).installed);
    join(n.group);
    EXPECT_THAT(library_.entries, testing::SizeIs(2));
    library_.add_answer = 0;
    join(n.group);
    EXPECT_THAT(library_.entries, testing::SizeIs(3));
    EXPECT_TRUE(engine_.groups(n.family).at(0).installed);
    join(n.group);
    EXPECT_THAT(library_.entries, testing::SizeIs(3));
    EXPECT_EQ(engine_.counters(n.family).entries_refused, 2u);
    EXPECT_THAT(library_.joined, testing::SizeIs(1)) << "the listener was there all the time";
}

TEST_P(Entries, a_refused_entry_is_not_taken_back)
{
    library_.add_answer = -1;
    join(n.group);
    leave(n.group);
    pass(2s);
    EXPECT_EQ(group_state(), "-");
    EXPECT_THAT(library_.entries, ElementsAre(entry('+', n.group)));
    EXPECT_THAT(library_.joined, testing::SizeIs(2));
}

TEST_P(Entries, what_the_remove_callback_answers_changes_nothing)
{
    library_.remove_answer = 7;
    join(n.group);
    leave(n.group);
    pass(2s);
    EXPECT_EQ(group_state(), "-");
    join(n.group);
    EXPECT_THAT(library_.entries, testing::SizeIs(3));
}

TEST_P(Entries, groups_that_share_a_mac_address_keep_the_entry_until_the_last_of_them_is_gone)
{
    const std::string twin = n.family == Family::kIgmp ? "225.1.2.3" : "ff1e::1:0:3";
    join(n.group);
    join(twin);
    leave(n.group);
    pass(2s);
    EXPECT_THAT(library_.entries, testing::SizeIs(2)) << "the twin still listens";
    leave(twin);
    pass(2s);
    EXPECT_THAT(library_.entries, testing::SizeIs(3));
    EXPECT_EQ(library_.entries.back(), entry('-', twin));
    EXPECT_THAT(library_.joined, testing::SizeIs(4)) << "each membership is told all the same";
}

TEST_P(Entries, a_callback_may_call_the_engine)
{
    library_.on_add = [this] { engine_.remove_vlan(n.family, 100); };
    join(n.group);
    library_.on_add = nullptr;
    EXPECT_EQ(group_state(), "-");
    EXPECT_THAT(library_.entries, ElementsAre(entry('+', n.group), entry('-', n.group)));
}

TEST_P(Entries, a_callback_may_hand_the_engine_another_packet)
{
    library_.on_add = [this] {
        library_.on_add = nullptr;
        join(n.other_group);
        leave(n.group);
    };
    give(record(wire::kIsEx, {1, 2}));
    EXPECT_EQ(group_state(), "EX(;1 2)");
    EXPECT_EQ(state(n.family, n.other_group), "EX(;)");
    pass(2s);
    EXPECT_EQ(group_state(), "-");
}

TEST_P(Entries, what_is_due_happens_before_what_arrives)
{
    join(n.group);
    clock_.advance_to(clock_.now() + 260s);
    join(n.group);
    EXPECT_THAT(library_.entries, ElementsAre(entry('+', n.group), entry('-', n.group), entry('+', n.group)));
}

TEST_P(Entries, memberships_are_told_with_their_cause)
{
    join(n.group);
    leave(n.group);
    pass(2s);
    EXPECT_THAT(library_.reasons, ElementsAre("a host asked for the group", "nobody answered in time"));
}

TEST_P(Entries, one_report_with_many_records_gives_one_entry_each)
{
    give(wire::report(n.family, {{wire::kToEx, n.group, {}}, {wire::kToEx, n.other_group, {}}}));
    EXPECT_THAT(library_.entries, ElementsAre(entry('+', n.group), entry('+', n.other_group)));
}

FOR_BOTH_FAMILIES(Entries);

TEST_F(EngineTest, texts_are_made_only_for_those_who_want_them)
{
    give(wire::join(Family::kIgmp, 2, "239.1.2.3"));
    give(wire::leave(Family::kIgmp, "239.1.2.3"));
    give(wire::report(Family::kIgmp, {{wire::kToEx, "239.1.2.3", {}}, {wire::kToEx, "239.1.2.4", {}}}));
    give(wire::query(Family::kIgmp, {3, "239.1.2.3", 10, false, 2, 125, {"10.9.0.1"}}));
    give(wire::leave(Family::kMld, "ff1e::3"));
    give(wire::query(Family::kMld, {1, ""}));
    EXPECT_THAT(library_.texts,
                ElementsAre("IGMPv2 report for 239.1.2.3", "IGMPv2 leave of 239.1.2.3", "IGMPv3 report, 2 records",
                            "IGMPv3 query for 239.1.2.3, 1 source", "MLDv1 done of ff1e::3", "MLDv1 general query"));
    library_.forget();
    library_.want_texts = false;
    give(wire::join(Family::kIgmp, 2, "239.1.2.3"));
    EXPECT_THAT(library_.texts, ElementsAre(""));
}

TEST_F(EngineTest, an_engine_without_callbacks_keeps_memberships_and_installs_them_at_the_next_report)
{
    Engine bare(clock_, library_);
    bare.declare_port(Family::kIgmp, 0);
    const wire::Bytes packet = wire::join(Family::kIgmp, 2, "239.1.2.3");
    const auto length = static_cast<uint32_t>(packet.size());
    EXPECT_EQ(bare.receive(Family::kIgmp, packet.data(), length, 0, kStartDefaultVlan), 0);
    EXPECT_EQ(bare.group_count(Family::kIgmp), 1u);
    connect(bare);
    EXPECT_EQ(bare.receive(Family::kIgmp, packet.data(), length, 0, kStartDefaultVlan), 0);
    EXPECT_THAT(library_.entries, ElementsAre("+239.1.2.3 vlan 4088 port 0"));
}

} // namespace
} // namespace engine_test
