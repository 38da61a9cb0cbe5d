/**
 * @file
 * Frames for the tests of the switch, put together from their parts.
 */
#ifndef MCADAPT_TESTS_HOST_SWITCH_FRAMES_H
#define MCADAPT_TESTS_HOST_SWITCH_FRAMES_H

#include <array>
#include <cstdint>
#include <initializer_list>
#include <vector>

#include "host/observer.h"

namespace mcadapt::host::test {

using Packet = std::vector<uint8_t>;
using Mac = std::array<uint8_t, 6>;

constexpr Mac kGroupMac = {{0x01, 0x00, 0x5E, 0x01, 0x01, 0x01}}; // of 239.1.1.1
constexpr Mac kGroupMac6 = {{0x33, 0x33, 0x00, 0x00, 0x12, 0x34}};
constexpr Mac kHostMac = {{0x02, 0x00, 0x00, 0x00, 0x00, 0x07}};
constexpr Mac kBroadcast = {{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}};

constexpr uint16_t kIpv4 = 0x0800;
constexpr uint16_t kIpv6 = 0x86DD;
constexpr uint8_t kIgmp = 2;
constexpr uint8_t kUdp = 17;
constexpr uint8_t kIcmpv6 = 58;

using Ipv4Address = std::array<uint8_t, 4>;
constexpr Ipv4Address kGroup = {{239, 1, 1, 1}};

inline Bytes bytes_of(const Packet &packet) { return {packet.data(), packet.size()}; }

inline void append(Packet &packet, const Packet &more) { packet.insert(packet.end(), more.begin(), more.end()); }

inline void append16(Packet &packet, std::size_t value)
{
    packet.push_back(static_cast<uint8_t>(value >> 8));
    packet.push_back(static_cast<uint8_t>(value));
}

/** An IPv4 packet without options. */
inline Packet ipv4(uint8_t protocol, const Ipv4Address &to, const Packet &body)
{
    Packet packet = {0x45, 0};
    append16(packet, 20 + body.size());
    append(packet, {0, 0, 0, 0, 1, protocol, 0, 0, 10, 0, 0, 7});
    packet.insert(packet.end(), to.begin(), to.end());
    append(packet, body);
    return packet;
}

/** An IPv6 packet to a group of this scope, or to a host for scope 16. */
inline Packet ipv6(uint8_t next, uint8_t scope, const Packet &body)
{
    Packet packet = {0x60, 0, 0, 0};
    append16(packet, body.size());
    append(packet, {next, 1});
    append(packet, Packet(16, 0xFD));
    Packet to(16, 0);
    to[0] = scope == 16 ? 0x20 : 0xFF;
    to[1] = scope == 16 ? 0x01 : scope;
    to[14] = 0x12;
    to[15] = 0x34;
    append(packet, to);
    append(packet, body);
    return packet;
}

/** One tag with its protocol id. */
struct Tag {
    uint16_t tpid;
    uint16_t control;
};

inline Packet frame(const Mac &to, std::initializer_list<Tag> tags, uint16_t type, const Packet &payload)
{
    Packet packet(to.begin(), to.end());
    append(packet, {0x02, 0, 0, 0, 0, 0x09});
    for (const Tag &tag : tags) {
        append16(packet, tag.tpid);
        append16(packet, tag.control);
    }
    append16(packet, type);
    append(packet, payload);
    return packet;
}

inline Packet in_vlan(uint16_t vlan, const Mac &to, uint16_t type, const Packet &payload)
{
    return frame(to, {{0x8100, vlan}}, type, payload);
}

/** A stream's frame of 239.1.1.1. */
inline Packet data_in_vlan(uint16_t vlan) { return in_vlan(vlan, kGroupMac, kIpv4, ipv4(kUdp, kGroup, Packet(40, 0))); }
inline Packet untagged_data() { return frame(kGroupMac, {}, kIpv4, ipv4(kUdp, kGroup, Packet(40, 0))); }
inline Packet data6_in_vlan(uint16_t vlan) { return in_vlan(vlan, kGroupMac6, kIpv6, ipv6(kUdp, 8, Packet(40, 0))); }

inline Packet igmp_report() { return frame(kGroupMac, {}, kIpv4, ipv4(kIgmp, kGroup, Packet(8, 0x16))); }

/** Hop-by-hop header with a router alert, as MLD has. */
inline Packet hop_by_hop(uint8_t next) { return {next, 0, 5, 2, 0, 0, 1, 0}; }

inline Packet mld_body(uint8_t type)
{
    Packet body(24, 0);
    body[0] = type;
    return body;
}

inline Packet mld_packet(uint8_t type)
{
    Packet body = hop_by_hop(kIcmpv6);
    append(body, mld_body(type));
    return ipv6(0, 2, body);
}

inline Packet mld_report() { return frame(kGroupMac6, {}, kIpv6, mld_packet(131)); }

} // namespace mcadapt::host::test

#endif
