// The parameter calls: what they accept, and what the timers then are.
#include "engine_fixture.h"

namespace engine_test {
namespace {

class SettingsTest : public EngineTest {
protected:
    // How long a membership lasts that nobody renews; 0 for ever.
    Duration lifetime(Family family = Family::kIgmp)
    {
        const bool igmp = family == Family::kIgmp;
        engine_.remove_vlan(family, 100);
        engine_.add_vlan(family, 100);
        give(wire::join(family, igmp ? 2 : 1, igmp ? "239.1.2.3" : "ff1e::3"));
        const Time start = clock_.now();
        while (engine_.group_count(family) > 0) {
            if (engine_.next_timer() == kNever)
                return 0s;
            pass(engine_.next_timer() - clock_.now());
        }
        return clock_.now() - start;
    }
};

TEST_F(SettingsTest, the_standard_values_hold_at_first)
{
    EXPECT_EQ(lifetime(), 260s);
    EXPECT_EQ(lifetime(Family::kMld), 260s);
}

TEST_F(SettingsTest, one_call_sets_the_timers_of_both_families)
{
    EXPECT_EQ(engine_.set_timers(3, 60, 5, 1, 2, 1), 0);
    EXPECT_EQ(lifetime(), 185s);
    EXPECT_EQ(lifetime(Family::kMld), 185s);
}

TEST_F(SettingsTest, single_calls_change_one_value_each)
{
    EXPECT_EQ(engine_.set_robustness(4), 0);
    EXPECT_EQ(lifetime(), 510s);
    EXPECT_EQ(engine_.set_query_interval(20), 0);
    EXPECT_EQ(lifetime(), 90s);
    EXPECT_EQ(engine_.set_response_interval(19), 0);
    EXPECT_EQ(lifetime(), 99s);
}

TEST_F(SettingsTest, without_ageing_memberships_last_until_they_are_left)
{
    EXPECT_EQ(engine_.set_timers(2, 125, 10, 1, 2, 0), 0);
    EXPECT_EQ(lifetime(), 0s);
    give(wire::leave(Family::kIgmp, "239.1.2.3"));
    pass(2s);
    EXPECT_EQ(engine_.group_count(Family::kIgmp), 0u);
}

struct Bad {
    uint32_t robustness, query, response, last_interval, last_count;
};

TEST_F(SettingsTest, impossible_values_are_refused_and_change_nothing)
{
    const Bad bad[] = {{0, 125, 10, 1, 2}, {256, 125, 10, 1, 2},  {2, 0, 10, 1, 2},   {2, 31745, 10, 1, 2},
                       {2, 125, 0, 1, 2},  {2, 125, 125, 1, 2},   {2, 10, 10, 1, 2},  {2, 31744, 3175, 1, 2},
                       {2, 125, 10, 0, 2}, {2, 125, 10, 3175, 2}, {2, 125, 10, 1, 0}, {2, 125, 10, 1, 256}};
    for (const Bad &b : bad) {
        SCOPED_TRACE(testing::PrintToString(b.robustness) + " " + testing::PrintToString(b.query) + " " +
                     testing::PrintToString(b.response) + " " + testing::PrintToString(b.last_interval));
        EXPECT_NE(engine_.set_timers(b.robustness, b.query, b.response, b.last_interval, b.last_count, 1), 0);
    }
    EXPECT_NE(engine_.set_robustness(258), 0);
    EXPECT_NE(engine_.set_query_interval(10), 0) << "not above the response interval";
    EXPECT_NE(engine_.set_response_interval(125), 0);
    EXPECT_NE(engine_.set_last_member_interval(0), 0);
    EXPECT_NE(engine_.set_last_member_count(0), 0);
    EXPECT_EQ(lifetime(), 260s);
}

TEST_F(SettingsTest, the_outer_values_are_accepted)
{
    EXPECT_EQ(engine_.set_timers(255, 31744, 3174, 3174, 255, 1), 0);
    EXPECT_EQ(engine_.set_timers(1, 2, 1, 1, 1, 1), 0);
    EXPECT_EQ(lifetime(), 3s);
}

TEST_F(SettingsTest, versions_1_to_3_exist)
{
    for (const uint32_t version : {1u, 2u, 3u})
        EXPECT_EQ(engine_.set_version(version), 0);
    for (const uint32_t version : {0u, 4u, 256u})
        EXPECT_NE(engine_.set_version(version), 0);
}

TEST_F(SettingsTest, a_proxy_source_is_a_hosts_address_or_none)
{
    EXPECT_EQ(engine_.set_proxy_source(wire::ipv4_value("10.25.14.20")), 0);
    EXPECT_EQ(engine_.set_proxy_source(0), 0);
    EXPECT_NE(engine_.set_proxy_source(wire::ipv4_value("239.1.1.1")), 0);
}

TEST_F(SettingsTest, ports_beyond_the_switch_are_refused)
{
    EXPECT_NE(engine_.declare_port(Family::kIgmp, 30), 0);
    EXPECT_EQ(engine_.declare_port(Family::kIgmp, 0xFFFF), 0);
    EXPECT_NE(engine_.set_port_fast_leave(30, 1), 0);
    EXPECT_EQ(engine_.set_port_fast_leave(0xFFFF, 1), 0);
    EXPECT_NE(engine_.set_group_limit(30, 1), 0);
    EXPECT_NE(engine_.set_group_limit(0, -1), 0);
    EXPECT_NE(engine_.set_bandwidth_limit(30, 1, 1, 1), 0);
    EXPECT_NE(engine_.set_range_authorisation(30, 1), 0);
    EXPECT_NE(engine_.remove_ranges(30, 1), 0);
}

TEST_F(SettingsTest, reset_of_the_igmp_half_brings_the_shared_settings_back)
{
    engine_.set_timers(3, 60, 5, 1, 2, 1);
    engine_.set_fast_leave(1);
    engine_.set_white_list(1);
    engine_.reset(Family::kIgmp);
    engine_.declare_port(Family::kIgmp, 0);
    EXPECT_EQ(lifetime(), 260s);
    give(wire::join(Family::kIgmp, 2, "239.1.2.3"));
    give(wire::leave(Family::kIgmp, "239.1.2.3"));
    EXPECT_EQ(engine_.group_count(Family::kIgmp), 1u);
}

} // namespace
} // namespace engine_test
