#include "host/switch/switch.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace mcadapt::host {

namespace {

constexpr int32_t kRefused = -1;
constexpr int32_t kUplinkWildcard = -1;

using Lock = std::lock_guard<std::mutex>;

// IEEE 802.1Q table 8-1: 01:80:C2:00:00:00 to 0F.
bool is_reserved(const uint8_t *mac)
{
    constexpr uint8_t kReservedHead[] = {0x01, 0x80, 0xC2, 0x00, 0x00};
    return std::memcmp(mac, kReservedHead, sizeof(kReservedHead)) == 0 && mac[5] < 0x10;
}

bool listens_beside(const ForwardingTable::Listeners &listeners, uint32_t port)
{
    return std::any_of(listeners.begin(), listeners.end(),
                       [port](const ForwardingEntry &entry) { return entry.port != port; });
}

} // namespace

std::string_view drop_name(SwitchDrop drop)
{
    switch (drop) {
    case SwitchDrop::kNone:
        return "";
    case SwitchDrop::kTruncated:
        return "frame ends before its packet does";
    case SwitchDrop::kCut:
        return "cut by the capture";
    case SwitchDrop::kTooLong:
        return "longer than the driver's buffer";
    case SwitchDrop::kNotTrapped:
        return "protocol frame, neither trapped nor flooded";
    case SwitchDrop::kNoEntry:
        return "no forwarding entry";
    case SwitchDrop::kNoMember:
        return "no other port listens";
    case SwitchDrop::kReserved:
        return "reserved address, not for bridges to forward";
    case SwitchDrop::kUnknownPort:
        return "arrived on a port that the unit does not have";
    case SwitchDrop::kNotMulticast:
        return "not multicast";
    }
    return "";
}

Switch::Switch(const Clock &clock, Observer &observer, FrameSink &sink, std::vector<uint32_t> ports)
    : clock_(clock), observer_(observer), sink_(sink), ports_(std::move(ports))
{
    std::sort(ports_.begin(), ports_.end());
    ports_.erase(std::unique(ports_.begin(), ports_.end()), ports_.end());
    if (!ports_.empty() && ports_.back() > kHighestPort)
        throw std::out_of_range("a switch has no port " + std::to_string(ports_.back()));
}

bool Switch::has_port(uint32_t port) const { return std::binary_search(ports_.begin(), ports_.end(), port); }

bool Switch::drop(SwitchDrop reason)
{
    ++counters_.by_drop[static_cast<std::size_t>(reason)];
    observer_.switch_decided(SwitchAction::kDropped, drop_name(reason));
    return false;
}

bool Switch::drop_incomplete(const Arrival &arrival)
{
    return drop(arrival.wire_size > arrival.frame.size ? SwitchDrop::kCut : SwitchDrop::kTruncated);
}

bool Switch::arrive(uint32_t port, Bytes frame, std::size_t wire_size)
{
    const Lock lock(mutex_);
    if (!has_port(port))
        return drop(SwitchDrop::kUnknownPort);
    const Arrival arrival = {port, frame, std::max(wire_size, frame.size), view_frame(frame)};
    ++port_counters_[port].frames_in;
    port_counters_[port].bytes_in += arrival.wire_size;
    ++counters_.by_kind[static_cast<std::size_t>(arrival.view.kind)];
    return decide(arrival);
}

bool Switch::decide(const Arrival &arrival)
{
    switch (arrival.view.kind) {
    case FrameKind::kIgmp:
        return decide_protocol(Family::kIgmp, arrival);
    case FrameKind::kMld:
        return decide_protocol(Family::kMld, arrival);
    case FrameKind::kIpv4Data:
        return forward_data(Family::kIgmp, arrival);
    case FrameKind::kIpv6Data:
        return forward_data(Family::kMld, arrival);
    case FrameKind::kLinkLocal: // RFC 4541 section 2.1.2: to every port
        return is_reserved(arrival.frame.data) ? drop(SwitchDrop::kReserved) : flood_frame(arrival);
    case FrameKind::kUnicast:
        return drop(SwitchDrop::kNotMulticast);
    case FrameKind::kTruncated:
        return drop_incomplete(arrival);
    }
    return false;
}

bool Switch::decide_protocol(Family family, const Arrival &arrival)
{
    if (!trap_[index(family)])
        return flood_[index(family)] ? flood_frame(arrival) : drop(SwitchDrop::kNotTrapped);
    // The library reads an IP packet as far as its header says.
    if (arrival.view.ip_end > arrival.frame.size)
        return drop_incomplete(arrival);
    if (arrival.frame.size > kDriverBufferBytes)
        return drop(SwitchDrop::kTooLong);
    ++counters_.trapped;
    observer_.switch_decided(SwitchAction::kTrapped, "");
    return true;
}

