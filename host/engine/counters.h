/**
 * @file
 * What the engine counted.
 */
#ifndef MCADAPT_HOST_ENGINE_COUNTERS_H
#define MCADAPT_HOST_ENGINE_COUNTERS_H

#include <array>
#include <cstdint>

#include "host/engine/drop_reason.h"

namespace mcadapt::host {

/** Counters of one family, from the start. */
struct Counters {
    uint64_t received = 0; /**< Packets handed in; each is accepted or dropped. */
    uint64_t accepted = 0;
    uint64_t queries_received = 0;
    uint64_t joins_received = 0;   /**< Reports of IGMPv1, IGMPv2 and MLDv1. */
    uint64_t reports_received = 0; /**< Reports of IGMPv3 and MLDv2. */
    uint64_t leaves_received = 0;
    std::array<uint64_t, kDropReasons> dropped{}; /**< Packets, by reason. */
    std::array<uint64_t, kDropReasons> refused{}; /**< Groups of accepted packets, by reason. */
    uint64_t queries_sent = 0;
    uint64_t reports_sent = 0;
    uint64_t leaves_sent = 0;
    uint64_t entries_added = 0;
    uint64_t entries_refused = 0; /**< Answers other than 0 of the add callback. */
    uint64_t entries_removed = 0;
};

/** The four interface counters of `igmp_if_gather_if_status`, in their order; see engine.h. */
struct InterfaceCounters {
    uint32_t bandwidth = 0;
    uint32_t joins = 0;
    uint32_t bandwidth_exceeded = 0;
    uint32_t groups = 0;
};

} // namespace mcadapt::host

#endif
