/**
 * @file
 * Figures of a run: delays of joins and leaves, named as RFC 3918 names them.
 */
#ifndef MCADAPT_HOST_PROGRAM_STATISTICS_H
#define MCADAPT_HOST_PROGRAM_STATISTICS_H

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <tuple>
#include <vector>

#include "host/clock.h"
#include "host/observer.h"
#include "host/program/named_groups.h"

namespace mcadapt::host {

/** Delays of one kind. */
struct Delays {
    uint64_t count = 0;
    Duration shortest = Duration::max();
    Duration longest{0};
    Duration sum{0};

    void note(Duration delay)
    {
        ++count;
        shortest = std::min(shortest, delay);
        longest = std::max(longest, delay);
        sum += delay;
    }
    Duration mean() const { return count == 0 ? Duration{0} : sum / static_cast<int64_t>(count); }
};

/** Watches memberships and data frames of a run. */
class Statistics final : public Observer {
public:
    explicit Statistics(const Clock &clock) : clock_(clock) {}

    /** Group join delay: from the entry of a group on a port to the first of its frames that leaves there. */
    const Delays &join_delays() const { return joins_; }
    /** Group leave delay: from a leave on a port, unless taken back, to the end of the group's membership there. */
    const Delays &leave_delays() const { return leaves_; }
    uint64_t joins() const { return joined_; }
    uint64_t leaves() const { return left_; }
    uint64_t sent_by_engine() const { return sent_by_engine_; }

    void packet_received(Family family, uint32_t port, uint16_t vlan, Bytes packet) override;
    void membership_changed(const Membership &membership, bool joined, std::string_view why) override;
    void packet_sent(Family family, uint32_t port, uint16_t vlan, std::string_view what) override;
    void entry_changed(uint32_t port, const uint8_t *mac, uint16_t vlan, bool added) override;
    void frame_left(uint32_t port, Bytes frame, bool by_library) override;

private:
    // An entry that waits for its first frame: MAC address as a number, port.
    using WaitingKey = std::tuple<uint64_t, uint32_t>;
    // Group, family, port and VLAN whose listener was heard to leave.
    using LeaveKey = std::array<uint8_t, 20>;
    static LeaveKey leave_key(const GroupAddress &group, uint16_t vlan, uint32_t port);

    const Clock &clock_;
    std::map<WaitingKey, Time> waiting_;
    std::map<LeaveKey, Time> leaving_;
    std::vector<NamedGroup> named_;
    Delays joins_;
    Delays leaves_;
    uint64_t joined_ = 0;
    uint64_t left_ = 0;
    uint64_t sent_by_engine_ = 0;
};

} // namespace mcadapt::host

#endif
