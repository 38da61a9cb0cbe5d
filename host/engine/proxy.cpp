#include "host/engine/proxy.h"

#include <algorithm>
#include <iterator>

namespace mcadapt::host {
namespace {

using Addresses = std::vector<Address>;

bool holds(const Addresses &sorted, const Address &address)
{
    return std::binary_search(sorted.begin(), sorted.end(), address);
}

Addresses united(const Addresses &a, const Addresses &b)
{
    Addresses out;
    std::set_union(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(out));
    return out;
}

Addresses common(const Addresses &a, const Addresses &b)
{
    Addresses out;
    std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(out));
    return out;
}

Addresses without(const Addresses &a, const Addresses &b)
{
    Addresses out;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(out));
    return out;
}

Addresses picked(const PortGroup &group, bool running)
{
    Addresses out;
    for (const Source &source : group.state.sources())
        if (source.running() == running)
            out.push_back(source.address);
    return out;
}

// An order holds the group without naming sources.
bool wants_all(const PortGroup &group) { return group.ordered() && !group.state.exclude(); }

} // namespace

bool Aggregate::allows(const Address &source) const { return holds(sources, source) != exclude; }

Aggregate merge(const std::vector<const PortGroup *> &groups, std::size_t max)
{
    Aggregate out;
    Addresses included;
    for (const PortGroup *group : groups) {
        if (!group->state.exclude() && !wants_all(*group)) {
            included = united(included, picked(*group, true));
            continue;
        }
        const Addresses blocked = group->ordered() ? Addresses{} : picked(*group, false);
        out.sources = out.exclude ? common(out.sources, blocked) : blocked;
        out.exclude = true;
    }
    out.sources = out.exclude ? without(out.sources, included) : included;
    if (!out.exclude && out.sources.size() > max)
        return {true, {}};
    return out;
}

Proxy::UpstreamVlan &Proxy::vlan_state(uint16_t vlan)
{
    UpstreamVlan &state = vlans_[vlan];
    state.vlan = vlan;
    state.mld = family_ == Family::kMld;
    return state;
}

uint8_t Proxy::level(uint16_t vlan)
{
    const UpstreamVlan &state = vlan_state(vlan);
    const Time now = context_.now();
    const uint8_t heard = now < state.v1_until ? 1 : now < state.v2_until ? 2 : 3;
    return family_ == Family::kIgmp ? std::min(heard, context_.settings.igmp_version) : heard;
}

Duration Proxy::random_below(Duration limit)
{
    random_ ^= random_ << 13;
    random_ ^= random_ >> 7;
    random_ ^= random_ << 17;
    if (limit <= Duration(0))
        return Duration(0);
    return Duration(static_cast<int64_t>(random_ >> 1) % limit.count());
}

void Proxy::clear()
{
    for (auto &[key, group] : groups_)
        context_.timers.cancel(group);
    for (auto &[vlan, state] : vlans_)
        context_.timers.cancel(state);
    groups_.clear();
    vlans_.clear();
}

// --- Changes

void Proxy::group_changed(uint16_t vlan, const Address &group, Aggregate wanted)
{
    const Key key{vlan, group};
    auto at = groups_.find(key);
    if (at == groups_.end()) {
        if (!wanted.listens())
            return;
        at = groups_.try_emplace(key).first;
        at->second.key = key;
        at->second.mld = family_ == Family::kMld;
    }
    UpstreamGroup &state = at->second;
    if (state.current == wanted)
        return;
    if (level(vlan) < 3 && state.current.listens() == wanted.listens()) {
        state.current = std::move(wanted); // an older querier is told of groups, not of sources
        return;
    }
    note_change(state, wanted);
    state.current = std::move(wanted);
    report_change(state);
}

void Proxy::note_change(UpstreamGroup &group, const Aggregate &wanted)
{
    const uint32_t robustness = context_.settings.timers.robustness;
    const bool mode_changes = group.current.exclude != wanted.exclude;
    const bool older_host_joins = level(group.key.first) < 3 && group.current.listens() != wanted.listens();
    if (mode_changes || group.mode_changes_left > 0 || older_host_joins) {
        // RFC 9776 section 5.1: the report of the filter mode names all sources, changed ones included.
        group.mode_changes_left = robustness;
        group.changes_left.clear();
        return;
    }
    for (const Address &source :
         without(united(group.current.sources, wanted.sources), common(group.current.sources, wanted.sources)))
        group.changes_left[source] = robustness;
}

std::vector<ReportRecord> Proxy::change_records(UpstreamGroup &group)
{
    const Address &address = group.key.second;
    if (group.mode_changes_left > 0) {
        --group.mode_changes_left;
        return {
            {group.current.exclude ? RecordType::kToExclude : RecordType::kToInclude, address, group.current.sources}};
    }
    ReportRecord allow{RecordType::kAllow, address, {}};
    ReportRecord block{RecordType::kBlock, address, {}};
    for (auto at = group.changes_left.begin(); at != group.changes_left.end();) {
        (group.current.allows(at->first) ? allow : block).sources.push_back(at->first);
        at = --at->second == 0 ? group.changes_left.erase(at) : std::next(at);
    }
    std::vector<ReportRecord> records;
    for (ReportRecord *record : {&allow, &block})
        if (!record->sources.empty())
            records.push_back(std::move(*record));
    return records;
}

