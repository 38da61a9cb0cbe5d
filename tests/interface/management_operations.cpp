/** Modes, parameters, ports, groups, status and diagnostics. */
#include "interface/operation_table.h"
#include "support/library_test.h"

namespace mcadapt::test {

namespace {

const uint8_t kGroup5[14] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5};

/** An operation on a switch port, with port 0 and with one that is not configured. */
template <class OnPort> Operation on_port(const char *name, OnPort operation)
{
    return Operation(name, [=] { return operation(0); }).refuses([=] { return operation(7); });
}

/** The same for the removal of a static group, which is there. */
template <class OnPort> Operation on_static_group(const char *name, OnPort operation)
{
    return on_port(name, [=](uint32_t port) {
        g_static_list[0][0] = {100, 0, 5};
        g_static_grp_num[0] = 1;
        return operation(port);
    });
}

int32_t lists_groups(int32_t (*query)(uint32_t *, uint8_t *))
{
    static uint8_t room[512 * 28];
    platform().gather({{100, 1, 0xE1010203, 2, 3, 4, 5, 0}});
    uint32_t count = 0;
    const int32_t result = query(&count, room);
    return result == 0 ? static_cast<int32_t>(count) : result;
}

int32_t counts_of_port()
{
    uint32_t out[4] = {};
    return std_omci_get_port_igmp_count(0, &out[0], &out[1], &out[2], &out[3]);
}

/** Has a one-byte buffer of the OAM agent with one entry set. */
int32_t oam_control(uint8_t type)
{
    const uint8_t buffer[12] = {type, 1, 1, 0, 100, 0, 0x01, 0x00, 0x5E, 1, 2, 3};
    return mc_oam_set_multicast_control(1, sizeof buffer, buffer);
}

} // namespace

std::vector<Operation> parameter_operations()
{
    return {
        Operation("omci_set_multicast_mode", [] { return omci_set_multicast_mode(3); })
            .asks("l2_multicast_set_trap", kNotLookedAt)
            .asks("igmp_mode_switch_globle", kWhole),
        Operation("std_omci_set_multicast_mode", [] { return std_omci_set_multicast_mode(3); })
            .refuses([] { return std_omci_set_multicast_mode(2); })
            .asks("igmp_mode_switch_globle", kWhole),
        Operation("flood_trap", [] { return flood_trap(5); })
            .asks("l2_multicast_set_trap", kWhole)
            .asks("l2_multicast_set_flood", kWhole),
        Operation("omci_get_multicast_mode",
                  [] {
                      uint8_t mode = 0;
                      return omci_get_multicast_mode(&mode) == 0 ? int32_t{mode} : -1;
                  })
            .returns(1),

        Operation("omci_set_igmp_global_parmeter", [] { return omci_set_igmp_global_parmeter(2, 10, 1, 2, 125); })
            .asks("igmp_para_globle_set", kWhole),
        Operation("mld_omci_set_igmp_global_parmeter",
                  [] { return mld_omci_set_igmp_global_parmeter(2, 125, 10, 1, 2); })
            .asks("igmp_para_globle_set", kWhole),
        Operation("omci_set_para_lmqc_globle", [] { return omci_set_para_lmqc_globle(2); })
            .asks("igmp_para_lmqc_globle_set", kWhole),
        Operation("omci_set_para_lmqi_globle", [] { return omci_set_para_lmqi_globle(1); })
            .asks("igmp_para_lmqi_globle_set", kWhole),
        Operation("omci_set_para_qri_globle", [] { return omci_set_para_qri_globle(10); })
            .asks("igmp_para_qri_globle_set", kWhole),
        Operation("omci_set_para_qi_globle", [] { return omci_set_para_qi_globle(125); })
            .asks("igmp_para_qi_globle_set", kWhole),
        Operation("omci_set_para_rv_globle", [] { return omci_set_para_rv_globle(2); })
            .asks("igmp_para_rv_globle_set", kWhole),
        Operation("omci_igmp_version_globle_set", [] { return omci_igmp_version_globle_set(3); })
            .asks("igmp_version_globle_set", kByte),
        Operation("omci_igmp_ssm_ip_globle_set", [] { return omci_igmp_ssm_ip_globle_set(1, 2); })
            .asks("igmp_ssm_ip_globle_set", kByte),
        Operation("omci_igmp_ssm_map_globle_set",
                  [] {
                      return omci_igmp_ssm_map_globle_set({{1, 2, 3, 4, 5}});
                  })
            .asks("igmp_ssm_map_change", kByte),
        Operation("omci_set_igmp_leave_mode", [] { return omci_set_igmp_leave_mode(1); })
            .asks("igmp_fast_leave_enable_globle", kByte),
        Operation("omci_set_igmp_dynamic_enable", [] { return omci_set_igmp_dynamic_enable(1); })
            .asks("igmp_vlan_learning_set", kByte),
        Operation("setIgmpAgeEnable",
                  [] {
                      setIgmpAgeEnable(7);
                      return static_cast<int32_t>(globle_parm.general_member_interval);
                  })
            .returns(7),

        on_port("omci_set_port_igmpgroup_limit", [](uint32_t port) { return omci_set_port_igmpgroup_limit(port, 9); })
            .asks("igmp_if_max_group_num_set", kByte),
        on_port("std_omci_set_port_igmpgroup_limit",
                [](uint32_t port) { return std_omci_set_port_igmpgroup_limit(port, 9); })
            .asks("igmp_if_max_group_num_set", kByte),
        Operation("omci_get_port_igmpgroup_limit",
                  [] {
                      omci_set_port_igmpgroup_limit(0, 9);
                      uint16_t limit = 0;
                      return omci_get_port_igmpgroup_limit(0, &limit) == 0 ? int32_t{limit} : -1;
                  })
            .returns(9),
        on_port("omci_set_port_igmp_leave_mode", [](uint32_t port) { return omci_set_port_igmp_leave_mode(port, 1); })
            .asks("igmp_if_fast_leave_enable", kByte),
        on_port("std_max_multi_bandwidth_limit",
                [](uint32_t port) { return std_max_multi_bandwidth_limit(port, 1, 1000, 100); })
            .asks("igmp_if_max_bandwidth_set", kNotLookedAt),
        Operation("omci_set_port_to_control_multicast_list_table",
                  [] { return omci_set_port_to_control_multicast_list_table(0, 0, 100, 1, 2); })
            .refuses([] { return omci_set_port_to_control_multicast_list_table(0, 0, 100, 2, 1); }, 0)
            .asks("igmp_set_multicast_control", kWhole),

        Operation("mc_oam_set_onu_fast_leave", [] { return mc_oam_set_onu_fast_leave(2); })
            .asks("igmp_if_fast_leave_enable", kNotLookedAt),
        Operation("mc_oam_get_onu_fast_leave_ability",
                  [] {
                      uint32_t abilities = 0;
                      return mc_oam_get_onu_fast_leave_ability(&abilities) == 0 ? static_cast<int32_t>(abilities) : -1;
                  })
            .returns(63),
        Operation("mc_oam_set_multicast_control", [] { return oam_control(1); })
            .refuses([] { return oam_control(3); })
            .asks("igmp_oam_control_2", kWhole),
    };
}

