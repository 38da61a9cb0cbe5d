/**
 * @file
 * The state machine of one group on one port: filter mode, sources with their timers, older hosts.
 *
 * Both families share it: RFC 9776 section 6 and RFC 9777 section 7 differ in names only.
 */
#ifndef MCADAPT_HOST_ENGINE_GROUP_STATE_H
#define MCADAPT_HOST_ENGINE_GROUP_STATE_H

#include <cstdint>
#include <vector>

#include "host/engine/message.h"

namespace mcadapt::host {

/** A source of a group. With its timer stopped it is one of those that an EXCLUDE group does not want. */
struct Source {
    static constexpr Time kStopped = Time::min();

    Address address;
    Time expires = kStopped;
    uint8_t queries_left = 0; /**< Last-member queries still to send. */
    bool asked = false;       /**< The last record wants it queried. */

    bool running() const { return expires != kStopped; }
};

/** What a record did to a group. */
struct Change {
    bool reception = false;   /**< What the group listens to is not what it was. */
    bool ask_group = false;   /**< "Send Q(G)". */
    bool ask_sources = false; /**< "Send Q(G,A)", for the sources marked `asked`. */
    uint32_t refused_sources = 0;
};

/** A sorted set of sources without doubles, as a record names them. */
struct SourceSet {
    const Address *first = nullptr;
    std::size_t size = 0;

    bool contains(const Address &address) const;
};

class GroupState {
public:
    // --- What it is

    bool exclude() const { return exclude_; }
    bool listens() const { return exclude_ || !sources_.empty(); }
    /** Whether packets of this source are wanted. */
    bool wants(const Address &source) const;
    const std::vector<Source> &sources() const { return sources_; }
    /** End of the group timer; of meaning in EXCLUDE mode only. */
    Time group_expires() const { return group_expires_; }
    /** When something happens by itself; `kNever` for nothing. */
    Time next_due() const;

    // --- Records

    /**
     * Applies one record after the tables of RFC 9776 section 6.4 and RFC 9777 section 7.4.
     * @param expires      When timers that the record starts run out.
     * @param max_sources  Sources that the group may keep.
     */
    Change apply(RecordType type, SourceSet set, Time expires, std::size_t max_sources);
    /** Lets run out what is due; @return whether what the group listens to changed. */
    bool expire(Time now);
    /** Nobody listens any more. */
    void clear();

    // --- Last-member queries

    /**
     * Starts the queries that the last record asks for, of those whose timer runs beyond `lowered`.
     * @param lowered  When the queried timers run out; now: at once, without any query.
     * @return Whether to send the first queries: the group's and that of the sources marked `asked`.
     */
    Change begin_queries(const Change &wanted, Time lowered, uint32_t count, Time next_query);
    /** The sources marked `asked`. */
    std::vector<Address> asked_sources() const;
    /** Takes the marks away. */
    void forget_queries();
    /** A query of another querier: its timers go down to `lowered`. An empty set means the group. */
    void heard_query(SourceSet set, Time lowered);
    Time next_query() const { return next_query_; }
    bool group_query_left() const { return group_queries_left_ > 0; }
    /** No more queries: another querier took over. */
    void stop_queries();
    /** One round of queries went out; the next is due at `next_query` when some are left. */
    void query_sent(Time next_query);

    // --- Older hosts

    /** Hears a host of version 1 or 2 (counted as IGMP's: MLDv1 is 2). */
    void heard_older_host(uint8_t version, Time until);
    /** Compatibility mode: 1, 2 or 3. */
    uint8_t compatibility(Time now) const { return now < v1_until_ ? 1 : now < v2_until_ ? 2 : 3; }

    std::size_t memory_bytes() const { return sources_.capacity() * sizeof(Source); }

private:
    void apply_to_known(const struct TableRow &row, SourceSet set, Time expires, Change &change);
    void apply_to_new(const struct TableRow &row, SourceSet set, Time expires, std::size_t max, Change &change);
    std::vector<Source>::iterator place_of(const Address &address);

    std::vector<Source> sources_; // sorted by address
    Time group_expires_{0};
    Time next_query_ = kNever;
    Time v1_until_{0};
    Time v2_until_{0};
    uint8_t group_queries_left_ = 0;
    bool exclude_ = false;
};

} // namespace mcadapt::host

#endif
