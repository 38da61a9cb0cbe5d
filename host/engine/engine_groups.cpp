// Groups by order, and which groups may be joined.
#include "host/engine/engine_core.h"

namespace mcadapt::host {
namespace {

// A group value of the agents: an address, or a channel index.
Result to_group(const Settings &settings, uint32_t value, Address &group)
{
    constexpr uint32_t kIndices = 0x10000;
    group = ipv4(value < kIndices ? settings.channel_base + value : value);
    if (!is_multicast(Family::kIgmp, group))
        return Result::kInvalid;
    return is_link_local_group(Family::kIgmp, group) ? Result::kRefused : Result::kOk;
}

// The group that a MAC address stands for, one of the 32 (IPv4) or many more (IPv6) that share it.
Result to_group(const uint8_t *mac, Family &family, Address &group)
{
    if (mac[0] == 0x01 && mac[1] == 0x00 && mac[2] == 0x5E && mac[3] < 0x80) {
        family = Family::kIgmp;
        group = ipv4(0xE0000000u | (load32(mac + 2) & 0x7FFFFFu));
        return is_link_local_group(family, group) ? Result::kRefused : Result::kOk;
    }
    if (mac[0] != 0x33 || mac[1] != 0x33)
        return Result::kInvalid;
    family = Family::kMld;
    const uint32_t tail = load32(mac + 2);
    group = {0xFF0Eull << 48, tail};
    const bool link_local = tail < 0x100 || tail >> 24 == 0xFF; // ff02::1 and its like, solicited-node groups
    return link_local ? Result::kRefused : Result::kOk;
}

} // namespace

// --- Groups by order

namespace {

Result order(EngineCore &core, Family family, const GroupKey &key, bool PortGroup::*which, bool add)
{
    Half &half = core.half(family);
    if (!half.declared(key.port))
        return Result::kUnknownPort;
    if (!valid_vlan(key.vlan))
        return Result::kInvalid;
    if (add)
        half.hold(key, which);
    else
        half.release(key, which);
    return Result::kOk;
}

// Orders of the agents name ports and VLANs with 32 bits.
int32_t order_value(EngineCore &core, uint32_t port, uint32_t vlan, uint32_t value, bool PortGroup::*which, bool add)
{
    const Call call(core);
    Address group;
    if (const Result result = to_group(core.context.settings, value, group); result != Result::kOk)
        return code(result);
    port = port_number(port);
    if (port > kMaxPort)
        return code(Result::kUnknownPort);
    if (!valid_vlan(vlan))
        return code(Result::kInvalid);
    const GroupKey key{group, static_cast<uint16_t>(vlan), static_cast<uint16_t>(port)};
    return code(order(core, Family::kIgmp, key, which, add));
}

} // namespace

int32_t Engine::add_static(uint32_t port, uint32_t vlan, uint32_t group_value, uint32_t source)
{
    if (source != 0)
        return code(Result::kInvalid);
    return order_value(*core_, port, vlan, group_value, &PortGroup::fixed, true);
}

int32_t Engine::remove_static(uint32_t port, uint32_t vlan, uint32_t group_value, uint32_t source)
{
    if (source != 0)
        return code(Result::kInvalid);
    return order_value(*core_, port, vlan, group_value, &PortGroup::fixed, false);
}

int32_t Engine::control_channel(uint32_t port, uint32_t kind, uint32_t vlan, uint32_t group_value)
{
    if (kind > 1)
        return code(Result::kInvalid);
    return order_value(*core_, port, vlan, group_value, &PortGroup::controlled, kind == 1);
}

int32_t Engine::control_mac(uint32_t action, uint32_t port, uint32_t vlan, const uint8_t *mac)
{
    const Call call(*core_);
    Family family = Family::kIgmp;
    Address group;
    if (action > 1 || !mac)
        return code(Result::kInvalid);
    if (const Result result = to_group(mac, family, group); result != Result::kOk)
        return code(result);
    if (port > kMaxPort || !valid_vlan(vlan))
        return code(port > kMaxPort ? Result::kUnknownPort : Result::kInvalid);
    const GroupKey key{group, static_cast<uint16_t>(vlan), static_cast<uint16_t>(port)};
    return code(order(*core_, family, key, &PortGroup::controlled, action == 1));
}

int32_t Engine::remove_all_groups(bool keep_static)
{
    const Call call(*core_);
    core_->igmp.remove_all_groups(keep_static);
    return code(Result::kOk);
}

// --- Authorisation

int32_t Engine::set_white_list(uint32_t enable)
{
    const Call call(*core_);
    core_->context.authorisation.set_white_list(enable != 0);
    return code(Result::kOk);
}

int32_t Engine::add_unit_range(uint32_t first, uint32_t last)
{
    const Call call(*core_);
    if (first > last || first >> 28 != 0xE || last >> 28 != 0xE)
        return code(Result::kInvalid);
    return code(core_->context.authorisation.add_unit_range({first, last, 0, kAnyVlan}) ? Result::kOk : Result::kFull);
}

namespace {

Result to_range(const EngineCore &core, uint32_t first, uint32_t last, uint32_t vlan, GroupRange &range)
{
    Address low, high;
    if (to_group(core.context.settings, first, low) == Result::kInvalid ||
        to_group(core.context.settings, last, high) == Result::kInvalid || high < low)
        return Result::kInvalid;
    range.first = static_cast<uint32_t>(low.low);
    range.last = static_cast<uint32_t>(high.low);
    range.vlan = list_vlan(vlan);
    return Result::kOk;
}

} // namespace

int32_t Engine::add_port_range(uint32_t port, uint32_t first, uint32_t last, uint32_t bandwidth, uint32_t vlan)
{
    const Call call(*core_);
    GroupRange range;
    if (port_number(port) > kMaxPort)
        return code(Result::kUnknownPort);
    if (const Result result = to_range(*core_, first, last, vlan, range); result != Result::kOk)
        return code(result);
    range.bandwidth = bandwidth;
    return code(core_->context.authorisation.add_port_range(port_number(port), range) ? Result::kOk : Result::kFull);
}

int32_t Engine::remove_port_range(uint32_t port, uint32_t first, uint32_t last, uint32_t vlan)
{
    const Call call(*core_);
    GroupRange range;
    if (port_number(port) > kMaxPort)
        return code(Result::kUnknownPort);
    if (const Result result = to_range(*core_, first, last, vlan, range); result != Result::kOk)
        return code(result);
    return code(core_->context.authorisation.remove_port_range(port_number(port), range) ? Result::kOk
                                                                                         : Result::kNotFound);
}

int32_t Engine::remove_ranges(uint32_t port, uint32_t vlan)
{
    const Call call(*core_);
    if (port_number(port) > kMaxPort)
        return code(Result::kUnknownPort);
    const uint16_t in_vlan = list_vlan(vlan);
    if (port == 0 && in_vlan == kAnyVlan)
        core_->context.authorisation.remove_all_ranges();
    else
        core_->context.authorisation.remove_port_ranges(port_number(port), in_vlan);
    return code(Result::kOk);
}

int32_t Engine::set_range_authorisation(uint32_t port, uint32_t enable)
{
    const Call call(*core_);
    if (port_number(port) > kMaxPort)
        return code(Result::kUnknownPort);
    core_->context.authorisation.set_port(port_number(port), enable != 0);
    return code(Result::kOk);
}

int32_t Engine::add_private(uint32_t group_value, uint32_t vlan)
{
    const Call call(*core_);
    Address group;
    if (const Result result = to_group(core_->context.settings, group_value, group); result != Result::kOk)
        return code(result);
    const bool added = core_->context.authorisation.add_private(static_cast<uint32_t>(group.low), list_vlan(vlan));
    return code(added ? Result::kOk : Result::kFull);
}

int32_t Engine::remove_private(uint32_t group_value, uint32_t vlan)
{
    const Call call(*core_);
    Address group;
    if (to_group(core_->context.settings, group_value, group) == Result::kInvalid)
        return code(Result::kInvalid);
    const bool removed = core_->context.authorisation.remove_private(static_cast<uint32_t>(group.low), list_vlan(vlan));
    return code(removed ? Result::kOk : Result::kNotFound);
}

int32_t Engine::clear_private()
{
    const Call call(*core_);
    core_->context.authorisation.clear_private();
    return code(Result::kOk);
}

} // namespace mcadapt::host
