/**
 * @file
 * Operations of the standard OMCI entities. Called on the OMCI agent's thread.
 *
 * "Byte result", "full result" and "configured port" as in `omci.h`.
 */
#ifndef MCADAPT_STD_OMCI_H
#define MCADAPT_STD_OMCI_H

#include <stdint.h>

#include "mcadapt/api.h"
#include "mcadapt/records.h"

MCADAPT_BEGIN_DECLS

/**
 * Selects snooping, whatever mode is asked for.
 * @param mode  1 and 2 are refused.
 * @return -1 when refused, else the result of `omci_set_multicast_mode`.
 */
MCADAPT_API int32_t std_omci_set_multicast_mode(uint32_t mode);

/**
 * Installs a multicast VLAN rule for IGMP and, until rules are set by mode, for MLD.
 *
 * Stores the rule in `PortVlanCfg`, its multicast VLAN once in `PortVlan` and registers that with `igmp_vlan_add`;
 * asks for the port's static groups again. Turns VLAN learning on with an EPON uplink. Nothing is rolled back when the
 * engine refuses. A full rule table stores nothing and is not told of.
 *
 * @param rule  The rule; not changed. Until rules are set by mode, `in_up_vlan` 0xFFFF is derived from the downstream
 *              fields by tag mode.
 * @retval 0      Installed, or the template list is full (the rule is then stored all the same, but not for MLD).
 * @retval -1     Port not configured, or the MLD install refused.
 * @retval other  The MLD install's result, or the byte result of the last engine call when there was no MLD install.
 * @note Called on the OMCI agent's thread, one operation on rules, VLANs or static groups at a time.
 */
MCADAPT_API int32_t std_omci_set_multicast_vlan_onu(const vlanCfgNode *rule);

/**
 * Installs a multicast VLAN rule for MLD alone, in the tables of `mldInitParams`.
 * @param[in,out] rule  The rule; normalised in place.
 * @retval 0      Installed, VLAN already registered, or the template list is full.
 * @retval -1     Port not configured, or its table is full.
 * @retval other  Full result of `mld_pack_set_mc_vlan`.
 * @note Called on the OMCI agent's thread, one operation on rules, VLANs or static groups at a time.
 */
MCADAPT_API int32_t mld_onu_std_omci_set_multicast_vlan(vlanCfgNode *rule);

/**
 * Removes IGMP rules of a port by their `in_up_vlan` and, until rules are set by mode, the MLD rule.
 *
 * Withdraws the port's static groups of the VLAN; releases the VLAN when no rule uses it and it is not the default.
 *
 * @param rule  Describes the rule; not changed.
 * @retval 0   Done, also when nothing matched or the engine or the MLD removal refused.
 * @retval -1  Port not configured or without rules.
 * @note Called on the OMCI agent's thread, one operation on rules, VLANs or static groups at a time.
 */
MCADAPT_API int32_t std_omci_delete_multicast_vlan_onu(const vlanCfgNode *rule);

/**
 * Removes at most one MLD rule: the first of the port with that `in_up_vlan`, if its `in_data_vlan` fits as well.
 * Then releases the VLAN when no rule uses it, also when none was removed.
 * @param[in,out] rule  Describes the rule; normalised in place.
 * @retval 0      Done, nothing matched, or the VLAN is still used or the default.
 * @retval -1     Port not configured, without rules, or above 29.
 * @retval other  Full result of `mld_pack_set_mc_vlan`.
 * @note Called on the OMCI agent's thread, one operation on rules, VLANs or static groups at a time.
 */
MCADAPT_API int32_t mld_onu_std_omci_delete_multicast_vlan(vlanCfgNode *rule);

/** Sets the most groups a port may join; arguments and result as `omci_set_port_igmpgroup_limit`. */
MCADAPT_API int32_t std_omci_set_port_igmpgroup_limit(uint32_t port, int32_t limit);

/**
 * Sets the multicast bandwidth limit of a port; stored in `max_bandwidth`.
 * @param port          Switch port, 0 to 29, configured.
 * @param enable        Handed to the engine; not stored.
 * @param maxBandwidth  In the engine's unit.
 * @param vlan          Handed to the engine; not stored.
 * @return -1 for a bad port, else 0, also when the engine refuses.
 */
MCADAPT_API int32_t std_max_multi_bandwidth_limit(uint32_t port, uint32_t enable, uint32_t maxBandwidth, uint32_t vlan);

/**
 * Lets a port join a range of groups.
 * @param port   Switch port, 0 to 29, configured.
 * @param start  First group value, the engine's own form.
 * @param end    Last group value, not below `start`.
 * @param arg4   Handed to the engine unchanged.
 * @param vlan   Not 0.
 * @return -1 for a bad port, VLAN or range, else 0, also when the engine refuses.
 */
MCADAPT_API int32_t onu_omci_add_auth_igmp_group_vlan_config(uint32_t port, uint32_t start, uint32_t end, uint32_t arg4,
                                                             uint16_t vlan);

/**
 * Lets a port join a range of groups, then turns range authorisation of the port on; arguments and result as
 * `onu_omci_add_auth_igmp_group_vlan_config`.
 */
MCADAPT_API int32_t std_omci_add_port_auth_igmp_group_vlan_config(uint32_t port, uint32_t start, uint32_t end,
                                                                  uint32_t arg4, uint16_t vlan);

/**
 * Takes a range back; arguments as `onu_omci_add_auth_igmp_group_vlan_config`.
 * @return -1 for a bad port, VLAN or range, else the full result of `igmp_if_delete_auth_group_cfg`.
 */
MCADAPT_API int32_t std_omci_delete_port_auth_igmp_group_vlan_config(uint32_t port, uint32_t start, uint32_t end,
                                                                     uint32_t arg4, uint16_t vlan);

/**
 * Takes every range of a port back.
 * @param port  Switch port, 0 to 29, configured.
 * @param vlan  Any value; handed to the engine.
 * @return -1 for a bad port, else the full result of `igmp_if_delete_auth_group_cfg_all`.
 */
MCADAPT_API int32_t std_omci_clear_port_all_auth_igmp_group_vlan_config(uint32_t port, uint32_t vlan);

/**
 * Tells the four counters of a port from the shared status segment. Takes 2 seconds.
 * @param port       0 or 1: index of the interface status, not a switch port; what lies beyond the segment reads as 0.
 * @param[out] out1  First counter; which one that is, is the engine's, as for the next three.
 * @param[out] out2  Second counter.
 * @param[out] out3  Third counter.
 * @param[out] out4  Fourth counter.
 * @retval 0   Told.
 * @retval -1  The segment cannot be had; the outputs are not written.
 * @note Attaches the segment each time and never detaches it.
 */
MCADAPT_API int32_t std_omci_get_port_igmp_count(uint32_t port, uint32_t *out1, uint32_t *out2, uint32_t *out3,
                                                 uint32_t *out4);

/**
 * Lists the active groups.
 * @param[out] countOut  Groups listed, at most 512.
 * @param[out] buf       Room for 512 entries of 28 bytes, at any alignment: bytes 0-1 zero; from byte 4 `infoB`, group
 *                       address, `infoD`, `infoE`, `infoF` in network byte order; byte 26 zero. Others are not written.
 * @return 0, also when the refresh failed; the groups are then those of the previous snapshot.
 * @note Needs about 13 KiB of stack; prints the count whatever the masks hold.
 */
MCADAPT_API int32_t std_omci_get_multicast_ip_port(uint32_t *countOut, uint8_t *buf);

MCADAPT_END_DECLS

#endif
