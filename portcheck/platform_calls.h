/**
 * @file
 * The platform calls: what each changes, which results the library takes, and what follows from another.
 */
#ifndef MCADAPT_PORTCHECK_PLATFORM_CALLS_H
#define MCADAPT_PORTCHECK_PLATFORM_CALLS_H

#include <cstdint>

#include "platform/protocol_engine.h"
#include "platform/switch_driver.h"
#include "platform/unit_services.h"

namespace mcadapt::portcheck {

/** What the library makes of a result. */
enum class Result {
    kUnused, /**< Not looked at. */
    kWhole,  /**< 0 is success. */
    kByte,   /**< The low 8 bits 0 are success. */
    kOwn     /**< Judged where the call is made. */
};

/** Whether a unit works that always refuses the call. */
enum class Refusal { kAllowed, kFault };

// call, result, refusal, what it changes in the unit, what follows from a refusal
#define MC_PLATFORM_CALLS(X)                                                                                           \
    X(igmp_data_init, kUnused, kAllowed, "puts the IGMP engine into its start state", "")                              \
    X(mld_data_init, kUnused, kAllowed, "puts the MLD engine into its start state", "")                                \
    X(igmp_task_init, kUnused, kAllowed, "starts the tasks of the IGMP engine", "")                                    \
    X(mld_task_init, kUnused, kAllowed, "starts the tasks of the MLD engine", "")                                      \
    X(igmp_vlan_del_all, kByte, kFault, "forgets every multicast VLAN", "the VLANs of an earlier run stay")            \
    X(igmp_default_vid_set, kWhole, kFault, "sets the default VLAN",                                                   \
      "engine and library have different default VLANs")                                                               \
    X(igmp_para_globle_set, kWhole, kFault, "sets the timers", "engine and library have different timers")             \
    X(l2_multicast_set_trap, kWhole, kFault, "turns trapping on and off",                                              \
      "the sequence of trap and flood settings ends there")                                                            \
    X(l2_multicast_set_flood, kWhole, kFault, "turns flooding on and off",                                             \
      "the sequence of trap and flood settings ends there")                                                            \
    X(igmp_mode_switch_globle, kWhole, kFault, "changes the IGMP mode", "engine and library run in different modes")   \
    X(igmp_fast_leave_enable_globle, kByte, kFault, "turns fast leave on and off",                                     \
      "engine and library have different leave modes")                                                                 \
    X(igmp_vlan_learning_set, kByte, kFault, "turns VLAN learning on and off",                                         \
      "engine and library have different learning modes")                                                              \
    X(get_mac_addr, kWhole, kFault, nullptr,                                                                           \
      "the library prints an error and goes on with whatever the address then holds")                                  \
    X(igmp_register_switch_send_pkt, kByte, kFault, nullptr, "the library goes on, and the engine cannot send")        \
    X(igmp_register_switch_add_table, kByte, kFault, nullptr, "the library goes on, and no channel is forwarded")      \
    X(igmp_register_switch_del_table, kByte, kFault, nullptr, "the library goes on, and no channel is ever stopped")   \
    X(igmp_port_add_all_vlan, kByte, kFault, "declares the ports to the IGMP engine", "no further port is declared")   \
    X(mld_register_switch_send_pkt, kByte, kFault, nullptr, "the library goes on, and the engine cannot send")         \
    X(mld_register_switch_add_table, kByte, kFault, nullptr, "the library goes on, and no channel is forwarded")       \
    X(mld_register_switch_del_table, kByte, kFault, nullptr, "the library goes on, and no channel is ever stopped")    \
    X(mld_port_conf_set, kWhole, kFault, "declares the ports to the MLD engine", "no further port is declared")        \
    X(mld_proxy_snoop_set_globle, kWhole, kFault, "sets the MLD mode", "engine and library run in different modes")    \
    X(L2_multicast_init, kWhole, kFault, "opens the driver",                                                           \
      "start-up ends there: no filter method, mode and proxy address are set")                                         \
    X(L2_multicast_set_filter_method, kWhole, kFault, "selects how the switch filters",                                \
      "start-up ends there: no mode and proxy address are set")                                                        \
    X(igmp_globle_proxyip_set, kByte, kFault, "sets the source address of proxied reports",                            \
      "reports leave with another source address")                                                                     \
    X(pal_task_create, kOwn, kFault, "creates the receive task", "")                                                   \
    X(L2_multicast_read_msg, kOwn, kFault, "takes frames from the driver", "")                                         \
    X(igmp_time_now, kUnused, kAllowed, nullptr, "")                                                                   \
    X(igmp_pkt_recv, kByte, kAllowed, "lets a host join and leave", "nobody is told")                                  \
    X(mld_pkt_recv, kWhole, kAllowed, "lets a host join and leave", "nobody is told")                                  \
    X(L2_multicast_send_msg, kWhole, kFault, "sends frames to the user port and the uplink",                           \
      "the library prints an error, and the frame is lost")                                                            \
    X(L2_multicast_set_port_iptv_entry, kWhole, kFault, "adds forwarding entries", "the engine is told of a failure")  \
    X(L2_multicast_remove_port_iptv_entry, kWhole, kFault, "removes forwarding entries",                               \
      "the engine is told of a failure")                                                                               \
    X(vx_ploam_onuid_get, kUnused, kAllowed, nullptr, "")                                                              \
    X(vx_hal_nni_upmode_get, kUnused, kAllowed, nullptr, "")                                                           \
    X(mld_api_set_default_vlan, kWhole, kAllowed, "sets the default VLAN",                                             \
      "the library prints an error and tells nobody")                                                                  \
    X(igmp_para_lmqc_globle_set, kWhole, kAllowed, "sets a timer", "the agent is told")                                \
    X(igmp_para_lmqi_globle_set, kWhole, kAllowed, "sets a timer", "the agent is told")                                \
    X(igmp_para_qri_globle_set, kWhole, kAllowed, "sets a timer", "the agent is told")                                 \
    X(igmp_para_qi_globle_set, kWhole, kAllowed, "sets a timer", "the agent is told")                                  \
    X(igmp_para_rv_globle_set, kWhole, kAllowed, "sets the robustness", "the agent is told")                           \
    X(igmp_version_globle_set, kByte, kAllowed, "sets the IGMP version", "the agent is told")                          \
    X(igmp_ssm_ip_globle_set, kByte, kAllowed, "sets the SSM range", "the agent is told")                              \
    X(igmp_ssm_map_change, kByte, kAllowed, "sets the SSM map", "the agent is told")                                   \
    X(igmp_vlan_add, kByte, kFault, "registers a multicast VLAN", "the channels of the rule do not flow")              \
    X(igmp_vlan_del, kByte, kFault, "forgets multicast VLANs", "the library forgets the VLAN, the engine keeps it")    \
    X(mld_pack_set_mc_vlan, kWhole, kFault, "registers and forgets multicast VLANs",                                   \
      "engine and library have different multicast VLANs")                                                             \
    X(igmp_if_max_group_num_set, kByte, kAllowed, "sets the group limit of the user port", "the agent is told")        \
    X(igmp_if_fast_leave_enable, kByte, kAllowed, "sets fast leave of the user port", "the agent is told")             \
    X(igmp_if_max_bandwidth_set, kWhole, kAllowed, "sets the bandwidth limit of the user port",                        \
      "the library prints an error and tells the agent of a success")                                                  \
    X(igmp_set_multicast_control, kWhole, kAllowed, "allows and denies a channel", "the agent is told")                \
    X(igmp_oam_control_2, kWhole, kAllowed, "adds and removes an entry of the control list", "the agent is told")      \
    X(igmp_chile_grp_limit_func_set, kWhole, kAllowed, "turns the white list on and off",                              \
      "the library prints an error and goes on")                                                                       \
    X(igmp_if_add_auth_group_cfg, kWhole, kAllowed, "authorises groups", "the agent of the white list is told")        \
    X(igmp_if_delete_auth_group_cfg, kWhole, kAllowed, "takes authorised groups back", "the agent is told")            \
    X(igmp_if_delete_auth_group_cfg_all, kWhole, kAllowed, "takes every authorised group back", "the agent is told")   \
    X(igmp_if_grp_range_auth_enable, kWhole, kAllowed, "turns range authorisation of the user port on",                \
      "the library prints an error and tells the agent of a success")                                                  \
    X(add_to_auth_group_api, kWhole, kAllowed, "adds to the private list", "the agent is told")                        \
    X(auth_group_delete_api, kByte, kAllowed, "removes from the private list", "the agent is told")                    \
    X(auth_group_delete_all_api, kUnused, kAllowed, "empties the private list", "")                                    \
    X(igmp_del_all_group, kUnused, kAllowed, "drops every group", "")                                                  \
    X(igmp_del_all_group_except_static_group, kByte, kAllowed, "drops every group but the static ones",                \
      "the library prints an error and tells nobody")                                                                  \
    X(igmp_if_static_group_source_add, kByte, kAllowed, "joins a static group", "the agent is told")                   \
    X(igmp_if_static_group_source_del, kByte, kAllowed, "leaves a static group", "the agent is told")                  \
    X(igmp_gather_grp_info, kOwn, kFault, nullptr, "")                                                                 \
    X(igmp_if_gather_if_status, kOwn, kAllowed, nullptr, "")

/** Each call by its own name. */
enum class Call : int32_t {
#define MC_ENUMERATOR(name, result, refusal, changes, otherwise) name,
    MC_PLATFORM_CALLS(MC_ENUMERATOR)
#undef MC_ENUMERATOR
};

#define MC_COUNT(name, result, refusal, changes, otherwise) +1 // NOLINT(bugprone-macro-parentheses): a term of the sum
constexpr int kCalls = 0 MC_PLATFORM_CALLS(MC_COUNT);
#undef MC_COUNT

struct CallRow {
    const char *name;
    Result result;
    Refusal refusal;
    const char *changes; /**< Null: nothing. */
    const char *otherwise;
};

const CallRow &row(Call call);
inline const char *name(Call call) { return row(call).name; }

} // namespace mcadapt::portcheck

#endif
