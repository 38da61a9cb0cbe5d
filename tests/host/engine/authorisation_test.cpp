// White list, ranges of ports, private list, bandwidth.
#include "engine_fixture.h"

namespace engine_test {
namespace {

constexpr Family kIgmp = Family::kIgmp;

class AuthorisationTest : public EngineTest {
protected:
    static uint32_t value(const std::string &group) { return wire::ipv4_value(group); }
    bool joins(const std::string &group, uint32_t port = 0, uint32_t vlan = 100)
    {
        give(wire::join(kIgmp, 2, group), port, vlan);
        return state(kIgmp, group, port, vlan) != "-";
    }
    void range(const std::string &first, const std::string &last, uint32_t vlan = 65535, uint32_t bandwidth = 0,
               uint32_t port = 0)
    {
        EXPECT_EQ(engine_.add_port_range(port, value(first), value(last), bandwidth, vlan), 0);
    }
};

TEST_F(AuthorisationTest, the_white_list_lets_its_ranges_pass_and_nothing_else)
{
    engine_.set_white_list(1);
    EXPECT_EQ(engine_.add_unit_range(value("239.1.0.0"), value("239.1.0.9")), 0);
    EXPECT_TRUE(joins("239.1.0.0"));
    EXPECT_TRUE(joins("239.1.0.9", 1));
    EXPECT_FALSE(joins("239.1.0.10"));
    EXPECT_FALSE(joins("239.0.255.255"));
    EXPECT_EQ(refused(kIgmp, DropReason::kWhiteList), 2u);
    engine_.set_white_list(0);
    EXPECT_TRUE(joins("239.1.0.10"));
}

TEST_F(AuthorisationTest, an_empty_white_list_lets_nothing_pass)
{
    engine_.set_white_list(1);
    EXPECT_FALSE(joins("239.1.0.0"));
}

TEST_F(AuthorisationTest, mld_groups_are_in_no_list)
{
    engine_.set_white_list(1);
    give(wire::join(Family::kMld, 1, "ff1e::3"));
    EXPECT_EQ(state(Family::kMld, "ff1e::3"), "EX(;)");
}

TEST_F(AuthorisationTest, ranges_of_a_port_restrict_that_port_once_turned_on)
{
    range("239.1.0.0", "239.1.0.9", 100);
    EXPECT_TRUE(joins("239.9.0.1"));
    engine_.set_range_authorisation(0, 1);
    engine_.add_vlan(kIgmp, 200);
    EXPECT_TRUE(joins("239.1.0.5"));
    EXPECT_FALSE(joins("239.1.0.5", 0, 200)) << "the range is of VLAN 100";
    EXPECT_FALSE(joins("239.9.0.2"));
    EXPECT_TRUE(joins("239.9.0.2", 1));
    EXPECT_EQ(refused(kIgmp, DropReason::kPortRange), 2u);
}

TEST_F(AuthorisationTest, a_range_for_any_vlan_holds_in_every_vlan)
{
    range("239.1.0.0", "239.1.0.9");
    engine_.set_range_authorisation(0, 1);
    engine_.add_vlan(kIgmp, 200);
    EXPECT_TRUE(joins("239.1.0.5", 0, 200));
}

TEST_F(AuthorisationTest, taking_the_last_range_back_ends_the_restriction_of_the_port)
{
    range("239.1.0.0", "239.1.0.9", 100);
    range("239.2.0.0", "239.2.0.9", 100);
    engine_.set_range_authorisation(0, 1);
    EXPECT_EQ(engine_.remove_port_range(0, value("239.1.0.0"), value("239.1.0.9"), 100), 0);
    EXPECT_FALSE(joins("239.1.0.5"));
    EXPECT_NE(engine_.remove_port_range(0, value("239.2.0.0"), value("239.2.0.8"), 100), 0) << "not the same range";
    EXPECT_EQ(engine_.remove_ranges(0, 100), 0);
    EXPECT_TRUE(joins("239.1.0.5"));
}

TEST_F(AuthorisationTest, all_ranges_of_the_unit_go_with_port_0_and_any_vlan)
{
    engine_.set_white_list(1);
    engine_.add_unit_range(value("239.1.0.0"), value("239.1.0.9"));
    range("239.1.0.0", "239.1.0.9", 100, 0, 1);
    engine_.set_range_authorisation(1, 1);
    EXPECT_EQ(engine_.remove_ranges(0, 65535), 0);
    EXPECT_FALSE(joins("239.1.0.5"));
    engine_.set_white_list(0);
    EXPECT_TRUE(joins("239.9.0.5", 1));
}

TEST_F(AuthorisationTest, ranges_of_one_vlan_go_and_those_of_another_stay)
{
    engine_.add_vlan(kIgmp, 200);
    range("239.1.0.0", "239.1.0.9", 100);
    range("239.1.0.0", "239.1.0.9", 200);
    engine_.set_range_authorisation(0, 1);
    EXPECT_EQ(engine_.remove_ranges(0, 100), 0);
    EXPECT_FALSE(joins("239.1.0.5", 0, 100));
    EXPECT_TRUE(joins("239.1.0.5", 0, 200));
}

TEST_F(AuthorisationTest, all_ranges_of_another_port_go_with_any_vlan_and_no_more)
{
    range("239.1.0.0", "239.1.0.9", 100, 0, 0);
    range("239.1.0.0", "239.1.0.9", 100, 0, 1);
    engine_.set_range_authorisation(0, 1);
    engine_.set_range_authorisation(1, 1);
    EXPECT_EQ(engine_.remove_ranges(1, 65535), 0);
    EXPECT_TRUE(joins("239.9.0.5", 1));
    EXPECT_FALSE(joins("239.9.0.5", 0));
}

TEST_F(AuthorisationTest, the_private_list_restricts_once_it_holds_an_entry)
{
    EXPECT_TRUE(joins("239.9.0.1"));
    EXPECT_EQ(engine_.add_private(value("239.1.0.1"), 100), 0);
    EXPECT_TRUE(joins("239.1.0.1"));
    EXPECT_FALSE(joins("239.9.0.2"));
    EXPECT_EQ(refused(kIgmp, DropReason::kPrivateList), 1u);
    EXPECT_EQ(engine_.remove_private(value("239.1.0.1"), 100), 0);
    EXPECT_NE(engine_.remove_private(value("239.1.0.1"), 100), 0);
    EXPECT_TRUE(joins("239.9.0.2"));
    engine_.add_private(value("239.1.0.1"), 100);
    EXPECT_EQ(engine_.clear_private(), 0);
    EXPECT_TRUE(joins("239.9.0.3"));
}

TEST_F(AuthorisationTest, a_membership_that_is_authorised_no_longer_ends_at_its_next_report)
{
    EXPECT_TRUE(joins("239.1.0.5"));
    engine_.set_white_list(1);
    EXPECT_EQ(state(kIgmp, "239.1.0.5"), "EX(;)");
    EXPECT_FALSE(joins("239.1.0.5"));
    EXPECT_EQ(library_.reasons.back(), "it is authorised no longer");
}

TEST_F(AuthorisationTest, a_leave_is_taken_whatever_the_lists_say)
{
    EXPECT_TRUE(joins("239.1.0.5"));
    engine_.set_white_list(1);
    give(wire::leave(kIgmp, "239.1.0.5"));
    EXPECT_THAT(library_.sent, testing::SizeIs(1));
    pass(2s);
    EXPECT_EQ(state(kIgmp, "239.1.0.5"), "-");
    EXPECT_EQ(refused(kIgmp, DropReason::kWhiteList), 0u);
}

TEST_F(AuthorisationTest, bad_ranges_are_refused)
{
    EXPECT_NE(engine_.add_unit_range(value("239.1.0.9"), value("239.1.0.0")), 0);
    EXPECT_NE(engine_.add_unit_range(value("10.1.0.0"), value("239.1.0.0")), 0);
    EXPECT_NE(engine_.add_port_range(0, value("239.1.0.9"), value("239.1.0.0"), 0, 100), 0);
    EXPECT_NE(engine_.add_port_range(30, value("239.1.0.0"), value("239.1.0.9"), 0, 100), 0);
    EXPECT_NE(engine_.add_private(value("10.1.0.0"), 100), 0);
}

TEST_F(AuthorisationTest, lists_are_bounded)
{
    for (uint32_t i = 0; i < kMaxListEntries; ++i)
        ASSERT_EQ(engine_.add_unit_range(value("239.0.0.0") + i, value("239.0.0.0") + i), 0);
    EXPECT_EQ(engine_.add_unit_range(value("239.9.0.0"), value("239.9.0.0")), static_cast<int32_t>(Result::kFull));
    EXPECT_EQ(engine_.add_unit_range(value("239.0.0.0"), value("239.0.0.0")), 0) << "it is there already";
}

// --- Bandwidth

TEST_F(AuthorisationTest, groups_beyond_the_bandwidth_limit_are_refused_until_there_is_room)
{
    range("239.1.0.0", "239.1.0.255", 100, 400);
    EXPECT_EQ(engine_.set_bandwidth_limit(0, 1, 1000, 100), 0);
    EXPECT_TRUE(joins("239.1.0.1"));
    EXPECT_EQ(engine_.set_bandwidth_limit(0, 1, 1000, 100), 0) << "set again, it counts no group twice";
    EXPECT_TRUE(joins("239.1.0.2"));
    EXPECT_FALSE(joins("239.1.0.3"));
    EXPECT_TRUE(joins("239.9.0.1")) << "a group of no range takes no bandwidth";
    EXPECT_EQ(refused(kIgmp, DropReason::kBandwidth), 1u);
    EXPECT_EQ(engine_.interface_counters(0).bandwidth, 800u);
    EXPECT_EQ(engine_.interface_counters(0).bandwidth_exceeded, 1u);
    give(wire::leave(kIgmp, "239.1.0.1"));
    pass(2s);
    EXPECT_TRUE(joins("239.1.0.3"));
    EXPECT_EQ(engine_.interface_counters(0).bandwidth, 800u);
}

TEST_F(AuthorisationTest, a_limit_that_fits_exactly_is_not_exceeded)
{
    range("239.1.0.0", "239.1.0.255", 100, 500);
    engine_.set_bandwidth_limit(0, 1, 1000, 0);
    EXPECT_TRUE(joins("239.1.0.1"));
    EXPECT_TRUE(joins("239.1.0.2"));
    EXPECT_FALSE(joins("239.1.0.3"));
    engine_.set_bandwidth_limit(0, 0, 1000, 0);
    EXPECT_TRUE(joins("239.1.0.3"));
}

TEST_F(AuthorisationTest, a_limit_counts_what_is_there_already_and_only_its_vlan)
{
    engine_.add_vlan(kIgmp, 200);
    range("239.1.0.0", "239.1.0.255", 65535, 400);
    EXPECT_TRUE(joins("239.1.0.1"));
    EXPECT_TRUE(joins("239.1.0.1", 0, 200));
    EXPECT_TRUE(joins("239.1.0.2", 0, 200));
    engine_.set_bandwidth_limit(0, 1, 1000, 200);
    EXPECT_FALSE(joins("239.1.0.3", 0, 200));
    EXPECT_TRUE(joins("239.1.0.3", 0, 100));
    give(wire::leave(kIgmp, "239.1.0.1"), 0, 100);
    give(wire::leave(kIgmp, "239.1.0.1"), 0, 200);
    pass(2s);
    EXPECT_TRUE(joins("239.1.0.1", 0, 100));
    EXPECT_TRUE(joins("239.1.0.1", 0, 200));
    EXPECT_FALSE(joins("239.1.0.3", 0, 200)) << "800 are used in VLAN 200 again";
    engine_.set_bandwidth_limit(0, 1, 1200, 65535);
    EXPECT_FALSE(joins("239.1.0.4", 0, 100)) << "four groups of 400 are there";
}

} // namespace
} // namespace engine_test
