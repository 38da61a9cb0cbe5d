/**
 * @file
 * Rule removal: the IGMP operation, its MLD twin, and the removal by mode.
 */
#include "core/counts.h"
#include "core/log.h"
#include "core/ports.h"
#include "core/start_state.h"
#include "mcadapt/omci.h"
#include "mcadapt/std_omci.h"
#include "mcadapt/vlan_tables.h"
#include "platform/protocol_engine.h"
#include "vlan/copies.h"
#include "vlan/rule.h"
#include "vlan/rule_trace.h"
#include "vlan/template_list.h"

namespace mcadapt {

static void compact_igmp_rules(uint32_t port)
{
    const mcConstRuleTable packed = sortPortVlanCfg(PortVlanCfg, port);
    if (packed != nullptr)
        copy_rules(PortVlanCfg, packed);
}

// The static list itself keeps the groups. @return The index at which the walk ended.
static int32_t withdraw_static_groups(int logic_port, uint16_t data_vlan)
{
    const staticGroupEntry(&list)[MC_STATIC_GROUPS_PER_PORT] = g_static_list[logic_port];
    int32_t i = 0;
    for (; i < entries_to_walk(g_static_grp_num[logic_port], MC_STATIC_GROUPS_PER_PORT); ++i) {
        if (list[i].vlan != data_vlan)
            continue;
        const int32_t status = byte_status(
            igmp_if_static_group_source_del(static_cast<uint32_t>(logic_port), list[i].vlan, list[i].addr, 0, 1));
        if (status != 0)
            LOG_ERROR(Igmp, "\n ERROR!igmp_if_static_group_source_add Fail"); // intended: the install's text
    }
    return i;
}

static void drop_template_vlan(uint16_t vlan)
{
    const int32_t vlans = entries_to_walk(setVlanNumber, MC_TEMPLATE_VLANS);
    for (int32_t j = 0; j < vlans; ++j) {
        if (PortVlan[j] == vlan) {
            drop_template_entry(j);
            break;
        }
    }
    compact_template_lists();
}

// A VLAN that no rule of either port uses any more leaves the engine and the template list, unless it is the default.
static void release_igmp_vlan(int logic_port, uint16_t data_vlan)
{
    if (IsSameVlanExist(PortVlanCfg, static_cast<uint32_t>(logic_port), data_vlan) == 0)
        return;
    if (globle_parm.defaultVlan == data_vlan)
        return;
    const uint32_t vlan = engine_vlan(data_vlan);
    LOG_CONFIG(Igmp, "del temp_var = %d\r\n", vlan);
    if (byte_status(igmp_vlan_del(vlan)) != 0)
        LOG_ERROR(Igmp, "ERROR!igmp_adapt_vlan_change Fail\n");
    drop_template_vlan(data_vlan);
}

// intended: a rule is matched by its upstream VLAN alone, and the VLAN released is the one asked for, not the rule's
static void remove_igmp_rules(int logic_port, const vlanCfgNode &rule)
{
    int32_t i = 0;
    while (i < MC_RULES_PER_PORT) {
        vlanCfgNode &position = PortVlanCfg[logic_port][i];
        if (position.in_up_vlan != rule.in_up_vlan) {
            ++i;
            continue;
        }
        clear_rule(position);
        --setVlanCfgNumber[logic_port];
        compact_igmp_rules(rule.portNO);
        // intended: the static-group walk shares the index, so the scan goes on behind where that ended
        i = withdraw_static_groups(logic_port, rule.in_data_vlan) + 1;
        if (traces_rule_changes())
            printf("\n setp one!");
        release_igmp_vlan(logic_port, rule.in_data_vlan);
    }
}

static int32_t find_mld_rule(int logic_port, uint16_t in_up_vlan)
{
    for (int32_t i = 0; i < MC_RULES_PER_PORT; ++i)
        if (mldInitParams.mldPortVlanCfg[logic_port][i].in_up_vlan == in_up_vlan)
            return i;
    return -1;
}

static bool compact_mld_rules(uint32_t port)
{
    RuleTable &rules = mldInitParams.mldPortVlanCfg;
    if (mldsortPortVlanCfg(rules, port) == nullptr)
        return false;
    mldsortPortVlanCfg(rules, port); // intended: its lines are printed twice
    return true;
}

static bool is_mld_vlan_used(uint16_t data_vlan)
{
    for (int port = 0; port < MC_LOGIC_PORTS; ++port) {
        const int32_t rules = entries_to_walk(mldInitParams.mldSetVlanCfgNumber[port], MC_RULES_PER_PORT);
        for (int32_t i = 0; i < rules; ++i) {
            if (engine_vlan(mldInitParams.mldPortVlanCfg[port][i].in_data_vlan) == data_vlan) {
                LOG_TRACE(Mld, "\nIsSameVlanExist is find");
                return true;
            }
        }
    }
    return false;
}

static void drop_mld_template_vlan(uint16_t vlan)
{
    const int32_t vlans = entries_to_walk(mldInitParams.setVlanNumber, MC_TEMPLATE_VLANS);
    for (int32_t j = 0; j < vlans; ++j) {
        if (mldInitParams.mldVlanList[j] == vlan) {
            mldInitParams.mldTemplateVlan[j] = 0;
            --mldInitParams.setVlanNumber;
            mldInitParams.mldVlanList[j] = 0;
            return;
        }
    }
}

// intended: the list of 32-bit VLANs is packed as 16-bit halves, low half first on every processor. Only the halves of
// its first eight entries take part; two packed halves become one entry, and the last eight entries become 0.
static void compact_mld_vlan_list()
{
    auto &list = mldInitParams.mldVlanList;
    uint16_t halves[MC_TEMPLATE_VLANS];
    for (int i = 0; i < MC_TEMPLATE_VLANS / 2; ++i) {
        const uint32_t both = list[i];
        halves[2 * i] = static_cast<uint16_t>(both);
        halves[2 * i + 1] = static_cast<uint16_t>(both >> 16);
    }
    const auto *packed = as_shared(sortmldVlan(halves));
    for (int i = 0; i < MC_TEMPLATE_VLANS / 2; ++i)
        list[i] = packed[2 * i] | static_cast<uint32_t>(packed[2 * i + 1]) << 16;
    for (int i = MC_TEMPLATE_VLANS / 2; i < MC_TEMPLATE_VLANS; ++i)
        list[i] = 0;
}

static int32_t release_mld_vlan(uint16_t data_vlan)
{
    const uint32_t vlan = engine_vlan(data_vlan);
    LOG_CONFIG(Mld, "del temp_var = %d\r\n", vlan);
    const int32_t status = mld_pack_set_mc_vlan(0, vlan);
    if (status != 0)
        LOG_ERROR(Mld, "ERROR!mld_adapt_vlan_change Fail\n");
    drop_mld_template_vlan(data_vlan);
    compact_mld_vlan_list();
    copy_vlans(mldInitParams.mldTemplateVlan, sortmldVlan(plain(mldInitParams.mldTemplateVlan)));
    return status;
}

} // namespace mcadapt

