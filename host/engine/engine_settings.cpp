// Mode, parameters, VLANs and ports.
#include "host/engine/engine_core.h"

namespace mcadapt::host {

// --- Mode and parameters

int32_t Engine::set_mode(Family family, Mode mode)
{
    const Call call(*core_);
    if (mode != Mode::kSnooping && mode != Mode::kProxy && mode != Mode::kControl)
        return code(Result::kInvalid);
    core_->half(family).set_mode(mode);
    core_->context.status_changed = true;
    return code(Result::kOk);
}

int32_t Engine::set_proxy_source(uint32_t address)
{
    const Call call(*core_);
    if (address != 0 && !is_stream_source(Family::kIgmp, ipv4(address)))
        return code(Result::kInvalid);
    core_->context.settings.igmp_source = ipv4(address);
    return code(Result::kOk);
}

namespace {

int32_t take_timers(EngineCore &core, const ProtocolTimers &timers)
{
    if (!timers.valid())
        return code(Result::kInvalid);
    core.context.settings.timers = timers;
    return code(Result::kOk);
}

int32_t take_timer(EngineCore &core, uint32_t ProtocolTimers::*field, uint32_t value)
{
    const Call call(core);
    ProtocolTimers timers = core.context.settings.timers;
    timers.*field = value;
    return take_timers(core, timers);
}

} // namespace

int32_t Engine::set_timers(uint32_t robustness, uint32_t query_interval, uint32_t response_interval,
                           uint32_t last_member_interval, uint32_t last_member_count, uint32_t age)
{
    const Call call(*core_);
    ProtocolTimers timers;
    timers.robustness = robustness;
    timers.query_interval = query_interval;
    timers.response_interval = response_interval;
    timers.last_member_interval = last_member_interval;
    timers.last_member_count = last_member_count;
    timers.age = age != 0;
    return take_timers(*core_, timers);
}

int32_t Engine::set_robustness(uint32_t value) { return take_timer(*core_, &ProtocolTimers::robustness, value); }

int32_t Engine::set_query_interval(uint32_t seconds)
{
    return take_timer(*core_, &ProtocolTimers::query_interval, seconds);
}

int32_t Engine::set_response_interval(uint32_t seconds)
{
    return take_timer(*core_, &ProtocolTimers::response_interval, seconds);
}

int32_t Engine::set_last_member_interval(uint32_t seconds)
{
    return take_timer(*core_, &ProtocolTimers::last_member_interval, seconds);
}

int32_t Engine::set_last_member_count(uint32_t value)
{
    return take_timer(*core_, &ProtocolTimers::last_member_count, value);
}

int32_t Engine::set_version(uint32_t version)
{
    const Call call(*core_);
    if (version < 1 || version > 3)
        return code(Result::kInvalid);
    core_->context.settings.igmp_version = static_cast<uint8_t>(version);
    return code(Result::kOk);
}

int32_t Engine::set_ssm_range(uint32_t network, uint32_t mask)
{
    const Call call(*core_);
    const Settings standard;
    if (network == 0 && mask == 0) {
        network = standard.ssm_network;
        mask = standard.ssm_mask;
    }
    if (network >> 28 != 0xE || (network & mask) != network)
        return code(Result::kInvalid);
    core_->context.settings.ssm_network = network;
    core_->context.settings.ssm_mask = mask;
    return code(Result::kOk);
}

int32_t Engine::set_ssm_map(const uint32_t *words)
{
    const Call call(*core_);
    if (!words)
        return code(Result::kInvalid);
    // The words stay the library's, whose other threads may write them meanwhile: each is read once, and whole.
    decltype(core_->context.settings.ssm_map) map;
    for (uint32_t &word : map)
        word = __atomic_load_n(words++, __ATOMIC_RELAXED);
    const bool sources = map[2] != 0 || map[3] != 0;
    if (map[4] != 0 && (map[0] >> 28 != 0xE || !sources))
        return code(Result::kInvalid);
    core_->context.settings.ssm_map = map;
    return code(Result::kOk);
}

// --- VLANs

int32_t Engine::set_default_vlan(Family family, uint32_t vlan)
{
    const Call call(*core_);
    if (vlan > kMaxVlan)
        return code(Result::kInvalid);
    core_->half(family).set_default_vlan(static_cast<uint16_t>(vlan));
    return code(Result::kOk);
}

int32_t Engine::add_vlan(Family family, uint32_t vlan)
{
    const Call call(*core_);
    vlan &= 0xFFF;
    if (!valid_vlan(vlan))
        return code(Result::kInvalid);
    core_->half(family).add_vlan(static_cast<uint16_t>(vlan));
    return code(Result::kOk);
}

int32_t Engine::remove_vlan(Family family, uint32_t vlan)
{
    const Call call(*core_);
    vlan &= 0xFFF;
    if (!valid_vlan(vlan))
        return code(Result::kInvalid);
    core_->half(family).remove_vlan(static_cast<uint16_t>(vlan));
    return code(Result::kOk);
}

int32_t Engine::remove_all_vlans(Family family)
{
    const Call call(*core_);
    core_->half(family).remove_all_vlans();
    return code(Result::kOk);
}

int32_t Engine::set_vlan_learning(uint32_t enable)
{
    const Call call(*core_);
    core_->context.settings.vlan_learning = enable != 0;
    if (enable == 0) {
        core_->igmp.forget_learned_vlans();
        core_->mld.forget_learned_vlans();
    }
    return code(Result::kOk);
}

// --- Ports

int32_t Engine::set_fast_leave(uint32_t enable)
{
    const Call call(*core_);
    for (PortSettings &port : core_->context.ports)
        port.fast_leave = enable != 0;
    core_->context.status_changed = true;
    return code(Result::kOk);
}

int32_t Engine::set_port_fast_leave(uint32_t port, uint32_t enable)
{
    const Call call(*core_);
    port = port_number(port);
    if (port > kMaxPort)
        return code(Result::kUnknownPort);
    core_->context.ports[port].fast_leave = enable != 0;
    core_->context.status_changed = true;
    return code(Result::kOk);
}

int32_t Engine::set_group_limit(uint32_t port, int32_t limit)
{
    const Call call(*core_);
    port = port_number(port);
    if (port > kMaxPort)
        return code(Result::kUnknownPort);
    if (limit < 0)
        return code(Result::kInvalid);
    core_->context.ports[port].group_limit = static_cast<uint32_t>(limit);
    core_->context.status_changed = true;
    return code(Result::kOk);
}

int32_t Engine::set_bandwidth_limit(uint32_t port, uint32_t enable, uint32_t limit, uint32_t vlan)
{
    const Call call(*core_);
    port = port_number(port);
    if (port > kMaxPort)
        return code(Result::kUnknownPort);
    PortSettings &settings = core_->context.ports[port];
    settings.bandwidth_limited = enable != 0;
    settings.bandwidth_limit = limit;
    settings.bandwidth_vlan = vlan == 0 || vlan >= kAnyVlan ? kAnyVlan : static_cast<uint16_t>(vlan & 0xFFF);
    settings.bandwidth_used = 0;
    const GroupTable &groups = core_->igmp.groups();
    for (std::size_t place = 0; place < groups.places(); ++place) {
        const PortGroup &group = groups.at(place);
        const bool counts = settings.bandwidth_vlan == kAnyVlan || settings.bandwidth_vlan == group.key.vlan;
        if (group.used && group.announced && group.key.port == port && counts)
            settings.bandwidth_used += group.bandwidth;
    }
    return code(Result::kOk);
}

} // namespace mcadapt::host
