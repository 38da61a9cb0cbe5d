#include "host/engine/authorisation.h"

#include <algorithm>

namespace mcadapt::host {
namespace {

const GroupRange *find(const std::vector<GroupRange> &ranges, uint32_t group, uint16_t vlan)
{
    for (const GroupRange &range : ranges)
        if (range.covers(group, vlan))
            return &range;
    return nullptr;
}

// The same range whatever its bandwidth.
bool same(const GroupRange &a, const GroupRange &b)
{
    return a.first == b.first && a.last == b.last && a.vlan == b.vlan;
}

} // namespace

DropReason Authorisation::check(uint32_t group, uint16_t vlan, uint32_t port) const
{
    if (white_list_ && !find(unit_, group, vlan))
        return DropReason::kWhiteList;
    if (ports_[port].on && !find(ports_[port].ranges, group, vlan))
        return DropReason::kPortRange;
    if (!private_.empty() && !find(private_, group, vlan))
        return DropReason::kPrivateList;
    return DropReason::kNone;
}

uint32_t Authorisation::bandwidth(uint32_t group, uint16_t vlan, uint32_t port) const
{
    const GroupRange *range = find(ports_[port].ranges, group, vlan);
    return range ? range->bandwidth : 0;
}

void Authorisation::set_white_list(bool on)
{
    white_list_ = on;
    ++epoch_;
}

bool Authorisation::add(std::vector<GroupRange> &ranges, const GroupRange &range)
{
    ++epoch_;
    for (GroupRange &known : ranges) {
        if (same(known, range)) {
            known = range;
            return true;
        }
    }
    if (ranges.size() >= kMaxListEntries)
        return false;
    ranges.push_back(range);
    return true;
}

bool Authorisation::add_unit_range(const GroupRange &range) { return add(unit_, range); }

bool Authorisation::add_port_range(uint32_t port, const GroupRange &range) { return add(ports_[port].ranges, range); }

void Authorisation::ranges_removed(Port &port)
{
    ++epoch_;
    if (port.ranges.empty())
        port.on = false;
}

bool Authorisation::remove_port_range(uint32_t port, const GroupRange &range)
{
    std::vector<GroupRange> &ranges = ports_[port].ranges;
    const auto at = std::find_if(ranges.begin(), ranges.end(), [&](const GroupRange &r) { return same(r, range); });
    if (at == ranges.end())
        return false;
    ranges.erase(at);
    ranges_removed(ports_[port]);
    return true;
}

void Authorisation::remove_port_ranges(uint32_t port, uint16_t vlan)
{
    std::vector<GroupRange> &ranges = ports_[port].ranges;
    ranges.erase(std::remove_if(ranges.begin(), ranges.end(),
                                [=](const GroupRange &r) { return vlan == kAnyVlan || r.vlan == vlan; }),
                 ranges.end());
    ranges_removed(ports_[port]);
}

void Authorisation::remove_all_ranges()
{
    unit_.clear();
    for (uint32_t port = 0; port < ports_.size(); ++port)
        remove_port_ranges(port, kAnyVlan);
}

void Authorisation::set_port(uint32_t port, bool on)
{
    ports_[port].on = on;
    ++epoch_;
}

bool Authorisation::add_private(uint32_t group, uint16_t vlan) { return add(private_, {group, group, 0, vlan}); }

bool Authorisation::remove_private(uint32_t group, uint16_t vlan)
{
    const GroupRange wanted{group, group, 0, vlan};
    const auto at =
        std::find_if(private_.begin(), private_.end(), [&](const GroupRange &r) { return same(r, wanted); });
    if (at == private_.end())
        return false;
    private_.erase(at);
    ++epoch_;
    return true;
}

void Authorisation::clear_private()
{
    private_.clear();
    ++epoch_;
}

} // namespace mcadapt::host