bool Switch::forward_data(Family family, const Arrival &arrival)
{
    const uint16_t vlan = arrival.view.vlan != 0 ? arrival.view.vlan : untagged_vlan_;
    ForwardingTable::Listeners *listeners = table_.find(arrival.frame.data, vlan);
    if (listeners == nullptr && flood_[index(family)])
        return flood_frame(arrival);
    return forward_to(listeners, arrival);
}

bool Switch::forward_to(ForwardingTable::Listeners *listeners, const Arrival &arrival)
{
    bool to_routers = arrival.port != kUplinkPort && has_port(kUplinkPort);
    const bool to_listeners = listeners != nullptr && listens_beside(*listeners, arrival.port);
    if (!to_routers && !to_listeners)
        return drop(listeners == nullptr ? SwitchDrop::kNoEntry : SwitchDrop::kNoMember);
    ++counters_.forwarded;
    observer_.switch_decided(SwitchAction::kForwarded, to_listeners ? std::string_view() : kToRoutersOnly);
    if (to_listeners) {
        for (ForwardingEntry &entry : *listeners) {
            if (entry.port == arrival.port)
                continue;
            if (entry.frames++ == 0)
                entry.first_frame = clock_.now();
            to_routers = to_routers && entry.port != kUplinkPort;
            leave(entry.port, arrival.frame, arrival.wire_size, false);
        }
    }
    if (to_routers)
        leave(kUplinkPort, arrival.frame, arrival.wire_size, false);
    return false;
}

bool Switch::flood_frame(const Arrival &arrival)
{
    ++counters_.flooded;
    observer_.switch_decided(SwitchAction::kFlooded, "");
    for (const uint32_t other : ports_)
        if (other != arrival.port)
            leave(other, arrival.frame, arrival.wire_size, false);
    return false;
}

void Switch::leave(uint32_t port, Bytes frame, std::size_t wire_size, bool by_library)
{
    ++port_counters_[port].frames_out;
    port_counters_[port].bytes_out += wire_size;
    observer_.frame_left(port, frame, by_library);
    sink_.leave(port, frame, wire_size);
}

void Switch::set_untagged_vlan(uint16_t vlan)
{
    const Lock lock(mutex_);
    untagged_vlan_ = vlan;
}

int32_t Switch::set_filter_method(uint32_t method)
{
    const Lock lock(mutex_);
    if (method != kFilterByVlanAndMac)
        return kRefused;
    filter_method_ = method;
    return 0;
}

int32_t Switch::set_trap(uint32_t selector, uint32_t enable)
{
    const Lock lock(mutex_);
    if (selector > 1 || enable > 1)
        return kRefused;
    trap_[selector] = enable == 1;
    return 0;
}

int32_t Switch::set_flood(uint32_t selector, uint32_t enable)
{
    const Lock lock(mutex_);
    if (selector > 1 || enable > 1)
        return kRefused;
    flood_[selector] = enable == 1;
    return 0;
}

bool Switch::entry_port(int32_t port, uint32_t &entry_port) const
{
    entry_port = port == kUplinkWildcard ? kUplinkPort : static_cast<uint32_t>(port);
    return has_port(entry_port);
}

int32_t Switch::add_entry(int32_t port, const uint8_t *mac, uint32_t vlan)
{
    const Lock lock(mutex_);
    uint32_t listener = 0;
    if (!entry_port(port, listener) || vlan > UINT16_MAX)
        return kRefused;
    const auto id = static_cast<uint16_t>(vlan);
    if (table_.add(mac, id, listener, clock_.now()))
        observer_.entry_changed(listener, mac, id, true);
    return 0;
}

int32_t Switch::remove_entry(int32_t port, const uint8_t *mac, uint32_t vlan)
{
    const Lock lock(mutex_);
    uint32_t listener = 0;
    if (!entry_port(port, listener) || vlan > UINT16_MAX)
        return kRefused;
    const auto id = static_cast<uint16_t>(vlan);
    if (!table_.remove(mac, id, listener))
        return kRefused;
    observer_.entry_changed(listener, mac, id, false);
    return 0;
}

int32_t Switch::send(Bytes frame, uint32_t port)
{
    const Lock lock(mutex_);
    if (!has_port(port))
        return kRefused;
    leave(port, frame, frame.size, true);
    return 0;
}

SwitchCounters Switch::counters() const
{
    const Lock lock(mutex_);
    return counters_;
}

PortCounters Switch::port_counters(uint32_t port) const
{
    const Lock lock(mutex_);
    return port_counters_.at(port);
}

std::vector<ForwardingEntry> Switch::entries() const
{
    const Lock lock(mutex_);
    return table_.list();
}

bool Switch::traps(Family family) const
{
    const Lock lock(mutex_);
    return trap_[index(family)];
}

bool Switch::floods(Family family) const
{
    const Lock lock(mutex_);
    return flood_[index(family)];
}

uint32_t Switch::filter_method() const
{
    const Lock lock(mutex_);
    return filter_method_;
}

} // namespace mcadapt::host
