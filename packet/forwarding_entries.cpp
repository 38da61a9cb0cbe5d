/**
 * @file
 * Forwarding entries: the engine's groups become multicast MAC addresses in the switch.
 */
#include <cstddef>

#include "core/families.h"
#include "core/log.h"
#include "mcadapt/engine_callbacks.h"
#include "platform/switch_driver.h"

namespace mcadapt {

static_assert(offsetof(mcGroupRecord, ipv4Group) == 4 && offsetof(mcGroupRecord, ipv6GroupTail) == 20);
static_assert(offsetof(mcGroupRecord, vlan) == 52 && offsetof(mcGroupRecord, port) == 54);

struct MacAddress {
    uint8_t byte[6];
};

// 01:00:5E and the low 23 bits of the group address.
static MacAddress igmp_group_mac(const mcGroupRecord &group)
{
    const uint32_t address = group.ipv4Group;
    return {{0x01, 0x00, 0x5E, static_cast<uint8_t>((address >> 16) & 0x7F), static_cast<uint8_t>(address >> 8),
             static_cast<uint8_t>(address)}};
}

// 33:33 and the low 32 bits of the group address.
static MacAddress mld_group_mac(const mcGroupRecord &group)
{
    const uint8_t(&tail)[4] = group.ipv6GroupTail;
    return {{0x33, 0x33, tail[0], tail[1], tail[2], tail[3]}};
}

template <class F> static void trace_mac(const MacAddress &mac)
{
    LOG_TRACE(F, "gmac address   : %.2x:%.2x:%.2x:%.2x:%.2x:%.2x", mac.byte[0], mac.byte[1], mac.byte[2], mac.byte[3],
              mac.byte[4], mac.byte[5]);
}

// The engine's 16-bit port, sign-extended as the driver takes it.
static int32_t driver_port(const mcGroupRecord &group) { return static_cast<int16_t>(group.port); }

template <class F> static int32_t set_entry(const mcGroupRecord &group, const MacAddress &mac)
{
    const int32_t ret = L2_multicast_set_port_iptv_entry(driver_port(group), mac.byte, group.vlan);
    if (ret != 0)
        LOG_ERROR(F, "\n ERROR!L2_multicast_set_port_iptv_entry Fail %d", ret);
    return ret;
}

template <class F> static int32_t remove_entry(const mcGroupRecord &group, const MacAddress &mac)
{
    const int32_t ret = L2_multicast_remove_port_iptv_entry(driver_port(group), mac.byte, group.vlan);
    if (ret != 0)
        LOG_ERROR(F, "\n ERROR!L2_multicast_remove_port_iptv_entry Fail %d", ret);
    return ret;
}

} // namespace mcadapt

using namespace mcadapt;

int32_t igmp_add_grp(const mcGroupRecord *group)
{
    const MacAddress mac = igmp_group_mac(*group);
    trace_mac<Igmp>(mac);
    LOG_TRACE(Igmp, "igmp_add_grp portNo = %d vlan = %d\r\n", driver_port(*group), group->vlan);
    if (set_entry<Igmp>(*group, mac) == 0)
        return 0;
    // intended: the engine is told what tablereturn says, not what the driver answered
    const int32_t ret = igmp_set_table_return(tablereturn);
    LOG_CONFIG(Igmp, "\n ERROR!tablereturn %d", ret);
    return ret;
}

int32_t igmp_del_grp(const mcGroupRecord *group)
{
    const MacAddress mac = igmp_group_mac(*group);
    trace_mac<Igmp>(mac);
    // intended: a configuration line, where the other three callbacks trace
    LOG_CONFIG(Igmp, "igmp_del_grp portNo = %d vlan = %d\r\n", driver_port(*group), group->vlan);
    return remove_entry<Igmp>(*group, mac);
}

int32_t mld_add_grp(const mcGroupRecord *group)
{
    const MacAddress mac = mld_group_mac(*group);
    trace_mac<Mld>(mac);
    LOG_TRACE(Mld, "mld_add_grp portNo = %d vlan = %d\r\n", driver_port(*group), group->vlan);
    return set_entry<Mld>(*group, mac);
}

int32_t mld_del_grp(const mcGroupRecord *group)
{
    const MacAddress mac = mld_group_mac(*group);
    trace_mac<Mld>(mac);
    LOG_TRACE(Mld, "mld_del_grp portNo = %d vlan = %d\r\n", driver_port(*group), group->vlan);
    return remove_entry<Mld>(*group, mac);
}