// One round of reports; what it sends is told last, when nothing of the group is looked at any more.
void Proxy::report_change(UpstreamGroup &group)
{
    const auto [vlan, address] = group.key;
    const uint8_t version = level(vlan);
    const bool listens = group.current.listens();
    std::vector<ReportRecord> records;
    if (version == 3) {
        records = change_records(group);
    } else {
        group.changes_left.clear();
        group.mode_changes_left = listens && group.mode_changes_left > 0 ? group.mode_changes_left - 1 : 0;
    }
    // RFC 9776 section 8.11 and RFC 2236 section 8.10: the Unsolicited Report Intervals.
    const Duration interval = std::chrono::seconds(version == 3 || family_ == Family::kMld ? 1 : 10);
    const bool more = group.mode_changes_left > 0 || !group.changes_left.empty();
    group.report_due = more ? context_.now() + random_below(interval) : kNever;
    reschedule(group);

    if (version == 3)
        outlet_.send_reports(vlan, records);
    else if (listens)
        outlet_.send_join(vlan, to_version(family_, version), address);
    else if (version == 2)
        outlet_.send_leave(vlan, address);
}

// --- Queries

void Proxy::cancel_pending(UpstreamVlan &state)
{
    context_.timers.cancel(state);
    for (auto at = groups_.lower_bound({state.vlan, Address{}});
         at != groups_.end() && at->first.first == state.vlan;) {
        UpstreamGroup &group = (at++)->second;
        group.report_due = group.answer_due = kNever;
        group.mode_changes_left = 0;
        group.changes_left.clear();
        reschedule(group);
    }
}

void Proxy::heard_older_querier(UpstreamVlan &state, uint8_t query_level, Duration max_response)
{
    // RFC 9776 section 8.12: Older Version Querier Present Timeout.
    const ProtocolTimers &timers = context_.settings.timers;
    const Time until = context_.now() + timers.query_every() * timers.robustness + max_response;
    const uint8_t before = level(state.vlan);
    if (query_level < 3)
        (query_level == 1 ? state.v1_until : state.v2_until) = until;
    if (level(state.vlan) != before)
        cancel_pending(state); // RFC 9776 section 7.2.1
}

void Proxy::query_received(uint16_t vlan, const Message &query, SourceSet sources)
{
    UpstreamVlan &state = vlan_state(vlan);
    heard_older_querier(state, to_level(family_, query.version), query.max_response);
    const Time due = context_.now() + random_below(query.max_response);
    // RFC 9776 section 5.2: an answer to a general query that comes first answers this one too.
    if (state.running() && context_.timers.due(state) <= due)
        return;
    if (query.group != kUnspecified) {
        const auto at = groups_.find({vlan, query.group});
        if (at != groups_.end())
            plan_answer(at->second, due, sources);
    } else if (level(vlan) == 3) {
        context_.timers.set(state, due);
    } else {
        // RFC 2236 section 3: a delay of its own for each group.
        for (auto &[key, group] : groups_)
            if (key.first == vlan)
                plan_answer(group, context_.now() + random_below(query.max_response), {});
    }
}

void Proxy::plan_answer(UpstreamGroup &group, Time due, SourceSet sources)
{
    const bool pending = group.answer_due != kNever;
    if (sources.size == 0 || (pending && group.asked.empty()))
        group.asked.clear();
    else
        group.asked = united(group.asked, Addresses(sources.first, sources.first + sources.size));
    group.answer_due = std::min(group.answer_due, due);
    reschedule(group);
}

ReportRecord Proxy::current_record(const UpstreamGroup &group) const
{
    const Aggregate &current = group.current;
    if (group.asked.empty())
        return {current.exclude ? RecordType::kIsExclude : RecordType::kIsInclude, group.key.second, current.sources};
    return {RecordType::kIsInclude, group.key.second,
            current.exclude ? without(group.asked, current.sources) : common(group.asked, current.sources)};
}

void Proxy::answer_group(UpstreamGroup &group)
{
    const auto [vlan, address] = group.key;
    const ReportRecord record = current_record(group);
    const bool listens = group.current.listens();
    group.asked.clear();
    group.answer_due = kNever;
    reschedule(group);
    if (!listens)
        return;
    if (const uint8_t version = level(vlan); version < 3)
        outlet_.send_join(vlan, to_version(family_, version), address);
    else if (record.type == RecordType::kIsExclude || !record.sources.empty())
        outlet_.send_reports(vlan, {record});
}

void Proxy::answer_all(UpstreamVlan &state)
{
    std::vector<ReportRecord> records;
    const uint16_t vlan = state.vlan;
    for (auto &[key, group] : groups_) {
        if (key.first != vlan || !group.current.listens())
            continue;
        group.asked.clear();
        records.push_back(current_record(group));
    }
    outlet_.send_reports(vlan, records);
}

// --- Time

void Proxy::reschedule(UpstreamGroup &group)
{
    const Time due = std::min(group.report_due, group.answer_due);
    context_.timers.set(group, due);
    if (due == kNever && !group.current.listens())
        groups_.erase(Key(group.key));
}

void Proxy::fire_group(UpstreamGroup &group)
{
    const Key key = group.key;
    const Time now = context_.now();
    const bool report = group.report_due <= now;
    if (group.answer_due <= now)
        answer_group(group);
    // Answering may have ended the group, and so may whoever was told of it.
    const auto at = groups_.find(key);
    if (report && at != groups_.end() && at->second.report_due <= now)
        report_change(at->second);
}

void Proxy::fire(Timer &timer)
{
    if (timer.kind == TimerKind::kUpstreamVlan)
        answer_all(static_cast<UpstreamVlan &>(timer));
    else
        fire_group(static_cast<UpstreamGroup &>(timer));
}

} // namespace mcadapt::host
