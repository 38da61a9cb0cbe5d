/**
 * @file
 * The calls behind the management operations, on the thread of an agent.
 */
#include <cstring>
#include <initializer_list>

#include "portcheck/lent_memory.h"
#include "portcheck/packets.h"
#include "portcheck/report.h"
#include "portcheck/steps.h"
#include "portcheck/watch.h"

namespace mcadapt::portcheck {

namespace {

constexpr uint32_t kStartVlan = 4088;
constexpr uint32_t kNoRuleVlan = 4095; // what a port without rules gives up for the web pages
constexpr uint32_t kAnyVlan = 65535;
constexpr int32_t kNoGroupLimit = 1024;
constexpr uint32_t kStaticGroup = 7;             // the last octet, as the agents give it
constexpr uint32_t kEngineWildcard = 0xFFFFFFFF; // the uplink, as it reaches the driver

void set_parameters()
{
    CALL_JUDGED(igmp_default_vid_set)(kStartVlan);
    CALL_JUDGED(mld_api_set_default_vlan)(kStartVlan);
    CALL_JUDGED(igmp_para_lmqc_globle_set)(2u);
    CALL_JUDGED(igmp_para_lmqi_globle_set)(1u);
    CALL_JUDGED(igmp_para_qri_globle_set)(10u);
    CALL_JUDGED(igmp_para_qi_globle_set)(125u);
    CALL_JUDGED(igmp_para_rv_globle_set)(2u);
    CALL_JUDGED(igmp_version_globle_set)(3u);
    CALL_JUDGED(igmp_ssm_ip_globle_set)(0xE8000000u, 0xFF000000u);
    static constexpr uint32_t kWords[5] = {0xE8010203, 0xFFFFFFFF, 0x0A000001, 0, 1};
    LentInput words(Call::igmp_ssm_map_change, "words", kWords, sizeof(kWords));
    CALL_JUDGED(igmp_ssm_map_change)(static_cast<const uint32_t *>(words.memory()));
    words.take_back();
    CALL_JUDGED(igmp_vlan_learning_set)(1u);
    CALL_JUDGED(igmp_vlan_learning_set)(0u);
    judge_allowed(Call::igmp_mode_switch_globle, CALL(igmp_mode_switch_globle)(3u), "control mode");
    CALL_JUDGED(igmp_mode_switch_globle)(1u);
}

void set_port()
{
    CALL_JUDGED(igmp_if_max_group_num_set)(kUserPort, kNoGroupLimit);
    CALL_JUDGED(igmp_if_fast_leave_enable)(kUserPort, 1u);
    CALL_JUDGED(igmp_if_max_bandwidth_set)(kUserPort, 0u, 0u, kVlan);
    CALL_JUDGED(igmp_set_multicast_control)(kUserPort, 1u, kVlan, kStaticGroup);
    CALL_JUDGED(igmp_set_multicast_control)(kUserPort, 0u, kVlan, kStaticGroup);
    for (const uint32_t action : {1u, 0u}) {
        LentInput address(Call::igmp_oam_control_2, "address", kGroupMac, sizeof(kGroupMac));
        CALL_JUDGED(igmp_oam_control_2)(action, kUserPort, kVlan, address.bytes());
    }
}

void set_static_groups()
{
    CALL_JUDGED(igmp_if_static_group_source_add)(kUserPort, kVlan, kStaticGroup, 0u, 1u);
    CALL_JUDGED(igmp_del_all_group_except_static_group)();
    CALL_JUDGED(igmp_if_static_group_source_del)(kUserPort, kVlan, kStaticGroup, 0u, 1u);
}

uintptr_t word(const LentInput &memory) { return reinterpret_cast<uintptr_t>(memory.bytes()); }

// The white list is given by addresses of groups in network order, the ranges of a port by the groups themselves.
void set_authorised_groups()
{
    static constexpr uint8_t kFirst[4] = {239, 1, 2, 0};
    static constexpr uint8_t kLast[4] = {239, 1, 2, 255};
    CALL_JUDGED(igmp_chile_grp_limit_func_set)(1u);
    {
        LentInput first(Call::igmp_if_add_auth_group_cfg, "start", kFirst, sizeof(kFirst));
        LentInput last(Call::igmp_if_add_auth_group_cfg, "end", kLast, sizeof(kLast));
        CALL_JUDGED(igmp_if_add_auth_group_cfg)(0u, word(first), word(last), 0u, kAnyVlan);
    }
    CALL_JUDGED(igmp_chile_grp_limit_func_set)(0u);
    CALL_JUDGED(igmp_if_delete_auth_group_cfg_all)(0u, kAnyVlan);

    CALL_JUDGED(igmp_if_add_auth_group_cfg)(kUserPort, uintptr_t{kGroup}, uintptr_t{kGroup}, 0u, kVlan);
    CALL_JUDGED(igmp_if_delete_auth_group_cfg)(kUserPort, uintptr_t{kGroup}, uintptr_t{kGroup}, 0u, kVlan);
    CALL_JUDGED(igmp_if_delete_auth_group_cfg_all)(kUserPort, kVlan);
    CALL_JUDGED(igmp_if_grp_range_auth_enable)(kUserPort, 1u);

    CALL_JUDGED(add_to_auth_group_api)(kGroup, kVlan);
    CALL_JUDGED(auth_group_delete_api)(kGroup, kVlan);
    CALL_JUDGED(auth_group_delete_all_api)();
}

// The uplink's entries come with port -1; a driver may refuse them.
void set_uplink_entry()
{
    const auto port = static_cast<int32_t>(kEngineWildcard);
    LentInput set(Call::L2_multicast_set_port_iptv_entry, "mac", kGroupMac, sizeof(kGroupMac));
    const int32_t result = CALL(L2_multicast_set_port_iptv_entry)(port, set.bytes(), kVlan);
    set.take_back();
    if (result != 0)
        note("L2_multicast_set_port_iptv_entry returned %d for port -1, the uplink's wildcard: a refusal.", result);
    LentInput removed(Call::L2_multicast_remove_port_iptv_entry, "mac", kGroupMac, sizeof(kGroupMac));
    CALL(L2_multicast_remove_port_iptv_entry)(port, removed.bytes(), kVlan);
}

void set_flooding(uint32_t selector)
{
    judge_allowed(Call::l2_multicast_set_flood, CALL(l2_multicast_set_flood)(selector, 1u), "flooding in hardware");
}

void flood()
{
    CALL_JUDGED(l2_multicast_set_trap)(0u, 0u);
    set_flooding(0);
    set_flooding(1);
    CALL_JUDGED(l2_multicast_set_trap)(1u, 0u);
    CALL_JUDGED(l2_multicast_set_trap)(0u, 1u);
    CALL_JUDGED(l2_multicast_set_flood)(0u, 0u);
    CALL_JUDGED(l2_multicast_set_flood)(1u, 0u);
    CALL_JUDGED(l2_multicast_set_trap)(1u, 1u);
}

void forget_vlans()
{
    CALL_JUDGED(igmp_vlan_del)(kVlan);
    CALL(igmp_vlan_del)(kNoRuleVlan); // of nothing; its answer is only printed
    CALL_JUDGED(mld_pack_set_mc_vlan)(0u, kVlan);
}

void reset()
{
    CALL_JUDGED(igmp_vlan_del_all)();
    CALL(igmp_del_all_group)();
}

} // namespace

void manage()
{
    set_parameters();
    ask_uplink();
    set_port();
    set_static_groups();
    set_authorised_groups();
    set_uplink_entry();
    flood();
    forget_vlans();
    reset();
}

} // namespace mcadapt::portcheck
