#include <gtest/gtest.h>

#include <set>
#include <string>

#include "host/switch/frame_view.h"
#include "tests/host/switch/frames.h"

namespace mcadapt::host::test {
namespace {

struct KindCase {
    const char *what;
    Packet frame;
    FrameKind kind;
};

Packet udp(const Ipv4Address &to) { return ipv4(kUdp, to, Packet(8, 0)); }

Packet behind(Packet extension, const Packet &body)
{
    append(extension, body);
    return extension;
}

Packet pppoe(uint16_t protocol, const Packet &packet)
{
    Packet session = {0x11, 0, 0, 1};
    append16(session, packet.size() + 2);
    append16(session, protocol);
    append(session, packet);
    return session;
}

void expect_kinds(const std::vector<KindCase> &cases)
{
    for (const KindCase &c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_STREQ(kind_name(view_frame(bytes_of(c.frame)).kind), kind_name(c.kind));
    }
}

TEST(FrameKinds, follow_the_ip_header_of_a_group)
{
    const Mac hosts = {{0x01, 0x00, 0x5E, 0x00, 0x00, 0x01}};
    expect_kinds({
        {"239.1.1.1", frame(kGroupMac, {}, kIpv4, udp(kGroup)), FrameKind::kIpv4Data},
        {"224.0.0.1", frame(hosts, {}, kIpv4, udp({{224, 0, 0, 1}})), FrameKind::kLinkLocal},
        {"224.0.0.255", frame(hosts, {}, kIpv4, udp({{224, 0, 0, 255}})), FrameKind::kLinkLocal},
        {"224.0.1.0", frame(hosts, {}, kIpv4, udp({{224, 0, 1, 0}})), FrameKind::kIpv4Data},
        {"239.0.0.1, which shares its address", frame(hosts, {}, kIpv4, udp({{239, 0, 0, 1}})), FrameKind::kIpv4Data},
        {"ff02::", frame(kGroupMac6, {}, kIpv6, ipv6(kUdp, 2, {})), FrameKind::kLinkLocal},
        {"ff03::", frame(kGroupMac6, {}, kIpv6, ipv6(kUdp, 3, {})), FrameKind::kIpv6Data},
        {"ff1e::", frame(kGroupMac6, {}, kIpv6, ipv6(kUdp, 0x1E, {})), FrameKind::kIpv6Data},
        {"ff12::", frame(kGroupMac6, {}, kIpv6, ipv6(kUdp, 0x12, {})), FrameKind::kLinkLocal},
    });
}

TEST(FrameKinds, know_igmp_and_mld_wherever_they_are_sent)
{
    expect_kinds({
        {"IGMP to a group", igmp_report(), FrameKind::kIgmp},
        {"IGMP to a host", frame(kHostMac, {}, kIpv4, ipv4(kIgmp, {{10, 0, 0, 1}}, Packet(8, 0))), FrameKind::kIgmp},
        {"MLD to a host", frame(kHostMac, {}, kIpv6, ipv6(kIcmpv6, 16, mld_body(131))), FrameKind::kMld},
        {"MLD query", frame(kGroupMac6, {}, kIpv6, mld_packet(130)), FrameKind::kMld},
        {"MLDv1 report", frame(kGroupMac6, {}, kIpv6, mld_packet(131)), FrameKind::kMld},
        {"MLD done", frame(kGroupMac6, {}, kIpv6, mld_packet(132)), FrameKind::kMld},
        {"MLDv2 report", frame(kGroupMac6, {}, kIpv6, mld_packet(143)), FrameKind::kMld},
        {"router solicitation", frame(kGroupMac6, {}, kIpv6, mld_packet(133)), FrameKind::kLinkLocal},
        {"multicast router advertisement", frame(kGroupMac6, {}, kIpv6, mld_packet(151)), FrameKind::kLinkLocal},
    });
}

TEST(FrameKinds, find_mld_behind_extension_headers)
{
    const Packet mld = mld_body(143);
    const Packet options = {kIcmpv6, 1, 1, 12, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const Packet first_fragment = {kIcmpv6, 0, 0, 1, 0, 0, 0, 9};
    const Packet later_fragment = {kIcmpv6, 0, 0, 9, 0, 0, 0, 9};
    Packet two = hop_by_hop(60);
    append(two, behind(options, mld));
    expect_kinds({
        {"none", frame(kGroupMac6, {}, kIpv6, ipv6(kIcmpv6, 2, mld)), FrameKind::kMld},
        {"destination options", frame(kGroupMac6, {}, kIpv6, ipv6(60, 2, behind(options, mld))), FrameKind::kMld},
        {"routing", frame(kGroupMac6, {}, kIpv6, ipv6(43, 2, behind(options, mld))), FrameKind::kMld},
        {"two", frame(kGroupMac6, {}, kIpv6, ipv6(0, 2, two)), FrameKind::kMld},
        {"first fragment", frame(kGroupMac6, {}, kIpv6, ipv6(44, 2, behind(first_fragment, mld))), FrameKind::kMld},
        {"later fragment", frame(kGroupMac6, {}, kIpv6, ipv6(44, 2, behind(later_fragment, mld))),
         FrameKind::kLinkLocal},
    });
}

TEST(FrameKinds, see_through_tags_and_pppoe)
{
    const Packet igmp = ipv4(kIgmp, kGroup, Packet(8, 0x16));
    const Packet mld = mld_packet(131);
    const Packet data = udp(kGroup);
    expect_kinds({
        {"802.1Q", frame(kGroupMac, {{0x8100, 5}}, kIpv4, igmp), FrameKind::kIgmp},
        {"802.1ad", frame(kGroupMac, {{0x88A8, 5}}, kIpv4, igmp), FrameKind::kIgmp},
        {"802.1ad and 802.1Q", frame(kGroupMac6, {{0x88A8, 5}, {0x8100, 6}}, kIpv6, mld), FrameKind::kMld},
        {"four tags", frame(kGroupMac, {{0x8100, 5}, {0x8100, 6}, {0x8100, 7}, {0x8100, 8}}, kIpv4, igmp),
         FrameKind::kIgmp},
        {"PPPoE, IPv4", frame(kHostMac, {}, 0x8864, pppoe(0x0021, igmp)), FrameKind::kIgmp},
        {"PPPoE, IPv4 by its EtherType", frame(kHostMac, {}, 0x8864, pppoe(0x0800, igmp)), FrameKind::kIgmp},
        {"PPPoE, IPv6", frame(kHostMac, {}, 0x8864, pppoe(0x0057, mld)), FrameKind::kMld},
        {"PPPoE, tagged", frame(kHostMac, {{0x8100, 5}}, 0x8864, pppoe(0x0021, igmp)), FrameKind::kIgmp},
        {"PPPoE, data to the access server", frame(kHostMac, {}, 0x8864, pppoe(0x0021, data)), FrameKind::kUnicast},
        {"PPPoE, LCP", frame(kHostMac, {}, 0x8864, pppoe(0xC021, Packet(8, 0))), FrameKind::kUnicast},
    });
}

TEST(FrameKinds, take_the_address_of_a_group_for_data_whatever_the_frame_carries)
{
    const Mac mpls = {{0x01, 0x00, 0x5E, 0x80, 0x00, 0x01}};
    const Mac spanning_tree = {{0x01, 0x80, 0xC2, 0x00, 0x00, 0x00}};
    expect_kinds({
        {"behind a fifth tag",
         frame(kGroupMac, {{0x8100, 1}, {0x8100, 1}, {0x8100, 1}, {0x8100, 1}, {0x8100, 1}}, kIpv4, udp(kGroup)),
         FrameKind::kIpv4Data},
        {"packet to one host", frame(kGroupMac, {}, kIpv4, udp({{10, 0, 0, 1}})), FrameKind::kIpv4Data},
        {"IPv6 packet to one host", frame(kGroupMac6, {}, kIpv6, ipv6(kUdp, 16, {})), FrameKind::kIpv6Data},
        {"unknown EtherType", frame(kGroupMac6, {}, 0x1234, Packet(46, 0)), FrameKind::kIpv6Data},
        {"upper half of 01:00:5E", frame(mpls, {}, 0x8848, Packet(46, 0)), FrameKind::kLinkLocal},
        {"spanning tree", frame(spanning_tree, {}, 0x0026, Packet(46, 0)), FrameKind::kLinkLocal},
    });
}

TEST(FrameKinds, leave_unicast_and_broadcast_aside)
{
    const Mac almost_broadcast = {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE}};
    expect_kinds({
        {"to a host", frame(kHostMac, {}, kIpv4, udp({{10, 0, 0, 1}})), FrameKind::kUnicast},
        {"a group's packet to a host's address", frame(kHostMac, {}, kIpv4, udp(kGroup)), FrameKind::kUnicast},
        {"ARP", frame(kBroadcast, {}, 0x0806, Packet(46, 0)), FrameKind::kUnicast},
        {"DHCP", frame(kBroadcast, {}, kIpv4, udp({{255, 255, 255, 255}})), FrameKind::kUnicast},
        {"multicast next to broadcast", frame(almost_broadcast, {}, 0x1234, Packet(46, 0)), FrameKind::kLinkLocal},
    });
}

TEST(FrameKinds, have_names_of_their_own)
{
    std::set<std::string> names;
    for (int kind = 0; kind <= static_cast<int>(FrameKind::kTruncated); ++kind)
        names.insert(kind_name(static_cast<FrameKind>(kind)));
    EXPECT_EQ(names.size(), 7u);
    EXPECT_EQ(names.count(""), 0u);
}

TEST(FrameView, tells_the_vlan_of_the_first_tag_and_where_the_packet_lies)
{
    const Packet igmp = ipv4(kIgmp, kGroup, Packet(8, 0x16));
    struct {
        const char *what;
        Packet frame;
        bool tagged;
        uint16_t vlan;
        std::size_t offset;
    } const cases[] = {
        {"untagged", frame(kGroupMac, {}, kIpv4, igmp), false, 0, 14},
        {"priority and DEI", frame(kGroupMac, {{0x8100, 0xF064}}, kIpv4, igmp), true, 100, 18},
        {"priority only", frame(kGroupMac, {{0x8100, 0xE000}}, kIpv4, igmp), true, 0, 18},
        {"two tags", frame(kGroupMac, {{0x88A8, 7}, {0x8100, 8}}, kIpv4, igmp), true, 7, 22},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        Packet padded = c.frame;
        append(padded, Packet(18, 0));
        const FrameView view = view_frame(bytes_of(padded));
        EXPECT_EQ(view.tagged, c.tagged);
        EXPECT_EQ(view.vlan, c.vlan);
        EXPECT_EQ(view.ip_offset, c.offset);
        EXPECT_EQ(view.ip_end, c.frame.size());
    }
}

TEST(FrameView, tells_where_an_ipv6_packet_ends)
{
    Packet padded = mld_report();
    const std::size_t end = padded.size();
    append(padded, {0, 0});
    EXPECT_EQ(view_frame(bytes_of(padded)).ip_offset, 14);
    EXPECT_EQ(view_frame(bytes_of(padded)).ip_end, end);
}

} // namespace
} // namespace mcadapt::host::test
