/**
 * @file
 * Rule install: the IGMP operation, its MLD twin, and the install by mode.
 */
#include "core/counts.h"
#include "core/log.h"
#include "core/ports.h"
#include "core/start_state.h"
#include "core/uplink.h"
#include "mcadapt/omci.h"
#include "mcadapt/std_omci.h"
#include "platform/protocol_engine.h"
#include "vlan/learning.h"
#include "vlan/rule.h"
#include "vlan/rule_trace.h"
#include "vlan/template_list.h"

namespace mcadapt {

static int32_t learn_vlans_on_epon()
{
    if (!has_epon_uplink())
        return 0;
    LOG_TRACE(Igmp, "epon mode,omci_set_igmp_dynamic_enable is in!\n");
    return enable_vlan_learning();
}

static void add_igmp_rule(int logic_port, vlanCfgNode &position, const vlanCfgNode &rule)
{
    trace_before_add();
    store_rule(position, rule);
    ++setVlanCfgNumber[logic_port];
    trace_after_add();
}

// The scan does not stop at a match: each entry is logged.
static bool is_template_vlan(uint16_t vlan)
{
    bool found = false;
    for (int32_t j = 0; j < entries_to_walk(setVlanNumber, MC_TEMPLATE_VLANS); ++j) {
        LOG_TRACE(Igmp, "***portVlan[j]= %d", +PortVlan[j]);
        if (PortVlan[j] != vlan)
            continue;
        found = true;
        if (traces_rule_changes())
            LOG_TRACE(Igmp, "\n PortVlan is  already exist!");
    }
    return found;
}

// A new rule asks for the port's static groups again, whatever their VLAN. @return The last status, if any was asked.
static int32_t replay_static_groups(int logic_port, int32_t status)
{
    const staticGroupEntry(&list)[MC_STATIC_GROUPS_PER_PORT] = g_static_list[logic_port];
    for (int32_t i = 0; i < entries_to_walk(g_static_grp_num[logic_port], MC_STATIC_GROUPS_PER_PORT); ++i) {
        if (list[i].vlan == MC_NO_VLAN)
            continue;
        status = byte_status(
            igmp_if_static_group_source_add(static_cast<uint32_t>(logic_port), list[i].vlan, list[i].addr, 0, 1));
        if (status != 0)
            LOG_ERROR(Igmp, "\n ERROR!igmp_if_static_group_source_add Fail");
    }
    return status;
}

static int32_t register_igmp_vlan(uint16_t data_vlan)
{
    const uint32_t vlan = engine_vlan(data_vlan);
    LOG_CONFIG(Igmp, "temp_var = %d\n", vlan);
    const int32_t status = byte_status(igmp_vlan_add(vlan));
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_standard_vlan_add Fail %d\r\n", status);
    return status;
}

enum class Outcome { kMldFollows, kEnds };

// Stores the rule and registers its VLAN. A full rule table is passed over in silence.
static Outcome install_igmp_rule(int logic_port, const vlanCfgNode &rule, int32_t &status)
{
    const int32_t count = setVlanCfgNumber[logic_port];
    if (is_full(count, MC_RULES_PER_PORT))
        return Outcome::kMldFollows;

    vlanCfgNode &position = PortVlanCfg[logic_port][count];
    if (is_empty_position(position)) {
        add_igmp_rule(logic_port, position, rule);
        const bool present = is_template_vlan(rule.in_data_vlan);
        status = replay_static_groups(logic_port, status);
        if (!present) {
            // The list gets what the position holds by now, the engine what was asked for.
            if (!append_template_vlan(position.in_data_vlan)) {
                // intended: the rule stays, a success is told, and MLD is left out
                printf("setVlanNumber = %d then > 16  quit!", +setVlanNumber);
                return Outcome::kEnds;
            }
            trace_after_listing();
            status = register_igmp_vlan(rule.in_data_vlan);
        }
    }
    LOG_ERROR(Igmp, "\n PortVlan storege is wrong!"); // intended: after a success too
    return Outcome::kMldFollows;
}

static void trace_mld_install_tag_mode(const vlanCfgNode &rule)
{
    switch (tag_mode(rule)) {
    case TagMode::kUntag:
        LOG_TRACE(Mld, "mld multicast_vlan tagmode = %d, is untag mode!\n", +rule.prouptagmode);
        break;
    case TagMode::kTranslate:
        LOG_TRACE(Mld, "mld multicast_vlan tagmode = %d, is translate mode!\n", +rule.prouptagmode);
        break;
    case TagMode::kTag:
        LOG_TRACE(Mld, "mld multicast_vlan tagmode = %d, is tag mode!\n", +rule.prouptagmode);
        break;
    }
}

// No configuration dump: the MLD trace switch gates lines only.
static void add_mld_rule(int logic_port, vlanCfgNode &position, const vlanCfgNode &rule)
{
    const bool traced = mldInitParams.mldAdapt == kTraceRuleChanges;
    if (traced)
        LOG_TRACE(Mld, "\n mld before add multicast_vlan!");
    store_rule(position, rule);
    ++mldInitParams.mldSetVlanCfgNumber[logic_port];
    if (traced)
        LOG_TRACE(Mld, "\n mld after add multicast_vlan!");
}

static bool is_mld_template_vlan(uint16_t vlan)
{
    bool found = false;
    for (int32_t j = 0; j < entries_to_walk(mldInitParams.setVlanNumber, MC_TEMPLATE_VLANS); ++j) {
        LOG_CONFIG(Mld, "***mld portVlan[j]= %d", +mldInitParams.mldVlanList[j]);
        if (mldInitParams.mldVlanList[j] != vlan)
            continue;
        found = true;
        if (mldInitParams.mldAdapt == kTraceRuleChanges)
            LOG_TRACE(Mld, "\n PortVlan is  already exist!");
    }
    return found;
}

static int32_t register_mld_vlan(int32_t place, uint16_t data_vlan)
{
    mldInitParams.mldTemplateVlan[place] = data_vlan;
    mldInitParams.mldVlanList[place] = data_vlan;
    ++mldInitParams.setVlanNumber;
    if (mldInitParams.mldAdapt == kTraceRuleChanges)
        LOG_TRACE(Mld, "\n after add PortVlan!");

    const uint32_t vlan = engine_vlan(data_vlan);
    LOG_CONFIG(Mld, "temp_var = %d\n", vlan);
    const int32_t status = mld_pack_set_mc_vlan(1, vlan);
    if (status != 0)
        LOG_ERROR(Mld, "ERROR!mld_pack_set_mc_vlan Fail\n");
    return status;
}

} // namespace mcadapt

