/**
 * @file
 * The forwarding table of the switch: which ports listen to a multicast MAC address in a VLAN.
 */
#ifndef MCADAPT_HOST_SWITCH_FORWARDING_TABLE_H
#define MCADAPT_HOST_SWITCH_FORWARDING_TABLE_H

#include <array>
#include <cstdint>
#include <unordered_map>
#include <vector>

#include "host/clock.h"

namespace mcadapt::host {

/** One forwarding entry with what it forwarded. */
struct ForwardingEntry {
    uint16_t vlan;
    std::array<uint8_t, 6> mac;
    uint32_t port;
    uint64_t frames = 0;
    Time added{0};
    Time first_frame{0}; /**< When it forwarded its first frame, if `frames` is not 0. */
};

class ForwardingTable {
public:
    /** Entries of one address in one VLAN, by port. */
    using Listeners = std::vector<ForwardingEntry>;

    /** @return Null when there are none; valid until the table changes. */
    Listeners *find(const uint8_t *mac, uint16_t vlan);

    /** @return Whether it was not there yet. */
    bool add(const uint8_t *mac, uint16_t vlan, uint32_t port, Time now);
    /** @return Whether it was there. */
    bool remove(const uint8_t *mac, uint16_t vlan, uint32_t port);

    /** By VLAN, MAC address and port. */
    std::vector<ForwardingEntry> list() const;

private:
    // VLAN and MAC address in one number. Looked up once a frame, so hashed; a list is sorted when it is asked for.
    using Key = uint64_t;
    struct Mix {
        std::size_t operator()(Key key) const
        {
            key *= 0x9E3779B97F4A7C15u;
            return key ^ key >> 32;
        }
    };
    static Key key_of(const uint8_t *mac, uint16_t vlan);

    std::unordered_map<Key, Listeners, Mix> entries_;
};

} // namespace mcadapt::host

#endif
