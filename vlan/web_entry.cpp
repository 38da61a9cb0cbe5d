/**
 * @file
 * The web pages' entry: one rule replaces all that a port had. IGMP only.
 */
#include "core/counts.h"
#include "core/log.h"
#include "core/ports.h"
#include "core/start_state.h"
#include "mcadapt/web.h"
#include "platform/protocol_engine.h"
#include "vlan/learning.h"
#include "vlan/rule.h"
#include "vlan/rule_trace.h"
#include "vlan/template_list.h"

namespace mcadapt {

// Tag modes of the pages.
static constexpr uint8_t kWebUntag = 0;
static constexpr uint8_t kWebTag = 1;

// The entry's own log: `igmp_adapt` is its level, and each message stands between a heading and a line end. The line
// numbers of the headings are fixed texts.
static void log_web_error(uint8_t port)
{
    if (igmp_adapt < -1)
        return;
    printf("\r\n [IGMP_ERROR]%s(%d): ", "std_omci_web_set_vlan", 1835);
    printf("\n port(%d) is invalid!", port);
    printf("\r\n");
}

static void log_web_information(int logic_port)
{
    if (igmp_adapt <= 0)
        return;
    printf("\r\n [IGMP_INFORMATION]%s(%d): ", "std_omci_web_set_vlan", 1828);
    printf("\n logicPort is %d", logic_port);
    printf("\r\n");
}

// intended: withdrawn even while the other port uses it, unless the new VLAN is the default
static void withdraw_previous_vlan(int logic_port, uint16_t new_vlan)
{
    if (globle_parm.defaultVlan == new_vlan)
        return;
    const uint32_t vlan = engine_vlan(PortVlanCfg[logic_port][0].in_data_vlan);
    LOG_CONFIG(Igmp, "\r\n temp_var = %d\r\n", vlan);
    const int32_t status = byte_status(igmp_vlan_del(vlan));
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_vlan_del Fail(%d)", status);
}

// intended: entry j is compared with the first rule of logic port j, whatever port is being set
static void drop_one_template_vlan()
{
    if (setVlanNumber <= 0)
        return;
    const int32_t entries = entries_to_walk(setVlanNumber, MC_LOGIC_PORTS);
    for (int32_t j = 0; j < entries; ++j) {
        if (PortVlan[j] == PortVlanCfg[j][0].in_data_vlan) {
            drop_template_entry(j);
            break;
        }
    }
    compact_template_lists();
}

// intended: an unknown port is refused only after this, and then the rules of logic port 0 are gone
static void clear_web_port(const vlanCfgNode &rule)
{
    int logic_port = find_logic_port<Igmp>(rule.portNO);
    if (logic_port == kNoLogicPort)
        logic_port = 0;
    else
        LOG_TRACE(Igmp, "\n logicPort is %d", logic_port);

    enable_vlan_learning();
    withdraw_previous_vlan(logic_port, rule.in_data_vlan);
    drop_one_template_vlan();
    clear_rule_row(PortVlanCfg[logic_port]);
    setVlanCfgNumber[logic_port] = 0;
}

// Derives the upstream and output fields from the downstream ones; the order of the steps matters.
static void complete_web_rule(vlanCfgNode &rule)
{
    rule.in_up_vlan = rule.out_dn_vlan;
    rule.prouptagmode = rule.prodntagmode;
    rule.out_up_vlan = rule.in_dn_vlan;
    if (rule.prodntagmode == kWebTag) {
        rule.in_up_vlan = 0;
        rule.out_dn_vlan = 0;
    }
    if (rule.datedntagmode == kWebTag)
        rule.out_data_vlan = 0;
    if (rule.prodntagmode == kWebUntag) {
        rule.in_up_vlan = rule.out_up_vlan;
        rule.out_dn_vlan = rule.in_dn_vlan;
    }
    if (rule.datedntagmode == kWebUntag)
        rule.out_data_vlan = rule.in_data_vlan;
}

// The port was just cleared, so there is room unless the engine's callbacks changed the tables in the meantime.
static bool store_web_rule(int logic_port, const vlanCfgNode &rule)
{
    const int32_t count = setVlanCfgNumber[logic_port];
    if (is_full(count, MC_RULES_PER_PORT))
        return false;
    vlanCfgNode &position = PortVlanCfg[logic_port][count];
    if (!is_empty_position(position)) {
        LOG_ERROR(Igmp, "\n PortVlan storege is wrong!");
        return false;
    }
    trace_before_add();
    dump_when_tracing(); // intended: the install dumps only afterwards
    store_rule(position, rule);
    ++setVlanCfgNumber[logic_port];
    trace_after_add();
    return true;
}

// intended: no look for the VLAN in the list, so one set twice may be listed twice
static void list_web_vlan(uint16_t vlan)
{
    append_template_vlan(vlan);
    trace_after_listing();
}

} // namespace mcadapt

using namespace mcadapt;

int32_t std_omci_web_set_vlan(vlanCfgNode *rule)
{
    LOG_CONFIG(Igmp, "onu_std_omci_web_set_vlan is in! port_index = %d\n", +rule->portNO);
    clear_web_port(*rule);

    const int logic_port = find_logic_port<Igmp>(rule->portNO);
    if (logic_port == kNoLogicPort) {
        log_web_error(rule->portNO);
        return -1;
    }
    log_web_information(logic_port);

    complete_web_rule(*rule);
    if (!store_web_rule(logic_port, *rule))
        return -1;
    list_web_vlan(rule->in_data_vlan);
    const int32_t status = byte_status(igmp_vlan_add(engine_vlan(rule->in_data_vlan)));
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_standard_vlan_add Fail"); // intended: without the status
    return status;
}
