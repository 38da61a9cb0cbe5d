/** Multicast VLAN rules, default VLAN, reset, and the tables' compaction. */
#include "interface/operation_table.h"
#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {

namespace {

vlanCfgNode translation(uint8_t port) { return rule(port).modes(2).up(200, 100).down(100, 200).data(100, 200); }

template <class Install> Operation::Call with_rule(Install install, uint8_t port)
{
    return [=] {
        vlanCfgNode wanted = translation(port);
        return install(&wanted);
    };
}

/** The same for a removal: a rule of port 0 is there, and its VLAN is listed. */
template <class Remove> Operation::Call with_rule_in_place(Remove remove, uint8_t port)
{
    return [=] {
        put_rules(0, {translation(0)});
        put_mld_rules(0, {translation(0)});
        put_template_vlans({100});
        put_mld_template_vlans({100});
        vlanCfgNode wanted = translation(port);
        return remove(&wanted);
    };
}

Operation::Call compacts(mcRuleTable (*sort)(mcConstRuleTable, uint32_t), uint32_t port)
{
    return [=] { return sort(PortVlanCfg, port) == nullptr ? 0 : 1; };
}

Operation::Call compacts(uint16_t *(*sort)(const uint16_t *))
{
    return [=] {
        const uint16_t list[MC_TEMPLATE_VLANS] = {0, 100};
        return static_cast<int32_t>(sort(list)[0]);
    };
}

int32_t removes_by_mode(int32_t port)
{
    igmp_port_vlan_and_mode_set(0, 2, 200, 100);
    platform().forget_calls();
    return igmp_service_remove_port_config(port, 2, 200, 100);
}

} // namespace

std::vector<Operation> vlan_operations()
{
    return {
        Operation("std_omci_set_multicast_vlan_onu", with_rule(std_omci_set_multicast_vlan_onu, 0))
            .refuses(with_rule(std_omci_set_multicast_vlan_onu, 7))
            .asks("igmp_vlan_add", kNotLookedAt)
            .asks("mld_pack_set_mc_vlan", kWhole),
        Operation("mld_onu_std_omci_set_multicast_vlan", with_rule(mld_onu_std_omci_set_multicast_vlan, 0))
            .refuses(with_rule(mld_onu_std_omci_set_multicast_vlan, 7))
            .asks("mld_pack_set_mc_vlan", kWhole),
        Operation("std_omci_delete_multicast_vlan_onu", with_rule_in_place(std_omci_delete_multicast_vlan_onu, 0))
            .refuses(with_rule_in_place(std_omci_delete_multicast_vlan_onu, 29))
            .asks("igmp_vlan_del", kNotLookedAt)
            .asks("mld_pack_set_mc_vlan", kNotLookedAt),
        Operation("mld_onu_std_omci_delete_multicast_vlan",
                  with_rule_in_place(mld_onu_std_omci_delete_multicast_vlan, 0))
            .refuses(with_rule_in_place(mld_onu_std_omci_delete_multicast_vlan, 29))
            .asks("mld_pack_set_mc_vlan", kWhole),
        Operation("igmp_port_vlan_and_mode_set", [] { return igmp_port_vlan_and_mode_set(0, 2, 200, 100); })
            .refuses([] { return igmp_port_vlan_and_mode_set(7, 2, 200, 100); })
            .asks("igmp_vlan_add", kNotLookedAt)
            .asks("mld_pack_set_mc_vlan", kWhole),
        Operation("igmp_service_remove_port_config", [] { return removes_by_mode(0); })
            .refuses([] { return removes_by_mode(7); }, 0)
            .asks("igmp_vlan_del", kNotLookedAt)
            .asks("mld_pack_set_mc_vlan", kNotLookedAt),
        Operation("std_omci_web_set_vlan", with_rule(std_omci_web_set_vlan, 0))
            .refuses(with_rule(std_omci_web_set_vlan, 7))
            .asks("igmp_vlan_add", kByte),

        Operation("omci_set_igmp_default_vlan", [] { return omci_set_igmp_default_vlan(100); })
            .asks("mld_api_set_default_vlan", kNotLookedAt)
            .asks("igmp_default_vid_set", kWhole),
        Operation("omci_set_port_up_igmp_vlan", [] { return omci_set_port_up_igmp_vlan(29, 0, 0); }).refuses([] {
            return omci_set_port_up_igmp_vlan(0, 0, 0);
        }),
        Operation("omci_set_multicast_vlan", [] { return omci_set_multicast_vlan(); }),
        Operation("omci_get_voip_igmp_vid", [] { return omci_get_voip_igmp_vid(); }),
        Operation("omci_set_igmp_vid", [] { return omci_set_igmp_vid(); }),
        Operation("omci_set_igmp_age_time", [] { return omci_set_igmp_age_time(); }),

        Operation("omci_clear_igmp_all_parmeter",
                  [] {
                      put_template_vlans({100});
                      omci_clear_igmp_all_parmeter();
                      return setVlanNumber;
                  })
            .asks("igmp_vlan_del_all", kNotLookedAt)
            .asks("igmp_del_all_group", kNotLookedAt),
        Operation("omci_clear_igmp_parmeter", [] { return omci_clear_igmp_parmeter(0, 0); })
            .refuses([] { return omci_clear_igmp_parmeter(7, 0); })
            .asks("igmp_if_fast_leave_enable", kNotLookedAt),

        Operation("sortPortVlanCfg", compacts(sortPortVlanCfg, 29)).returns(1).refuses(compacts(sortPortVlanCfg, 7), 0),
        Operation("mldsortPortVlanCfg", compacts(mldsortPortVlanCfg, 29))
            .returns(1)
            .refuses(compacts(mldsortPortVlanCfg, 7), 0),
        Operation("sortMcVlan", compacts(sortMcVlan)).returns(100),
        Operation("sortmldVlan", compacts(sortmldVlan)).returns(100),
        Operation("IsSameVlanExist", [] { return IsSameVlanExist(PortVlanCfg, 0, 100); })
            .returns(1)
            .refuses(
                [] {
                    put_rules(0, {translation(0)});
                    return IsSameVlanExist(PortVlanCfg, 0, 100);
                },
                0),
    };
}

} // namespace mcadapt::test
