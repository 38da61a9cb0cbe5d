/**
 * The part of platform/protocol_engine.h that limits what hosts may join, adds static groups, and gives the network's
 * side control of the channels. This engine has none of it and says so; start-up needs none of it.
 */
#include <inttypes.h>
#include <stdio.h>

#include "platform/protocol_engine.h"

#define NOT_SUPPORTED(...) (printf("  engine: " __VA_ARGS__), printf("\n    not part of this engine\n"), -1)

int32_t igmp_if_max_group_num_set(uint32_t port, int32_t limit)
{
    return NOT_SUPPORTED("igmp_if_max_group_num_set(%" PRIu32 ", %" PRId32 ")", port, limit);
}

int32_t igmp_if_max_bandwidth_set(uint32_t port, uint32_t enable, uint32_t maxBandwidth, uint32_t vlan)
{
    return NOT_SUPPORTED("igmp_if_max_bandwidth_set(%" PRIu32 ", %" PRIu32 ", %" PRIu32 ", %" PRIu32 ")", port, enable,
                         maxBandwidth, vlan);
}

int32_t igmp_set_multicast_control(uint32_t port, uint32_t kind, uint32_t vlan, uint32_t index)
{
    return NOT_SUPPORTED("igmp_set_multicast_control(%" PRIu32 ", %" PRIu32 ", %" PRIu32 ", %" PRIu32 ")", port, kind,
                         vlan, index);
}

int32_t igmp_oam_control_2(uint32_t action, uint32_t port, uint32_t vlan, const uint8_t *address)
{
    return NOT_SUPPORTED("igmp_oam_control_2(%" PRIu32 ", %" PRIu32 ", %" PRIu32 ", %02x:...)", action, port, vlan,
                         address[0]);
}

int32_t igmp_chile_grp_limit_func_set(uint32_t enable)
{
    return NOT_SUPPORTED("igmp_chile_grp_limit_func_set(%" PRIu32 ")", enable);
}

/* `start` and `end` are addresses of a group for the whole unit and group values per port: hence their type. */
int32_t igmp_if_add_auth_group_cfg(uint32_t port, uintptr_t start, uintptr_t end, uint32_t arg4, uint32_t vlan)
{
    return NOT_SUPPORTED("igmp_if_add_auth_group_cfg(%" PRIu32 ", 0x%" PRIxPTR ", 0x%" PRIxPTR ", %" PRIu32 ", %" PRIu32
                         ")",
                         port, start, end, arg4, vlan);
}

int32_t igmp_if_delete_auth_group_cfg(uint32_t port, uintptr_t start, uintptr_t end, uint32_t arg4, uint32_t vlan)
{
    return NOT_SUPPORTED("igmp_if_delete_auth_group_cfg(%" PRIu32 ", 0x%" PRIxPTR ", 0x%" PRIxPTR ", %" PRIu32
                         ", %" PRIu32 ")",
                         port, start, end, arg4, vlan);
}

int32_t igmp_if_delete_auth_group_cfg_all(uint32_t port, uint32_t vlan)
{
    return NOT_SUPPORTED("igmp_if_delete_auth_group_cfg_all(%" PRIu32 ", %" PRIu32 ")", port, vlan);
}

int32_t igmp_if_grp_range_auth_enable(uint32_t port, uint32_t enable)
{
    return NOT_SUPPORTED("igmp_if_grp_range_auth_enable(%" PRIu32 ", %" PRIu32 ")", port, enable);
}

int32_t add_to_auth_group_api(uint32_t group, uint32_t vlan)
{
    return NOT_SUPPORTED("add_to_auth_group_api(%" PRIu32 ", %" PRIu32 ")", group, vlan);
}

int32_t auth_group_delete_api(uint32_t group, uint32_t vlan)
{
    return NOT_SUPPORTED("auth_group_delete_api(%" PRIu32 ", %" PRIu32 ")", group, vlan);
}

int32_t auth_group_delete_all_api(void) { return NOT_SUPPORTED("auth_group_delete_all_api()"); }

int32_t igmp_if_static_group_source_add(uint32_t port, uint32_t vlan, uint32_t group, uint32_t arg4, uint32_t arg5)
{
    return NOT_SUPPORTED("igmp_if_static_group_source_add(%" PRIu32 ", %" PRIu32 ", %" PRIu32 ", %" PRIu32 ", %" PRIu32
                         ")",
                         port, vlan, group, arg4, arg5);
}

int32_t igmp_if_static_group_source_del(uint32_t port, uint32_t vlan, uint32_t group, uint32_t arg4, uint32_t arg5)
{
    return NOT_SUPPORTED("igmp_if_static_group_source_del(%" PRIu32 ", %" PRIu32 ", %" PRIu32 ", %" PRIu32 ", %" PRIu32
                         ")",
                         port, vlan, group, arg4, arg5);
}
