/**
 * @file
 * What a unit is: its MAC address, uplink, ONU id and ports.
 */
#ifndef MCADAPT_HOST_UNIT_UNIT_SETTINGS_H
#define MCADAPT_HOST_UNIT_UNIT_SETTINGS_H

#include <array>
#include <cstdint>
#include <vector>

namespace mcadapt::host {

enum class Uplink : uint8_t { kEpon, kGpon };

struct UnitSettings {
    std::array<uint8_t, 6> mac = {{0x02, 0x00, 0x00, 0x00, 0x00, 0x01}};
    Uplink uplink = Uplink::kGpon;
    uint8_t onu_id = 1;               /**< 0: not assigned yet. */
    std::vector<uint32_t> more_ports; /**< User ports beside port 0, which are only forwarded to. */
    uint16_t untagged_vlan = 4088;    /**< VLAN in which the switch forwards untagged frames. */
    int32_t priority = 100;           /**< Priority given to `mc_igmp_init`. */
};

} // namespace mcadapt::host

#endif
