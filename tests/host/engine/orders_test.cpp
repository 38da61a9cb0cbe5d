// Groups by order: static groups and control calls.
#include "engine_fixture.h"

namespace engine_test {
namespace {

constexpr Family kIgmp = Family::kIgmp;
const std::string kGroup = "239.1.2.3";

class Orders : public EngineTest {
protected:
    static uint32_t value(const std::string &group = kGroup) { return wire::ipv4_value(group); }
    void join() { give(wire::join(kIgmp, 2, kGroup)); }
    void leave() { give(wire::leave(kIgmp, kGroup)); }
    static int32_t number(Result result) { return static_cast<int32_t>(result); }
};

TEST_F(Orders, a_static_group_is_installed_without_any_report_and_never_times_out)
{
    EXPECT_EQ(engine_.add_static(0, 100, value(), 0), 0);
    EXPECT_THAT(library_.entries, ElementsAre("+239.1.2.3 vlan 100 port 0"));
    pass(10000s);
    leave();
    pass(10s);
    EXPECT_THAT(library_.entries, testing::SizeIs(1));
    EXPECT_TRUE(engine_.groups(kIgmp).at(0).fixed);
}

TEST_F(Orders, adding_it_again_and_removing_what_is_not_there_are_no_faults)
{
    EXPECT_EQ(engine_.remove_static(0, 100, value(), 0), 0);
    EXPECT_EQ(engine_.add_static(0, 100, value(), 0), 0);
    EXPECT_EQ(engine_.add_static(0, 100, value(), 0), 0);
    EXPECT_THAT(library_.entries, testing::SizeIs(1));
}

TEST_F(Orders, a_static_group_may_be_added_before_its_vlan_is_registered)
{
    EXPECT_EQ(engine_.add_static(0, 300, value(), 0), 0);
    EXPECT_THAT(library_.entries, ElementsAre("+239.1.2.3 vlan 300 port 0"));
}

TEST_F(Orders, a_listener_keeps_the_group_when_the_static_order_ends_and_the_other_way_round)
{
    engine_.add_static(0, 100, value(), 0);
    join();
    engine_.remove_static(0, 100, value(), 0);
    EXPECT_EQ(state(kIgmp, kGroup), "EX(;)");
    EXPECT_THAT(library_.entries, testing::SizeIs(1));
    engine_.add_static(0, 100, value(), 0);
    leave();
    pass(2s);
    EXPECT_EQ(state(kIgmp, kGroup), "IN()");
    EXPECT_THAT(library_.entries, testing::SizeIs(1));
    engine_.remove_static(0, 100, value(), 0);
    EXPECT_THAT(library_.entries, ElementsAre("+239.1.2.3 vlan 100 port 0", "-239.1.2.3 vlan 100 port 0"));
}

TEST_F(Orders, a_refused_static_entry_is_tried_again_when_it_is_ordered_again_or_reported)
{
    library_.add_answer = 1;
    engine_.add_static(0, 100, value(), 0);
    engine_.add_static(0, 100, value(), 0);
    library_.add_answer = 0;
    join();
    EXPECT_THAT(library_.entries, testing::SizeIs(3));
    EXPECT_TRUE(engine_.groups(kIgmp).at(0).installed);
}

struct Refusal {
    const char *what;
    uint32_t port, vlan, group, source;
    Result result;
};

TEST_F(Orders, what_cannot_be_a_group_is_refused)
{
    const Refusal refusals[] = {
        {"undeclared port", 5, 100, value(), 0, Result::kUnknownPort},
        {"no such port", 30, 100, value(), 0, Result::kUnknownPort},
        {"VLAN 0", 0, 0, value(), 0, Result::kInvalid},
        {"VLAN 4095", 0, 4095, value(), 0, Result::kInvalid},
        {"VLAN of 16 bits", 0, 65535, value(), 0, Result::kInvalid},
        {"unicast address", 0, 100, value("10.1.2.3"), 0, Result::kInvalid},
        {"class E", 0, 100, value("240.0.0.1"), 0, Result::kInvalid},
        {"index too high", 0, 100, 65536, 0, Result::kInvalid},
        {"224.0.0.5", 0, 100, value("224.0.0.5"), 0, Result::kRefused},
        {"a source", 0, 100, value(), 1, Result::kInvalid},
    };
    for (const Refusal &r : refusals) {
        SCOPED_TRACE(r.what);
        EXPECT_EQ(engine_.add_static(r.port, r.vlan, r.group, r.source), number(r.result));
        EXPECT_EQ(engine_.remove_static(r.port, r.vlan, r.group, r.source), number(r.result));
    }
    EXPECT_EQ(engine_.group_count(kIgmp), 0u);
}

TEST_F(Orders, small_values_count_from_the_channel_base)
{
    engine_.add_static(0, 100, 10, 0);
    engine_.add_static(0, 100, 0x1FF, 0);
    EXPECT_THAT(library_.entries, ElementsAre("+239.1.1.10 vlan 100 port 0", "+239.1.2.255 vlan 100 port 0"));
    EXPECT_EQ(engine_.set_channel_base(value("232.8.0.0")), Result::kOk);
    engine_.add_static(0, 100, 10, 0);
    EXPECT_EQ(library_.entries.back(), "+232.8.0.10 vlan 100 port 0");
    EXPECT_EQ(engine_.set_channel_base(value("10.0.0.0")), Result::kInvalid);
    EXPECT_EQ(engine_.set_channel_base(value("224.0.0.0")), Result::kInvalid);
}

TEST_F(Orders, the_uplink_has_both_its_numbers)
{
    engine_.add_static(0xFFFF, 100, value(), 0);
    EXPECT_THAT(library_.entries, ElementsAre("+239.1.2.3 vlan 100 port 29"));
    engine_.remove_static(29, 100, value(), 0);
    EXPECT_THAT(library_.entries, testing::SizeIs(2));
}

TEST_F(Orders, control_calls_add_and_remove_channels)
{
    engine_.set_mode(kIgmp, Mode::kControl);
    EXPECT_EQ(engine_.control_channel(0, 1, 100, 7), 0);
    EXPECT_EQ(engine_.control_channel(0, 1, 100, value()), 0);
    EXPECT_EQ(engine_.control_channel(0, 0, 100, 7), 0);
    EXPECT_EQ(engine_.control_channel(0, 2, 100, 8), number(Result::kInvalid));
    EXPECT_THAT(library_.entries,
                ElementsAre("+239.1.1.7 vlan 100 port 0", "+239.1.2.3 vlan 100 port 0", "-239.1.1.7 vlan 100 port 0"));
    EXPECT_TRUE(engine_.groups(kIgmp).at(0).controlled);
}

struct MacRow {
    std::vector<uint8_t> mac;
    Result result;
};

TEST_F(Orders, control_by_mac_address_takes_multicast_addresses_of_either_family)
{
    const MacRow rows[] = {
        {{0x01, 0x00, 0x5E, 0x01, 0x02, 0x03}, Result::kOk},
        {{0x01, 0x00, 0x5E, 0x7F, 0xFF, 0xFF}, Result::kOk},
        {{0x01, 0x00, 0x5E, 0x80, 0x00, 0x01}, Result::kInvalid},
        {{0x01, 0x00, 0x5E, 0x00, 0x00, 0x05}, Result::kRefused},
        {{0x33, 0x33, 0x00, 0x00, 0x01, 0x00}, Result::kOk},
        {{0x33, 0x33, 0x00, 0x00, 0x00, 0x01}, Result::kRefused},
        {{0x33, 0x33, 0xFF, 0x01, 0x02, 0x03}, Result::kRefused},
        {{0x33, 0x34, 0x00, 0x00, 0x01, 0x00}, Result::kInvalid},
        {{0x02, 0x19, 0xC6, 0x01, 0x02, 0x03}, Result::kInvalid},
    };
    for (const MacRow &row : rows)
        EXPECT_EQ(engine_.control_mac(1, 0, 100, row.mac.data()), number(row.result)) << wire::Bytes(row.mac).at(5);
    EXPECT_THAT(library_.entries, ElementsAre("+224.1.2.3 vlan 100 port 0", "+224.127.255.255 vlan 100 port 0",
                                              "+33:33:00:00:01:00 vlan 100 port 0"));
}

TEST_F(Orders, control_by_mac_address_refuses_what_it_does_not_know)
{
    const uint8_t mac[6] = {0x01, 0x00, 0x5E, 0x01, 0x02, 0x03};
    EXPECT_EQ(engine_.control_mac(3, 0, 100, mac), number(Result::kInvalid));
    EXPECT_EQ(engine_.control_mac(1, 0xFFFF, 100, mac), number(Result::kUnknownPort))
        << "port 0 of the agent, not the uplink";
    EXPECT_EQ(engine_.control_mac(1, 7, 100, mac), number(Result::kUnknownPort));
    EXPECT_EQ(engine_.control_mac(1, 0, 0, mac), number(Result::kInvalid));
    EXPECT_EQ(engine_.control_mac(1, 0, 100, nullptr), number(Result::kInvalid));
    EXPECT_THAT(library_.entries, IsEmpty());
}

TEST_F(Orders, all_groups_go_or_all_but_the_static_ones)
{
    engine_.add_static(0, 100, value(), 0);
    engine_.control_channel(0, 1, 100, 7);
    join();
    give(wire::join(kIgmp, 2, "239.1.2.9"));
    give(wire::join(Family::kMld, 1, "ff1e::3"));
    engine_.remove_all_groups(true);
    EXPECT_EQ(engine_.group_count(kIgmp), 1u);
    EXPECT_EQ(state(kIgmp, kGroup), "IN()");
    engine_.remove_all_groups(false);
    EXPECT_EQ(engine_.group_count(kIgmp), 0u);
    EXPECT_EQ(engine_.group_count(Family::kMld), 1u) << "the call is the IGMP half's";
    EXPECT_EQ(engine_.next_timer() == kNever, false);
}

TEST_F(Orders, static_groups_do_not_count_against_the_limit)
{
    engine_.set_group_limit(0, 1);
    engine_.add_static(0, 100, value("239.1.2.8"), 0);
    engine_.add_static(0, 100, value("239.1.2.9"), 0);
    join();
    EXPECT_EQ(state(kIgmp, kGroup), "EX(;)");
}

} // namespace
} // namespace engine_test
