// Packets to messages. The twins stand side by side; what both wire formats share is shared.
#include "host/engine/message.h"

namespace mcadapt::host {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr std::size_t kIpv4Head = 20;
constexpr std::size_t kIpv6Head = 40;
constexpr std::size_t kReportHead = 8; // type, code or reserved, checksum, reserved, number of records

enum IgmpType : uint8_t {
    kIgmpQuery = 0x11,
    kIgmpV1Report = 0x12,
    kIgmpV2Report = 0x16,
    kIgmpLeave = 0x17,
    kIgmpV3Report = 0x22
};
enum MldType : uint8_t { kMldQuery = 130, kMldV1Report = 131, kMldDone = 132, kMldV2Report = 143 };

// --- Shared by both families

// S, QRV, QQIC, number of sources, sources: the end of a query that can name sources.
DropReason parse_query_tail(const uint8_t *tail, std::size_t size, Message &message)
{
    message.suppress = (tail[0] & 0x08) != 0;
    message.robustness = tail[0] & 0x07;
    message.query_interval = seconds(decode_8bit(tail[1]));
    message.count = load16(tail + 2);
    message.list = tail + 4;
    return message.count * address_bytes(message.family) > size - 4 ? DropReason::kSourceCount : DropReason::kNone;
}

DropReason check_group(const Message &message)
{
    if (!is_multicast(message.family, message.group))
        return DropReason::kNotAGroup;
    return is_link_local_group(message.family, message.group) ? DropReason::kLinkLocalGroup : DropReason::kNone;
}

DropReason check_query(const Message &message, const Address &destination, const Address &all_hosts)
{
    if (message.group == kUnspecified) {
        if (message.count > 0)
            return DropReason::kSourceCount; // sources of no group
        return destination == all_hosts ? DropReason::kNone : DropReason::kDestination;
    }
    if (const DropReason reason = check_group(message); reason != DropReason::kNone)
        return reason;
    return destination == message.group || destination == all_hosts ? DropReason::kNone : DropReason::kDestination;
}

// Every record is checked before the first is applied: a report that lies is not believed in part.
DropReason parse_records(const uint8_t *body, std::size_t size, Message &message)
{
    message.kind = MessageKind::kReport;
    message.count = load16(body + 6);
    message.list = body + kReportHead;
    std::size_t left = size - kReportHead;
    const uint8_t *at = message.list;
    for (uint16_t i = 0; i < message.count; ++i) {
        const std::size_t head = record_head_bytes(message.family);
        if (left < head)
            return DropReason::kRecordCount;
        const std::size_t sources = load16(at + 2) * address_bytes(message.family);
        const std::size_t auxiliary = std::size_t{at[1]} * 4;
        if (sources > left - head)
            return DropReason::kSourceCount;
        if (auxiliary > left - head - sources)
            return DropReason::kRecordCount;
        at += head + sources + auxiliary;
        left -= head + sources + auxiliary;
    }
    return DropReason::kNone;
}

// --- IGMP in IPv4

struct Ipv4Packet {
    const uint8_t *body;
    std::size_t size;
    Address destination;
    bool router_alert;
};

bool scan_options(const uint8_t *options, std::size_t size, bool &router_alert)
{
    constexpr uint8_t kEnd = 0, kNothing = 1, kRouterAlertOption = 148;
    for (std::size_t i = 0; i < size && options[i] != kEnd;) {
        if (options[i] == kNothing) {
            ++i;
            continue;
        }
        if (i + 1 >= size || options[i + 1] < 2 || options[i + 1] > size - i)
            return false;
        if (options[i] == kRouterAlertOption && options[i + 1] == 4)
            router_alert = true;
        i += options[i + 1];
    }
    return true;
}

bool can_send_igmp(const Address &source)
{
    // RFC 9776 section 4.2.13: a host that has no address yet reports from 0.0.0.0.
    return source == kUnspecified || is_stream_source(Family::kIgmp, source);
}

DropReason open_ipv4(const uint8_t *p, std::size_t available, std::size_t claimed, Message &message, Ipv4Packet &ip)
{
    if (available < kIpv4Head || claimed > available)
        return DropReason::kTruncated;
    const std::size_t head = std::size_t{p[0]} % 16 * 4;
    const std::size_t total = load16(p + 2);
    if (p[0] >> 4 != 4 || head < kIpv4Head || total < head)
        return DropReason::kIpHeader;
    if (total > claimed)
        return DropReason::kTruncated;
    if (checksum_fold(checksum_add(p, head)) != 0xFFFF)
        return DropReason::kIpChecksum;
    if ((load16(p + 6) & 0x3FFF) != 0) // more fragments, or an offset
        return DropReason::kFragment;
    if (p[9] != 2)
        return DropReason::kOtherProtocol;
    if (p[8] != 1)
        return DropReason::kTtl;
    ip = {p + head, total - head, ipv4(load32(p + 16)), false};
    if (!scan_options(p + kIpv4Head, head - kIpv4Head, ip.router_alert))
        return DropReason::kIpHeader;
    message.source = ipv4(load32(p + 12));
    return can_send_igmp(message.source) ? DropReason::kNone : DropReason::kIpSource;
}

DropReason parse_igmp_query(const Ipv4Packet &ip, Message &message)
{
    message.kind = MessageKind::kQuery;
    // RFC 9776 section 7.1: the length tells the version.
    if (ip.size == 8) {
        message.version = ip.body[1] == 0 ? 1 : 2;
        message.max_response = milliseconds(ip.body[1] == 0 ? 10000 : ip.body[1] * 100);
    } else if (ip.size >= 12) {
        message.version = 3;
        message.max_response = milliseconds(decode_8bit(ip.body[1]) * 100);
        const DropReason reason = parse_query_tail(ip.body + 8, ip.size - 8, message);
        if (reason != DropReason::kNone)
            return reason;
    } else {
        return DropReason::kQueryLength;
    }
    return check_query(message, ip.destination, well_known::kIgmpHosts);
}

DropReason parse_igmp_single(const Ipv4Packet &ip, uint8_t type, Message &message)
{
    message.kind = type == kIgmpLeave ? MessageKind::kLeave : MessageKind::kJoin;
    message.version = type == kIgmpV1Report ? 1 : 2;
    if (const DropReason reason = check_group(message); reason != DropReason::kNone)
        return reason;
    // RFC 9776 section 4.2.14: these are taken at every address that the receiver has.
    const bool ok = ip.destination == message.group || ip.destination == well_known::kIgmpHosts ||
                    ip.destination == well_known::kIgmpRouters || ip.destination == well_known::kIgmpV3Routers;
    return ok ? DropReason::kNone : DropReason::kDestination;
}

DropReason parse_igmp_body(const Ipv4Packet &ip, Message &message)
{
    const uint8_t type = ip.body[0];
    message.group = ipv4(load32(ip.body + 4));
    switch (type) {
    case kIgmpQuery:
        return parse_igmp_query(ip, message);
    case kIgmpV1Report:
    case kIgmpV2Report:
    case kIgmpLeave:
        return parse_igmp_single(ip, type, message);
    case kIgmpV3Report:
        message.group = kUnspecified;
        message.version = 3;
        if (ip.destination != well_known::kIgmpV3Routers)
            return DropReason::kDestination;
        return parse_records(ip.body, ip.size, message);
    default:
        return DropReason::kUnknownType;
    }
}

// --- MLD in IPv6

struct Ipv6Packet {
    const uint8_t *head;
    const uint8_t *body;
    std::size_t size;
    Address destination;
    bool router_alert;
};

// Leaves `body` and `size` behind the hop-by-hop header.
DropReason scan_hop_by_hop(Ipv6Packet &ip, uint8_t &next)
{
    constexpr uint8_t kPad1 = 0, kPadN = 1, kRouterAlertOption = 5;
    if (ip.size < 8 || ip.size < (std::size_t{ip.body[1]} + 1) * 8)
        return DropReason::kHopByHop;
    const std::size_t size = (std::size_t{ip.body[1]} + 1) * 8;
    for (std::size_t i = 2; i < size;) {
        if (ip.body[i] == kPad1) {
            ++i;
            continue;
        }
        if (i + 1 >= size || ip.body[i + 1] > size - i - 2)
            return DropReason::kHopByHop;
        if (ip.body[i] == kRouterAlertOption && ip.body[i + 1] == 2)
            ip.router_alert = ip.router_alert || load16(ip.body + i + 2) == 0; // RFC 2711 section 2.1: 0 is MLD
        else if (ip.body[i] != kPadN && ip.body[i] >> 6 != 0)
            return DropReason::kHopByHop;
        i += 2u + ip.body[i + 1];
    }
    next = ip.body[0];
    ip.body += size;
    ip.size -= size;
    return DropReason::kNone;
}

bool is_mld_type(uint8_t type)
{
    return type == kMldQuery || type == kMldV1Report || type == kMldDone || type == kMldV2Report;
}

// Everything that is not MLD comes here too: that is told before anything of MLD is asked for.
DropReason open_ipv6(const uint8_t *p, std::size_t available, std::size_t claimed, Ipv6Packet &ip)
{
    constexpr uint8_t kHopByHopHeader = 0, kFragmentHeader = 44, kIcmpv6 = 58;
    if (available < kIpv6Head || claimed > available)
        return DropReason::kTruncated;
    if (p[0] >> 4 != 6)
        return DropReason::kIpHeader;
    const std::size_t payload = load16(p + 4);
    if (payload + kIpv6Head > claimed)
        return DropReason::kTruncated;
    ip = {p, p + kIpv6Head, payload, load_address(Family::kMld, p + 24), false};
    uint8_t next = p[6];
    if (next == kHopByHopHeader)
        if (const DropReason reason = scan_hop_by_hop(ip, next); reason != DropReason::kNone)
            return reason;
    if (next == kFragmentHeader)
        return DropReason::kFragment;
    if (next != kIcmpv6)
        return DropReason::kOtherProtocol;
    if (ip.size == 0)
        return DropReason::kTooShort;
    return is_mld_type(ip.body[0]) ? DropReason::kNone : DropReason::kOtherProtocol;
}

// RFC 9777 sections 5.1.14, 5.2.13 and 7.4.
DropReason check_mld_sender(const Ipv6Packet &ip, Message &message)
{
    if (ip.head[7] != 1)
        return DropReason::kTtl;
    message.source = load_address(Family::kMld, ip.head + 8);
    if (!is_ipv6_link_local(message.source))
        return DropReason::kIpSource;
    return ip.router_alert ? DropReason::kNone : DropReason::kRouterAlert;
}

DropReason parse_mld_query(const Ipv6Packet &ip, Message &message)
{
    message.kind = MessageKind::kQuery;
    // RFC 9777 section 8.1: the length tells the version.
    if (ip.size == 24) {
        message.version = 1;
        message.max_response = milliseconds(load16(ip.body + 4));
    } else if (ip.size >= 28) {
        message.version = 2;
        message.max_response = milliseconds(decode_16bit(load16(ip.body + 4)));
        const DropReason reason = parse_query_tail(ip.body + 24, ip.size - 24, message);
        if (reason != DropReason::kNone)
            return reason;
    } else {
        return DropReason::kQueryLength;
    }
    return check_query(message, ip.destination, well_known::kMldNodes);
}

DropReason parse_mld_single(const Ipv6Packet &ip, uint8_t type, Message &message)
{
    message.kind = type == kMldDone ? MessageKind::kLeave : MessageKind::kJoin;
    message.version = 1;
    if (const DropReason reason = check_group(message); reason != DropReason::kNone)
        return reason;
    const bool ok = ip.destination == message.group || ip.destination == well_known::kMldNodes ||
                    ip.destination == well_known::kMldRouters || ip.destination == well_known::kMldV2Routers;
    return ok ? DropReason::kNone : DropReason::kDestination;
}

DropReason parse_mld_body(const Ipv6Packet &ip, Message &message)
{
    const uint8_t type = ip.body[0];
    if (type == kMldV2Report) {
        message.version = 2;
        if (ip.destination != well_known::kMldV2Routers)
            return DropReason::kDestination;
        return parse_records(ip.body, ip.size, message);
    }
    if (ip.size < 24)
        return type == kMldQuery ? DropReason::kQueryLength : DropReason::kTooShort;
    message.group = load_address(Family::kMld, ip.body + 8);
    return type == kMldQuery ? parse_mld_query(ip, message) : parse_mld_single(ip, type, message);
}

} // namespace

