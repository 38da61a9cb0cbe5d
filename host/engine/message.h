/**
 * @file
 * What a packet of either family says, without its wire format.
 */
#ifndef MCADAPT_HOST_ENGINE_MESSAGE_H
#define MCADAPT_HOST_ENGINE_MESSAGE_H

#include <cstdint>
#include <string>

#include "host/engine/address.h"
#include "host/engine/drop_reason.h"
#include "host/engine/timers.h"

namespace mcadapt::host {

enum class MessageKind : uint8_t {
    kQuery,
    kJoin,   /**< Report of IGMPv1, IGMPv2 or MLDv1: one group. */
    kReport, /**< Report of IGMPv3 or MLDv2: group records. */
    kLeave   /**< Leave of IGMPv2, Done of MLDv1. */
};

/** The record types, numbered as on the wire in both families. */
enum class RecordType : uint8_t { kIsInclude = 1, kIsExclude, kToInclude, kToExclude, kAllow, kBlock };

struct Message {
    Family family = Family::kIgmp;
    MessageKind kind = MessageKind::kQuery;
    uint8_t version = 0; /**< IGMP 1 to 3; MLD 1 and 2. */
    Address source;
    Address group; /**< Unspecified in a general query and in a report with records. */

    // Queries
    Duration max_response{0};
    Duration query_interval{0}; /**< 0 when the version does not tell. */
    uint8_t robustness = 0;     /**< 0 when the version does not tell. */
    bool suppress = false;

    // Records of a report, or sources of a query, still in the packet and checked to fit
    uint16_t count = 0;
    const uint8_t *list = nullptr;
};

/** One group record of a checked report. */
struct Record {
    uint8_t type = 0;
    Address group;
    uint16_t source_count = 0;
    const uint8_t *sources = nullptr;
};

/** Reads the record at `*at` and moves on to the next; only for reports that the parser accepted. */
Record next_record(Family family, const uint8_t **at);

/** Bytes of the fixed part of a record. */
constexpr std::size_t record_head_bytes(Family family) { return 4 + address_bytes(family); }

/**
 * Checks an IPv4 packet and the IGMP message in it. Reads nothing behind `available` bytes.
 * @param claimed  Total length that the header names.
 */
DropReason parse_igmp(const uint8_t *packet, std::size_t available, std::size_t claimed, Message &message);

/** MLD twin of `parse_igmp`. @param claimed  Payload length that the header names, plus 40. */
DropReason parse_mld(const uint8_t *packet, std::size_t available, std::size_t claimed, Message &message);

/** "IGMPv3 report, 2 records". */
std::string describe(const Message &message);

/** The one's complement sum of RFC 1071, not yet inverted. */
uint32_t checksum_add(const uint8_t *data, std::size_t size, uint32_t sum = 0);
uint16_t checksum_fold(uint32_t sum);
/** Sum of the pseudo-header of ICMPv6. */
uint32_t icmpv6_pseudo_sum(const uint8_t *ipv6, std::size_t size);

/** Time fields: 8 bits of IGMP and of both query intervals, 16 bits of MLDv2. */
uint32_t decode_8bit(uint8_t code);
uint32_t decode_16bit(uint16_t code);
uint8_t encode_8bit(uint32_t value);
uint16_t encode_16bit(uint32_t value);

} // namespace mcadapt::host

#endif
