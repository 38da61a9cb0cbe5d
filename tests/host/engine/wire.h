/**
 * @file
 * Packets as hosts and routers send them, written byte by byte, right or wrong on purpose.
 */
#ifndef MCADAPT_TESTS_HOST_ENGINE_WIRE_H
#define MCADAPT_TESTS_HOST_ENGINE_WIRE_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "host/observer.h"

namespace wire {

using Bytes = std::vector<uint8_t>;
using mcadapt::host::Family;

/** Bytes of an address written as text, 4 or 16 of them. */
Bytes address(const std::string &text);
uint32_t ipv4_value(const std::string &text);

/** One group record. */
struct Record {
    int type;
    std::string group;
    std::vector<std::string> sources{};
    int announced_sources = -1; /**< -1: the true number. */
    int auxiliary_words = 0;
    int announced_auxiliary = -1;
};

enum RecordType { kIsIn = 1, kIsEx, kToIn, kToEx, kAllow, kBlock };

/** What the packet around a message looks like; the defaults are those of a correct host. */
struct Around {
    std::string source;      /**< Empty: 10.1.0.7 or fe80::7. */
    std::string destination; /**< Empty: what the type is sent to. */
    int ttl = 1;
    bool router_alert = true;
    std::size_t padding = 0;                            /**< Zero bytes behind the message, covered by the IP length. */
    std::function<void(Bytes &message)> damage_message; /**< Before its checksum is made. */
    std::function<void(Bytes &packet)> damage_packet;   /**< At the very end. */
};

/** The IPv4 header checksum of the packet made right again. */
void fix_ipv4_checksum(Bytes &packet);

Bytes igmp_packet(const Bytes &message, const std::string &destination, const Around &around);
/** With a hop-by-hop header when the router alert is wanted. */
Bytes mld_packet(const Bytes &message, const std::string &destination, const Around &around);

struct Query {
    int version;       /**< Of the family: IGMP 1 to 3, MLD 1 and 2. */
    std::string group; /**< Empty: general. */
    int max_response_code = 100;
    bool suppress = false;
    int robustness = 2;
    int query_interval_code = 125;
    std::vector<std::string> sources{};
    int announced_sources = -1;
};

Bytes query(Family family, const Query &query, const Around &around = {});
/** Report of one group: IGMP version 1 or 2, MLD version 1. */
Bytes join(Family family, int version, const std::string &group, const Around &around = {});
Bytes leave(Family family, const std::string &group, const Around &around = {});
Bytes report(Family family, const std::vector<Record> &records, const Around &around = {}, int announced_records = -1);

/** A packet read back: "IGMPv3 query 239.1.2.3 {10.9.0.1} S from 0.0.0.0 to 239.1.2.3". Fails the test when wrong. */
std::string read(const uint8_t *packet, std::size_t size);

} // namespace wire

#endif
