#include "host/engine/group_state.h"

#include <algorithm>

namespace mcadapt::host {

// What becomes of a source. The standards write the tables as sets; here each set is a column.
enum class Do : uint8_t {
    kKeep,      // as it is; a new one is not taken
    kDelete,    //
    kRefresh,   // its timer runs for the membership interval
    kBlock,     // it is kept with its timer stopped
    kAsk,       // kept, and queried
    kAskAsGroup // as long as the group's, and queried
};

struct TableRow {
    Do running_other; // timer runs, not in the record
    Do running_named; // timer runs, in the record
    Do blocked_other; // timer stopped, not in the record
    Do blocked_named; // timer stopped, in the record
    Do unknown;       // in the record only
    bool to_exclude;  // EXCLUDE from now on, the group timer starts
    bool ask_group;   // "Send Q(G)"
};

namespace {

// RFC 9776 sections 6.4.1 and 6.4.2, RFC 9777 sections 7.4.1 and 7.4.2; rows by record type.
// In INCLUDE mode no timer is stopped: those columns say nothing.
constexpr TableRow kInclude[] = {
    /* IS_IN  */ {Do::kKeep, Do::kRefresh, Do::kKeep, Do::kKeep, Do::kRefresh, false, false},
    /* IS_EX  */ {Do::kDelete, Do::kKeep, Do::kKeep, Do::kKeep, Do::kBlock, true, false},
    /* TO_IN  */ {Do::kAsk, Do::kRefresh, Do::kKeep, Do::kKeep, Do::kRefresh, false, false},
    /* TO_EX  */ {Do::kDelete, Do::kAsk, Do::kKeep, Do::kKeep, Do::kBlock, true, false},
    /* ALLOW  */ {Do::kKeep, Do::kRefresh, Do::kKeep, Do::kKeep, Do::kRefresh, false, false},
    /* BLOCK  */ {Do::kKeep, Do::kAsk, Do::kKeep, Do::kKeep, Do::kKeep, false, false},
};

constexpr TableRow kExclude[] = {
    /* IS_IN  */ {Do::kKeep, Do::kRefresh, Do::kKeep, Do::kRefresh, Do::kRefresh, false, false},
    /* IS_EX  */ {Do::kDelete, Do::kKeep, Do::kDelete, Do::kKeep, Do::kRefresh, true, false},
    /* TO_IN  */ {Do::kAsk, Do::kRefresh, Do::kKeep, Do::kRefresh, Do::kRefresh, false, true},
    /* TO_EX  */ {Do::kDelete, Do::kAsk, Do::kDelete, Do::kKeep, Do::kAskAsGroup, true, false},
    /* ALLOW  */ {Do::kKeep, Do::kRefresh, Do::kKeep, Do::kRefresh, Do::kRefresh, false, false},
    /* BLOCK  */ {Do::kKeep, Do::kAsk, Do::kKeep, Do::kKeep, Do::kAskAsGroup, false, false},
};

Do choose(const TableRow &row, const Source &source, bool named)
{
    if (source.running())
        return named ? row.running_named : row.running_other;
    return named ? row.blocked_named : row.blocked_other;
}

bool earlier(Time lowered, Time expires) { return lowered < expires; }

} // namespace

bool SourceSet::contains(const Address &address) const { return std::binary_search(first, first + size, address); }

bool GroupState::wants(const Address &address) const
{
    const auto at = std::lower_bound(sources_.begin(), sources_.end(), address,
                                     [](const Source &s, const Address &a) { return s.address < a; });
    const bool known = at != sources_.end() && at->address == address;
    return exclude_ ? !known || at->running() : known;
}

std::vector<Source>::iterator GroupState::place_of(const Address &address)
{
    return std::lower_bound(sources_.begin(), sources_.end(), address,
                            [](const Source &s, const Address &a) { return s.address < a; });
}

Time GroupState::next_due() const
{
    Time due = exclude_ ? std::min(group_expires_, next_query_) : next_query_;
    for (const Source &source : sources_)
        if (source.running())
            due = std::min(due, source.expires);
    return due;
}

void GroupState::apply_to_known(const TableRow &row, SourceSet set, Time expires, Change &change)
{
    auto kept = sources_.begin();
    for (Source &source : sources_) {
        const Do what = choose(row, source, set.size > 0 && set.contains(source.address));
        if (what == Do::kDelete) {
            change.reception = true;
            continue;
        }
        source.asked = what == Do::kAsk;
        change.ask_sources = change.ask_sources || source.asked;
        if (what == Do::kRefresh) {
            change.reception = change.reception || !source.running();
            source.expires = expires;
        }
        *kept++ = source;
    }
    sources_.erase(kept, sources_.end());
}

void GroupState::apply_to_new(const TableRow &row, SourceSet set, Time expires, std::size_t max, Change &change)
{
    if (row.unknown == Do::kKeep)
        return;
    for (const Address *address = set.first; address != set.first + set.size; ++address) {
        const auto place = place_of(*address);
        if (place != sources_.end() && place->address == *address)
            continue;
        if (sources_.size() >= max) {
            ++change.refused_sources;
            continue;
        }
        Source source{*address, Source::kStopped, 0, row.unknown == Do::kAskAsGroup};
        if (row.unknown == Do::kRefresh)
            source.expires = expires;
        else if (row.unknown == Do::kAskAsGroup)
            source.expires = group_expires_;
        change.ask_sources = change.ask_sources || source.asked;
        change.reception = true;
        sources_.insert(place, source);
    }
}

Change GroupState::apply(RecordType type, SourceSet set, Time expires, std::size_t max_sources)
{
    const TableRow &row = (exclude_ ? kExclude : kInclude)[static_cast<uint8_t>(type) - 1];
    Change change;
    apply_to_known(row, set, expires, change);
    apply_to_new(row, set, expires, max_sources, change); // before the group timer starts anew: its old end counts
    change.ask_group = row.ask_group;
    if (row.to_exclude) {
        change.reception = change.reception || !exclude_;
        exclude_ = true;
        group_expires_ = expires;
    }
    return change;
}

bool GroupState::expire(Time now)
{
    bool changed = false;
    auto kept = sources_.begin();
    const bool leave_exclude = exclude_ && group_expires_ <= now;
    for (Source &source : sources_) {
        if (source.running() && source.expires <= now) {
            // RFC 9776 section 6.3: in EXCLUDE mode the source is not wanted from now on, else it is forgotten.
            source = Source{source.address, Source::kStopped, 0, false};
            changed = true;
            if (!exclude_)
                continue;
        }
        if (leave_exclude && !source.running())
            continue;
        *kept++ = source;
    }
    sources_.erase(kept, sources_.end());
    if (leave_exclude) {
        exclude_ = false;
        group_queries_left_ = 0;
        changed = true;
    }
    if (!listens())
        next_query_ = kNever;
    return changed;
}

void GroupState::clear()
{
    sources_.clear();
    exclude_ = false;
    group_queries_left_ = 0;
    next_query_ = kNever;
    v1_until_ = v2_until_ = Time{0};
}

Change GroupState::begin_queries(const Change &wanted, Time lowered, uint32_t count, Time next_query)
{
    const auto left = static_cast<uint8_t>(count - 1);
    Change first;
    // A timer that is low already is being queried: repeated leaves neither prolong that nor add queries.
    if (wanted.ask_group && exclude_ && earlier(lowered, group_expires_)) {
        group_expires_ = lowered;
        group_queries_left_ = left;
        first.ask_group = true;
    }
    for (Source &source : sources_) {
        source.asked = source.asked && source.running() && earlier(lowered, source.expires);
        if (!source.asked)
            continue;
        source.expires = lowered;
        source.queries_left = left;
        first.ask_sources = true;
    }
    if ((first.ask_group || first.ask_sources) && left > 0)
        next_query_ = std::min(next_query_, next_query);
    return first;
}

std::vector<Address> GroupState::asked_sources() const
{
    std::vector<Address> asked;
    for (const Source &source : sources_)
        if (source.asked)
            asked.push_back(source.address);
    return asked;
}

void GroupState::forget_queries()
{
    for (Source &source : sources_)
        source.asked = false;
}

void GroupState::heard_query(SourceSet set, Time lowered)
{
    if (set.size == 0) {
        if (exclude_)
            group_expires_ = std::min(group_expires_, lowered);
        return;
    }
    for (Source &source : sources_)
        if (source.running() && set.contains(source.address))
            source.expires = std::min(source.expires, lowered);
}

void GroupState::stop_queries()
{
    group_queries_left_ = 0;
    next_query_ = kNever;
    for (Source &source : sources_)
        source.queries_left = 0;
}

void GroupState::query_sent(Time next_query)
{
    bool more = false;
    if (group_queries_left_ > 0)
        more = --group_queries_left_ > 0;
    for (Source &source : sources_)
        if (source.queries_left > 0)
            more = --source.queries_left > 0 || more;
    next_query_ = more ? next_query : kNever;
}

void GroupState::heard_older_host(uint8_t version, Time until) { (version == 1 ? v1_until_ : v2_until_) = until; }

} // namespace mcadapt::host
