// Who queries: election, other querier present, the unit's own general queries in proxy mode.
#include "engine_fixture.h"

namespace engine_test {
namespace {

class QuerierTest : public TwinTest {
protected:
    wire::Bytes heard(const std::string &source, const std::string &group = "", bool suppress = false,
                      const std::vector<int> &sources = {}) const
    {
        wire::Around around;
        around.source = source;
        const int code = n.family == Family::kIgmp ? 10 : 1000; // 1 second
        return wire::query(n.family, {n.newest, group, code, suppress, 2, 125, n.sources(sources), -1}, around);
    }
    void proxy() { engine_.set_mode(n.family, Mode::kProxy); }
    void join() { give(wire::join(n.family, n.older, n.group)); }
    void leave(uint32_t port = 0) { give(wire::leave(n.family, n.group), port); }

    // Addresses below and above the unit's own.
    std::string low() const { return n.family == Family::kIgmp ? "10.0.0.1" : "fe80::1"; }
    std::string high() const { return n.family == Family::kIgmp ? "10.99.0.1" : "fe80::ffff:0:0:1"; }
    std::string general(uint32_t port) const
    {
        const std::string own = n.family == Family::kIgmp ? "10.25.14.20" : n.from;
        return "port " + std::to_string(port) + " vlan 100: " + n.querier + " from " + own + " to " +
               (n.family == Family::kIgmp ? "224.0.0.1" : "ff02::1");
    }
};

// --- Snooping

TEST_P(QuerierTest, a_snooping_unit_never_sends_a_general_query)
{
    join();
    pass(1000s);
    EXPECT_THAT(library_.sent, IsEmpty());
}

TEST_P(QuerierTest, a_snooping_unit_leaves_the_last_member_queries_to_another_querier)
{
    join();
    give(heard(high()));
    leave();
    EXPECT_THAT(library_.sent, IsEmpty());
    pass(100s);
    EXPECT_EQ(group_state(), "EX(;)");
}

TEST_P(QuerierTest, the_other_queriers_specific_query_lowers_the_group_timer)
{
    join();
    give(heard(high()));
    leave();
    give(heard(high(), n.group));
    pass(2s - 1ns);
    EXPECT_EQ(group_state(), "EX(;)");
    pass(1ns);
    EXPECT_EQ(group_state(), "-");
}

TEST_P(QuerierTest, a_query_raises_no_timer_that_is_lower_already)
{
    join();
    give(heard(high(), n.group));
    pass(1s);
    give(heard(high(), n.group));
    pass(1s);
    EXPECT_EQ(group_state(), "-");
    give(record(wire::kIsIn, {1}));
    give(heard(high(), n.group, false, {1}));
    pass(1s);
    give(heard(high(), n.group, false, {1}));
    pass(1s);
    EXPECT_EQ(group_state(), "-");
}

TEST_P(QuerierTest, the_suppress_flag_keeps_the_timers)
{
    join();
    give(heard(high(), n.group, true));
    pass(100s);
    EXPECT_EQ(group_state(), "EX(;)");
}

TEST_P(QuerierTest, a_query_that_names_sources_lowers_their_timers_only)
{
    give(record(wire::kIsIn, {1, 2}));
    give(heard(high(), n.group, false, {2}));
    pass(2s);
    EXPECT_EQ(group_state(), "IN(1)");
}

TEST_P(QuerierTest, a_query_on_one_port_touches_no_other_port)
{
    give(wire::join(n.family, n.older, n.group), 1);
    give(heard(low(), n.group), 0);
    pass(100s);
    EXPECT_EQ(group_state(1), "EX(;)");
    leave(1);
    EXPECT_THAT(library_.sent, ElementsAre(group_query(false, 1))) << "port 1 has no other querier";
}

TEST_P(QuerierTest, a_querier_behind_the_uplink_is_in_charge_of_every_port_of_its_vlan)
{
    join();
    give(wire::join(n.family, n.older, n.group), 1);
    give(heard(high()), kUplink);
    leave();
    EXPECT_THAT(library_.sent, IsEmpty());
    give(heard(high(), n.group), kUplink);
    pass(2s);
    EXPECT_EQ(group_state(0), "-");
    EXPECT_EQ(group_state(1), "-");
}

TEST_P(QuerierTest, the_other_querier_is_present_for_robustness_times_its_interval_and_half_a_response_interval)
{
    join();
    give(heard(high()));
    pass(255s - 1ns); // 2 x 125 s + 5 s
    join();
    leave();
    EXPECT_THAT(library_.sent, IsEmpty());
    pass(1ns);
    leave();
    EXPECT_THAT(library_.sent, ElementsAre(group_query()));
}

TEST_P(QuerierTest, memberships_last_as_long_as_the_querier_in_charge_tells)
{
    wire::Query fast{n.newest, "", 100, false, 3, 20, {}, -1};
    give(wire::query(n.family, fast));
    join();
    pass(70s - 1ns); // 3 x 20 s + 10 s
    EXPECT_EQ(group_state(), "EX(;)");
    pass(1ns);
    EXPECT_EQ(group_state(), "-");
}

TEST_P(QuerierTest, a_unit_that_loses_the_election_stops_asking_midway)
{
    join();
    leave();
    give(heard(low()));
    library_.forget();
    pass(1s);
    EXPECT_THAT(library_.sent, IsEmpty());
}

// --- Proxy

TEST_P(QuerierTest, a_proxy_queries_every_user_port_at_once_then_after_a_quarter_then_every_interval)
{
    proxy();
    pass(0s);
    EXPECT_THAT(library_.sent, ElementsAre(general(0), general(1)));
    pass(31249ms);
    EXPECT_THAT(library_.sent, testing::SizeIs(2));
    pass(1ms);
    EXPECT_THAT(library_.sent, testing::SizeIs(4));
    pass(125s - 1ns);
    EXPECT_THAT(library_.sent, testing::SizeIs(4));
    pass(1ns);
    EXPECT_THAT(library_.sent, testing::SizeIs(6));
    pass(125s);
    EXPECT_THAT(library_.sent, testing::SizeIs(8));
}

TEST_P(QuerierTest, a_querier_with_a_lower_address_silences_the_proxy_on_its_port)
{
    proxy();
    pass(100s);
    library_.forget();
    give(heard(low()), 0);
    pass(200s);
    EXPECT_THAT(library_.sent, testing::Each(general(1)));
    EXPECT_THAT(library_.sent, testing::Not(IsEmpty()));
}

TEST_P(QuerierTest, a_querier_with_a_higher_address_does_not)
{
    proxy();
    pass(100s);
    library_.forget();
    give(heard(high()), 0);
    pass(125s);
    EXPECT_THAT(library_.sent, ElementsAre(general(0), general(1)));
}

TEST_P(QuerierTest, the_proxy_queries_again_when_the_other_querier_is_gone)
{
    proxy();
    pass(100s);
    give(heard(low()), 0);
    pass(255s - 1ns);
    library_.forget();
    pass(1ns);
    EXPECT_THAT(library_.sent, ElementsAre(general(0)));
    pass(125s);
    EXPECT_EQ(std::count(library_.sent.begin(), library_.sent.end(), general(0)), 2);
}

TEST_P(QuerierTest, who_lost_at_start_up_does_not_start_up_again)
{
    engine_.set_robustness(3);
    proxy();
    pass(0s);
    give(heard(low()), 0);
    pass(255s - 1ns);
    library_.forget();
    pass(100s);
    EXPECT_EQ(std::count(library_.sent.begin(), library_.sent.end(), general(0)), 1);
}

TEST_P(QuerierTest, general_queries_want_their_answer_within_the_response_interval)
{
    engine_.set_response_interval(5);
    proxy();
    pass(0s);
    const wire::Bytes &packet = library_.packets.at(0);
    EXPECT_EQ(n.family == Family::kIgmp ? packet[25] : packet[52] * 256 + packet[53],
              n.family == Family::kIgmp ? 50 : 5000);
}

TEST_P(QuerierTest, a_specific_query_of_the_loser_does_not_lower_timers)
{
    proxy();
    join();
    give(heard(high(), n.group), 0);
    pass(10s);
    EXPECT_EQ(group_state(), "EX(;)");
}

TEST_P(QuerierTest, leaving_proxy_mode_ends_the_queries)
{
    proxy();
    pass(10s);
    engine_.set_mode(n.family, Mode::kSnooping);
    library_.forget();
    pass(1000s);
    EXPECT_THAT(library_.sent, IsEmpty());
    EXPECT_EQ(engine_.next_timer(), kNever);
}

TEST_P(QuerierTest, a_vlan_is_queried_from_its_registration_to_its_end)
{
    proxy();
    pass(100s);
    library_.forget();
    engine_.add_vlan(n.family, 200);
    pass(0s);
    EXPECT_EQ(library_.sent.size(), 2u);
    EXPECT_THAT(library_.sent, testing::Each(testing::HasSubstr("vlan 200")));
    engine_.remove_vlan(n.family, 200);
    library_.forget();
    pass(500s);
    EXPECT_THAT(library_.sent, testing::Each(testing::HasSubstr("vlan 100")));
}

FOR_BOTH_FAMILIES(QuerierTest);

class IgmpQuerier : public EngineTest {};

TEST_F(IgmpQuerier, a_query_from_0_0_0_0_elects_nobody)
{
    give(wire::join(Family::kIgmp, 2, "239.1.2.3"));
    wire::Around around;
    around.source = "0.0.0.0";
    give(wire::query(Family::kIgmp, {3, ""}, around));
    give(wire::leave(Family::kIgmp, "239.1.2.3"));
    EXPECT_THAT(library_.sent, testing::SizeIs(1));
}

TEST_F(IgmpQuerier, queries_are_sent_in_the_version_set)
{
    engine_.set_version(2);
    engine_.set_mode(Family::kIgmp, Mode::kProxy);
    pass(0s);
    EXPECT_THAT(library_.sent, testing::Contains("port 0 vlan 100: IGMPv2 query from 10.25.14.20 to 224.0.0.1"));
    library_.forget();
    give(wire::join(Family::kIgmp, 2, "239.1.2.3"));
    give(wire::leave(Family::kIgmp, "239.1.2.3"));
    EXPECT_THAT(library_.sent,
                testing::Contains("port 0 vlan 100: IGMPv2 query 239.1.2.3 from 10.25.14.20 to 239.1.2.3"));
}

TEST_F(IgmpQuerier, mld_queries_come_from_the_link_local_address_of_the_mac)
{
    const uint8_t mac[6] = {0x02, 0x19, 0xC6, 0x01, 0x02, 0x03};
    engine_.set_mac(mac);
    give(wire::join(Family::kMld, 1, "ff1e::3"));
    give(wire::leave(Family::kMld, "ff1e::3"));
    EXPECT_THAT(library_.sent,
                ElementsAre("port 0 vlan 100: MLDv2 query ff1e::3 from fe80::19:c6ff:fe01:203 to ff1e::3"));
}

TEST_F(IgmpQuerier, without_registered_vlans_the_default_vlan_is_queried)
{
    engine_.remove_vlan(Family::kIgmp, 100);
    engine_.set_default_vlan(Family::kIgmp, 300);
    engine_.set_mode(Family::kIgmp, Mode::kProxy);
    pass(0s);
    EXPECT_THAT(library_.sent, testing::SizeIs(2));
    EXPECT_THAT(library_.sent, testing::Each(testing::HasSubstr("vlan 300")));
}

} // namespace
} // namespace engine_test
