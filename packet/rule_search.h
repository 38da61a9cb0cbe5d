/**
 * @file
 * The rule search for a frame from a user port.
 */
#ifndef MCADAPT_PACKET_RULE_SEARCH_H
#define MCADAPT_PACKET_RULE_SEARCH_H

#include <cstdint>

#include "core/families.h"
#include "packet/frame.h"

namespace mcadapt {

/** The first of some rules of a row whose upstream VLAN is the frame's; `rules` when there is none. */
inline int32_t find_upstream_rule(const RuleRow &row, int32_t rules, uint32_t vlan_id)
{
    int32_t r = 0;
    while (r < rules && (row[r].in_up_vlan & kVidMask) != vlan_id)
        ++r;
    return r;
}

/** How many rules `find_upstream_rule` looked at to find that one. */
constexpr int32_t walked_rules(int32_t found, int32_t rules) { return found < rules ? found + 1 : rules; }

} // namespace mcadapt

#endif
