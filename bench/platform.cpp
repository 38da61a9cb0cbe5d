/**
 * @file
 * A platform that does nothing but count the frames sent, so that only the library is measured.
 */
#include "platform.h"

#include "platform/protocol_engine.h"
#include "platform/switch_driver.h"
#include "platform/unit_services.h"

#define DOES_NOTHING(call, ...)                                                                                        \
    int32_t call(__VA_ARGS__) { return 0; }

namespace mcadapt::bench {
uint32_t uplink_mode = 0;
uint32_t frames_sent = 0;
} // namespace mcadapt::bench

int32_t vx_hal_nni_upmode_get(uint32_t *upMode)
{
    *upMode = mcadapt::bench::uplink_mode;
    return 0;
}

int32_t vx_ploam_onuid_get(uint8_t *onuId)
{
    *onuId = 7;
    return 0;
}

int32_t L2_multicast_send_msg(const uint8_t *, uint32_t, uint32_t, uint32_t, uint32_t)
{
    ++mcadapt::bench::frames_sent;
    return 0;
}

DOES_NOTHING(pal_task_create, uint32_t *, const char *, int32_t, uint32_t, uint32_t, palTaskEntry)
DOES_NOTHING(get_mac_addr, const char *, uint8_t *, uint32_t)

DOES_NOTHING(L2_multicast_init, void)
DOES_NOTHING(L2_multicast_set_filter_method, uint32_t)
DOES_NOTHING(L2_multicast_read_msg, uint8_t *, uint8_t *, uint32_t *)
DOES_NOTHING(L2_multicast_set_port_iptv_entry, int32_t, const uint8_t *, uint32_t)
DOES_NOTHING(L2_multicast_remove_port_iptv_entry, int32_t, const uint8_t *, uint32_t)
DOES_NOTHING(l2_multicast_set_trap, uint32_t, uint32_t)
DOES_NOTHING(l2_multicast_set_flood, uint32_t, uint32_t)

DOES_NOTHING(igmp_data_init, void)
DOES_NOTHING(mld_data_init, void)
DOES_NOTHING(igmp_task_init, int32_t, int32_t)
DOES_NOTHING(mld_task_init, int32_t)
DOES_NOTHING(igmp_vlan_del_all, void)
DOES_NOTHING(igmp_register_switch_send_pkt, mcSendPacketCallback)
DOES_NOTHING(igmp_register_switch_add_table, mcForwardingCallback)
DOES_NOTHING(igmp_register_switch_del_table, mcForwardingCallback)
DOES_NOTHING(igmp_port_add_all_vlan, uint32_t)
DOES_NOTHING(mld_register_switch_send_pkt, mcSendPacketCallback)
DOES_NOTHING(mld_register_switch_add_table, mcForwardingCallback)
DOES_NOTHING(mld_register_switch_del_table, mcForwardingCallback)
DOES_NOTHING(mld_port_conf_set, uint32_t)
DOES_NOTHING(mld_proxy_snoop_set_globle, uint32_t)
DOES_NOTHING(igmp_globle_proxyip_set, uint32_t)
DOES_NOTHING(igmp_time_now, void *)
DOES_NOTHING(igmp_pkt_recv, const uint8_t *, uint32_t, uint32_t, uint32_t, uint32_t)
DOES_NOTHING(mld_pkt_recv, const uint8_t *, uint32_t, uint32_t, uint32_t, uint16_t *)
DOES_NOTHING(igmp_mode_switch_globle, uint32_t)
DOES_NOTHING(igmp_default_vid_set, uint32_t)
DOES_NOTHING(mld_api_set_default_vlan, uint32_t)
DOES_NOTHING(igmp_para_globle_set, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t)
DOES_NOTHING(igmp_para_lmqc_globle_set, uint32_t)
DOES_NOTHING(igmp_para_lmqi_globle_set, uint32_t)
DOES_NOTHING(igmp_para_qri_globle_set, uint32_t)
DOES_NOTHING(igmp_para_qi_globle_set, uint32_t)
DOES_NOTHING(igmp_para_rv_globle_set, uint32_t)
DOES_NOTHING(igmp_version_globle_set, uint32_t)
DOES_NOTHING(igmp_ssm_ip_globle_set, uint32_t, uint32_t)
DOES_NOTHING(igmp_ssm_map_change, const uint32_t *)
DOES_NOTHING(igmp_fast_leave_enable_globle, uint32_t)
DOES_NOTHING(igmp_vlan_learning_set, uint32_t)
DOES_NOTHING(igmp_vlan_add, uint32_t)
DOES_NOTHING(igmp_vlan_del, uint32_t)
DOES_NOTHING(mld_pack_set_mc_vlan, uint32_t, uint32_t)
DOES_NOTHING(igmp_if_max_group_num_set, uint32_t, int32_t)
DOES_NOTHING(igmp_if_fast_leave_enable, uint32_t, uint32_t)
DOES_NOTHING(igmp_if_max_bandwidth_set, uint32_t, uint32_t, uint32_t, uint32_t)
DOES_NOTHING(igmp_set_multicast_control, uint32_t, uint32_t, uint32_t, uint32_t)
DOES_NOTHING(igmp_oam_control_2, uint32_t, uint32_t, uint32_t, const uint8_t *)
DOES_NOTHING(igmp_chile_grp_limit_func_set, uint32_t)
DOES_NOTHING(igmp_if_add_auth_group_cfg, uint32_t, uintptr_t, uintptr_t, uint32_t, uint32_t)
DOES_NOTHING(igmp_if_delete_auth_group_cfg, uint32_t, uintptr_t, uintptr_t, uint32_t, uint32_t)
DOES_NOTHING(igmp_if_delete_auth_group_cfg_all, uint32_t, uint32_t)
DOES_NOTHING(igmp_if_grp_range_auth_enable, uint32_t, uint32_t)
DOES_NOTHING(add_to_auth_group_api, uint32_t, uint32_t)
DOES_NOTHING(auth_group_delete_api, uint32_t, uint32_t)
DOES_NOTHING(auth_group_delete_all_api, void)
DOES_NOTHING(igmp_del_all_group, void)
DOES_NOTHING(igmp_del_all_group_except_static_group, void)
DOES_NOTHING(igmp_if_static_group_source_add, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t)
DOES_NOTHING(igmp_if_static_group_source_del, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t)
DOES_NOTHING(igmp_gather_grp_info, uint32_t, uint32_t, void *)
DOES_NOTHING(igmp_if_gather_if_status, uint32_t, uint32_t, void *)
