/**
 * @file
 * What a subscriber can take up at most, in one place.
 */
#ifndef MCADAPT_HOST_ENGINE_LIMITS_H
#define MCADAPT_HOST_ENGINE_LIMITS_H

#include <cstddef>
#include <cstdint>

#include "host/ports.h"

namespace mcadapt::host {

/** Bounds of the state that packets can create. What exceeds them is refused and counted; the rest stays untouched. */
struct Limits {
    uint32_t groups_per_port = 4096; /**< Of each family, over all VLANs of the port. */
    uint32_t sources_per_group = 64; /**< Of one group on one port; a report of a 1500-byte packet names up to 366. */
};

constexpr uint32_t kMaxPort = 29;                  /**< Switch ports are 0 to 29. */
constexpr uint32_t kUplinkWildcard = 0xFFFF;       /**< The uplink's number on the IGMP side. */
constexpr uint32_t kAnyPort = 255;                 /**< "All ports" of a status query. */
constexpr uint16_t kAnyVlan = 0xFFFF;              /**< "Any VLAN" of the group lists. */
constexpr uint16_t kStartDefaultVlan = 4088;       /**< Default VLAN until one is set. */
constexpr uint16_t kMaxVlan = 4094;                /**< Highest VLAN id of IEEE 802.1Q that can be used. */
constexpr int32_t kNoGroupLimit = 1024;            /**< The agents' number for "no limit". */
constexpr uint32_t kStartChannelBase = 0xEF010100; /**< 239.1.1.0, see Engine::set_channel_base. */
constexpr std::size_t kMaxPacketBytes = 1986; /**< Longest packet that the intake passes: 2000 less a MAC header. */
constexpr std::size_t kMaxListEntries = 1024; /**< Entries of each authorisation list. */

} // namespace mcadapt::host

#endif
