#include "host/program/operations.h"

#include <fmt/format.h>

#include "host/program/operation_calls.h"
#include "mcadapt/mcadapt.h"

namespace mcadapt::host {

namespace {

using Arguments = std::vector<Argument>;

// --- Arguments that many operations share

const Argument kPort = {"port", Kind::kNumber, "switch port"};
const Argument kVlan = {"vlan", Kind::kNumber, "VLAN"};
const Argument kGroupVlan = {"vlan", Kind::kWord, "VLAN of the groups"};
const Argument kEnable = {"enable", Kind::kNumber, "1 on, 0 off"};
const Argument kFourth = {"arg4", Kind::kNumber, "handed to the engine: bandwidth of each group", "0"};

Arguments mode_rule_arguments()
{
    return {{"port_index", Kind::kSigned, "switch port"},
            {"mode", Kind::kNumber, "1 tag, 0 or 3 untag, any other translate"},
            {"vlan1", Kind::kNumber, "user-side VLAN"},
            {"vlan2", Kind::kNumber, "multicast VLAN of a translation", "0"}};
}

Arguments rule_arguments()
{
    return {{"portNO", Kind::kByte, "switch port"},
            {"prouptagmode", Kind::kByte, "0 untag, 2 or 3 translate, else tag", "4"},
            {"in_up_vlan", Kind::kWord, "VLAN of upstream protocol frames as received", "0xFFFF"},
            {"out_up_vlan", Kind::kWord, "tag control with which they are sent", "0xFFFF"},
            {"prodntagmode", Kind::kByte, "tag mode of downstream protocol frames", "4"},
            {"in_dn_vlan", Kind::kWord, "VLAN of downstream protocol frames as received", "0xFFFF"},
            {"out_dn_vlan", Kind::kWord, "tag control with which they are sent", "0xFFFF"},
            {"datedntagmode", Kind::kByte, "tag mode of multicast data", "4"},
            {"in_data_vlan", Kind::kWord, "the multicast VLAN"},
            {"out_data_vlan", Kind::kWord, "VLAN of the stream toward the user", "0xFFFF"}};
}

Arguments port_range_arguments()
{
    return {kPort, {"start", Kind::kIpv4, "first group"}, {"end", Kind::kIpv4, "last group"}, kFourth, kGroupVlan};
}

Arguments static_arguments()
{
    return {kPort,
            {"first", Kind::kByte, "channel index of the first group"},
            {"last", Kind::kByte, "channel index of the last group"},
            {"arg4", Kind::kNumber, "ignored", "0"},
            kGroupVlan};
}

std::vector<Operation> make_operations();

} // namespace

const std::vector<Operation> &operations()
{
    static const std::vector<Operation> all = make_operations();
    return all;
}

const Operation *find_operation(std::string_view name)
{
    for (const Operation &operation : operations())
        if (operation.name == name)
            return &operation;
    return nullptr;
}

namespace {

// An operation of one number that returns a status.
#define ONE_NUMBER(name, argument, help)                                                                               \
    {                                                                                                                  \
#name, help, {argument }, [](const Values &v) { return status(name(v.number(0))); }                            \
    }

// clang-format off: a row each
std::vector<Operation> make_operations() // NOLINT(readability-function-size): a table
{
    return {
        // GPON OMCI: mode, rules by mode, default VLAN, reset
        {"omci_set_multicast_mode",
         "Sets the protocol mode.",
         {{"mode", Kind::kSigned, "3 control, 100 proxy, 5 snooping with flooding, any other snooping"}},
         [](const Values &v) { return status(omci_set_multicast_mode(v.integer(0))); }},
        ONE_NUMBER(flood_trap,
                   (Argument{"mode", Kind::kNumber, "5 trap off and flood on, any other trap on and flood off"}),
                   "Sets trap and flood of the switch."),
        {"omci_get_multicast_mode", "Tells the protocol mode.", {}, get_mode},
        {"igmp_port_vlan_and_mode_set", "Installs a rule of both families built from a mode.", mode_rule_arguments(),
         [](const Values &v) {
             return status(igmp_port_vlan_and_mode_set(v.integer(0), v.number(1), v.number(2), v.number(3)));
         }},
        {"igmp_service_remove_port_config", "Removes the rule that the same arguments install.", mode_rule_arguments(),
         [](const Values &v) {
             return status(igmp_service_remove_port_config(v.integer(0), v.number(1), v.number(2), v.number(3)));
         }},
        ONE_NUMBER(omci_set_igmp_default_vlan, kVlan, "Sets the default VLAN of both families."),
        {"omci_set_port_up_igmp_vlan",
         "Tells whether a port is the uplink.",
         {kPort, {"arg2", Kind::kNumber, "not used", "0"}, {"arg3", Kind::kNumber, "not used", "0"}},
         [](const Values &v) { return status(omci_set_port_up_igmp_vlan(v.number(0), v.number(1), v.number(2))); }},
        {"omci_set_multicast_vlan",
         "Not implemented by the unit.",
         {},
         [](const Values &) { return status(omci_set_multicast_vlan()); }},
        {"omci_get_voip_igmp_vid",
         "Not implemented by the unit.",
         {},
         [](const Values &) { return status(omci_get_voip_igmp_vid()); }},
        {"omci_set_igmp_vid",
         "Not implemented by the unit.",
         {},
         [](const Values &) { return status(omci_set_igmp_vid()); }},
        {"omci_set_igmp_age_time",
         "Not implemented by the unit.",
         {},
         [](const Values &) { return status(omci_set_igmp_age_time()); }},
        {"omci_clear_igmp_all_parmeter",
         "Wipes the IGMP configuration and the engine's groups.",
         {},
         [](const Values &) {
             omci_clear_igmp_all_parmeter();
             return done();
         }},
        {"omci_clear_igmp_parmeter",
         "Resets one parameter of a port.",
         {kPort, {"type", Kind::kNumber, "0 fast leave, 2 group limit"}},
         [](const Values &v) { return status(omci_clear_igmp_parmeter(v.number(0), v.number(1))); }},

        // GPON OMCI: global parameters
        {"omci_set_igmp_global_parmeter",
         "Sets the IGMP timers.",
         {{"robustness", Kind::kNumber, "robustness variable"},
          {"query_response_interval", Kind::kNumber, "seconds"},
          {"last_member_query_interval", Kind::kNumber, "seconds"},
          {"last_member_query_count", Kind::kNumber, "queries"},
          {"query_interval", Kind::kNumber, "seconds"}},
         [](const Values &v) {
             return status(
                 omci_set_igmp_global_parmeter(v.number(0), v.number(1), v.number(2), v.number(3), v.number(4)));
         }},
        {"mld_omci_set_igmp_global_parmeter",
         "Sets the MLD timers, and the engine's IGMP timers with them.",
         {{"robustness", Kind::kNumber, "robustness variable"},
          {"query_interval", Kind::kNumber, "seconds"},
          {"query_response_interval", Kind::kNumber, "seconds"},
          {"last_member_query_interval", Kind::kNumber, "seconds"},
          {"last_member_query_count", Kind::kNumber, "queries"}},
         [](const Values &v) {
             return status(
                 mld_omci_set_igmp_global_parmeter(v.number(0), v.number(1), v.number(2), v.number(3), v.number(4)));
         }},
        ONE_NUMBER(omci_set_para_lmqc_globle, (Argument{"count", Kind::kNumber, "queries"}),
                   "Sets the last member query count."),
        ONE_NUMBER(omci_set_para_lmqi_globle, (Argument{"interval", Kind::kNumber, "seconds"}),
                   "Sets the last member query interval."),
        ONE_NUMBER(omci_set_para_qri_globle, (Argument{"interval", Kind::kNumber, "seconds"}),
                   "Sets the query response interval."),
        ONE_NUMBER(omci_set_para_qi_globle, (Argument{"interval", Kind::kNumber, "seconds"}),
                   "Sets the query interval."),
        ONE_NUMBER(omci_set_para_rv_globle, (Argument{"robustness", Kind::kNumber, "robustness variable"}),
                   "Sets the robustness variable."),
        ONE_NUMBER(omci_igmp_version_globle_set, (Argument{"version", Kind::kNumber, "1, 2 or 3"}),
                   "Sets the IGMP version."),
        {"omci_igmp_ssm_ip_globle_set",
         "Sets the source-specific range.",
         {{"first", Kind::kIpv4, "network"}, {"second", Kind::kIpv4, "mask"}},
         [](const Values &v) { return status(omci_igmp_ssm_ip_globle_set(v.number(0), v.number(1))); }},
        {"omci_igmp_ssm_map_globle_set",
         "Replaces the SSM map entry.",
         {{"group", Kind::kIpv4, "group"},
          {"mask", Kind::kIpv4, "mask"},
          {"source1", Kind::kIpv4, "source"},
          {"source2", Kind::kIpv4, "second source", "0"},
          {"enable", Kind::kNumber, "1 on, 0 off", "1"}},
         set_ssm_map},
        ONE_NUMBER(omci_set_igmp_leave_mode, kEnable, "Sets fast leave of both ports."),
        ONE_NUMBER(omci_set_igmp_dynamic_enable, kEnable, "Sets VLAN learning."),
        {"setIgmpAgeEnable",
         "Stores the age enable for the next set of timers.",
         {kEnable},
         [](const Values &v) {
             setIgmpAgeEnable(v.number(0));
             return done();
         }},

        // GPON OMCI: ports
        {"omci_set_port_igmpgroup_limit",
         "Sets the most groups of a port.",
         {kPort, {"limit", Kind::kSigned, "0 for none"}},
         [](const Values &v) { return status(omci_set_port_igmpgroup_limit(v.number(0), v.integer(1))); }},
        {"omci_get_port_igmpgroup_limit", "Tells a group limit.", {kPort}, get_group_limit},
        {"omci_set_port_igmp_leave_mode",
         "Sets fast leave of a port.",
         {kPort, kEnable},
         [](const Values &v) { return status(omci_set_port_igmp_leave_mode(v.number(0), v.number(1))); }},
        {"omci_set_port_to_control_multicast_list_table",
         "Allows or denies a run of channels on a port.",
         {kPort,
          {"opt", Kind::kNumber, "0 add, 1 remove"},
          {"ds_vlan", Kind::kNumber, "multicast VLAN"},
          {"first", Kind::kIpv4, "first channel: its index, or a group"},
          {"last", Kind::kIpv4, "last channel"}},
         set_channels,
         refuse_many_channels},

        // GPON OMCI: groups and status
        {"omci_set_multi_white_list_entry",
         "Adds a range to the unit's white list.",
         {{"start", Kind::kIpv4, "first group"}, {"end", Kind::kIpv4, "last group"}},
         set_white_list},
        {"omci_delete_multi_white_list",
         "Ends the white list.",
         {},
         [](const Values &) { return status(omci_delete_multi_white_list()); }},
        {"omci_add_auth_igmp_group_vlan_config",
         "Adds a group to the unit's private list.",
         {{"group", Kind::kIpv4, "group"}, kVlan},
         [](const Values &v) { return status(omci_add_auth_igmp_group_vlan_config(v.number(0), v.number(1))); }},
        {"omci_delete_auth_igmp_group_vlan_config",
         "Removes a group from the unit's private list.",
         {{"group", Kind::kIpv4, "group"}, kVlan},
         [](const Values &v) { return status(omci_delete_auth_igmp_group_vlan_config(v.number(0), v.number(1))); }},
        {"omci_clear_all_auth_igmp_group_vlan_config",
         "Empties the unit's private list.",
         {},
         [](const Values &) { return status(omci_clear_all_auth_igmp_group_vlan_config()); }},
        {"omci_add_static_multi_acess_ctrl_table", "Adds static groups to a port.", static_arguments(), add_static},
        {"omci_del_static_multi_acess_ctrl_table", "Removes static groups of a port.", static_arguments(),
         remove_static},
        ONE_NUMBER(omci_clear_all_static_multi_acess_ctrl_table, kPort, "Removes every static group of a port."),
        {"omci_get_multicast_ip_port", "Lists the active groups.", {}, get_groups},

        // Standard OMCI
        ONE_NUMBER(std_omci_set_multicast_mode, (Argument{"mode", Kind::kNumber, "1 and 2 are refused"}),
                   "Selects snooping."),
        {"std_omci_set_multicast_vlan_onu", "Installs a rule.", rule_arguments(), install_rule},
        {"mld_onu_std_omci_set_multicast_vlan", "Installs a rule for MLD alone.", rule_arguments(), install_mld_rule},
        {"std_omci_delete_multicast_vlan_onu", "Removes rules by their in_up_vlan.", rule_arguments(), remove_rule},
        {"mld_onu_std_omci_delete_multicast_vlan", "Removes a rule of MLD alone.", rule_arguments(), remove_mld_rule},
        {"std_omci_set_port_igmpgroup_limit",
         "Sets the most groups of a port.",
         {kPort, {"limit", Kind::kSigned, "0 for none"}},
         [](const Values &v) { return status(std_omci_set_port_igmpgroup_limit(v.number(0), v.integer(1))); }},
        {"std_max_multi_bandwidth_limit",
         "Sets the bandwidth limit of a port.",
         {kPort, kEnable, {"max_bandwidth", Kind::kNumber, "in the unit of the ranges"}, kVlan},
         [](const Values &v) {
             return status(std_max_multi_bandwidth_limit(v.number(0), v.number(1), v.number(2), v.number(3)));
         }},
        {"onu_omci_add_auth_igmp_group_vlan_config", "Lets a port join a range.", port_range_arguments(),
         [](const Values &v) {
             return status(onu_omci_add_auth_igmp_group_vlan_config(v.number(0), v.number(1), v.number(2), v.number(3),
                                                                    v.word(4)));
         }},
        {"std_omci_add_port_auth_igmp_group_vlan_config", "Lets a port join a range, and only such.",
         port_range_arguments(),
         [](const Values &v) {
             return status(std_omci_add_port_auth_igmp_group_vlan_config(v.number(0), v.number(1), v.number(2),
                                                                         v.number(3), v.word(4)));
         }},
        {"std_omci_delete_port_auth_igmp_group_vlan_config", "Takes a range back.", port_range_arguments(),
         [](const Values &v) {
             return status(std_omci_delete_port_auth_igmp_group_vlan_config(v.number(0), v.number(1), v.number(2),
                                                                            v.number(3), v.word(4)));
         }},
        {"std_omci_clear_port_all_auth_igmp_group_vlan_config",
         "Takes every range of a port back.",
         {kPort, kVlan},
         [](const Values &v) {
             return status(std_omci_clear_port_all_auth_igmp_group_vlan_config(v.number(0), v.number(1)));
         }},
        {"std_omci_get_port_igmp_count",
         "Tells the four counters of a port from the shared segment.",
         {kPort},
         get_interface_counters},
        {"std_omci_get_multicast_ip_port", "Lists the active groups.", {}, get_std_groups},

        // EPON OAM
        ONE_NUMBER(mc_oam_set_onu_fast_leave, (Argument{"state", Kind::kNumber, "2 on, any other off"}),
                   "Sets fast leave of port 0."),
        {"mc_oam_get_onu_fast_leave_ability", "Tells the fast-leave abilities.", {}, get_fast_leave_ability},
        {"mc_oam_get_onu_fast_leave_state",
         "Tells the fast-leave state of the shared segment.",
         {},
         get_fast_leave_state},
        {"mc_oam_set_multicast_control",
         "Hands control entries to the engine.",
         {{"action", Kind::kNumber, "1 add, 0 remove"}, {"entries", Kind::kEntries, "ports are counted from 1"}},
         set_oam_control},
        {"mc_oam_get_multicast_control", "Lists the active groups as control entries.", {}, get_oam_control},

        // Web, status, diagnostics, hooks
        {"std_omci_web_set_vlan", "Replaces the rules of a port with one.", rule_arguments(), set_web_rule},
        ONE_NUMBER(igmp_hal_sync_grp_infor, (Argument{"port", Kind::kNumber, "switch port, 255 for all"}),
                   "Refreshes the groups of the snapshot."),
        ONE_NUMBER(igmp_hal_sync_if_status, kPort, "Refreshes the counters of the snapshot."),
        {"GetIgmpStatusPara", "Counts the distinct reporters of the active groups.", {}, get_status_para},
        {"mc_set_debug",
         "Toggles bits of the IGMP log mask.",
         {{"mask", Kind::kNumber, "bits"}, {"on", Kind::kNumber, "0 clears"}},
         [](const Values &v) { return fmt::format("0x{:x}", mc_set_debug(v.number(0), v.number(1))); }},
        {"mld_adapt_set_debug",
         "Toggles bits of the MLD log mask.",
         {{"mask", Kind::kNumber, "bits"}, {"on", Kind::kNumber, "0 clears"}},
         [](const Values &v) { return fmt::format("0x{:x}", mld_adapt_set_debug(v.number(0), v.number(1))); }},
        {"debugPrint",
         "Prints the IGMP configuration.",
         {},
         [](const Values &) {
             debugPrint();
             return done();
         }},
        {"mldPrint",
         "Prints the MLD configuration.",
         {},
         [](const Values &) {
             mldPrint();
             return done();
         }},
        {"getIgmpGlobleParmeter", "Tells the main IGMP parameters.", {}, get_parameters},
        {"getPortVlanConfigNumber", "Counts the IGMP rules of both ports.", {}, get_igmp_rule_counts},
        {"mldgetPortVlanConfigNumber", "Counts the MLD rules of both ports.", {}, get_mld_rule_counts},
        {"getTemplateVlanNumber", "Counts the IGMP template VLANs.", {}, get_template_count},
        {"getmldTemplateVlanNumber", "Counts the MLD template VLANs.", {}, get_mld_template_count},
        {"igmp_set_table_return",
         "Sets what the engine is told of a refused entry.",
         {{"value", Kind::kNumber, "0 success, any other 1"}},
         [](const Values &v) { return fmt::format("returns {} from now on", igmp_set_table_return(v.number(0))); }},
        ONE_NUMBER(igmp_adapt_set_test_uplink, (Argument{"port", Kind::kNumber, "65534 ends it"}),
                   "Lets a port stand in for the uplink."),
        {"igmp_adapt_set_sig_vlan",
         "Sets tags that override the rules of a port.",
         {{"index", Kind::kNumber, "logic port"},
          {"up", Kind::kNumber, "upstream tag control, 0 for none"},
          {"second", Kind::kNumber, "stored only"},
          {"down", Kind::kNumber, "downstream tag control, 0 strips, 65535 for none"}},
         [](const Values &v) {
             return status(igmp_adapt_set_sig_vlan(v.number(0), v.number(1), v.number(2), v.number(3)));
         }},
        {"igmp_adapt_set_pkt_process_disable",
         "Makes the unit drop every trapped frame.",
         {{"flag", Kind::kByte, "1 drops"}},
         [](const Values &v) {
             igmp_adapt_set_pkt_process_disable(v.byte(0));
             return done();
         }},
    };
}
// clang-format on
#undef ONE_NUMBER

} // namespace

} // namespace mcadapt::host
