/**
 * @file
 * Parameters of the protocols, and settings of the ports.
 */
#ifndef MCADAPT_HOST_ENGINE_SETTINGS_H
#define MCADAPT_HOST_ENGINE_SETTINGS_H

#include <array>
#include <cstdint>

#include "host/engine/address.h"
#include "host/engine/limits.h"
#include "host/engine/timers.h"

namespace mcadapt::host {

/** The six timers of RFC 9776 section 8 and RFC 9777 section 9, with their defaults. */
struct ProtocolTimers {
    uint32_t robustness = 2;
    uint32_t query_interval = 125; /**< Seconds, as the next two. */
    uint32_t response_interval = 10;
    uint32_t last_member_interval = 1;
    uint32_t last_member_count = 2;
    bool age = true; /**< Off: memberships never time out. */

    bool valid() const
    {
        // RFC 9776 section 8.1: robustness is not 0; 8.3: the response interval is below the query interval.
        // The upper ends are what the fields of a query can carry.
        return in(robustness, 1, 255) && in(query_interval, 2, 31744) && in(response_interval, 1, 3174) &&
               response_interval < query_interval && in(last_member_interval, 1, 3174) && in(last_member_count, 1, 255);
    }

    Duration query_every() const { return std::chrono::seconds(query_interval); }
    Duration response() const { return std::chrono::seconds(response_interval); }
    Duration last_member_every() const { return std::chrono::seconds(last_member_interval); }
    Duration last_member_time() const { return last_member_every() * last_member_count; }

private:
    static bool in(uint32_t value, uint32_t low, uint32_t high) { return low <= value && value <= high; }
};

/** What both halves share. */
struct Settings {
    ProtocolTimers timers;
    uint8_t igmp_version = 3;
    bool vlan_learning = false;
    uint32_t channel_base = kStartChannelBase;
    Address igmp_source;                                        /**< Of proxied reports and of queries in proxy mode. */
    Address mld_source{0xFE80ull << 48, 0x020000FFFE000000ull}; /**< The link-local address of an all-zero MAC. */
    uint32_t ssm_network = 0xE8000000;                          /**< 232.0.0.0/8 (RFC 4607 section 1). */
    uint32_t ssm_mask = 0xFF000000;
    std::array<uint32_t, 5> ssm_map{}; /**< Group, mask, two sources, on. */
};

/** Settings and counters of one port, for both halves. */
struct PortSettings {
    bool fast_leave = false;
    uint32_t group_limit = static_cast<uint32_t>(kNoGroupLimit);
    bool bandwidth_limited = false;
    uint32_t bandwidth_limit = 0;
    uint16_t bandwidth_vlan = kAnyVlan;
    uint64_t bandwidth_used = 0; /**< Of the groups in `bandwidth_vlan`. */
    uint64_t bandwidth_all = 0;  /**< Of all groups. */
    uint32_t joins = 0;
    uint32_t bandwidth_exceeded = 0;
};

using PortTable = std::array<PortSettings, kMaxPort + 1>;

} // namespace mcadapt::host

#endif
