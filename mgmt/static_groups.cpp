/**
 * @file
 * Static groups: joined in the engine and recorded in `g_static_list`, so that they can be taken back.
 */
#include "core/counts.h"
#include "core/log.h"
#include "core/ports.h"
#include "core/start_state.h"
#include "mcadapt/omci.h"
#include "mgmt/group_ranges.h"
#include "platform/protocol_engine.h"

namespace mcadapt {

// The agents' address buffers: the group is their last octet.
static constexpr int kGroupOffset = 13;

/** The static groups of one port. intended: indexed by the port number itself, not by its logic port */
struct StaticList {
    staticGroupEntry *entries;
    MC_SHARED(int32_t) *count;

    // intended: only the first `count` entries are searched, although entries in use may lie behind a hole
    int32_t searched() const { return count == nullptr ? 0 : entries_to_walk(*count, MC_STATIC_GROUPS_PER_PORT); }
};

/** A run of groups, wider than the octets that it comes from, so that one up to 255 ends. */
struct GroupRange {
    uint32_t first;
    uint32_t last;
};

// Checks the port before the buffers are read, and the range behind it.
static bool take_range(uint32_t port, const uint8_t *startBuf, const uint8_t *endBuf, uint16_t vlan, GroupRange &range)
{
    if (check_management_port(port) == kNoLogicPort)
        return false;
    range = {startBuf[kGroupOffset], endBuf[kGroupOffset]};
    return check_range(range.first, range.last, vlan);
}

// A port beyond the table has a list without places.
static StaticList static_list(uint32_t port)
{
    if (port >= MC_LOGIC_PORTS)
        return {nullptr, nullptr};
    return {g_static_list[port], &g_static_grp_num[port]};
}

// intended: the place at the count is taken even if an entry behind a hole is in use there
static void record_group(const StaticList &list, uint16_t vlan, uint32_t group)
{
    const int32_t place = list.count == nullptr ? MC_STATIC_GROUPS_PER_PORT : +*list.count;
    if (is_full(place, MC_STATIC_GROUPS_PER_PORT)) {
        LOG_ERROR(Igmp, "\n ERROR!igmp_if_static_group_source_add full!");
        return;
    }
    list.entries[place].vlan = vlan;
    list.entries[place].addr = group;
    ++*list.count;
}

// Leaves a group in the engine and, when that agrees, frees its entry in place. @return The engine's status.
static int32_t leave_group(const StaticList &list, staticGroupEntry &entry, uint32_t port, uint16_t vlan,
                           uint32_t group)
{
    const int32_t status = byte_status(igmp_if_static_group_source_del(port, vlan, group, 0, 1));
    if (status != 0) {
        LOG_ERROR(Igmp, "\n ERROR!igmp_if_static_group_source_del Fail");
        return status;
    }
    free_static_group(entry);
    --*list.count;
    return status;
}

} // namespace mcadapt

using namespace mcadapt;

int32_t omci_add_static_multi_acess_ctrl_table(uint32_t port, const uint8_t *startBuf, const uint8_t *endBuf, uint32_t,
                                               uint16_t vlan)
{
    GroupRange range;
    if (!take_range(port, startBuf, endBuf, vlan, range))
        return -1;

    const StaticList list = static_list(port);
    int32_t status = 0;
    for (uint32_t group = range.first; group <= range.last; ++group) {
        status = byte_status(igmp_if_static_group_source_add(port, vlan, group, 0, 1));
        if (status != 0)
            LOG_ERROR(Igmp, "\n ERROR!igmp_if_static_group_source_add Fail");
        record_group(list, vlan, group); // intended: whatever the engine answered
    }
    return status;
}

int32_t omci_del_static_multi_acess_ctrl_table(uint32_t port, const uint8_t *startBuf, const uint8_t *endBuf, uint32_t,
                                               uint16_t vlan)
{
    GroupRange range;
    if (!take_range(port, startBuf, endBuf, vlan, range))
        return -1;

    const StaticList list = static_list(port);
    const int32_t searched = list.searched();
    int32_t status = 0;
    for (uint32_t group = range.first; group <= range.last; ++group) {
        for (int32_t i = 0; i < searched; ++i) {
            staticGroupEntry &entry = list.entries[i];
            if (entry.addr == group) // intended: the VLAN is not compared
                status = leave_group(list, entry, port, vlan, group);
            else // intended: one line for every other entry
                LOG_ERROR(Igmp, "\n ERROR!igmp_if_static_group_source_del can not found!%x", group);
        }
    }
    return status;
}

int32_t omci_clear_all_static_multi_acess_ctrl_table(uint32_t port)
{
    if (check_management_port(port) == kNoLogicPort)
        return -1;
    const StaticList list = static_list(port);
    const int32_t searched = list.searched();
    int32_t status = 0;
    for (int32_t i = 0; i < searched; ++i) {
        staticGroupEntry &entry = list.entries[i];
        if (entry.addr != kFreeStaticGroup.addr)
            status = leave_group(list, entry, port, entry.vlan, entry.addr);
    }
    if (list.count != nullptr && *list.count != 0) {
        LOG_ERROR(Igmp, "\n g_static_grp_num[portNo] = %d", +*list.count);
        LOG_ERROR(Igmp, "\n g_static_list[portNo][0] = %d", +list.entries[0].vlan);
        LOG_ERROR(Igmp, "\n ERROR!onu_std_clear_all_static_multi_acess_ctrl_table port[%d] Fail", port);
    }
    return status;
}
