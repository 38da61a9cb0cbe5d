#include "host/engine/packet_builder.h"

#include <algorithm>
#include <cstring>

namespace mcadapt::host {
namespace {

constexpr std::size_t kIgmpHead = 24;         // IPv4 with the Router Alert option
constexpr std::size_t kMldHead = 48;          // IPv6 with a hop-by-hop header
constexpr std::size_t kLongestMessage = 1400; // leaves room for the tags that the unit adds

std::size_t head_bytes(Family family) { return family == Family::kIgmp ? kIgmpHead : kMldHead; }

uint8_t *body(Family family, Packet &packet) { return packet.bytes.data() + head_bytes(family); }

void begin(Family family, Packet &packet, std::size_t body_bytes)
{
    packet.size = head_bytes(family) + body_bytes;
    std::memset(packet.bytes.data(), 0, packet.size);
}

void finish_igmp(const Address &source, const Address &destination, Packet &packet)
{
    uint8_t *p = packet.bytes.data();
    uint8_t *message = p + kIgmpHead;
    store16(message + 2, static_cast<uint16_t>(~checksum_fold(checksum_add(message, packet.size - kIgmpHead))));
    p[0] = 0x46;
    p[1] = 0xC0; // RFC 9776 section 4: precedence Internetwork Control
    store16(p + 2, static_cast<uint16_t>(packet.size));
    p[8] = 1;
    p[9] = 2;
    store_address(Family::kIgmp, source, p + 12);
    store_address(Family::kIgmp, destination, p + 16);
    p[20] = 148; // Router Alert
    p[21] = 4;
    store16(p + 10, static_cast<uint16_t>(~checksum_fold(checksum_add(p, kIgmpHead))));
}

void finish_mld(const Address &source, const Address &destination, Packet &packet)
{
    constexpr uint8_t kOptions[8] = {58, 0, 5, 2, 0, 0, 1, 0}; // Router Alert 0, PadN
    uint8_t *p = packet.bytes.data();
    uint8_t *message = p + kMldHead;
    const std::size_t size = packet.size - kMldHead;
    p[0] = 0x60;
    store16(p + 4, static_cast<uint16_t>(packet.size - 40));
    p[7] = 1;
    store_address(Family::kMld, source, p + 8);
    store_address(Family::kMld, destination, p + 24);
    std::memcpy(p + 40, kOptions, sizeof kOptions);
    store16(message + 2,
            static_cast<uint16_t>(~checksum_fold(checksum_add(message, size, icmpv6_pseudo_sum(p, size)))));
}

void finish(Family family, const Address &source, const Address &destination, Packet &packet)
{
    if (family == Family::kIgmp)
        finish_igmp(source, destination, packet);
    else
        finish_mld(source, destination, packet);
}

std::size_t query_bytes(Family family, const QueryFields &query)
{
    const bool tail = query.version == (family == Family::kIgmp ? 3 : 2);
    return (family == Family::kIgmp ? 8u : 24u) + (tail ? 4u : 0u);
}

void store_query_head(Family family, const QueryFields &query, uint8_t *p)
{
    const auto ms =
        static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::milliseconds>(query.max_response).count());
    if (family == Family::kIgmp) {
        p[0] = 0x11;
        const uint32_t tenths = std::max(1u, ms / 100);
        p[1] = query.version == 1   ? 0
               : query.version == 2 ? static_cast<uint8_t>(std::min(tenths, 255u))
                                    : encode_8bit(tenths);
        store_address(family, query.group, p + 4);
        return;
    }
    p[0] = 130;
    store16(p + 4, query.version == 1 ? static_cast<uint16_t>(std::min(ms, 65535u)) : encode_16bit(ms));
    store_address(family, query.group, p + 8);
}

void store_query_tail(Family family, const QueryFields &query, std::size_t sources, uint8_t *p)
{
    // RFC 9776 section 4.1.6: a robustness that does not fit is not told.
    p[0] = static_cast<uint8_t>((query.suppress ? 8 : 0) | (query.robustness > 7 ? 0 : query.robustness));
    p[1] = encode_8bit(
        static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::seconds>(query.query_interval).count()));
    store16(p + 2, static_cast<uint16_t>(sources));
    p += 4;
    for (std::size_t i = 0; i < sources; ++i, p += address_bytes(family))
        store_address(family, query.sources[i], p);
}

} // namespace

void build_query(Family family, const QueryFields &query, Packet &packet)
{
    const std::size_t fixed = query_bytes(family, query);
    const bool tail = fixed % 8 == 4;
    const std::size_t room = (kLongestMessage - fixed) / address_bytes(family);
    const std::size_t sources = tail ? std::min(query.sources.size(), room) : 0;
    begin(family, packet, fixed + sources * address_bytes(family));
    store_query_head(family, query, body(family, packet));
    if (tail)
        store_query_tail(family, query, sources, body(family, packet) + fixed - 4);
    const Address all = family == Family::kIgmp ? well_known::kIgmpHosts : well_known::kMldNodes;
    finish(family, query.source, query.group == kUnspecified ? all : query.group, packet);
}

void build_join(Family family, uint8_t version, const Address &source, const Address &group, Packet &packet)
{
    const bool igmp = family == Family::kIgmp;
    begin(family, packet, igmp ? 8 : 24);
    body(family, packet)[0] = !igmp ? 131 : version == 1 ? 0x12 : 0x16;
    store_address(family, group, body(family, packet) + (igmp ? 4 : 8));
    finish(family, source, group, packet);
}

void build_leave(Family family, const Address &source, const Address &group, Packet &packet)
{
    const bool igmp = family == Family::kIgmp;
    begin(family, packet, igmp ? 8 : 24);
    body(family, packet)[0] = igmp ? 0x17 : 132;
    store_address(family, group, body(family, packet) + (igmp ? 4 : 8));
    finish(family, source, igmp ? well_known::kIgmpRouters : well_known::kMldRouters, packet);
}

std::size_t build_report(Family family, const Address &source, const std::vector<ReportRecord> &records,
                         std::size_t first, Packet &packet)
{
    constexpr std::size_t kHead = 8;
    const std::size_t each = address_bytes(family);
    begin(family, packet, kHead);
    uint8_t *start = body(family, packet);
    uint8_t *at = start + kHead;
    std::size_t index = first;
    for (; index < records.size(); ++index) {
        const ReportRecord &record = records[index];
        const std::size_t room = kLongestMessage - static_cast<std::size_t>(at - start);
        const std::size_t wanted = record_head_bytes(family) + record.sources.size() * each;
        if (wanted > room && index > first)
            break;
        const std::size_t sources = std::min(record.sources.size(), (room - record_head_bytes(family)) / each);
        at[0] = static_cast<uint8_t>(record.type);
        at[1] = 0;
        store16(at + 2, static_cast<uint16_t>(sources));
        store_address(family, record.group, at + 4);
        at += record_head_bytes(family);
        for (std::size_t i = 0; i < sources; ++i, at += each)
            store_address(family, record.sources[i], at);
    }
    start[0] = family == Family::kIgmp ? 0x22 : 143;
    store16(start + 6, static_cast<uint16_t>(index - first));
    packet.size = static_cast<std::size_t>(at - packet.bytes.data());
    finish(family, source, family == Family::kIgmp ? well_known::kIgmpV3Routers : well_known::kMldV2Routers, packet);
    return index;
}

} // namespace mcadapt::host
