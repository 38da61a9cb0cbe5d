#include "host/program/statistics.h"

#include <cstring>

namespace mcadapt::host {

namespace {

// Leaves of groups that nobody listens to wait for nothing; a host that sends many fills no memory with them.
constexpr std::size_t kMostLeaves = 65536;

uint64_t mac_number(const uint8_t *mac)
{
    uint64_t number = 0;
    for (int i = 0; i < 6; ++i)
        number = number << 8 | mac[i];
    return number;
}

} // namespace

Statistics::LeaveKey Statistics::leave_key(const GroupAddress &group, uint16_t vlan, uint32_t port)
{
    LeaveKey key = {};
    std::memcpy(key.data(), group.bytes, sizeof(group.bytes));
    key[16] = static_cast<uint8_t>(group.family);
    key[17] = static_cast<uint8_t>(port);
    std::memcpy(key.data() + 18, &vlan, sizeof(vlan));
    return key;
}

// Hosts repeat a leave: the first one counts, unless somebody asks for the group in between.
void Statistics::packet_received(Family family, uint32_t port, uint16_t vlan, Bytes packet)
{
    find_named_groups(family, packet, named_);
    for (const NamedGroup &named : named_) {
        if (named.leaves && leaving_.size() < kMostLeaves)
            leaving_.emplace(leave_key(named.group, vlan, port), clock_.now());
        else if (!named.leaves && !leaving_.empty())
            leaving_.erase(leave_key(named.group, vlan, port));
    }
}

void Statistics::membership_changed(const Membership &membership, bool joined, std::string_view)
{
    if (joined) {
        ++joined_;
        return;
    }
    ++left_;
    const auto leave = leaving_.find(leave_key(membership.group, membership.vlan, membership.port));
    if (leave == leaving_.end())
        return;
    leaves_.note(clock_.now() - leave->second);
    leaving_.erase(leave);
}

void Statistics::packet_sent(Family, uint32_t, uint16_t, std::string_view) { ++sent_by_engine_; }

void Statistics::entry_changed(uint32_t port, const uint8_t *mac, uint16_t, bool added)
{
    const WaitingKey key = {mac_number(mac), port};
    if (added)
        waiting_.emplace(key, clock_.now());
    else
        waiting_.erase(key);
}

void Statistics::frame_left(uint32_t port, Bytes frame, bool by_library)
{
    if (by_library || waiting_.empty())
        return;
    const auto waiting = waiting_.find({mac_number(frame.data), port});
    if (waiting == waiting_.end())
        return;
    joins_.note(clock_.now() - waiting->second);
    waiting_.erase(waiting);
}

} // namespace mcadapt::host