using namespace mcadapt;

int32_t std_omci_delete_multicast_vlan_onu(const vlanCfgNode *node)
{
    vlanCfgNode rule;
    copy_rule(rule, *node);
    LOG_CONFIG(Igmp,
               "[onu_std_omci_delete_multicast_vlan] is in! port_index = %d,%d, %d, %d, %d, %d, %d, %d, %d, %d.\r\n",
               +rule.portNO, +rule.prouptagmode, +rule.in_up_vlan, +rule.out_up_vlan, +rule.prodntagmode,
               +rule.in_dn_vlan, +rule.out_dn_vlan, +rule.datedntagmode, +rule.in_data_vlan, +rule.out_data_vlan);

    const int logic_port = take_rule<Igmp>(rule);
    if (logic_port == kNoLogicPort)
        return -1;
    if (setVlanCfgNumber[logic_port] == 0) {
        LOG_TRACE(Igmp, "\n vlan is not been disposed,use default vlan!");
        return -1;
    }
    zero_untagged_user_side(rule);
    remove_igmp_rules(logic_port, rule);

    if (flag_omci_version == 0 && mld_onu_std_omci_delete_multicast_vlan(&rule) != 0)
        LOG_ERROR(Igmp, "\n ERROR!mld_onu_std_omci_delete_multicast_vlan Fail");
    LOG_ERROR(Igmp, "\n delete PortVlanCfg is not find!\n"); // intended: ends every removal, successful or not
    return 0;
}

int32_t mld_onu_std_omci_delete_multicast_vlan(vlanCfgNode *rule)
{
    LOG_TRACE(Mld, "onu_std_omci_delete_multicast_vlan is in! port_index = %d\n", +rule->portNO);
    const int logic_port = take_rule<Mld>(*rule);
    if (logic_port == kNoLogicPort)
        return -1;
    if (mldInitParams.mldSetVlanCfgNumber[logic_port] == 0) {
        LOG_TRACE(Mld, "\n vlan is not been disposed,use default vlan!");
        return -1;
    }
    zero_untagged_user_side(*rule);

    const int32_t found = find_mld_rule(logic_port, rule->in_up_vlan);
    if (found < 0) {
        LOG_ERROR(Mld, "\n delete PortVlanCfg is not find!");
        return 0;
    }
    // intended: at most one rule is removed, and only one of this multicast VLAN; the release follows all the same
    vlanCfgNode &position = mldInitParams.mldPortVlanCfg[logic_port][found];
    if (position.in_data_vlan == rule->in_data_vlan) {
        clear_rule(position);
        --mldInitParams.mldSetVlanCfgNumber[logic_port];
    }
    if (!compact_mld_rules(rule->portNO))
        return -1;
    if (mldInitParams.mldAdapt == kTraceRuleChanges) {
        LOG_TRACE(Mld, "\n setp one!");
        mldPrint();
    }
    if (is_mld_vlan_used(rule->in_data_vlan) || mldInitParams.defaultVlan == rule->in_data_vlan)
        return 0;
    return release_mld_vlan(rule->in_data_vlan);
}

int32_t igmp_service_remove_port_config(int32_t port_index, uint32_t mode, uint32_t vlan1, uint32_t vlan2)
{
    mldInitParams.mldOmciVersion = 1;
    flag_omci_version = 1;
    LOG_CONFIG(Igmp, "igmp_service_remove_port_config is in! port_index = %d\n", port_index);

    vlanCfgNode rule = rule_from_mode(port_index, mode, vlan1, vlan2);
    if (std_omci_delete_multicast_vlan_onu(&rule) != 0)
        LOG_ERROR(Igmp, "\n ERROR!onu_std_omci_delete_multicast_vlan Fail");
    if (mld_onu_std_omci_delete_multicast_vlan(&rule) != 0)
        LOG_ERROR(Igmp, "\n ERROR!mld_onu_std_omci_delete_multicast_vlan Fail");
    return 0;
}
