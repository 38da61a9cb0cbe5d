// Memberships and their forwarding entries: callbacks exactly where the first listener comes and the last one goes.
#include "host/engine/half.h"

namespace mcadapt::host {

PortGroup &Half::create(const GroupKey &key)
{
    PortGroup &group = groups_.add(key);
    group.mld = family_ == Family::kMld;
    group.epoch = context_.authorisation.epoch();
    return group;
}

// Bandwidth of the port, and the published status.
void Half::account(const PortGroup &group, bool joined)
{
    context_.status_changed = true;
    PortSettings &port = context_.ports[group.key.port];
    const bool limited = port.bandwidth_vlan == kAnyVlan || port.bandwidth_vlan == group.key.vlan;
    const uint64_t change = joined ? group.bandwidth : -uint64_t{group.bandwidth};
    port.bandwidth_all += change;
    port.bandwidth_used += limited ? change : 0;
}

void Half::announce(PortGroup &group, std::string_view why)
{
    group.announced = true;
    group.joined = context_.now();
    account(group, true);
    context_.observer.membership_changed({to_group_address(family_, group.key.group), group.key.vlan, group.key.port},
                                         true, why);
}

// The callback may call the engine: the group is looked up again before its answer is kept.
void Half::install(PortGroup &group)
{
    const GroupKey key = group.key;
    group.installed = true; // a re-entry must not install it twice
    const bool done = outlet_.add_entry(key);
    PortGroup *now = groups_.find(key);
    if (now && !done)
        now->installed = false;
}

void Half::settle(PortGroup &group, std::string_view why, bool retry)
{
    if (!group.wanted())
        return remove(group, why);
    const bool first = !group.announced;
    if (first)
        announce(group, why);
    if (!group.installed && (first || retry))
        install(group);
}

void Half::remove(PortGroup &group, std::string_view why)
{
    const GroupKey key = group.key;
    const bool announced = group.announced;
    const bool installed = group.installed;
    context_.timers.cancel(group);
    if (announced)
        account(group, false);
    if (group.counted)
        --joined_[key.port];
    groups_.remove(group);
    if (announced)
        context_.observer.membership_changed({to_group_address(family_, key.group), key.vlan, key.port}, false, why);
    if (installed)
        outlet_.remove_entry(key);
    if (mode_ == Mode::kProxy && announced)
        tell_proxy(key.vlan, key.group);
}

// RFC 4605 section 4.1: the membership database is the merge of all downstream subscriptions.
void Half::tell_proxy(uint16_t vlan, const Address &group)
{
    std::vector<const PortGroup *> parts;
    for (uint16_t port = 0; port < kUplinkPort; ++port)
        if (declared_[port])
            if (const PortGroup *part = groups_.find({group, vlan, port}))
                parts.push_back(part);
    proxy_.group_changed(vlan, group, merge(parts, context_.limits.sources_per_group));
}

// --- By order

void Half::hold(const GroupKey &key, bool PortGroup::*order)
{
    PortGroup *group = groups_.find(key);
    if (!group)
        group = &create(key);
    group->*order = true;
    settle(*group, order == &PortGroup::fixed ? "static group" : "a control call added it", true);
    if (mode_ == Mode::kProxy)
        tell_proxy(key.vlan, key.group);
}

void Half::release(const GroupKey &key, bool PortGroup::*order)
{
    PortGroup *group = groups_.find(key);
    if (!group)
        return;
    group->*order = false;
    settle(*group, order == &PortGroup::fixed ? "static group taken back" : "a control call removed it", false);
    if (mode_ == Mode::kProxy)
        tell_proxy(key.vlan, key.group);
}

// By place, not by iterator: a callback may add or remove groups meanwhile.
template <class Which> void Half::drop_learned(Which which, std::string_view why)
{
    for (std::size_t place = 0; place < groups_.places(); ++place) {
        PortGroup &group = groups_.at(place);
        if (!group.used || !which(group))
            continue;
        group.state.clear();
        context_.timers.cancel(group);
        if (group.counted)
            --joined_[group.key.port];
        group.counted = false;
        settle(group, why, false);
    }
}

void Half::remove_all_groups(bool keep_static)
{
    drop_learned(
        [=](PortGroup &group) {
            group.controlled = false;
            group.fixed = group.fixed && keep_static;
            return true;
        },
        "all groups were dropped");
}

void Half::reset()
{
    remove_all_groups(false);
    proxy_.clear();
    for (auto &[key, interface] : interfaces_)
        context_.timers.cancel(interface);
    interfaces_.clear();
    mode_ = Mode::kSnooping;
    declared_ = {};
    registered_.reset();
    learned_.reset();
    default_vlan_ = kStartDefaultVlan;
    outlet_.counters = {};
}

// --- Mode, ports, VLANs

void Half::set_mode(Mode mode)
{
    if (mode == mode_)
        return;
    if (mode_ == Mode::kProxy)
        proxy_.clear();
    mode_ = mode;
    for (auto &[key, interface] : interfaces_)
        context_.timers.cancel(interface);
    interfaces_.clear();
    if (mode == Mode::kControl)
        drop_learned([](PortGroup &) { return true; }, "control mode begins");
    update_interfaces();
    if (mode != Mode::kProxy)
        return;
    for (std::size_t place = 0; place < groups_.places(); ++place)
        if (groups_.at(place).used)
            tell_proxy(groups_.at(place).key.vlan, Address(groups_.at(place).key.group));
}

void Half::declare_port(uint32_t port)
{
    declared_[port] = true;
    update_interfaces();
}

void Half::set_default_vlan(uint16_t vlan)
{
    default_vlan_ = vlan;
    update_interfaces();
}

void Half::add_vlan(uint16_t vlan)
{
    registered_.set(vlan);
    update_interfaces();
}

void Half::remove_vlan(uint16_t vlan)
{
    registered_.reset(vlan);
    learned_.reset(vlan);
    update_interfaces();
    if (vlan != default_vlan_)
        drop_learned([=](PortGroup &group) { return group.key.vlan == vlan; }, "its VLAN was taken back");
}

void Half::remove_all_vlans()
{
    registered_.reset();
    learned_.reset();
    update_interfaces();
    drop_learned([this](PortGroup &group) { return group.key.vlan != default_vlan_; }, "its VLAN was taken back");
}

void Half::forget_learned_vlans()
{
    learned_.reset();
    update_interfaces();
}

} // namespace mcadapt::host
