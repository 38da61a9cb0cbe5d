/**
 * @file
 * Multicast VLAN rules: normalisation, building a rule from a mode, storing one in a table.
 */
#ifndef MCADAPT_VLAN_RULE_H
#define MCADAPT_VLAN_RULE_H

#include <cstdint>

#include "core/families.h"
#include "core/log.h"
#include "core/ports.h"

namespace mcadapt {

/** What the `prouptagmode` of a rule asks for. */
enum class TagMode { kUntag, kTranslate, kTag };

constexpr TagMode tag_mode(const vlanCfgNode &rule)
{
    if (rule.prouptagmode == 0)
        return TagMode::kUntag;
    if (rule.prouptagmode == 2 || rule.prouptagmode == 3)
        return TagMode::kTranslate;
    return TagMode::kTag;
}

/** Logs the tag mode of a rule, for all rule operations but the MLD install. */
template <class F> inline void trace_tag_mode(const vlanCfgNode &rule)
{
    switch (tag_mode(rule)) {
    case TagMode::kUntag:
        LOG_TRACE(F, "multicast_vlan tagmode = %d, is untag mode!\n", +rule.prouptagmode);
        break;
    case TagMode::kTranslate:
        LOG_TRACE(F, "multicast_vlan tagmode = %d, is translate mode!\n", +rule.prouptagmode);
        break;
    case TagMode::kTag:
        LOG_TRACE(F, "multicast_vlan tagmode = %d, is tag mode!\n", +rule.prouptagmode);
        break;
    }
}

/** Derives upstream VLANs that are not set from the downstream ones, as the tag mode asks. */
void derive_upstream(vlanCfgNode &rule);

/**
 * Normalises a rule, unless rules are set by mode, and finds the logic port of its port; both are logged.
 *
 * For all rule operations but the MLD install, whose lines are its own.
 */
template <class F> inline int take_rule(vlanCfgNode &rule)
{
    if (F::set_by_mode() == 0) {
        trace_tag_mode<F>(rule);
        derive_upstream(rule);
    }
    const int logic_port = find_logic_port<F>(rule.portNO);
    if (logic_port == kNoLogicPort)
        LOG_ERROR(F, "\n port(%d) is invalid!", +rule.portNO);
    else
        LOG_TRACE(F, "\n logicPort is %d", logic_port);
    return logic_port;
}

/** Without an upstream VLAN the user side of a rule is untagged: all its VLANs become 0. */
void zero_untagged_user_side(vlanCfgNode &rule);

/** The rule that a mode and one or two VLANs stand for. */
vlanCfgNode rule_from_mode(int32_t port_index, uint32_t mode, uint32_t vlan1, uint32_t vlan2);

/** Writes a rule into a table position; the position keeps its `ruleFlag`. */
void store_rule(vlanCfgNode &position, const vlanCfgNode &rule);

inline bool is_empty_position(const vlanCfgNode &position) { return position.in_data_vlan == MC_NO_VLAN; }

/** The 12-bit VLAN id under which the engine knows a rule's multicast VLAN. */
inline uint32_t engine_vlan(uint16_t data_vlan) { return data_vlan & 0x0FFFu; }

} // namespace mcadapt

#endif
