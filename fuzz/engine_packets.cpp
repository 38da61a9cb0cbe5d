#include "fuzz/engine_packets.h"

#include <algorithm>

#include "host/engine/address.h"
#include "host/engine/message.h"

namespace mcadapt::fuzz {

namespace {

using host::Family;
using Bytes = std::vector<uint8_t>;

constexpr std::size_t kLongestFrame = 1986;
constexpr std::size_t kIpv4Head = 20;
constexpr std::size_t kIpv6Head = 40;

void put8(Bytes &bytes, unsigned value) { bytes.push_back(static_cast<uint8_t>(value)); }
void put16(Bytes &bytes, unsigned value)
{
    put8(bytes, value >> 8);
    put8(bytes, value);
}
void put32(Bytes &bytes, uint32_t value)
{
    put16(bytes, value >> 16);
    put16(bytes, value & 0xFFFF);
}

// An address told by one byte: a few that mean something, and neighbours.
void put_source(Bytes &bytes, Family family, unsigned which)
{
    if (family == Family::kMld)
        for (const uint32_t word : {which == 255 ? 0xFF1E0000u : 0xFD000000u, 0u, 0u})
            put32(bytes, word);
    put32(bytes, family == Family::kMld ? which : which == 255 ? 0xE0000005 : which == 0 ? 0 : 0x0A090000 + which);
}

// Groups: ordinary ones, one whose MAC address is another's, source-specific, link-local, and none at all.
void put_group(Bytes &bytes, Family family, unsigned which)
{
    static constexpr uint32_t kIgmp[] = {0xEF010101, 0xEF010102, 0xEF810101, 0xE8010101, 0xE0000005, 0x0A000001,
                                         0xE0000116, 0x00000000, 0xEF010103, 0xEF020304, 0xE8010102, 0xEFFFFFFF};
    static constexpr uint32_t kMld[][2] = {{0xFF1E0000, 0x101}, {0xFF1E0000, 0x102}, {0xFF0E0000, 0x101},
                                           {0xFF3E0000, 0x101}, {0xFF020000, 0x101}, {0xFD000000, 0x101},
                                           {0xFF150000, 0x016}, {0x00000000, 0x000}, {0xFF1E0000, 0x103},
                                           {0xFF1E0000, 0x304}, {0xFF3E0020, 0x101}, {0xFF010000, 0x001}};
    if (family == Family::kIgmp) {
        put32(bytes, which < 12 ? kIgmp[which] : 0xEF010100 + which);
        return;
    }
    put32(bytes, which < 12 ? kMld[which][0] : 0xFF1E0000);
    put32(bytes, 0);
    put32(bytes, 0);
    put32(bytes, which < 12 ? kMld[which][1] : 0x100 + which);
}

void put_sources(Bytes &bytes, Family family, unsigned count, unsigned first)
{
    const unsigned step = first >= 128 ? 0 : 1; // one and the same again and again, or many
    for (unsigned i = 0; i < count && bytes.size() < kLongestFrame; ++i)
        put_source(bytes, family, first + i * step);
}

// --- Messages

Bytes query(Input &input, Family family, unsigned version)
{
    Bytes bytes;
    put8(bytes, family == Family::kIgmp ? 0x11 : 130);
    const uint8_t code = input.byte();
    put8(bytes, family == Family::kIgmp ? code : 0);
    put16(bytes, 0);
    if (family == Family::kMld) {
        put16(bytes, code * 256u);
        put16(bytes, 0);
    }
    put_group(bytes, family, input.byte());
    if (version < 3)
        return bytes;
    put8(bytes, input.byte()); // S, QRV
    put8(bytes, input.byte()); // QQIC
    const unsigned sources = input.byte();
    put16(bytes, input.flag() ? input.number16() : sources);
    put_sources(bytes, family, sources, input.byte());
    return bytes;
}

Bytes single(Input &input, Family family, bool leave, unsigned version)
{
    Bytes bytes;
    if (family == Family::kIgmp)
        put8(bytes, leave ? 0x17 : version == 1 ? 0x12 : 0x16);
    else
        put8(bytes, leave ? 132 : 131);
    put8(bytes, 0);
    put16(bytes, 0);
    if (family == Family::kMld)
        put32(bytes, 0);
    put_group(bytes, family, input.byte());
    return bytes;
}

void put_record(Bytes &bytes, Input &input, Family family)
{
    const unsigned shape = input.byte();
    const unsigned sources = (shape & 0x80) != 0 ? input.number16() % 400u : shape >> 4 & 7;
    put8(bytes, shape & 7);
    const unsigned auxiliary = (shape & 0x08) != 0 ? input.byte() : 0;
    put8(bytes, auxiliary);
    put16(bytes, (shape & 0x08) != 0 && input.flag() ? input.number16() : sources);
    put_group(bytes, family, input.byte());
    put_sources(bytes, family, sources, input.byte());
    bytes.resize(bytes.size() + (auxiliary & 3) * 4);
}

Bytes report(Input &input, Family family)
{
    Bytes bytes;
    put8(bytes, family == Family::kIgmp ? 0x22 : 143);
    put8(bytes, 0);
    put16(bytes, 0);
    put16(bytes, 0);
    const unsigned records = input.byte() % 16u;
    const unsigned times = 1 + input.byte() % 8u; // the same records again and again
    put16(bytes, input.flag() ? input.number16() : records * times);
    Bytes list;
    for (unsigned i = 0; i < records && list.size() < kLongestFrame; ++i)
        put_record(list, input, family);
    for (unsigned i = 0; i < times && bytes.size() < kLongestFrame; ++i)
        bytes.insert(bytes.end(), list.begin(), list.end());
    return bytes;
}

Bytes message(Input &input, Family family)
{
    switch (input.byte() % 8) {
    case 0:
        return query(input, family, 2);
    case 1:
        return query(input, family, 3);
    case 2:
        return single(input, family, false, 1);
    case 3:
        return single(input, family, false, 2);
    case 4:
        return single(input, family, true, 2);
    default:
        return report(input, family);
    }
}

// --- Around them

void store_checksum(uint8_t *at, uint32_t sum) { host::store16(at, static_cast<uint16_t>(~host::checksum_fold(sum))); }

void repair_igmp(Bytes &packet)
{
    const std::size_t head = (packet[0] & 0x0Fu) * std::size_t{4};
    if (head < kIpv4Head || packet.size() < head + 4)
        return;
    host::store16(packet.data() + 2, static_cast<uint16_t>(packet.size()));
    host::store16(packet.data() + 10, 0);
    store_checksum(packet.data() + 10, host::checksum_add(packet.data(), head));
    host::store16(packet.data() + head + 2, 0);
    store_checksum(packet.data() + head + 2, host::checksum_add(packet.data() + head, packet.size() - head));
}

void repair_mld(Bytes &packet)
{
    if (packet.size() < kIpv6Head + 12)
        return;
    host::store16(packet.data() + 4, static_cast<uint16_t>(packet.size() - kIpv6Head));
    const bool options = packet[6] == 0;
    const std::size_t head = kIpv6Head + (options ? (packet[kIpv6Head + 1] + 1u) * 8 : 0);
    if (packet.size() < head + 4)
        return;
    host::store16(packet.data() + head + 2, 0);
    const std::size_t size = packet.size() - head;
    store_checksum(packet.data() + head + 2,
                   host::checksum_add(packet.data() + head, size, host::icmpv6_pseudo_sum(packet.data(), size)));
}

void repair(Bytes &packet, Family family)
{
    if (family == Family::kMld)
        repair_mld(packet);
    else if (packet.size() >= kIpv4Head)
        repair_igmp(packet);
}

// Where hosts and routers send a message: to its group, or to one of the addresses for all.
void put_destination(Bytes &bytes, Family family, const Bytes &message)
{
    const uint8_t type = message[0];
    const bool mld = family == Family::kMld;
    const std::size_t group_at = mld ? 8 : 4;
    const bool report = type == (mld ? 143 : 0x22);
    const bool general =
        type == (mld ? 130 : 0x11) && host::load_address(family, message.data() + group_at) == host::kUnspecified;
    if (!report && !general) {
        const auto group = message.begin() + static_cast<std::ptrdiff_t>(group_at);
        bytes.insert(bytes.end(), group, group + static_cast<std::ptrdiff_t>(host::address_bytes(family)));
        return;
    }
    if (mld)
        for (const uint32_t word : {0xFF020000u, 0u, 0u})
            put32(bytes, word);
    put32(bytes, mld ? (report ? 0x16 : 0x01) : (report ? 0xE0000016 : 0xE0000001));
}

Bytes in_ipv4(const Bytes &message, unsigned host)
{
    Bytes packet = {0x46, 0xC0, 0, 0, 0, 0, 0, 0, 1, 2, 0, 0};
    put32(packet, host == 0 ? 0 : 0x0A010000 + host);
    put_destination(packet, Family::kIgmp, message);
    for (const unsigned byte : {148u, 4u, 0u, 0u}) // Router Alert
        put8(packet, byte);
    packet.insert(packet.end(), message.begin(), message.end());
    return packet;
}

Bytes in_ipv6(const Bytes &message, unsigned host)
{
    Bytes packet = {0x60, 0, 0, 0, 0, 0, 0, 1};
    for (const uint32_t word : {0xFE800000u, 0u, 0u, static_cast<uint32_t>(host)})
        put32(packet, word);
    put_destination(packet, Family::kMld, message);
    for (const unsigned byte : {58u, 0u, 5u, 2u, 0u, 0u, 1u, 0u}) // Router Alert, PadN
        put8(packet, byte);
    packet.insert(packet.end(), message.begin(), message.end());
    return packet;
}

} // namespace

std::vector<uint8_t> take_packet(Input &input, Family family)
{
    constexpr unsigned kOwnBytes = 1, kRepaired = 2, kDamaged = 4, kPadded = 8;
    const unsigned shape = input.byte();
    Bytes packet;
    if ((shape & kOwnBytes) != 0) {
        packet = input.bytes(input.word() % (kLongestFrame + 1));
    } else {
        const unsigned host = shape >> 4;
        const Bytes inside = message(input, family);
        packet = family == Family::kIgmp ? in_ipv4(inside, host) : in_ipv6(inside, host);
    }
    const unsigned more = (shape & kPadded) != 0 ? input.byte() : 0;
    const std::size_t cut_off = more < 128 ? 0 : more - 127; // of the frame, behind the length that its header says
    if (more < 128)
        packet.resize(packet.size() + more);
    packet.resize(std::min(packet.size(), kLongestFrame));
    if ((shape & kOwnBytes) == 0 || (shape & kRepaired) != 0)
        repair(packet, family);
    if ((shape & kDamaged) != 0 && !packet.empty()) {
        packet[input.word() % packet.size()] = input.byte();
        if ((shape & kRepaired) != 0)
            repair(packet, family);
    }
    packet.resize(packet.size() - std::min(cut_off, packet.size()));
    return packet;
}

} // namespace mcadapt::fuzz
