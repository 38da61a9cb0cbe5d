/**
 * @file
 * Messages to packets: queries, reports, leaves.
 */
#ifndef MCADAPT_HOST_ENGINE_PACKET_BUILDER_H
#define MCADAPT_HOST_ENGINE_PACKET_BUILDER_H

#include <array>
#include <cstdint>
#include <vector>

#include "host/engine/message.h"

namespace mcadapt::host {

struct Packet {
    std::array<uint8_t, 1500> bytes;
    std::size_t size = 0;
};

struct QueryFields {
    uint8_t version = 3; /**< IGMP 1 to 3; MLD 1 and 2. */
    Address source;
    Address group; /**< Unspecified: a general query. */
    Duration max_response{0};
    Duration query_interval{0};
    uint32_t robustness = 2;
    bool suppress = false;
    std::vector<Address> sources;
};

struct ReportRecord {
    RecordType type;
    Address group;
    std::vector<Address> sources;
};

/** A query; sources that do not fit into 1500 bytes are left out. */
void build_query(Family family, const QueryFields &query, Packet &packet);

/** Report of one group in an older version (IGMP 1 or 2; MLD 1). */
void build_join(Family family, uint8_t version, const Address &source, const Address &group, Packet &packet);

/** Leave of IGMPv2 or Done of MLDv1. */
void build_leave(Family family, const Address &source, const Address &group, Packet &packet);

/**
 * Report with records, from `records[first]` on.
 * @return Index of the first record that did not fit; at least one is always taken, cut to what fits.
 */
std::size_t build_report(Family family, const Address &source, const std::vector<ReportRecord> &records,
                         std::size_t first, Packet &packet);

} // namespace mcadapt::host

#endif
