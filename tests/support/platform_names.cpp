#include "support/platform_names.h"

#include <algorithm>
#include <iterator>

namespace mcadapt::test {

namespace {

constexpr std::string_view kNames[] = {
    "L2_multicast_init",
    "L2_multicast_read_msg",
    "L2_multicast_remove_port_iptv_entry",
    "L2_multicast_send_msg",
    "L2_multicast_set_filter_method",
    "L2_multicast_set_port_iptv_entry",
    "add_to_auth_group_api",
    "auth_group_delete_all_api",
    "auth_group_delete_api",
    "get_mac_addr",
    "igmp_chile_grp_limit_func_set",
    "igmp_data_init",
    "igmp_default_vid_set",
    "igmp_del_all_group",
    "igmp_del_all_group_except_static_group",
    "igmp_fast_leave_enable_globle",
    "igmp_gather_grp_info",
    "igmp_globle_proxyip_set",
    "igmp_if_add_auth_group_cfg",
    "igmp_if_delete_auth_group_cfg",
    "igmp_if_delete_auth_group_cfg_all",
    "igmp_if_fast_leave_enable",
    "igmp_if_gather_if_status",
    "igmp_if_grp_range_auth_enable",
    "igmp_if_max_bandwidth_set",
    "igmp_if_max_group_num_set",
    "igmp_if_static_group_source_add",
    "igmp_if_static_group_source_del",
    "igmp_mode_switch_globle",
    "igmp_oam_control_2",
    "igmp_para_globle_set",
    "igmp_para_lmqc_globle_set",
    "igmp_para_lmqi_globle_set",
    "igmp_para_qi_globle_set",
    "igmp_para_qri_globle_set",
    "igmp_para_rv_globle_set",
    "igmp_pkt_recv",
    "igmp_port_add_all_vlan",
    "igmp_register_switch_add_table",
    "igmp_register_switch_del_table",
    "igmp_register_switch_send_pkt",
    "igmp_set_multicast_control",
    "igmp_ssm_ip_globle_set",
    "igmp_ssm_map_change",
    "igmp_task_init",
    "igmp_time_now",
    "igmp_version_globle_set",
    "igmp_vlan_add",
    "igmp_vlan_del",
    "igmp_vlan_del_all",
    "igmp_vlan_learning_set",
    "l2_multicast_set_flood",
    "l2_multicast_set_trap",
    "mld_api_set_default_vlan",
    "mld_data_init",
    "mld_pack_set_mc_vlan",
    "mld_pkt_recv",
    "mld_port_conf_set",
    "mld_proxy_snoop_set_globle",
    "mld_register_switch_add_table",
    "mld_register_switch_del_table",
    "mld_register_switch_send_pkt",
    "mld_task_init",
    "pal_task_create",
    "shmat",
    "shmget",
    "sleep",
    "vx_hal_nni_upmode_get",
    "vx_ploam_onuid_get",
};

} // namespace

bool is_platform_call(std::string_view name)
{
    return std::find(std::begin(kNames), std::end(kNames), name) != std::end(kNames);
}

} // namespace mcadapt::test
