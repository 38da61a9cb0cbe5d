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
void pack(const grpRecord &record, uint8_t *packed)
{
    uint8_t *next = packed;
    const auto put = [&next](const auto &field) {
        std::memcpy(next, &field, sizeof field);
        next += sizeof field;
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

template <class T, class Value> void put_whole(T &field, Value value)
{
    __atomic_store_n(&field, static_cast<T>(value), __ATOMIC_RELAXED);
}

void put_whole(grpRecord &place, const grpRecord &record)
{
    put_whole(place.vlanId, record.vlanId);
    put_whole(place.infoB, record.infoB);
    put_whole(place.groupAddress, record.groupAddress);
    put_whole(place.infoD, record.infoD);
    put_whole(place.infoE, record.infoE);
    put_whole(place.infoF, record.infoF);
    put_whole(place.infoG, record.infoG);
    put_whole(place.userPort, record.userPort);
}

void put_whole(ifStatus &place, const InterfaceCounters &counters)
{
    put_whole(place.counter[0], counters.bandwidth);
    put_whole(place.counter[1], counters.joins);
    put_whole(place.counter[2], counters.bandwidth_exceeded);
    put_whole(place.counter[3], counters.groups);
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

// The count is written last, and kept here: what the segment holds may be anybody's.
void SharedStatus::update(const Context &context, const Half &igmp)
{
    constexpr uint32_t kLogicPorts[MC_LOGIC_PORTS] = {0, kUplinkPort};
    constexpr uint32_t kFastLeaveOff = 1, kFastLeaveOn = 2;
    const std::vector<const PortGroup *> groups = sorted_groups(igmp, kAnyPort);
    const std::size_t count = std::min(groups.size(), std::size_t{MC_STATUS_GROUPS});
    for (std::size_t i = 0; i < count; ++i)
        put_whole(status_->group[i], record_of(*groups[i], context.now()));
    put_whole(status_->std_cnt, static_cast<uint32_t>(count));
    for (std::size_t logic = 0; logic < MC_LOGIC_PORTS; ++logic) {
        const PortSettings &port = context.ports[kLogicPorts[logic]];
        put_whole(status_->interfaceStatus[logic], interface_counters(context, igmp, kLogicPorts[logic]));
        put_whole(status_->statusGroupLimit[logic], port.group_limit);
    }
    put_whole(status_->oamFastLeave, context.ports[0].fast_leave ? kFastLeaveOn : kFastLeaveOff);
    put_whole(status_->statusMode, static_cast<uint32_t>(igmp.mode()));
}

} // namespace mcadapt::host