std::vector<Operation> group_operations()
{
    return {
        Operation("omci_set_multi_white_list_entry", [] { return omci_set_multi_white_list_entry(kGroup5, kGroup5); })
            .asks("igmp_chile_grp_limit_func_set", kNotLookedAt)
            .asks("igmp_if_add_auth_group_cfg", kWhole),
        Operation("omci_delete_multi_white_list", [] { return omci_delete_multi_white_list(); })
            .asks("igmp_del_all_group_except_static_group", kNotLookedAt)
            .asks("igmp_chile_grp_limit_func_set", kNotLookedAt)
            .asks("igmp_if_delete_auth_group_cfg_all", kWhole),
        Operation("omci_add_auth_igmp_group_vlan_config", [] { return omci_add_auth_igmp_group_vlan_config(5, 100); })
            .refuses([] { return omci_add_auth_igmp_group_vlan_config(5, 0); })
            .asks("add_to_auth_group_api", kWhole),
        Operation("omci_delete_auth_igmp_group_vlan_config",
                  [] { return omci_delete_auth_igmp_group_vlan_config(5, 100); })
            .asks("auth_group_delete_api", kByte),
        Operation("omci_clear_all_auth_igmp_group_vlan_config",
                  [] { return omci_clear_all_auth_igmp_group_vlan_config(); })
            .asks("auth_group_delete_all_api", kNotLookedAt),
        on_port("onu_omci_add_auth_igmp_group_vlan_config",
                [](uint32_t port) { return onu_omci_add_auth_igmp_group_vlan_config(port, 4, 5, 0, 100); })
            .asks("igmp_if_add_auth_group_cfg", kNotLookedAt),
        on_port("std_omci_add_port_auth_igmp_group_vlan_config",
                [](uint32_t port) { return std_omci_add_port_auth_igmp_group_vlan_config(port, 4, 5, 0, 100); })
            .asks("igmp_if_add_auth_group_cfg", kNotLookedAt)
            .asks("igmp_if_grp_range_auth_enable", kNotLookedAt),
        on_port("std_omci_delete_port_auth_igmp_group_vlan_config",
                [](uint32_t port) { return std_omci_delete_port_auth_igmp_group_vlan_config(port, 4, 5, 0, 100); })
            .asks("igmp_if_delete_auth_group_cfg", kWhole),
        on_port("std_omci_clear_port_all_auth_igmp_group_vlan_config",
                [](uint32_t port) { return std_omci_clear_port_all_auth_igmp_group_vlan_config(port, 100); })
            .asks("igmp_if_delete_auth_group_cfg_all", kWhole),
        on_port("omci_add_static_multi_acess_ctrl_table",
                [](uint32_t port) { return omci_add_static_multi_acess_ctrl_table(port, kGroup5, kGroup5, 0, 100); })
            .asks("igmp_if_static_group_source_add", kByte),
        on_static_group(
            "omci_del_static_multi_acess_ctrl_table",
            [](uint32_t port) { return omci_del_static_multi_acess_ctrl_table(port, kGroup5, kGroup5, 0, 100); })
            .asks("igmp_if_static_group_source_del", kByte),
        on_static_group("omci_clear_all_static_multi_acess_ctrl_table",
                        [](uint32_t port) { return omci_clear_all_static_multi_acess_ctrl_table(port); })
            .asks("igmp_if_static_group_source_del", kByte),
    };
}

