#include <string>

#include "tests/host/switch/switch_fixture.h"

namespace mcadapt::host::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Forwarding : public SwitchTest {
protected:
    std::vector<uint32_t> ports_left_by(uint32_t from, const Packet &packet)
    {
        record = Record();
        EXPECT_FALSE(arrive(from, packet));
        EXPECT_EQ(record.told_left_by, record.left_by);
        EXPECT_THAT(record.by_library, Each(false));
        EXPECT_THAT(record.frames, Each(packet));
        return record.left_by;
    }
};

TEST_F(Forwarding, reaches_the_listeners_of_the_address_and_vlan_alone)
{
    filter();
    EXPECT_EQ(unit.add_entry(0, kGroupMac.data(), 200), 0);
    EXPECT_THAT(ports_left_by(kUplinkPort, data_in_vlan(200)), ElementsAre(kUserPort));
    EXPECT_THAT(record.actions, ElementsAre(SwitchAction::kForwarded));
    EXPECT_THAT(record.reasons, ElementsAre(""));
    EXPECT_THAT(ports_left_by(kUplinkPort, data_in_vlan(201)), IsEmpty());
    EXPECT_THAT(ports_left_by(kUplinkPort, data6_in_vlan(200)), IsEmpty());
    EXPECT_EQ(unit.add_entry(3, kGroupMac.data(), 200), 0);
    EXPECT_THAT(ports_left_by(kUplinkPort, data_in_vlan(200)), ElementsAre(kUserPort, kSecondUserPort));
    EXPECT_EQ(unit.counters().forwarded, 2u);
    EXPECT_EQ(drops(SwitchDrop::kNoEntry), 2u);
}

TEST_F(Forwarding, leaves_the_frame_with_its_tags_as_they_are)
{
    filter();
    unit.add_entry(0, kGroupMac.data(), 200);
    const Packet packet = frame(kGroupMac, {{0x88A8, 0xE0C8}, {0x8100, 5}}, kIpv4, ipv4(kUdp, kGroup, Packet(8, 1)));
    EXPECT_THAT(ports_left_by(kUplinkPort, packet), ElementsAre(kUserPort));
}

TEST_F(Forwarding, puts_frames_without_a_vlan_into_the_untagged_one)
{
    filter();
    unit.add_entry(0, kGroupMac.data(), 4088);
    EXPECT_THAT(ports_left_by(kUplinkPort, untagged_data()), ElementsAre(kUserPort));
    EXPECT_THAT(ports_left_by(kUplinkPort, data_in_vlan(0xE000)), ElementsAre(kUserPort)); // a priority alone
    EXPECT_THAT(ports_left_by(kUplinkPort, data_in_vlan(4088)), ElementsAre(kUserPort));
    unit.set_untagged_vlan(7);
    EXPECT_THAT(ports_left_by(kUplinkPort, untagged_data()), IsEmpty());
    unit.add_entry(0, kGroupMac.data(), 7);
    EXPECT_THAT(ports_left_by(kUplinkPort, untagged_data()), ElementsAre(kUserPort));
}

TEST_F(Forwarding, without_an_entry_floods_or_drops_by_the_setting_of_the_family)
{
    struct {
        const char *what;
        uint32_t selector;
        Packet packet;
    } const cases[] = {{"IPv4", 0, data_in_vlan(5)}, {"IPv6", 1, data6_in_vlan(5)}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        unit.set_flood(1 - c.selector, 0);
        unit.set_flood(c.selector, 1);
        EXPECT_THAT(ports_left_by(kUplinkPort, c.packet), ElementsAre(kUserPort, kSecondUserPort));
        EXPECT_THAT(record.actions, ElementsAre(SwitchAction::kFlooded));
        EXPECT_THAT(ports_left_by(kUserPort, c.packet), ElementsAre(kSecondUserPort, kUplinkPort));
        unit.set_flood(1 - c.selector, 1);
        unit.set_flood(c.selector, 0);
        EXPECT_THAT(ports_left_by(kUplinkPort, c.packet), IsEmpty());
        EXPECT_THAT(record.reasons, ElementsAre("no forwarding entry"));
    }
}

