// The engine's life, time, packets and what can be seen of it.
#include "host/engine/engine.h"

#include <algorithm>
#include <cstring>

#include "host/engine/engine_core.h"

namespace mcadapt::host {

Engine::Engine(const Clock &clock, Observer &observer, Limits limits)
    : core_(std::make_unique<EngineCore>(clock, observer, limits))
{
}

Engine::~Engine() = default;

// --- Time

Time Engine::next_timer() const
{
    const std::lock_guard<std::recursive_mutex> lock(core_->mutex);
    return core_->context.timers.next();
}

void Engine::run_timers()
{
    const Call call(*core_);
    // Due when the call began: on a clock that runs meanwhile, timers that are set anew would keep others waiting.
    const Time now = core_->context.now();
    while (Timer *timer = core_->context.timers.take_due(now))
        core_->half(timer->mld ? Family::kMld : Family::kIgmp).fire(*timer);
}

// --- The surroundings

void Engine::set_frame_limit(const uint8_t *end)
{
    const Call call(*core_);
    core_->frame_limit = end;
}

void Engine::set_mac(const uint8_t *mac)
{
    const Call call(*core_);
    // RFC 4291 appendix A: the MAC address with ff:fe in its middle and the universal bit inverted.
    const uint8_t id[8] = {static_cast<uint8_t>(mac[0] ^ 2), mac[1], mac[2], 0xFF, 0xFE, mac[3], mac[4], mac[5]};
    core_->context.settings.mld_source.low = load64(id);
}

Result Engine::set_channel_base(uint32_t group)
{
    const Call call(*core_);
    if (group >> 28 != 0xE || group >> 8 == 0xE00000)
        return Result::kInvalid;
    core_->context.settings.channel_base = group;
    return Result::kOk;
}

bool Engine::share_status(bool on)
{
    const Call call(*core_);
    core_->context.status_changed = true;
    if (on)
        return core_->shared.attach();
    core_->shared.detach();
    return true;
}

// --- A look inside

Counters Engine::counters(Family family) const
{
    const Call call(*core_);
    return core_->half(family).counters();
}

InterfaceCounters Engine::interface_counters(uint32_t port) const
{
    const Call call(*core_);
    port = port_number(port);
    return port > kMaxPort ? InterfaceCounters{} : host::interface_counters(core_->context, core_->igmp, port);
}

Mode Engine::mode(Family family) const
{
    const Call call(*core_);
    return core_->half(family).mode();
}

std::size_t Engine::group_count(Family family) const
{
    const Call call(*core_);
    return core_->half(family).groups().size();
}

std::bitset<4096> Engine::vlans(Family family) const
{
    const Call call(*core_);
    return core_->half(family).vlans();
}

std::size_t Engine::memory_bytes() const
{
    const Call call(*core_);
    return core_->igmp.memory_bytes() + core_->mld.memory_bytes() + core_->context.timers.memory_bytes();
}

std::vector<GroupView> Engine::groups(Family family) const
{
    const Call call(*core_);
    const GroupTable &table = core_->half(family).groups();
    std::vector<const PortGroup *> sorted;
    for (std::size_t place = 0; place < table.places(); ++place)
        if (table.at(place).used)
            sorted.push_back(&table.at(place));
    std::sort(sorted.begin(), sorted.end(), [](const PortGroup *a, const PortGroup *b) { return a->key < b->key; });
    std::vector<GroupView> views;
    for (const PortGroup *group : sorted) {
        const GroupState &state = group->state;
        GroupView view{{to_group_address(family, group->key.group), group->key.vlan, group->key.port},
                       state.exclude(),
                       group->installed,
                       group->fixed,
                       group->controlled,
                       to_version(family, state.compatibility(core_->context.now())),
                       group->joined,
                       state.exclude() ? state.group_expires() : kNever,
                       {},
                       {},
                       {}};
        for (const Source &source : state.sources()) {
            (source.running() ? view.wanted : view.blocked).push_back(to_group_address(family, source.address));
            if (source.running())
                view.wanted_until.push_back(source.expires);
        }
        views.push_back(std::move(view));
    }
    return views;
}

bool Engine::wants(const Membership &membership, const GroupAddress &source) const
{
    const Call call(*core_);
    const GroupKey key{from_group_address(membership.group), membership.vlan,
                       static_cast<uint16_t>(port_number(membership.port))};
    const PortGroup *group = core_->half(membership.group.family).groups().find(key);
    return group && (group->ordered() || group->state.wants(from_group_address(source)));
}

// --- Start-up

int32_t Engine::reset(Family family)
{
    const Call call(*core_);
    core_->half(family).reset();
    if (family == Family::kIgmp) { // what both halves share starts with it
        Settings &settings = core_->context.settings;
        const Settings before = settings;
        settings = {};
        settings.mld_source = before.mld_source;
        settings.channel_base = before.channel_base;
        core_->context.ports = {};
        core_->context.authorisation = {};
    }
    core_->context.status_changed = true;
    return code(Result::kOk);
}

int32_t Engine::start(Family) { return code(Result::kOk); }

int32_t Engine::register_send(Family family, mcSendPacketCallback send)
{
    const Call call(*core_);
    core_->half(family).outlet().send_packet = send;
    return code(send ? Result::kOk : Result::kInvalid);
}

int32_t Engine::register_add(Family family, mcForwardingCallback add)
{
    const Call call(*core_);
    core_->half(family).outlet().add = add;
    return code(add ? Result::kOk : Result::kInvalid);
}

int32_t Engine::register_remove(Family family, mcForwardingCallback remove)
{
    const Call call(*core_);
    core_->half(family).outlet().remove = remove;
    return code(remove ? Result::kOk : Result::kInvalid);
}

int32_t Engine::declare_port(Family family, uint32_t port)
{
    const Call call(*core_);
    port = port_number(port);
    if (port > kMaxPort)
        return code(Result::kUnknownPort);
    core_->half(family).declare_port(port);
    return code(Result::kOk);
}

// --- Packets

int32_t Engine::receive(Family family, const uint8_t *packet, uint32_t length, uint32_t port, uint32_t vlan)
{
    const Call call(*core_);
    if (core_->context.timers.next() <= core_->context.now())
        run_timers(); // what is due comes before what arrives
    std::size_t available = kMaxPacketBytes;
    if (core_->frame_limit)
        available = packet < core_->frame_limit ? static_cast<std::size_t>(core_->frame_limit - packet) : 0;
    return code(core_->half(family).receive(packet, available, length, port_number(port), vlan & 0xFFF));
}

// --- Status

int32_t Engine::gather_groups(uint32_t port, uint32_t length, void *buffer) const
{
    const Call call(*core_);
    return host::gather_groups(core_->context, core_->igmp, port == kUplinkWildcard ? kUplinkPort : port, length,
                               buffer);
}

int32_t Engine::gather_interface(uint32_t port, uint32_t length, void *buffer) const
{
    const Call call(*core_);
    port = port_number(port);
    if (port > kMaxPort || !buffer || length < sizeof(InterfaceCounters))
        return 0;
    const InterfaceCounters counters = host::interface_counters(core_->context, core_->igmp, port);
    std::memcpy(buffer, &counters, sizeof counters);
    return static_cast<int32_t>(sizeof counters);
}

} // namespace mcadapt::host