DropReason parse_igmp(const uint8_t *packet, std::size_t available, std::size_t claimed, Message &message)
{
    message = {};
    message.family = Family::kIgmp;
    Ipv4Packet ip{};
    if (const DropReason reason = open_ipv4(packet, available, claimed, message, ip); reason != DropReason::kNone)
        return reason;
    if (ip.size < kReportHead)
        return DropReason::kTooShort;
    if (checksum_fold(checksum_add(ip.body, ip.size)) != 0xFFFF)
        return DropReason::kChecksum;
    const DropReason reason = parse_igmp_body(ip, message);
    // RFC 9776 section 9: only IGMPv1 came without the option.
    if (reason == DropReason::kNone && message.version > 1 && !ip.router_alert)
        return DropReason::kRouterAlert;
    return reason;
}

DropReason parse_mld(const uint8_t *packet, std::size_t available, std::size_t claimed, Message &message)
{
    message = {};
    message.family = Family::kMld;
    Ipv6Packet ip{};
    if (const DropReason reason = open_ipv6(packet, available, claimed, ip); reason != DropReason::kNone)
        return reason;
    if (const DropReason reason = check_mld_sender(ip, message); reason != DropReason::kNone)
        return reason;
    if (ip.size < kReportHead)
        return DropReason::kTooShort;
    if (checksum_fold(checksum_add(ip.body, ip.size, icmpv6_pseudo_sum(packet, ip.size))) != 0xFFFF)
        return DropReason::kChecksum;
    return parse_mld_body(ip, message);
}

} // namespace mcadapt::host
