// Snooping, proxy, control, and going from one to another.
#include "engine_fixture.h"

namespace engine_test {
namespace {

class Modes : public TwinTest {
protected:
    void join(uint32_t port = 0) { give(wire::join(n.family, n.older, n.group), port); }
    void mode(Mode mode) { engine_.set_mode(n.family, mode); }
};

TEST_P(Modes, an_engine_begins_snooping)
{
    EXPECT_EQ(engine_.mode(n.family), Mode::kSnooping);
    Engine fresh(clock_, library_);
    EXPECT_EQ(fresh.mode(n.family), Mode::kSnooping);
}

TEST_P(Modes, in_control_mode_reports_change_nothing)
{
    mode(Mode::kControl);
    join();
    give(record(wire::kToEx));
    give(record(wire::kIsIn, {1}));
    EXPECT_EQ(group_state(), "-");
    EXPECT_THAT(library_.entries, IsEmpty());
    EXPECT_THAT(library_.sent, IsEmpty());
    EXPECT_EQ(refused(n.family, DropReason::kControlMode), 3u);
    EXPECT_EQ(engine_.counters(n.family).accepted, 3u);
}

TEST_P(Modes, in_control_mode_leaves_and_queries_change_nothing_either)
{
    mode(Mode::kControl);
    give(wire::leave(n.family, n.group));
    give(wire::query(n.family, {n.newest, ""}));
    pass(1000s);
    EXPECT_THAT(library_.entries, IsEmpty());
    EXPECT_THAT(library_.sent, IsEmpty());
}

TEST_P(Modes, control_mode_drops_what_was_learned)
{
    join();
    give(record(wire::kIsIn, {1}), 1);
    mode(Mode::kControl);
    EXPECT_EQ(engine_.group_count(n.family), 0u);
    EXPECT_THAT(library_.entries, testing::SizeIs(4));
    EXPECT_EQ(engine_.next_timer(), kNever);
}

TEST_P(Modes, control_entries_and_nothing_else_survive_in_control_mode)
{
    const bool igmp = n.family == Family::kIgmp;
    const uint8_t mac4[6] = {0x01, 0x00, 0x5E, 0x01, 0x02, 0x03};
    const uint8_t mac6[6] = {0x33, 0x33, 0x00, 0x01, 0x02, 0x03};
    mode(Mode::kControl);
    EXPECT_EQ(engine_.control_mac(1, 0, 100, igmp ? mac4 : mac6), 0);
    pass(10000s);
    EXPECT_THAT(library_.entries,
                ElementsAre(igmp ? "+224.1.2.3 vlan 100 port 0" : "+33:33:00:01:02:03 vlan 100 port 0"));
    EXPECT_EQ(engine_.control_mac(0, 0, 100, igmp ? mac4 : mac6), 0);
    EXPECT_THAT(library_.entries, testing::SizeIs(2));
    EXPECT_EQ(library_.entries[1][0], '-');
}

TEST_P(Modes, setting_the_mode_that_is_set_changes_nothing)
{
    join();
    mode(Mode::kSnooping);
    EXPECT_EQ(group_state(), "EX(;)");
    mode(Mode::kProxy);
    pass(50s);
    library_.forget();
    mode(Mode::kProxy);
    pass(0s);
    EXPECT_THAT(library_.sent, IsEmpty()) << "the start-up queries do not begin anew";
}

TEST_P(Modes, groups_stay_between_snooping_and_proxy)
{
    join();
    mode(Mode::kProxy);
    mode(Mode::kSnooping);
    EXPECT_EQ(group_state(), "EX(;)");
    EXPECT_THAT(library_.entries, ElementsAre(entry('+', n.group)));
}

TEST_P(Modes, the_modes_of_the_families_are_their_own)
{
    mode(Mode::kControl);
    const Names &twin = n.family == Family::kIgmp ? mld_names() : igmp_names();
    EXPECT_EQ(engine_.mode(twin.family), Mode::kSnooping);
    give(wire::join(twin.family, twin.older, twin.group));
    EXPECT_EQ(state(twin.family, twin.group), "EX(;)");
}

TEST_P(Modes, a_mode_that_does_not_exist_is_refused)
{
    EXPECT_NE(engine_.set_mode(n.family, static_cast<Mode>(0)), 0);
    EXPECT_NE(engine_.set_mode(n.family, static_cast<Mode>(4)), 0);
    EXPECT_EQ(engine_.mode(n.family), Mode::kSnooping);
}

TEST_P(Modes, reset_gives_every_entry_back_and_forgets_ports_and_vlans)
{
    join();
    mode(Mode::kProxy);
    engine_.reset(n.family);
    EXPECT_EQ(engine_.group_count(n.family), 0u);
    EXPECT_EQ(library_.entries.back(), entry('-', n.group));
    EXPECT_EQ(engine_.mode(n.family), Mode::kSnooping);
    EXPECT_EQ(engine_.next_timer(), kNever);
    EXPECT_EQ(engine_.counters(n.family).received, 0u);
    library_.forget();
    join();
    EXPECT_THAT(library_.drops, ElementsAre("port-not-declared"));
    engine_.declare_port(n.family, 0);
    join();
    EXPECT_THAT(library_.drops, ElementsAre("port-not-declared", "vlan"));
}

FOR_BOTH_FAMILIES(Modes);

} // namespace
} // namespace engine_test