using namespace mcadapt;

int32_t std_omci_set_multicast_vlan_onu(const vlanCfgNode *node)
{
    vlanCfgNode rule;
    copy_rule(rule, *node);
    LOG_CONFIG(Igmp,
               "[onu_std_omci_set_multicast_vlan]: is in! port_index = %d,%d, %d, %d, %d, %d, %d, %d, %d, %d.\r\n",
               +rule.portNO, +rule.prouptagmode, +rule.in_up_vlan, +rule.out_up_vlan, +rule.prodntagmode,
               +rule.in_dn_vlan, +rule.out_dn_vlan, +rule.datedntagmode, +rule.in_data_vlan, +rule.out_data_vlan);

    int32_t status = learn_vlans_on_epon();
    const int logic_port = take_rule<Igmp>(rule);
    if (logic_port == kNoLogicPort)
        return -1;
    zero_untagged_user_side(rule);

    if (install_igmp_rule(logic_port, rule, status) == Outcome::kEnds)
        return 0;
    if (flag_omci_version != 0)
        return status;

    const int32_t mld_status = mld_onu_std_omci_set_multicast_vlan(&rule);
    if (mld_status != 0)
        LOG_ERROR(Igmp, "\n ERROR!mld_onu_std_omci_set_multicast_vlan Fail");
    return mld_status; // intended: the IGMP status is lost
}

int32_t mld_onu_std_omci_set_multicast_vlan(vlanCfgNode *rule)
{
    LOG_TRACE(Mld, "mld_onu_std_omci_set_multicast_vlan is in! port_index = %d\n", +rule->portNO);
    if (mldInitParams.mldOmciVersion == 0) {
        trace_mld_install_tag_mode(*rule);
        derive_upstream(*rule);
    }
    const int logic_port = find_logic_port<Mld>(rule->portNO);
    if (logic_port == kNoLogicPort) {
        LOG_ERROR(Mld, "mld port(%d) is invalid!\r\n", +rule->portNO);
        return -1;
    }
    LOG_TRACE(Mld, "mld logicPort is %d\r\n", logic_port);
    const int32_t count = mldInitParams.mldSetVlanCfgNumber[logic_port];
    LOG_TRACE(Mld, "mld vlancfgtem(%d)\r\n", count);
    zero_untagged_user_side(*rule);

    // intended: refused where the IGMP install goes on, and without a line
    if (is_full(count, MC_RULES_PER_PORT))
        return -1;
    vlanCfgNode &position = mldInitParams.mldPortVlanCfg[logic_port][count];
    if (!is_empty_position(position))
        return -1;

    add_mld_rule(logic_port, position, *rule);
    if (is_mld_template_vlan(rule->in_data_vlan))
        return 0;
    const int32_t place = mldInitParams.setVlanNumber;
    if (is_full(place, MC_TEMPLATE_VLANS)) {
        printf("mldInitParams.setVlanNumber = %d then > 16  quit!", place);
        return 0;
    }
    return register_mld_vlan(place, rule->in_data_vlan);
}

int32_t igmp_port_vlan_and_mode_set(int32_t port_index, uint32_t mode, uint32_t vlan1, uint32_t vlan2)
{
    LOG_CONFIG(Igmp, "igmp_port_vlan_and_mode_set is in! port_index = %d\n", port_index);
    mldInitParams.mldOmciVersion = 1;
    flag_omci_version = 1;

    vlanCfgNode rule = rule_from_mode(port_index, mode, vlan1, vlan2);
    if (std_omci_set_multicast_vlan_onu(&rule) != 0)
        LOG_ERROR(Igmp, "\n ERROR!std_omci_set_multicast_vlan_onu Fail");
    const int32_t status = mld_onu_std_omci_set_multicast_vlan(&rule);
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!mld_onu_std_omci_set_multicast_vlan Fail");
    return status;
}
