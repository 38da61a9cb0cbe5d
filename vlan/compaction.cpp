/**
 * @file
 * Compaction: live rules and template VLANs stand at the front of their tables, in the order in which they came.
 */
#include "core/counts.h"
#include "core/log.h"
#include "core/ports.h"
#include "core/start_state.h"
#include "mcadapt/vlan_tables.h"
#include "vlan/copies.h"
#include "vlan/rule.h"

namespace mcadapt {

// Nothing is sorted by value. A position is live while its `in_up_vlan` is set.
static void pack_live_rules(RuleRow &row)
{
    int live = 0;
    for (const vlanCfgNode &rule : row)
        if (rule.in_up_vlan != MC_NO_VLAN)
            copy_rule(row[live++], rule);
    for (; live < MC_RULES_PER_PORT; ++live)
        clear_rule(row[live]);
}

static void pack_vlans(const MC_SHARED(uint16_t) *list, MC_SHARED(uint16_t) (&packed)[MC_TEMPLATE_VLANS])
{
    int used = 0;
    for (int i = 0; i < MC_TEMPLATE_VLANS; ++i)
        if (list[i] != 0)
            packed[used++] = list[i];
    for (; used < MC_TEMPLATE_VLANS; ++used)
        packed[used] = 0;
}

} // namespace mcadapt

using namespace mcadapt;

mcRuleTable sortPortVlanCfg(mcConstRuleTable table, uint32_t usport)
{
    static RuleTable workspace = {};

    copy_rules(workspace, table);
    LOG_TRACE(Igmp, "sortPortVlanCfg usport = %d\r\n", usport);
    const int logic_port = check_port_state<Igmp>(usport);
    if (logic_port == kNoLogicPort) {
        LOG_ERROR(Igmp, "checkPortlogic logicPort err= -1\r\n");
        return nullptr;
    }
    LOG_TRACE(Igmp, "checkPortlogic logicPort = %d\r\n", logic_port);
    pack_live_rules(workspace[logic_port]);
    return workspace;
}

mcRuleTable mldsortPortVlanCfg(mcConstRuleTable table, uint32_t usport)
{
    // intended: no workspace, the MLD table itself is overwritten, and before the port is looked at
    RuleTable &rules = mldInitParams.mldPortVlanCfg;

    copy_rules(rules, table);
    LOG_TRACE(Mld, "mldsortPortVlanCfg usport = %d\r\n", usport);
    const int logic_port = check_port_state<Mld>(usport);
    if (logic_port == kNoLogicPort) {
        LOG_ERROR(Mld, "checkPortlogic logicPort err = -1 \r\n");
        return nullptr;
    }
    LOG_TRACE(Mld, "checkPortlogic logicPort = %d\r\n", logic_port);
    pack_live_rules(rules[logic_port]);
    return rules;
}

uint16_t *sortMcVlan(const uint16_t *list)
{
    static MC_SHARED(uint16_t) workspace[MC_TEMPLATE_VLANS] = {};
    pack_vlans(as_shared(list), workspace);
    return plain(workspace);
}

uint16_t *sortmldVlan(const uint16_t *list)
{
    static MC_SHARED(uint16_t) workspace[MC_TEMPLATE_VLANS] = {};
    pack_vlans(as_shared(list), workspace);
    return plain(workspace);
}

int32_t IsSameVlanExist(mcConstRuleTable table, uint32_t, uint16_t vlan)
{
    for (int port = 0; port < MC_LOGIC_PORTS; ++port) {
        const int32_t rules = entries_to_walk(setVlanCfgNumber[port], MC_RULES_PER_PORT);
        for (int32_t i = 0; i < rules; ++i) {
            // intended: the rule's low 12 bits against all 16 of the VLAN
            if (engine_vlan(table[port][i].in_data_vlan) == vlan) {
                LOG_TRACE(Igmp, "\nIsSameVlanExist is find");
                return 0;
            }
        }
    }
    return 1;
}
