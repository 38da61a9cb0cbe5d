/**
 * @file
 * The host side of proxy mode: one subscriber toward the uplink that stands for all behind the user ports.
 *
 * RFC 4605 section 4; the host's behaviour is that of RFC 9776 section 5 and RFC 9777 section 6, with the older
 * queriers of their sections 7.2 and 8.2.
 */
#ifndef MCADAPT_HOST_ENGINE_PROXY_H
#define MCADAPT_HOST_ENGINE_PROXY_H

#include <map>
#include <vector>

#include "host/engine/context.h"

namespace mcadapt::host {

/** What all ports of a VLAN together want of a group. */
struct Aggregate {
    bool exclude = false;
    std::vector<Address> sources; /**< Sorted. */

    bool listens() const { return exclude || !sources.empty(); }
    bool allows(const Address &source) const;
    friend bool operator==(const Aggregate &a, const Aggregate &b)
    {
        return a.exclude == b.exclude && a.sources == b.sources;
    }
};

/** Merges the states of the ports (RFC 9776 section 3.2). More than `max` sources: asks for all of them. */
Aggregate merge(const std::vector<const PortGroup *> &groups, std::size_t max);

class Proxy {
public:
    Proxy(Context &context, Outlet &outlet, Family family) : context_(context), outlet_(outlet), family_(family) {}

    /** What is wanted of a group may have changed. */
    void group_changed(uint16_t vlan, const Address &group, Aggregate wanted);
    /** A query came from the uplink. */
    void query_received(uint16_t vlan, const Message &query, SourceSet sources);
    void fire(Timer &timer);
    /** Forgets everything, without a word. */
    void clear();

private:
    struct UpstreamVlan : Timer {
        UpstreamVlan() : Timer(TimerKind::kUpstreamVlan) {}
        uint16_t vlan = 0;
        Time v1_until{0}; /**< Older querier present, counted as IGMP's versions. */
        Time v2_until{0};
    };

    using Key = std::pair<uint16_t, Address>;

    struct UpstreamGroup : Timer {
        UpstreamGroup() : Timer(TimerKind::kUpstreamGroup) {}
        Key key;
        Aggregate current;
        uint32_t mode_changes_left = 0;           /**< Reports of the filter mode still to send. */
        std::map<Address, uint32_t> changes_left; /**< Reports of changed sources still to send. */
        Time report_due = kNever;
        Time answer_due = kNever;
        std::vector<Address> asked; /**< Sources to answer for; none: for the group. */
    };

    UpstreamVlan &vlan_state(uint16_t vlan);
    uint8_t level(uint16_t vlan);
    Duration random_below(Duration limit);
    void heard_older_querier(UpstreamVlan &state, uint8_t level, Duration max_response);
    void cancel_pending(UpstreamVlan &state);
    void note_change(UpstreamGroup &group, const Aggregate &wanted);
    void report_change(UpstreamGroup &group);
    std::vector<ReportRecord> change_records(UpstreamGroup &group);
    void plan_answer(UpstreamGroup &group, Time due, SourceSet sources);
    void answer_group(UpstreamGroup &group);
    void answer_all(UpstreamVlan &state);
    ReportRecord current_record(const UpstreamGroup &group) const;
    void reschedule(UpstreamGroup &group);
    void fire_group(UpstreamGroup &group);

    Context &context_;
    Outlet &outlet_;
    Family family_;
    std::map<uint16_t, UpstreamVlan> vlans_;
    std::map<Key, UpstreamGroup> groups_;
    uint64_t random_ = 0x9E3779B97F4A7C15ull; // a fixed seed: a replay answers at the same times every time
};

} // namespace mcadapt::host

#endif
