// Packets: examined, then reports applied to the memberships of the port they came from.
#include "host/engine/half.h"

#include <algorithm>

namespace mcadapt::host {
namespace {

bool names_all(RecordType type) { return type == RecordType::kIsExclude || type == RecordType::kToExclude; }

// Whether a record brings a listener, rather than takes one away.
bool asks_for_something(RecordType type, const SourceSet &set)
{
    return names_all(type) || (type != RecordType::kBlock && set.size > 0);
}

std::string_view reason_to_join(RecordType type)
{
    return names_all(type) ? "a host asked for the group" : "a host asked for sources of the group";
}

} // namespace

void Half::drop(DropReason reason)
{
    ++outlet_.counters.dropped[static_cast<std::size_t>(reason)];
    context_.observer.packet_dropped(family_, name(reason), rule(reason));
}

void Half::refuse(const GroupKey &key, DropReason reason)
{
    ++outlet_.counters.refused[static_cast<std::size_t>(reason)];
    context_.observer.group_refused({to_group_address(family_, key.group), key.vlan, key.port}, name(reason),
                                    rule(reason));
}

bool Half::take_vlan(uint16_t vlan)
{
    if (registered_[vlan] || vlan == default_vlan_ || learned_[vlan])
        return true;
    if (!context_.settings.vlan_learning || vlan == 0 || vlan > kMaxVlan)
        return false;
    learned_.set(vlan);
    update_interfaces();
    return true;
}

DropReason Half::examine(const uint8_t *packet, std::size_t available, std::size_t claimed, uint32_t port,
                         uint16_t vlan, Message &message)
{
    if (!declared(port))
        return DropReason::kPortNotDeclared;
    const DropReason reason = family_ == Family::kIgmp ? parse_igmp(packet, available, claimed, message)
                                                       : parse_mld(packet, available, claimed, message);
    if (reason != DropReason::kNone)
        return reason;
    if (family_ == Family::kIgmp && message.version > context_.settings.igmp_version)
        return DropReason::kVersion;
    const bool query = message.kind == MessageKind::kQuery;
    if (query && message.source == outlet_.source() && message.source != kUnspecified)
        return DropReason::kOwnPacket;
    if (!query && port == kUplinkPort)
        return DropReason::kUplinkReport;
    return take_vlan(vlan) ? DropReason::kNone : DropReason::kVlan;
}

void Half::count_kind(const Message &message)
{
    Counters &counters = outlet_.counters;
    ++counters.accepted;
    switch (message.kind) {
    case MessageKind::kQuery:
        ++counters.queries_received;
        break;
    case MessageKind::kJoin:
        ++counters.joins_received;
        break;
    case MessageKind::kReport:
        ++counters.reports_received;
        break;
    case MessageKind::kLeave:
        ++counters.leaves_received;
        break;
    }
}

Result Half::receive(const uint8_t *packet, std::size_t available, std::size_t claimed, uint32_t port, uint16_t vlan)
{
    ++outlet_.counters.received;
    context_.observer.packet_received(family_, port, vlan, {packet, std::min(available, claimed)});
    Message message;
    if (const DropReason reason = examine(packet, available, claimed, port, vlan, message);
        reason != DropReason::kNone) {
        drop(reason);
        return Result::kDropped;
    }
    count_kind(message);
    context_.observer.packet_accepted(family_, context_.observer.wants_texts() ? describe(message) : std::string());
    const Arrival arrival{context_.now(), vlan, static_cast<uint16_t>(port), message.source};
    switch (message.kind) {
    case MessageKind::kQuery:
        on_query(message, arrival);
        break;
    case MessageKind::kReport:
        on_report(message, arrival);
        break;
    default:
        on_single(message, arrival);
        break;
    }
    return Result::kOk;
}

// --- Reports

SourceSet Half::decode_sources(const uint8_t *list, uint16_t count, bool &unicast)
{
    sources_.clear();
    for (uint16_t i = 0; i < count; ++i) {
        sources_.push_back(load_address(family_, list + i * address_bytes(family_)));
        unicast = unicast && is_stream_source(family_, sources_.back());
    }
    std::sort(sources_.begin(), sources_.end());
    sources_.erase(std::unique(sources_.begin(), sources_.end()), sources_.end());
    return {sources_.data(), sources_.size()};
}

void Half::on_report(const Message &message, const Arrival &arrival)
{
    const uint8_t *at = message.list;
    for (uint16_t i = 0; i < message.count; ++i)
        on_record(next_record(family_, &at), arrival);
}

void Half::on_record(const Record &record, const Arrival &arrival)
{
    const GroupKey key{record.group, arrival.vlan, arrival.port};
    if (record.type < 1 || record.type > 6)
        return refuse(key, DropReason::kRecordType);
    if (!is_multicast(family_, record.group))
        return refuse(key, DropReason::kNotAGroup);
    if (is_link_local_group(family_, record.group))
        return refuse(key, DropReason::kLinkLocalGroup);
    bool unicast = true;
    const SourceSet set = decode_sources(record.sources, record.source_count, unicast);
    if (!unicast)
        return refuse(key, DropReason::kRecordSource);
    const auto type = static_cast<RecordType>(record.type);
    if (names_all(type) && is_ssm(record.group))
        return refuse(key, DropReason::kSsmRange);
    apply_record(type, record.group, set, 3, arrival);
}

// RFC 9776 section 7.3.2: an older report is IS_EX({}), a leave TO_IN({}).
void Half::on_single(const Message &message, const Arrival &arrival)
{
    const bool leave = message.kind == MessageKind::kLeave;
    const uint8_t level = to_level(family_, message.version);
    if (const SourceSet mapped = mapped_sources(message.group); mapped.size > 0)
        return apply_record(leave ? RecordType::kBlock : RecordType::kIsInclude, message.group, mapped, 3, arrival);
    if (is_ssm(message.group))
        return refuse({message.group, arrival.vlan, arrival.port}, DropReason::kSsmRange);
    apply_record(leave ? RecordType::kToInclude : RecordType::kIsExclude, message.group, {}, level, arrival);
}

bool Half::is_ssm(const Address &group) const
{
    if (family_ == Family::kMld) // ff3x::/32 (RFC 4607 section 1)
        return (group.high >> 52) == 0xFF3 && (group.high >> 32 & 0xFFFF) == 0;
    return (group.low & context_.settings.ssm_mask) == context_.settings.ssm_network;
}

SourceSet Half::mapped_sources(const Address &group)
{
    const auto &[mapped, mask, first, second, on] = context_.settings.ssm_map;
    if (family_ == Family::kMld || on == 0 || ((group.low ^ mapped) & mask) != 0)
        return {};
    sources_.assign(1, ipv4(std::min(first, second)));
    if (first != second)
        sources_.push_back(ipv4(std::max(first, second)));
    if (sources_.front() == kUnspecified)
        sources_.erase(sources_.begin());
    return {sources_.data(), sources_.size()};
}

// --- One record

DropReason Half::may_join(const GroupKey &key, uint32_t &bandwidth)
{
    const auto group = static_cast<uint32_t>(key.group.low);
    PortSettings &port = context_.ports[key.port];
    if (family_ == Family::kIgmp) {
        if (const DropReason reason = context_.authorisation.check(group, key.vlan, key.port);
            reason != DropReason::kNone)
            return reason;
        bandwidth = context_.authorisation.bandwidth(group, key.vlan, key.port);
    }
    if (joined_[key.port] >= context_.limits.groups_per_port)
        return DropReason::kPortFull;
    if (port.group_limit != static_cast<uint32_t>(kNoGroupLimit) && joined_[key.port] >= port.group_limit)
        return DropReason::kGroupLimit;
    const bool limited = port.bandwidth_limited && (port.bandwidth_vlan == kAnyVlan || port.bandwidth_vlan == key.vlan);
    if (limited && bandwidth > 0 && port.bandwidth_used + bandwidth > port.bandwidth_limit) {
        ++port.bandwidth_exceeded;
        return DropReason::kBandwidth;
    }
    return DropReason::kNone;
}

// Finds the membership, or makes it when a record may; null: there is nothing to apply the record to.
PortGroup *Half::admit(const GroupKey &key, bool asks)
{
    PortGroup *group = groups_.find(key);
    const uint16_t epoch = context_.authorisation.epoch();
    if (group && (!asks || group->epoch == epoch || family_ == Family::kMld))
        return group;
    if (!group && !asks)
        return nullptr;
    uint32_t bandwidth = 0;
    const DropReason reason =
        group ? context_.authorisation.check(static_cast<uint32_t>(key.group.low), key.vlan, key.port)
              : may_join(key, bandwidth);
    if (reason != DropReason::kNone) {
        refuse(key, reason);
        if (group && !group->ordered())
            remove(*group, "it is authorised no longer");
        return nullptr;
    }
    if (!group) {
        group = &create(key);
        group->bandwidth = bandwidth;
        group->counted = true;
        ++joined_[key.port];
    }
    group->epoch = epoch;
    return group;
}

// RFC 9776 section 7.3.2, RFC 9777 section 8.3.2. May empty the set.
DropReason Half::older_host_rule(const PortGroup &group, RecordType type, SourceSet &set, Time now) const
{
    const uint8_t compatibility = group.state.compatibility(now);
    if (compatibility == 3)
        return DropReason::kNone;
    if (type == RecordType::kBlock || (compatibility == 1 && type == RecordType::kToInclude))
        return DropReason::kOlderHost;
    if (type == RecordType::kToExclude)
        set = {};
    return DropReason::kNone;
}

// RFC 9776 section 8.4: Group Membership Interval, of the values that the querier in charge tells.
Duration Half::member_interval(uint16_t vlan, uint16_t port, Time now) const
{
    const ProtocolTimers &timers = context_.settings.timers;
    if (!timers.age)
        return kNever;
    const Interface *other = interfaces_.empty() ? nullptr : other_querier(vlan, port, now);
    const uint32_t robustness = other && other->robustness != 0 ? other->robustness : timers.robustness;
    const Duration every = other && other->query_interval != Duration(0) ? other->query_interval : timers.query_every();
    return every * robustness + timers.response();
}

// Only the querier asks; fast leave spares the question.
Change Half::start_queries(PortGroup &group, const Change &change, const Arrival &arrival)
{
    if (!change.ask_group && !change.ask_sources)
        return {};
    const ProtocolTimers &timers = context_.settings.timers;
    if (context_.ports[arrival.port].fast_leave) {
        group.state.begin_queries(change, arrival.now, 1, kNever);
        group.state.expire(arrival.now);
        return {};
    }
    if (other_querier(arrival.vlan, arrival.port, arrival.now)) {
        group.state.forget_queries();
        return {};
    }
    return group.state.begin_queries(change, arrival.now + timers.last_member_time(), timers.last_member_count,
                                     arrival.now + timers.last_member_every());
}

void Half::apply_record(RecordType type, const Address &address, SourceSet set, uint8_t level, const Arrival &arrival)
{
    const GroupKey key{address, arrival.vlan, arrival.port};
    const bool asks = asks_for_something(type, set);
    if (asks && family_ == Family::kIgmp) {
        ++context_.ports[arrival.port].joins;
        context_.status_changed = true;
    }
    if (mode_ == Mode::kControl)
        return refuse(key, DropReason::kControlMode);
    PortGroup *group = admit(key, asks);
    if (!group)
        return;
    if (const DropReason reason = older_host_rule(*group, type, set, arrival.now); reason != DropReason::kNone)
        return refuse(key, reason);

    const Duration interval = member_interval(arrival.vlan, arrival.port, arrival.now);
    const Time expires = later(arrival.now, interval);
    if (level < 3 && type == RecordType::kIsExclude)
        group->state.heard_older_host(level, expires);
    Change change = group->state.apply(type, set, expires, context_.limits.sources_per_group);
    group->reporter = static_cast<uint32_t>(arrival.host.low);
    const Change first = start_queries(*group, change, arrival);
    const std::vector<Address> asked = first.ask_sources ? group->state.asked_sources() : std::vector<Address>();
    group->state.forget_queries();
    context_.timers.set_not_later(*group, group->state.next_due());

    // From here on callbacks run, and the group may be gone.
    if (change.refused_sources > 0)
        refuse(key, DropReason::kSourcesFull);
    settle(*group, asks ? reason_to_join(type) : "the last host left, and fast leave asks no further", asks);
    if (mode_ == Mode::kProxy && (change.reception || change.ask_group || change.ask_sources))
        tell_proxy(key.vlan, key.group);
    if (first.ask_group)
        send_group_query(key, false);
    if (!asked.empty())
        send_source_query(key, false, asked);
}

} // namespace mcadapt::host
