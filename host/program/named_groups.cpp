#include "host/program/named_groups.h"

#include <cstring>

namespace mcadapt::host {

namespace {

constexpr uint8_t kIgmpReport1 = 0x12;
constexpr uint8_t kIgmpReport2 = 0x16;
constexpr uint8_t kIgmpLeave = 0x17;
constexpr uint8_t kIgmpReport3 = 0x22;
constexpr uint8_t kMldReport1 = 131;
constexpr uint8_t kMldDone = 132;
constexpr uint8_t kMldReport2 = 143;

constexpr std::size_t kIpv6HeaderBytes = 40;

// RFC 9776 section 4.2.12, RFC 9777 section 5.2.12
constexpr const char *kRecordNames[] = {"unknown record",         "MODE_IS_INCLUDE",        "MODE_IS_EXCLUDE",
                                        "CHANGE_TO_INCLUDE_MODE", "CHANGE_TO_EXCLUDE_MODE", "ALLOW_NEW_SOURCES",
                                        "BLOCK_OLD_SOURCES"};
constexpr uint8_t kToInclude = 3;
constexpr uint8_t kBlock = 6;

std::size_t address_bytes(Family family) { return family == Family::kMld ? 16 : 4; }

GroupAddress group_at(Family family, const uint8_t *bytes)
{
    GroupAddress group = {family, {}};
    if (family == Family::kMld) {
        std::memcpy(group.bytes, bytes, sizeof(group.bytes));
        return group;
    }
    const uint32_t address = static_cast<uint32_t>(bytes[0]) << 24 | static_cast<uint32_t>(bytes[1]) << 16 |
                             static_cast<uint32_t>(bytes[2]) << 8 | bytes[3];
    std::memcpy(group.bytes + 12, &address, sizeof(address));
    return group;
}

// The message behind the IP headers; empty when there is none.
Bytes message_of(Family family, Bytes packet)
{
    std::size_t at = packet.size;
    if (family == Family::kIgmp && packet.size >= 20) {
        at = (packet.data[0] & 0x0Fu) * std::size_t{4};
    } else if (family == Family::kMld && packet.size > kIpv6HeaderBytes + 2) {
        at = kIpv6HeaderBytes;
        if (packet.data[6] == 0)
            at += 8 + packet.data[kIpv6HeaderBytes + 1] * std::size_t{8};
    }
    if (at >= packet.size)
        return {nullptr, 0};
    return {packet.data + at, packet.size - at};
}

void find_records(Family family, Bytes message, std::vector<NamedGroup> &groups)
{
    const std::size_t size = address_bytes(family);
    const unsigned records = static_cast<unsigned>(message.data[6] << 8 | message.data[7]);
    std::size_t at = 8;
    for (unsigned i = 0; i < records && at + 4 + size <= message.size; ++i) {
        const uint8_t *record = message.data + at;
        const uint8_t type = record[0];
        const unsigned sources = static_cast<unsigned>(record[2] << 8 | record[3]);
        const bool leaves = type == kBlock || (type == kToInclude && sources == 0);
        groups.push_back(
            {group_at(family, record + 4), leaves, kRecordNames[type < std::size(kRecordNames) ? type : 0], sources});
        at += 4 + size + sources * size + record[1] * std::size_t{4};
    }
}

} // namespace

void find_named_groups(Family family, Bytes packet, std::vector<NamedGroup> &groups)
{
    groups.clear();
    const Bytes message = message_of(family, packet);
    const std::size_t group_at_byte = family == Family::kMld ? 8 : 4;
    if (message.size < 8)
        return;
    const uint8_t type = message.data[0];
    const bool mld = family == Family::kMld;
    if (type == (mld ? kMldReport2 : kIgmpReport3)) {
        find_records(family, message, groups);
        return;
    }
    const bool joins = mld ? type == kMldReport1 : type == kIgmpReport1 || type == kIgmpReport2;
    const bool leaves = type == (mld ? kMldDone : kIgmpLeave);
    if ((joins || leaves) && message.size >= group_at_byte + address_bytes(family))
        groups.push_back({group_at(family, message.data + group_at_byte), leaves, nullptr, 0});
}

std::array<uint8_t, 6> mac_of(const GroupAddress &group)
{
    if (group.family == Family::kMld)
        return {{0x33, 0x33, group.bytes[12], group.bytes[13], group.bytes[14], group.bytes[15]}};
    uint32_t address = 0;
    std::memcpy(&address, group.bytes + 12, sizeof(address));
    return {{0x01, 0x00, 0x5E, static_cast<uint8_t>(address >> 16 & 0x7F), static_cast<uint8_t>(address >> 8),
             static_cast<uint8_t>(address)}};
}

} // namespace mcadapt::host
