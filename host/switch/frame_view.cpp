#include "host/switch/frame_view.h"

#include <algorithm>

namespace mcadapt::host {

namespace {

constexpr std::size_t kMacsBytes = 12;
constexpr std::size_t kTypeBytes = 2;
constexpr std::size_t kTagBytes = 4;
constexpr std::size_t kPppoeBytes = 8; // header, and the protocol field of PPP
constexpr std::size_t kIpv4Bytes = 20;
constexpr std::size_t kIpv6Bytes = 40;
constexpr int kMostTags = 4;
constexpr int kMostExtensions = 8;

constexpr uint16_t kTpid = 0x8100;
constexpr uint16_t kServiceTpid = 0x88A8;
constexpr uint16_t kPppoeSession = 0x8864;
constexpr uint16_t kTypeIpv4 = 0x0800;
constexpr uint16_t kTypeIpv6 = 0x86DD;
constexpr uint16_t kPppIpv4 = 0x0021;
constexpr uint16_t kPppIpv6 = 0x0057;

constexpr uint8_t kProtocolIgmp = 2;
constexpr uint8_t kHopByHop = 0;
constexpr uint8_t kRouting = 43;
constexpr uint8_t kFragment = 44;
constexpr uint8_t kIcmpv6 = 58;
constexpr uint8_t kDestinationOptions = 60;

uint16_t be16(const uint8_t *at) { return static_cast<uint16_t>(at[0] << 8 | at[1]); }

bool is_tag(uint16_t type) { return type == kTpid || type == kServiceTpid; }

// RFC 2710, RFC 9777: query, report, done, version 2 report.
bool is_mld_message(uint8_t type) { return type == 130 || type == 131 || type == 132 || type == 143; }

bool is_protocol(FrameKind kind) { return kind == FrameKind::kIgmp || kind == FrameKind::kMld; }

bool is_broadcast(const uint8_t *mac)
{
    return std::all_of(mac, mac + 6, [](uint8_t byte) { return byte == 0xFF; });
}

// The table knows addresses only, so a group's address is data whatever the frame carries: a stream behind one tag
// more, or a packet to a single host that was given the MAC address of a group.
FrameKind kind_by_address(const uint8_t *mac)
{
    if (mac[0] == 0x01 && mac[1] == 0x00 && mac[2] == 0x5E && mac[3] < 0x80)
        return FrameKind::kIpv4Data;
    if (mac[0] == 0x33 && mac[1] == 0x33)
        return FrameKind::kIpv6Data;
    return FrameKind::kLinkLocal;
}

FrameKind ipv4_kind(Bytes frame, FrameView &view)
{
    if (frame.size < view.ip_offset + kIpv4Bytes)
        return FrameKind::kTruncated;
    const uint8_t *header = frame.data + view.ip_offset;
    view.ip_end = uint32_t{view.ip_offset} + be16(header + 2);
    if (header[9] == kProtocolIgmp)
        return FrameKind::kIgmp;
    if ((header[16] & 0xF0) != 0xE0)
        return kind_by_address(frame.data);
    const bool link_local = header[16] == 224 && header[17] == 0 && header[18] == 0;
    return link_local ? FrameKind::kLinkLocal : FrameKind::kIpv4Data;
}

bool is_extension(uint8_t next)
{
    return next == kHopByHop || next == kRouting || next == kFragment || next == kDestinationOptions;
}

// Behind extension headers too, allowed there or not: the protocol's own checks are to see every such packet.
FrameKind icmpv6_kind(Bytes frame, std::size_t at, uint8_t next, FrameKind otherwise)
{
    for (int i = 0; i < kMostExtensions && is_extension(next); ++i) {
        if (frame.size < at + 8)
            return FrameKind::kTruncated;
        const uint8_t *header = frame.data + at;
        if (next == kFragment && (be16(header + 2) & 0xFFF8) != 0)
            return otherwise; // its message began in another packet
        at += next == kFragment ? 8 : 8 + header[1] * std::size_t{8};
        next = header[0];
    }
    if (next != kIcmpv6)
        return otherwise;
    if (frame.size <= at)
        return FrameKind::kTruncated;
    return is_mld_message(frame.data[at]) ? FrameKind::kMld : otherwise;
}

FrameKind ipv6_kind(Bytes frame, FrameView &view)
{
    const std::size_t payload = view.ip_offset + kIpv6Bytes;
    if (frame.size < payload)
        return FrameKind::kTruncated;
    const uint8_t *header = frame.data + view.ip_offset;
    view.ip_end = static_cast<uint32_t>(payload) + be16(header + 4);
    FrameKind data = kind_by_address(frame.data);
    if (header[24] == 0xFF)
        data = (header[25] & 0x0F) <= 2 ? FrameKind::kLinkLocal : FrameKind::kIpv6Data;
    return icmpv6_kind(frame, payload, header[6], data);
}

FrameKind ip_kind(Bytes frame, uint16_t type, std::size_t at, FrameView &view)
{
    view.ip_offset = static_cast<uint16_t>(at);
    if (type == kTypeIpv4)
        return ipv4_kind(frame, view);
    if (type == kTypeIpv6)
        return ipv6_kind(frame, view);
    view.ip_offset = 0;
    return kind_by_address(frame.data);
}

// Some gear writes the EtherTypes in the place of PPP's own numbers.
uint16_t type_of_ppp(uint16_t protocol)
{
    if (protocol == kPppIpv4)
        return kTypeIpv4;
    return protocol == kPppIpv6 ? kTypeIpv6 : protocol;
}

// Behind the tags, of which `view` keeps the first. @return False when the frame ends before.
bool find_type(Bytes frame, FrameView &view, std::size_t &at)
{
    at = kMacsBytes;
    if (frame.size < at + kTypeBytes)
        return false;
    for (int tags = 0; tags < kMostTags && is_tag(be16(frame.data + at)); ++tags) {
        if (frame.size < at + kTagBytes + kTypeBytes)
            return false;
        if (tags == 0) {
            view.tagged = true;
            view.vlan = be16(frame.data + at + 2) & 0x0FFF;
        }
        at += kTagBytes;
    }
    return true;
}

} // namespace

const char *kind_name(FrameKind kind)
{
    switch (kind) {
    case FrameKind::kIgmp:
        return "IGMP";
    case FrameKind::kMld:
        return "MLD";
    case FrameKind::kIpv4Data:
        return "IPv4 multicast data";
    case FrameKind::kIpv6Data:
        return "IPv6 multicast data";
    case FrameKind::kLinkLocal:
        return "link-local multicast";
    case FrameKind::kUnicast:
        return "not multicast";
    case FrameKind::kTruncated:
        return "truncated";
    }
    return "";
}

FrameView view_frame(Bytes frame)
{
    FrameView view = {FrameKind::kTruncated, false, 0, 0, 0};
    std::size_t at = 0;
    if (!find_type(frame, view, at))
        return view;
    uint16_t type = be16(frame.data + at);
    at += kTypeBytes;
    if (type == kPppoeSession) {
        if (frame.size < at + kPppoeBytes)
            return view;
        at += kPppoeBytes;
        type = type_of_ppp(be16(frame.data + at - 2));
    }
    view.kind = ip_kind(frame, type, at, view);
    const bool multicast = (frame.data[0] & 1) != 0 && !is_broadcast(frame.data);
    if (!multicast && !is_protocol(view.kind) && view.kind != FrameKind::kTruncated)
        view.kind = FrameKind::kUnicast;
    return view;
}

} // namespace mcadapt::host
