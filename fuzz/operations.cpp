#include "fuzz/operations.h"

#include <tuple>
#include <type_traits>

#include "fuzz/operation_calls.h"

namespace mcadapt::fuzz {

namespace {

template <class T> T take(Input &input)
{
    static_assert(std::is_integral_v<T>);
    return static_cast<T>(input.number());
}

/** Calls an operation whose arguments are numbers. */
template <class Result, class... Arguments> void call(Input &input, Result (*operation)(Arguments...))
{
    const std::tuple<Arguments...> arguments{take<Arguments>(input)...}; // braces: from the left to the right
    if constexpr (std::is_void_v<Result>)
        std::apply(operation, arguments);
    else
        platform().digest().number(static_cast<uint64_t>(std::apply(operation, arguments)));
}

// --- What operations do not promise

/** The parameters start anew with an empty mirror of the template list; the list stays. */
void waive_igmp_lists(Trust &trust) { trust.lists = trust.unique = false; }
/** The pages may list a VLAN twice. */
void waive_uniqueness(Trust &trust) { trust.unique = false; }
/** Any table at all takes the place of the MLD rules. */
void waive_mld_rules(Trust &trust) { trust.mld_counts = trust.mld_rows = false; }

#define NUMBERS(name)                                                                                                  \
    {                                                                                                                  \
#name, [](Input & input) { call(input, name); }, nullptr                                                       \
    }
#define NUMBERS_WAIVING(name, waive)                                                                                   \
    {                                                                                                                  \
#name, [](Input & input) { call(input, name); }, waive                                                         \
    }
#define WITH(helper, name)                                                                                             \
    {                                                                                                                  \
#name, [](Input & input) { helper(input, name); }, nullptr                                                     \
    }
#define WITH_WAIVING(helper, name, waive)                                                                              \
    {                                                                                                                  \
#name, [](Input & input) { helper(input, name); }, waive                                                       \
    }
#define BY(helper, name)                                                                                               \
    {                                                                                                                  \
#name, helper, nullptr                                                                                         \
    }

} // namespace

// clang-format off: a row each
const Operation operations[kOperations] = {
    // Start-up
    NUMBERS(mc_igmp_init),
    NUMBERS(mc_mld_init),
    NUMBERS(adapt_init),
    NUMBERS(igmp_adapt_init),
    NUMBERS(igmp_adapt_port_conf_set),
    NUMBERS(mld_adapt_init),
    NUMBERS(mld_adapt_port_conf_set),
    NUMBERS_WAIVING(initIgmpGlobleParmeter, waive_igmp_lists),
    NUMBERS(initmldGlobleParmeter),
    NUMBERS(mldinitPortStateNode),
    NUMBERS(mldinitVlancfgNode),
    NUMBERS(igmp_adapt_task_init),

    // Packet path and callbacks
    BY(run_receive_task, igmp_adapt_pkt_recv_task),
    WITH(intake, igmpL2PktProc),
    WITH(intake, mldL2PktProc),
    WITH(handler, igmp_adapt_snoop_handle),
    WITH(handler, mld_adapt_snoop_handle),
    WITH(handler, igmp_adapt_control_handle),
    WITH(handler, mld_adapt_control_handle),
    WITH(send_frame, l2_igmp_send_pkt),
    WITH(send_frame, mld_l2_igmp_send_pkt),
    {"send_pkt_igmp", [](Input &input) { send_packet(input, send_pkt_igmp, 20); }, nullptr},
    {"send_pkt_mld", [](Input &input) { send_packet(input, send_pkt_mld, 40); }, nullptr},
    WITH(forwarding_entry, igmp_add_grp),
    WITH(forwarding_entry, igmp_del_grp),
    WITH(forwarding_entry, mld_add_grp),
    WITH(forwarding_entry, mld_del_grp),
    NUMBERS(igmp_set_table_return),
    NUMBERS(igmp_adapt_set_test_uplink),
    NUMBERS(igmp_adapt_set_sig_vlan),
    NUMBERS(igmp_adapt_set_pkt_process_disable),

    // Rules, template lists, default VLAN, reset
    WITH(install_or_remove, std_omci_set_multicast_vlan_onu),
    WITH(install_or_remove, mld_onu_std_omci_set_multicast_vlan),
    WITH(install_or_remove, std_omci_delete_multicast_vlan_onu),
    WITH(install_or_remove, mld_onu_std_omci_delete_multicast_vlan),
    WITH_WAIVING(install_or_remove, std_omci_web_set_vlan, waive_uniqueness),
    NUMBERS(igmp_port_vlan_and_mode_set),
    NUMBERS(igmp_service_remove_port_config),
    WITH(compact_rules, sortPortVlanCfg),
    WITH_WAIVING(compact_rules, mldsortPortVlanCfg, waive_mld_rules),
    WITH(compact_list, sortMcVlan),
    WITH(compact_list, sortmldVlan),
    BY(is_vlan_used, IsSameVlanExist),
    NUMBERS(omci_set_igmp_default_vlan),
    NUMBERS(omci_set_port_up_igmp_vlan),
    NUMBERS(omci_set_multicast_vlan),
    NUMBERS(omci_get_voip_igmp_vid),
    NUMBERS(omci_set_igmp_vid),
    NUMBERS(omci_set_igmp_age_time),
    NUMBERS(omci_clear_igmp_all_parmeter),
    NUMBERS(omci_clear_igmp_parmeter),

    // Mode and global parameters
    NUMBERS(omci_set_multicast_mode),
    NUMBERS(std_omci_set_multicast_mode),
    NUMBERS(flood_trap),
    WITH(get_byte, omci_get_multicast_mode),
    NUMBERS(omci_set_igmp_global_parmeter),
    NUMBERS(mld_omci_set_igmp_global_parmeter),
    NUMBERS(omci_set_para_lmqc_globle),
    NUMBERS(omci_set_para_lmqi_globle),
    NUMBERS(omci_set_para_qri_globle),
    NUMBERS(omci_set_para_qi_globle),
    NUMBERS(omci_set_para_rv_globle),
    NUMBERS(omci_igmp_version_globle_set),
    NUMBERS(omci_igmp_ssm_ip_globle_set),
    BY(set_ssm_map, omci_igmp_ssm_map_globle_set),
    NUMBERS(omci_set_igmp_leave_mode),
    NUMBERS(omci_set_igmp_dynamic_enable),
    NUMBERS(setIgmpAgeEnable),

    // Ports
    NUMBERS(omci_set_port_igmpgroup_limit),
    NUMBERS(std_omci_set_port_igmpgroup_limit),
    BY(get_group_limit, omci_get_port_igmpgroup_limit),
    NUMBERS(omci_set_port_igmp_leave_mode),
    NUMBERS(std_max_multi_bandwidth_limit),
    BY(set_channels, omci_set_port_to_control_multicast_list_table),

    // Authorised and static groups
    BY(set_white_list, omci_set_multi_white_list_entry),
    NUMBERS(omci_delete_multi_white_list),
    NUMBERS(omci_add_auth_igmp_group_vlan_config),
    NUMBERS(omci_delete_auth_igmp_group_vlan_config),
    NUMBERS(omci_clear_all_auth_igmp_group_vlan_config),
    NUMBERS(onu_omci_add_auth_igmp_group_vlan_config),
    NUMBERS(std_omci_add_port_auth_igmp_group_vlan_config),
    NUMBERS(std_omci_delete_port_auth_igmp_group_vlan_config),
    NUMBERS(std_omci_clear_port_all_auth_igmp_group_vlan_config),
    WITH(static_groups, omci_add_static_multi_acess_ctrl_table),
    WITH(static_groups, omci_del_static_multi_acess_ctrl_table),
    NUMBERS(omci_clear_all_static_multi_acess_ctrl_table),

    // OAM
    NUMBERS(mc_oam_set_onu_fast_leave),
    WITH(get_number, mc_oam_get_onu_fast_leave_ability),
    WITH(get_number, mc_oam_get_onu_fast_leave_state),
    BY(set_oam_control, mc_oam_set_multicast_control),
    BY(get_oam_control, mc_oam_get_multicast_control),

    // Status
    NUMBERS(igmp_hal_sync_grp_infor),
    NUMBERS(igmp_hal_sync_if_status),
    {"omci_get_multicast_ip_port", [](Input &input) { list_groups(input, omci_get_multicast_ip_port, 8); }, nullptr},
    {"std_omci_get_multicast_ip_port", [](Input &input) { list_groups(input, std_omci_get_multicast_ip_port, 28); },
     nullptr},
    BY(get_status_para, GetIgmpStatusPara),
    BY(get_counters, std_omci_get_port_igmp_count),

    // Diagnostics
    NUMBERS(mc_set_debug),
    NUMBERS(mld_adapt_set_debug),
    NUMBERS(debugPrint),
    NUMBERS(mldPrint),
    BY(get_records, getIgmpGlobleParmeter),
    BY(get_records, getPortVlanConfigNumber),
    NUMBERS(getTemplateVlanNumber),
    NUMBERS(getmldTemplateVlanNumber),
    BY(get_records, mldgetPortVlanConfigNumber),
};
// clang-format on

} // namespace mcadapt::fuzz
