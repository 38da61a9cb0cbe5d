/**
 * @file
 * Copies of whole tables: field by field, for other threads may be reading the one and writing the other.
 */
#ifndef MCADAPT_VLAN_COPIES_H
#define MCADAPT_VLAN_COPIES_H

#include "core/start_state.h"
#include "mcadapt/vlan_tables.h"

namespace mcadapt {

inline void copy_rules(RuleTable &to, mcConstRuleTable from)
{
    for (int port = 0; port < MC_LOGIC_PORTS; ++port)
        for (int i = 0; i < MC_RULES_PER_PORT; ++i)
            copy_rule(to[port][i], from[port][i]);
}

inline void copy_vlans(MC_SHARED(uint16_t) (&to)[MC_TEMPLATE_VLANS], const uint16_t *from)
{
    for (int i = 0; i < MC_TEMPLATE_VLANS; ++i)
        to[i] = as_shared(from)[i];
}

} // namespace mcadapt

#endif
