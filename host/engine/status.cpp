#include "host/engine/status.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <sys/ipc.h>
#include <sys/shm.h>

namespace mcadapt::host {
namespace {

constexpr key_t kSegmentKey = 82;
static_assert(sizeof(grp_info) == 14392);

grpRecord record_of(const PortGroup &group, Time now)
{
    grpRecord record{};
    record.vlanId = group.key.vlan;
    if (!group.state.exclude() && !group.state.sources().empty())
        record.infoB = static_cast<uint32_t>(group.state.sources().front().address.low);
    record.groupAddress = static_cast<uint32_t>(group.key.group.low);
    record.infoD = group.bandwidth;
    record.infoE = group.reporter;
    record.infoF = static_cast<uint32_t>(std::chrono::duration_cast<std::chrono::seconds>(now - group.joined).count());
    record.userPort = static_cast<uint8_t>(group.key.port);
    return record;
}

// In the order of the packed record.
void pack(const grpRecord &record, uint8_t *p)
{
    const auto put = [&p](const auto &field) {
        std::memcpy(p, &field, sizeof field);
        p += sizeof field;
    };
    put(record.vlanId);
    put(record.infoB);
    put(record.groupAddress);
    put(record.infoD);
    put(record.infoE);
    put(record.infoF);
    put(record.infoG);
    put(record.userPort);
}

std::vector<const PortGroup *> sorted_groups(const Half &igmp, uint32_t port)
{
    std::vector<const PortGroup *> groups;
    for (std::size_t place = 0; place < igmp.groups().places(); ++place) {
        const PortGroup &group = igmp.groups().at(place);
        if (group.used && (port == kAnyPort || group.key.port == port))
            groups.push_back(&group);
    }
    std::sort(groups.begin(), groups.end(), [](const PortGroup *a, const PortGroup *b) { return a->key < b->key; });
    return groups;
}

} // namespace

int32_t gather_groups(const Context &context, const Half &igmp, uint32_t port, uint32_t length, void *buffer)
{
    if (!buffer || length < sizeof(uint32_t))
        return 0;
    const std::vector<const PortGroup *> groups = sorted_groups(igmp, port);
    const std::size_t room = (length - sizeof(uint32_t)) / MC_ENGINE_GROUP_BYTES;
    const auto count = static_cast<uint32_t>(std::min({groups.size(), room, std::size_t{MC_STATUS_GROUPS}}));
    auto *p = static_cast<uint8_t *>(buffer);
    std::memcpy(p, &count, sizeof count);
    p += sizeof count;
    for (uint32_t i = 0; i < count; ++i, p += MC_ENGINE_GROUP_BYTES)
        pack(record_of(*groups[i], context.now()), p);
    return static_cast<int32_t>(sizeof count + count * MC_ENGINE_GROUP_BYTES);
}

InterfaceCounters interface_counters(const Context &context, const Half &igmp, uint32_t port)
{
    const PortSettings &settings = context.ports[port];
    InterfaceCounters counters;
    counters.bandwidth = static_cast<uint32_t>(settings.bandwidth_all);
    counters.joins = settings.joins;
    counters.bandwidth_exceeded = settings.bandwidth_exceeded;
    counters.groups = static_cast<uint32_t>(sorted_groups(igmp, port).size());
    return counters;
}

void fill_status(const Context &context, const Half &igmp, grp_info &status)
{
    constexpr uint32_t kLogicPorts[MC_LOGIC_PORTS] = {0, kUplinkPort};
    constexpr uint32_t kFastLeaveOff = 1, kFastLeaveOn = 2;
    const std::vector<const PortGroup *> groups = sorted_groups(igmp, kAnyPort);
    status.std_cnt = static_cast<uint32_t>(std::min(groups.size(), std::size_t{MC_STATUS_GROUPS}));
    for (uint32_t i = 0; i < status.std_cnt; ++i)
        status.group[i] = record_of(*groups[i], context.now());
    for (std::size_t logic = 0; logic < MC_LOGIC_PORTS; ++logic) {
        const InterfaceCounters counters = interface_counters(context, igmp, kLogicPorts[logic]);
        status.interfaceStatus[logic] = {
            {counters.bandwidth, counters.joins, counters.bandwidth_exceeded, counters.groups}};
        status.statusGroupLimit[logic] = context.ports[kLogicPorts[logic]].group_limit;
    }
    status.oamFastLeave = context.ports[0].fast_leave ? kFastLeaveOn : kFastLeaveOff;
    status.statusMode = static_cast<uint32_t>(igmp.mode());
}

bool SharedStatus::attach()
{
    if (status_)
        return true;
    const int id = shmget(kSegmentKey, sizeof(grp_info), IPC_CREAT | 0600);
    if (id == -1)
        return false;
    void *address = shmat(id, nullptr, 0);
    if (address == reinterpret_cast<void *>(-1))
        return false;
    status_ = static_cast<grp_info *>(address);
    return true;
}

void SharedStatus::detach()
{
    if (status_)
        shmdt(status_);
    status_ = nullptr;
}

void SharedStatus::update(const Context &context, const Half &igmp) { fill_status(context, igmp, *status_); }

} // namespace mcadapt::host