std::vector<Operation> status_operations()
{
    return {
        Operation("igmp_hal_sync_grp_infor",
                  [] {
                      platform().gather({});
                      return igmp_hal_sync_grp_infor(255);
                  })
            .refuses([] { return igmp_hal_sync_grp_infor(7); })
            .asks("igmp_gather_grp_info", 0), // above 0 is an answer
        Operation("igmp_hal_sync_if_status",
                  [] {
                      platform().gathered_counters = {1, 2, 3, 4};
                      return igmp_hal_sync_if_status(0);
                  })
            .refuses([] { return igmp_hal_sync_if_status(7); })
            .asks("igmp_if_gather_if_status", 0),
        Operation("omci_get_multicast_ip_port", [] { return lists_groups(omci_get_multicast_ip_port); })
            .returns(1)
            .asks("igmp_gather_grp_info", 1),
        Operation("std_omci_get_multicast_ip_port", [] { return lists_groups(std_omci_get_multicast_ip_port); })
            .returns(1)
            .asks("igmp_gather_grp_info", 1),
        Operation("mc_oam_get_multicast_control",
                  [] {
                      uint8_t room[2 + 10 * 255];
                      uint16_t length = 0;
                      platform().gather({{100, 1, 0xE1010203, 2, 3, 4, 5, 0}});
                      return mc_oam_get_multicast_control(&length, room) == 0 ? int32_t{length} : -1;
                  })
            .returns(12)
            .refuses([] {
                uint8_t room[2 + 10 * 255];
                uint16_t length = 0;
                return mc_oam_get_multicast_control(&length, room);
            }),
        Operation("GetIgmpStatusPara",
                  [] {
                      uint8_t out[5] = {};
                      platform().gather({{100, 1, 0xE1010203, 2, 3, 4, 5, 0}});
                      return GetIgmpStatusPara(out);
                  })
            .refuses([] {
                uint8_t out[5] = {};
                return GetIgmpStatusPara(out);
            }),
        Operation("std_omci_get_port_igmp_count", counts_of_port)
            .refuses([] {
                platform().answer("shmat", -1);
                return counts_of_port();
            })
            .asks("igmp_if_gather_if_status", kNotLookedAt),
        Operation("mc_oam_get_onu_fast_leave_state",
                  [] {
                      uint32_t state = 0;
                      return mc_oam_get_onu_fast_leave_state(&state) == 0 ? static_cast<int32_t>(state) : -1;
                  })
            .returns(2)
            .refuses([] {
                platform().answer("shmget", -1);
                uint32_t state = 0;
                return mc_oam_get_onu_fast_leave_state(&state);
            }),

        Operation("mc_set_debug", [] { return static_cast<int32_t>(mc_set_debug(0x24, 1)); }).returns(0x24),
        Operation("mld_adapt_set_debug", [] { return static_cast<int32_t>(mld_adapt_set_debug(0x24, 1)); })
            .returns(0x24),
        Operation("debugPrint",
                  [] {
                      debugPrint();
                      return 0;
                  }),
        Operation("mldPrint",
                  [] {
                      mldPrint();
                      return 0;
                  }),
        Operation("getIgmpGlobleParmeter", [] { return getIgmpGlobleParmeter() == &globle_parm ? 1 : 0; }).returns(1),
        Operation("getPortVlanConfigNumber", [] { return getPortVlanConfigNumber() == setVlanCfgNumber ? 1 : 0; })
            .returns(1),
        Operation("getTemplateVlanNumber",
                  [] {
                      setVlanNumber = 3;
                      return getTemplateVlanNumber();
                  })
            .returns(3),
        Operation("getmldTemplateVlanNumber",
                  [] {
                      mldInitParams.setVlanNumber = 4;
                      return getmldTemplateVlanNumber();
                  })
            .returns(4),
        Operation("mldgetPortVlanConfigNumber",
                  [] { return mldgetPortVlanConfigNumber() == mldInitParams.mldSetVlanCfgNumber ? 1 : 0; })
            .returns(1),
    };
}

} // namespace mcadapt::test
