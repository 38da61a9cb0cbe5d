// Queries: who asks on a link, what the unit asks there, and what another querier's questions do.
#include "host/engine/half.h"

#include <algorithm>

namespace mcadapt::host {
namespace {

constexpr uint32_t interface_key(uint16_t vlan, uint16_t port) { return uint32_t{vlan} << 16 | port; }

} // namespace

Half::Interface &Half::interface(uint16_t vlan, uint16_t port)
{
    Interface &interface = interfaces_[interface_key(vlan, port)];
    interface.vlan = vlan;
    interface.port = port;
    interface.mld = family_ == Family::kMld;
    return interface;
}

// A querier behind a user port is in charge of that port; one behind the uplink of the whole VLAN, unless the unit
// stands between as a proxy.
const Half::Interface *Half::other_querier(uint16_t vlan, uint16_t port, Time now) const
{
    const auto present = [&](uint16_t on) -> const Interface * {
        const auto at = interfaces_.find(interface_key(vlan, on));
        return at != interfaces_.end() && now < at->second.other_until ? &at->second : nullptr;
    };
    if (const Interface *other = present(port))
        return other;
    return mode_ == Mode::kProxy ? nullptr : present(kUplinkPort);
}

void Half::on_query(const Message &message, const Arrival &arrival)
{
    if (mode_ == Mode::kControl)
        return;
    bool unicast = true;
    const SourceSet sources = decode_sources(message.list, message.count, unicast);
    if (mode_ == Mode::kProxy && arrival.port == kUplinkPort)
        return proxy_.query_received(arrival.vlan, message, sources);
    elect(message, arrival);
    // RFC 9776 section 6.6.1: who does not query follows the querier's timers, unless it says not to.
    const bool follows = other_querier(arrival.vlan, arrival.port, arrival.now) != nullptr;
    if (follows && message.group != kUnspecified && !message.suppress)
        lower_timers(message, arrival, sources);
}

// RFC 9776 section 6.6.2: the lowest address queries. A snooping unit has no address and never wins.
void Half::elect(const Message &message, const Arrival &arrival)
{
    if (message.source == kUnspecified) // RFC 4541 section 2.1.1: not a querier
        return;
    const bool loses = mode_ == Mode::kProxy && outlet_.source() != kUnspecified && outlet_.source() < message.source;
    if (loses)
        return;
    const ProtocolTimers &timers = context_.settings.timers;
    Interface &link = interface(arrival.vlan, arrival.port);
    link.robustness = message.robustness;
    link.query_interval = message.query_interval;
    const uint32_t robustness = message.robustness != 0 ? message.robustness : timers.robustness;
    const Duration every = message.query_interval != Duration(0) ? message.query_interval : timers.query_every();
    link.other_until = arrival.now + every * robustness + timers.response() / 2; // section 8.5
    link.startup_left = 0;
    if (mode_ == Mode::kProxy)
        context_.timers.set(link, link.other_until);
}

void Half::lower_timers(const Message &message, const Arrival &arrival, SourceSet sources)
{
    const Interface *other = other_querier(arrival.vlan, arrival.port, arrival.now);
    const uint32_t count = other->robustness != 0 ? other->robustness : context_.settings.timers.last_member_count;
    const Time lowered = arrival.now + message.max_response * count;
    for (uint16_t port = 0; port < kUplinkPort; ++port) {
        if (!declared_[port] || (arrival.port != kUplinkPort && arrival.port != port))
            continue;
        PortGroup *group = groups_.find({message.group, arrival.vlan, port});
        if (!group)
            continue;
        group->state.heard_query(sources, lowered);
        context_.timers.set_not_later(*group, group->state.next_due());
    }
}

// --- The unit's own queries

bool Half::serves(uint16_t vlan) const
{
    if (registered_[vlan] || learned_[vlan])
        return true;
    return vlan == default_vlan_ && registered_.none() && learned_.none();
}

// A proxy queries on every user port of every VLAN that it serves.
void Half::update_interfaces()
{
    if (mode_ != Mode::kProxy)
        return;
    for (auto at = interfaces_.begin(); at != interfaces_.end();) {
        if (serves(at->second.vlan)) {
            ++at;
            continue;
        }
        context_.timers.cancel(at->second);
        at = interfaces_.erase(at);
    }
    const auto vlans = static_cast<uint16_t>(registered_.size());
    for (uint16_t vlan = 0; vlan < vlans; ++vlan) {
        for (uint16_t port = 0; serves(vlan) && port < kUplinkPort; ++port) {
            if (!declared_[port])
                continue;
            Interface &link = interface(vlan, port);
            if (link.running())
                continue;
            link.startup_left = context_.settings.timers.robustness; // RFC 9776 section 8.7
            context_.timers.set(link, context_.now());
        }
    }
}

QueryFields Half::query_fields() const
{
    const ProtocolTimers &timers = context_.settings.timers;
    QueryFields query;
    query.version = family_ == Family::kIgmp ? context_.settings.igmp_version : 2;
    // RFC 4541 section 2.1.1: who queries without being a querier has no address. MLD always wants one.
    if (mode_ == Mode::kProxy || family_ == Family::kMld)
        query.source = outlet_.source();
    query.max_response = timers.response();
    query.query_interval = timers.query_every();
    query.robustness = timers.robustness;
    return query;
}

void Half::fire_interface(Interface &link)
{
    const Time now = context_.now();
    // RFC 9776 sections 8.6 and 8.7: the first queries follow each other faster.
    link.startup_left -= link.startup_left > 0 ? 1 : 0;
    const Duration every = context_.settings.timers.query_every();
    context_.timers.set(link, now + (link.startup_left > 0 ? every / 4 : every));
    outlet_.send_query(link.port, link.vlan, query_fields());
}

void Half::send_group_query(const GroupKey &key, bool suppress)
{
    QueryFields query = query_fields();
    query.group = key.group;
    query.max_response = context_.settings.timers.last_member_every();
    query.suppress = suppress;
    outlet_.send_query(key.port, key.vlan, query);
}

void Half::send_source_query(const GroupKey &key, bool suppress, std::vector<Address> sources)
{
    QueryFields query = query_fields();
    query.group = key.group;
    query.max_response = context_.settings.timers.last_member_every();
    query.suppress = suppress;
    query.sources = std::move(sources);
    outlet_.send_query(key.port, key.vlan, query);
}

// RFC 9776 section 6.6.3: one round of last-member queries; timers that run long again are queried with "suppress".
void Half::send_round(const GroupKey &key, Time now)
{
    PortGroup &group = *groups_.find(key);
    if (other_querier(key.vlan, key.port, now)) {
        group.state.stop_queries();
        return;
    }
    const Time low = now + context_.settings.timers.last_member_time();
    const bool ask_group = group.state.group_query_left();
    const bool suppress_group = group.state.group_expires() > low;
    std::vector<Address> sources[2]; // without and with "suppress"
    for (const Source &source : group.state.sources())
        if (source.queries_left > 0 && source.running())
            sources[source.expires > low ? 1 : 0].push_back(source.address);
    group.state.query_sent(now + context_.settings.timers.last_member_every());
    context_.timers.set(group, group.state.next_due());

    if (ask_group)
        send_group_query(key, suppress_group);
    for (const bool suppress : {false, true})
        if (!sources[suppress].empty())
            send_source_query(key, suppress, std::move(sources[suppress]));
}

// --- Time

void Half::fire_group(PortGroup &group)
{
    const Time now = context_.now();
    const GroupKey key = group.key;
    const bool changed = group.state.expire(now);
    context_.timers.set(group, group.state.next_due());
    const bool round = group.state.next_query() <= now;
    if (changed) { // callbacks run: the group is looked up again
        settle(group, "nobody answered in time", false);
        if (mode_ == Mode::kProxy)
            tell_proxy(key.vlan, key.group);
    }
    if (round && groups_.find(key))
        send_round(key, now);
}

void Half::fire(Timer &timer)
{
    switch (timer.kind) {
    case TimerKind::kPortGroup:
        return fire_group(static_cast<PortGroup &>(timer));
    case TimerKind::kInterface:
        return fire_interface(static_cast<Interface &>(timer));
    default:
        return proxy_.fire(timer);
    }
}

} // namespace mcadapt::host
