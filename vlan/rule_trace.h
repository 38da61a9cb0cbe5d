/**
 * @file
 * Traces of changes to the IGMP rules, switched by `igmp_adapt`.
 */
#ifndef MCADAPT_VLAN_RULE_TRACE_H
#define MCADAPT_VLAN_RULE_TRACE_H

#include "core/families.h"
#include "core/log.h"

namespace mcadapt {

/** Value of `igmp_adapt`, and of `mldAdapt`, that enables the traces. */
constexpr int32_t kTraceRuleChanges = 1;

inline bool traces_rule_changes() { return igmp_adapt == kTraceRuleChanges; }

/** The configuration dump, which no mask gates. */
inline void dump_when_tracing()
{
    if (traces_rule_changes())
        debugPrint();
}

inline void trace_before_add()
{
    if (traces_rule_changes())
        LOG_TRACE(Igmp, "\n before add multicast_vlan!");
}

inline void trace_after_add()
{
    if (traces_rule_changes())
        LOG_TRACE(Igmp, "\n after add multicast_vlan!");
    dump_when_tracing();
}

inline void trace_after_listing()
{
    if (traces_rule_changes())
        LOG_TRACE(Igmp, "\n after add PortVlan!");
    dump_when_tracing();
}

} // namespace mcadapt

#endif
