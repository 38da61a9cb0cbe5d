/**
 * @file
 * Operation of the web configuration pages. Called on the web pages' thread.
 */
#ifndef MCADAPT_WEB_H
#define MCADAPT_WEB_H

#include <stdint.h>

#include "mcadapt/api.h"
#include "mcadapt/records.h"

MCADAPT_BEGIN_DECLS

/**
 * Replaces the whole IGMP rule configuration of a port with one rule; MLD is not touched.
 *
 * Turns VLAN learning on, withdraws the port's previous multicast VLAN from the engine, clears the port's rules,
 * stores the rule, lists its multicast VLAN in `PortVlan` and registers it with `igmp_vlan_add`.
 *
 * @param[in,out] rule  In: `portNO`, `prodntagmode`, `in_dn_vlan`, `out_dn_vlan`, `datedntagmode`, `in_data_vlan`,
 *                      `out_data_vlan`. Out: the rule as stored, with the fields derived from them.
 * @retval 0      Done.
 * @retval -1     The port is not configured (logic port 0 has then lost its rules all the same), or its first position
 *                is taken.
 * @retval other  Low byte, sign-extended, of the engine's answer to the new VLAN; the rule stays stored.
 * @note Called on the web pages' thread, one operation on rules, VLANs or static groups at a time.
 */
MCADAPT_API int32_t std_omci_web_set_vlan(vlanCfgNode *rule);

MCADAPT_END_DECLS

#endif
