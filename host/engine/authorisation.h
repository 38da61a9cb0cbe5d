/**
 * @file
 * Which IPv4 groups a port may listen to: white list, ranges of ports, private list.
 */
#ifndef MCADAPT_HOST_ENGINE_AUTHORISATION_H
#define MCADAPT_HOST_ENGINE_AUTHORISATION_H

#include <array>
#include <cstdint>
#include <vector>

#include "host/engine/drop_reason.h"
#include "host/engine/limits.h"

namespace mcadapt::host {

struct GroupRange {
    uint32_t first = 0;
    uint32_t last = 0;
    uint32_t bandwidth = 0; /**< Of each group in it. */
    uint16_t vlan = kAnyVlan;

    bool covers(uint32_t group, uint16_t in_vlan) const
    {
        return first <= group && group <= last && (vlan == kAnyVlan || vlan == in_vlan);
    }
};

class Authorisation {
public:
    /** `kNone`, or the list that forbids the group. */
    DropReason check(uint32_t group, uint16_t vlan, uint32_t port) const;
    /** What the group takes on the port; 0 when no range tells. */
    uint32_t bandwidth(uint32_t group, uint16_t vlan, uint32_t port) const;
    /** Changes whenever an answer of `check` may have. */
    uint16_t epoch() const { return epoch_; }

    void set_white_list(bool on);
    bool add_unit_range(const GroupRange &range);
    bool add_port_range(uint32_t port, const GroupRange &range);
    bool remove_port_range(uint32_t port, const GroupRange &range);
    /** Ranges of the port in this VLAN; `kAnyVlan`: all of its ranges. */
    void remove_port_ranges(uint32_t port, uint16_t vlan);
    void remove_all_ranges();
    void set_port(uint32_t port, bool on);
    bool add_private(uint32_t group, uint16_t vlan);
    bool remove_private(uint32_t group, uint16_t vlan);
    void clear_private();

private:
    struct Port {
        bool on = false;
        std::vector<GroupRange> ranges;
    };
    bool add(std::vector<GroupRange> &ranges, const GroupRange &range);
    void ranges_removed(Port &port);

    std::vector<GroupRange> unit_;
    std::vector<GroupRange> private_;
    std::array<Port, kMaxPort + 1> ports_;
    bool white_list_ = false;
    uint16_t epoch_ = 0;
};

} // namespace mcadapt::host

#endif