TEST_F(Forwarding, with_an_entry_does_not_flood)
{
    unit.add_entry(0, kGroupMac.data(), 5);
    EXPECT_THAT(ports_left_by(kUplinkPort, data_in_vlan(5)), ElementsAre(kUserPort));
}

TEST_F(Forwarding, floods_again_once_the_last_listener_is_gone)
{
    unit.add_entry(0, kGroupMac.data(), 5);
    unit.remove_entry(0, kGroupMac.data(), 5);
    EXPECT_THAT(ports_left_by(kUplinkPort, data_in_vlan(5)), ElementsAre(kUserPort, kSecondUserPort));
}

TEST_F(Forwarding, reaches_ports_in_their_order_whichever_listened_first)
{
    filter();
    unit.add_entry(3, kGroupMac.data(), 5);
    unit.add_entry(0, kGroupMac.data(), 5);
    EXPECT_THAT(ports_left_by(kUplinkPort, data_in_vlan(5)), ElementsAre(kUserPort, kSecondUserPort));
}

// RFC 4541 section 2.1.2: data goes to router ports too, registered or not.
TEST_F(Forwarding, from_a_user_port_always_reaches_the_uplink)
{
    filter();
    EXPECT_THAT(ports_left_by(kUserPort, data_in_vlan(5)), ElementsAre(kUplinkPort));
    EXPECT_THAT(record.actions, ElementsAre(SwitchAction::kForwarded));
    EXPECT_THAT(record.reasons, ElementsAre(std::string(kToRoutersOnly)));
    unit.add_entry(0, kGroupMac.data(), 5); // its own port
    EXPECT_THAT(ports_left_by(kUserPort, data_in_vlan(5)), ElementsAre(kUplinkPort));
    EXPECT_THAT(record.reasons, ElementsAre(std::string(kToRoutersOnly)));
    unit.add_entry(3, kGroupMac.data(), 5);
    EXPECT_THAT(ports_left_by(kUserPort, data_in_vlan(5)), ElementsAre(kSecondUserPort, kUplinkPort));
    EXPECT_THAT(record.reasons, ElementsAre(""));
    unit.add_entry(29, kGroupMac.data(), 5); // once all the same
    EXPECT_THAT(ports_left_by(kUserPort, data_in_vlan(5)), ElementsAre(kSecondUserPort, kUplinkPort));
}

TEST_F(Forwarding, never_returns_a_frame_to_its_port)
{
    filter();
    unit.add_entry(29, kGroupMac.data(), 5);
    EXPECT_THAT(ports_left_by(kUplinkPort, data_in_vlan(5)), IsEmpty());
    EXPECT_THAT(record.reasons, ElementsAre("no other port listens"));
    EXPECT_EQ(drops(SwitchDrop::kNoMember), 1u);
    EXPECT_EQ(unit.entries()[0].frames, 0u);
}

TEST_F(Forwarding, without_an_uplink_drops_what_no_port_asked_for)
{
    Switch lone(clock, record, record, {kUserPort, kSecondUserPort});
    lone.set_flood(0, 0);
    const Packet packet = data_in_vlan(5);
    EXPECT_FALSE(lone.arrive(kUserPort, bytes_of(packet), packet.size()));
    EXPECT_THAT(record.reasons, ElementsAre("no forwarding entry"));
    EXPECT_THAT(record.left_by, IsEmpty());
}

// RFC 4541 section 2.1.2: 224.0.0.0/24 goes to every port, whatever the settings.
TEST_F(Forwarding, floods_link_local_groups_always)
{
    filter();
    const Mac hosts = {{0x01, 0x00, 0x5E, 0x00, 0x00, 0x05}};
    EXPECT_THAT(ports_left_by(kUplinkPort, frame(hosts, {}, kIpv4, ipv4(89, {{224, 0, 0, 5}}, Packet(24, 0)))),
                ElementsAre(kUserPort, kSecondUserPort));
    EXPECT_THAT(ports_left_by(kUserPort, frame(kGroupMac6, {}, kIpv6, ipv6(kUdp, 2, Packet(8, 0)))),
                ElementsAre(kSecondUserPort, kUplinkPort));
}

