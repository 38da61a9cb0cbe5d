/**
 * @file
 * Compaction of the rule tables and of the template VLAN lists.
 *
 * Called on a management thread, one call at a time: each function returns a workspace that its next call overwrites.
 */
#ifndef MCADAPT_VLAN_TABLES_H
#define MCADAPT_VLAN_TABLES_H

#include <stdint.h>

#include "mcadapt/api.h"
#include "mcadapt/records.h"

MCADAPT_BEGIN_DECLS

/** A pointer to a whole rule table: `vlanCfgNode[2][16]`. */
typedef const vlanCfgNode (*mcConstRuleTable)[MC_RULES_PER_PORT];
typedef vlanCfgNode (*mcRuleTable)[MC_RULES_PER_PORT];

/**
 * Packs the live rules of one port (`in_up_vlan` not 0xFFFF) at the front of its row, in their order.
 * @param table   The rule table to read; it is not changed.
 * @param usport  Switch port, 0 to 29, one of `portState`.
 * @return The packed copy, in a workspace of this function; null when the port is refused.
 */
MCADAPT_API mcRuleTable sortPortVlanCfg(mcConstRuleTable table, uint32_t usport);

/**
 * As `sortPortVlanCfg` for the MLD ports, but without a workspace: the table is copied over `mldPortVlanCfg` (also
 * when the port is then refused) and packed there.
 * @param table   The rule table to read; it may be `mldPortVlanCfg` itself.
 * @param usport  Switch port, 0 to 29, one of `mldPortState`.
 * @return `mldPortVlanCfg`; null when the port is refused.
 */
MCADAPT_API mcRuleTable mldsortPortVlanCfg(mcConstRuleTable table, uint32_t usport);

/**
 * Packs the non-zero values of a VLAN list at the front, in their order; the rest become 0.
 * @param list  16 values; not changed.
 * @return The packed copy: 16 values in a workspace of this function.
 */
MCADAPT_API uint16_t *sortMcVlan(const uint16_t *list);

/** As `sortMcVlan`, with a workspace of its own; arguments and result as `sortMcVlan`. */
MCADAPT_API uint16_t *sortmldVlan(const uint16_t *list);

/**
 * Tells whether a multicast VLAN is free to be released.
 * @param table      The rule table; the counts are those of `setVlanCfgNumber`.
 * @param logicPort  Not used: a rule of either port keeps the VLAN.
 * @param vlan       Compared whole with the low 12 bits of `in_data_vlan`.
 * @retval 1  No rule carries the VLAN.
 * @retval 0  One does.
 */
MCADAPT_API int32_t IsSameVlanExist(mcConstRuleTable table, uint32_t logicPort, uint16_t vlan);

MCADAPT_END_DECLS

#endif