TEST_F(Forwarding, keeps_back_the_addresses_that_no_bridge_forwards)
{
    for (int last = 0; last <= 0x10; ++last) {
        SCOPED_TRACE(last);
        const Mac reserved = {{0x01, 0x80, 0xC2, 0x00, 0x00, static_cast<uint8_t>(last)}};
        const bool bridged = last == 0x10;
        EXPECT_EQ(ports_left_by(kUserPort, frame(reserved, {}, 0x0026, Packet(46, 0))).size(), bridged ? 2u : 0u);
    }
    EXPECT_EQ(drops(SwitchDrop::kReserved), 16u);
}

TEST_F(Forwarding, drops_what_is_not_multicast)
{
    EXPECT_FALSE(arrive(kUserPort, frame(kHostMac, {}, kIpv4, ipv4(kUdp, {{10, 0, 0, 1}}, Packet(8, 0)))));
    expect_dropped(SwitchDrop::kNotMulticast);
}

TEST_F(Forwarding, drops_what_arrives_on_a_port_that_does_not_exist)
{
    for (const uint32_t port : {1u, 28u, 30u, 255u, 0xFFFFFFFFu})
        EXPECT_THAT(ports_left_by(port, data_in_vlan(5)), IsEmpty()) << port;
    EXPECT_EQ(drops(SwitchDrop::kUnknownPort), 5u);
    EXPECT_EQ(unit.port_counters(1).frames_in, 0u);
}

TEST_F(Forwarding, goes_on_with_data_that_a_capture_cut_behind_its_headers)
{
    unit.add_entry(0, kGroupMac.data(), 5);
    Packet packet = data_in_vlan(5);
    packet.resize(40);
    EXPECT_FALSE(unit.arrive(kUplinkPort, bytes_of(packet), 1400));
    EXPECT_THAT(record.left_by, ElementsAre(kUserPort));
    EXPECT_THAT(record.wire_sizes, ElementsAre(1400u));
    EXPECT_EQ(unit.port_counters(kUserPort).bytes_out, 1400u);
}

TEST_F(Forwarding, drops_data_that_a_capture_cut_within_its_headers)
{
    Packet packet = data_in_vlan(5);
    packet.resize(30);
    EXPECT_FALSE(unit.arrive(kUplinkPort, bytes_of(packet), 1400));
    expect_dropped(SwitchDrop::kCut);
}

TEST_F(Forwarding, counts_by_port_entry_and_kind)
{
    unit.add_entry(0, kGroupMac.data(), 5);
    clock.advance_to(std::chrono::seconds(3));
    const Packet packet = data_in_vlan(5);
    arrive(kUplinkPort, packet);
    clock.advance_to(std::chrono::seconds(4));
    arrive(kUplinkPort, packet);
    arrive(kUplinkPort, data_in_vlan(6)); // flooded

    EXPECT_EQ(unit.port_counters(kUplinkPort).frames_in, 3u);
    EXPECT_EQ(unit.port_counters(kUplinkPort).bytes_in, 3 * packet.size());
    EXPECT_EQ(unit.port_counters(kUplinkPort).frames_out, 0u);
    EXPECT_EQ(unit.port_counters(kUserPort).frames_out, 3u);
    EXPECT_EQ(unit.port_counters(kUserPort).bytes_out, 3 * packet.size());
    EXPECT_EQ(unit.port_counters(kSecondUserPort).frames_out, 1u);
    EXPECT_EQ(unit.counters().by_kind[static_cast<std::size_t>(FrameKind::kIpv4Data)], 3u);
    ASSERT_EQ(unit.entries().size(), 1u);
    EXPECT_EQ(unit.entries()[0].frames, 2u);
    EXPECT_EQ(unit.entries()[0].added, Time{0});
    EXPECT_EQ(unit.entries()[0].first_frame, std::chrono::seconds(3));
    EXPECT_THROW(static_cast<void>(unit.port_counters(30)), std::out_of_range);
}

TEST_F(Forwarding, takes_every_port_once_and_none_above_the_highest)
{
    Switch doubled(clock, record, record, {kUserPort, kUplinkPort, kUserPort});
    const Packet packet = data_in_vlan(5);
    doubled.arrive(kUplinkPort, bytes_of(packet), packet.size());
    EXPECT_THAT(record.left_by, ElementsAre(kUserPort));
    EXPECT_THROW(Switch(clock, record, record, {30}), std::out_of_range);
}

} // namespace
} // namespace mcadapt::host::test
