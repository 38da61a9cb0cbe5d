/**
 * @file
 * Operations of the GPON OMCI agent. Called on the OMCI agent's thread.
 *
 * "Byte result" below means the low 8 bits of the engine's code, sign-extended: 0 success, 256 becomes 0, 255
 * becomes -1. "Full result" means the engine's code unchanged. A configured port is one of the two of `portState`.
 */
#ifndef MCADAPT_OMCI_H
#define MCADAPT_OMCI_H

#include <stdint.h>

#include "mcadapt/api.h"

MCADAPT_BEGIN_DECLS

/** One SSM map entry: five words whose meaning is the engine's. */
typedef struct igmpSsmMapEntry {
    uint32_t word[5]; /**< Stored and handed on in this order. */
} igmpSsmMapEntry;

/* --- Protocol mode --- */

/**
 * Sets the protocol mode: programs the switch's trap and flood settings and tells the engine.
 *
 * Stores the mode in `proxy_adapt_mode`, `multiMode` of `globle_parm` and `statusMode` of the status record.
 *
 * @param mode  Low byte: 3 control, 100 proxy, any other (1 and 2 too) snooping. A whole value of 5 makes the switch
 *              flood instead of trap.
 * @return Full result of `igmp_mode_switch_globle`; a failure of the switch is printed only.
 */
MCADAPT_API int32_t omci_set_multicast_mode(int32_t mode);

/**
 * Programs the switch's trap and flood settings, four calls in a fixed order.
 * @param mode  5: trap off, flood on; any other: trap on, flood off.
 * @return 0, or the code of the first call that failed; the later ones are then not made.
 */
MCADAPT_API int32_t flood_trap(uint32_t mode);

/** Tells the protocol mode. @param[out] out  Low byte of `statusMode`: 1, 2 or 3; 0 before start-up. @return 0. */
MCADAPT_API int32_t omci_get_multicast_mode(uint8_t *out);

/* --- Multicast VLAN rules by mode, default VLAN, reset --- */

/**
 * Installs a rule built from a mode and one or two VLANs, for IGMP and MLD.
 *
 * From then on `std_omci_set_multicast_vlan_onu` and its removal neither normalise nor serve MLD.
 *
 * @param port_index  Switch port, low byte.
 * @param mode        1 tag, 0 and 3 untag (one VLAN), any other translate between vlan1 and vlan2.
 * @param vlan1       User-side VLAN (tag and untag: the multicast VLAN), low 16 bits.
 * @param vlan2       Multicast VLAN of a translation, low 16 bits.
 * @return Result of the MLD install.
 * @note Called on the OMCI agent's thread, one operation on rules, VLANs or static groups at a time.
 */
MCADAPT_API int32_t igmp_port_vlan_and_mode_set(int32_t port_index, uint32_t mode, uint32_t vlan1, uint32_t vlan2);

/**
 * Removes the rule that `igmp_port_vlan_and_mode_set` builds from the same arguments. From then on the standard
 * operations neither normalise nor serve MLD, as after an install by mode.
 *
 * Arguments as `igmp_port_vlan_and_mode_set`.
 *
 * @return 0, whatever was removed or refused.
 * @note Called on the OMCI agent's thread, one operation on rules, VLANs or static groups at a time.
 */
MCADAPT_API int32_t igmp_service_remove_port_config(int32_t port_index, uint32_t mode, uint32_t vlan1, uint32_t vlan2);

/**
 * Sets the default VLAN of both families; an old default that is a template VLAN is registered again.
 *
 * Stores the low 16 bits in `defaultVlan` of `mldInitParams`, the global `defaultVlan` and that of `globle_parm`.
 *
 * @param vlan  Handed whole to `mld_api_set_default_vlan` and `igmp_default_vid_set`.
 * @return Full result of `igmp_default_vid_set`, or the byte result of `igmp_vlan_add` when that was called.
 * @note Called on the OMCI agent's thread, one operation on rules, VLANs or static groups at a time.
 */
MCADAPT_API int32_t omci_set_igmp_default_vlan(uint32_t vlan);

/**
 * Tells whether a port is the uplink; stores nothing.
 * @param port  Switch port.
 * @param arg2  Not used.
 * @param arg3  Not used.
 * @retval 0   Configured, and the uplink.
 * @retval -1  Not configured, or a user port.
 */
MCADAPT_API int32_t omci_set_port_up_igmp_vlan(uint32_t port, uint32_t arg2, uint32_t arg3);

/** Not implemented by this unit: prints a configuration line and stores nothing. @return 0. */
MCADAPT_API int32_t omci_set_multicast_vlan(void);
/** Not implemented by this unit, as `omci_set_multicast_vlan`. @return 0. */
MCADAPT_API int32_t omci_get_voip_igmp_vid(void);
/** Not implemented by this unit, as `omci_set_multicast_vlan`. @return 0. */
MCADAPT_API int32_t omci_set_igmp_vid(void);
/** Not implemented by this unit, as `omci_set_multicast_vlan`. @return 0. */
MCADAPT_API int32_t omci_set_igmp_age_time(void);

/**
 * Wipes the IGMP rules, template VLANs, parameters and static list, and the engine's VLANs and groups.
 *
 * Takes a new status block and leaves the old one behind; programs the protocol mode, and the switch with it, again.
 * MLD and the static group counts keep what they hold. Refusals are printed.
 *
 * @note Called on the OMCI agent's thread, one operation on rules, VLANs or static groups at a time.
 */
MCADAPT_API void omci_clear_igmp_all_parmeter(void);

/**
 * Resets one parameter of a port in the records and in the engine.
 * @param port  Switch port, 0 to 6.
 * @param type  0 fast leave (off), 2 group limit (1024); any other does nothing.
 * @retval 0   Done; what the engine answers is not used.
 * @retval -1  Port above 6, or not configured (types 0 and 2).
 */
MCADAPT_API int32_t omci_clear_igmp_parmeter(uint32_t port, uint32_t type);

/* --- Global protocol parameters: stored as given, the engine judges them --- */

/**
 * Sets the IGMP timers; the query interval comes last.
 * @param robustness               Robustness variable; the low byte is stored, the whole value handed on.
 * @param queryResponseInterval    In the engine's unit, as the other intervals; 10 after start-up.
 * @param lastMemberQueryInterval  1 after start-up.
 * @param lastMemberQueryCount     2 after start-up.
 * @param queryInterval            125 after start-up.
 * @return Full result of `igmp_para_globle_set`.
 */
MCADAPT_API int32_t omci_set_igmp_global_parmeter(uint32_t robustness, uint32_t queryResponseInterval,
                                                  uint32_t lastMemberQueryInterval, uint32_t lastMemberQueryCount,
                                                  uint32_t queryInterval);

/**
 * Sets the MLD timers; the query interval comes second. Stored in `mldInitParams`; the engine has one call for both
 * families, so its IGMP timers change too.
 *
 * Arguments as `omci_set_igmp_global_parmeter`.
 *
 * @return Full result of `igmp_para_globle_set`.
 */
MCADAPT_API int32_t mld_omci_set_igmp_global_parmeter(uint32_t robustness, uint32_t queryInterval,
                                                      uint32_t queryResponseInterval, uint32_t lastMemberQueryInterval,
                                                      uint32_t lastMemberQueryCount);

/** Sets the last member query count. @param count  Any value. @return Full result of `igmp_para_lmqc_globle_set`. */
MCADAPT_API int32_t omci_set_para_lmqc_globle(uint32_t count);
/**
 * Sets the last member query interval.
 * @param interval  Any value, in the engine's unit.
 * @return Full result of `igmp_para_lmqi_globle_set`.
 */
MCADAPT_API int32_t omci_set_para_lmqi_globle(uint32_t interval);
/**
 * Sets the query response interval, `query_max_resp_time`.
 * @param interval  Any value, in the engine's unit.
 * @return Full result of `igmp_para_qri_globle_set`.
 */
MCADAPT_API int32_t omci_set_para_qri_globle(uint32_t interval);
/**
 * Sets the query interval.
 * @param interval  Any value, in the engine's unit.
 * @return Full result of `igmp_para_qi_globle_set`.
 */
MCADAPT_API int32_t omci_set_para_qi_globle(uint32_t interval);
/**
 * Sets the robustness variable.
 * @param robustness  Any value; the low byte is stored, the whole value handed on.
 * @return Full result of `igmp_para_rv_globle_set`.
 */
MCADAPT_API int32_t omci_set_para_rv_globle(uint32_t robustness);
/**
 * Sets the IGMP version.
 * @param version  Any value; the low byte is stored, the whole value handed on.
 * @return Byte result of `igmp_version_globle_set`.
 */
MCADAPT_API int32_t omci_igmp_version_globle_set(uint32_t version);
/**
 * Sets the SSM source pair; the meaning of the two words is the engine's.
 * @param first   Stored in `ssm_ip`.
 * @param second  Stored in `ssm_ip_arg2`.
 * @return Byte result of `igmp_ssm_ip_globle_set`.
 */
MCADAPT_API int32_t omci_igmp_ssm_ip_globle_set(uint32_t first, uint32_t second);
/**
 * Replaces the one SSM map entry.
 * @param entry  Stored in `ssm_map` and `ssm_map_arg5`; the engine gets the stored copy.
 * @return Byte result of `igmp_ssm_map_change`.
 */
MCADAPT_API int32_t omci_igmp_ssm_map_globle_set(igmpSsmMapEntry entry);
/**
 * Sets fast leave of both logic ports and tells the engine once for each.
 * @param enable  0 off; the low 16 bits are stored, the whole value handed on.
 * @return Byte result of the second `igmp_fast_leave_enable_globle`.
 */
MCADAPT_API int32_t omci_set_igmp_leave_mode(uint32_t enable);
/**
 * Sets VLAN learning, `learningMode`.
 * @param enable  0 off; the low 16 bits are stored, the whole value handed on.
 * @return Byte result of `igmp_vlan_learning_set`.
 */
MCADAPT_API int32_t omci_set_igmp_dynamic_enable(uint32_t enable);
/**
 * Stores the age enable in `general_member_interval`; the engine learns it with the next set of timers.
 * @param enable  Any value.
 */
MCADAPT_API void setIgmpAgeEnable(uint32_t enable);

/* --- Per-port limits and leave mode --- */

/**
 * Sets the most groups a port may join; stored in `grouplimit` (low 16 bits) and `statusGroupLimit`.
 * @param port   Switch port, 0 to 6, configured.
 * @param limit  0 means no limit and is replaced by 1024.
 * @return -1 for a bad port, else the byte result of `igmp_if_max_group_num_set`.
 */
MCADAPT_API int32_t omci_set_port_igmpgroup_limit(uint32_t port, int32_t limit);

/**
 * Tells a group limit.
 * @param port      0 or 1: index of `statusGroupLimit`, not a switch port; 2 tells `statusMode`, above it 0.
 * @param[out] out  The low 16 bits; 0 before start-up.
 * @return 0.
 */
MCADAPT_API int32_t omci_get_port_igmpgroup_limit(uint32_t port, uint16_t *out);

/**
 * Sets fast leave of a port; stored in `leavemod`, low 16 bits.
 * @param port    Switch port, 0 to 29, configured.
 * @param enable  Handed whole to the engine.
 * @return -1 for a bad port, else the byte result of `igmp_if_fast_leave_enable`.
 */
MCADAPT_API int32_t omci_set_port_igmp_leave_mode(uint32_t port, uint32_t enable);

/**
 * Hands a run of channel indices to the engine with `igmp_set_multicast_control`; nothing is stored or checked.
 * @param port    Switch port.
 * @param opt     0 gives the engine kind 1, 1 kind 0, any other kind 2.
 * @param dsVlan  Low 16 bits are handed on.
 * @param first   First index.
 * @param last    Last index, inclusive. With 0xFFFFFFFF the call does not return.
 * @return The engine's answer to the last index; 0 when `first` is above `last`.
 */
MCADAPT_API int32_t omci_set_port_to_control_multicast_list_table(uint32_t port, uint32_t opt, uint32_t dsVlan,
                                                                  uint32_t first, uint32_t last);

/* --- Authorised and static groups --- */

/**
 * Adds a range to the white list of the whole unit and turns the engine's group-limit function on.
 * @param start  First group: a pointer to 4 bytes that is handed to the engine as it is.
 * @param end    Last group, likewise.
 * @return Full result of `igmp_if_add_auth_group_cfg`.
 */
MCADAPT_API int32_t omci_set_multi_white_list_entry(const uint8_t *start, const uint8_t *end);

/**
 * Ends the white list of the whole unit: drops every group but the static ones, turns the engine's group-limit function
 * off and takes every range back.
 * @return Full result of `igmp_if_delete_auth_group_cfg_all`.
 */
MCADAPT_API int32_t omci_delete_multi_white_list(void);

/**
 * Adds a group to the unit-wide private list.
 * @param group  Group value, the engine's own form.
 * @param vlan   Not 0; handed whole to the engine.
 * @return -1 for VLAN 0, else full result of `add_to_auth_group_api`.
 */
MCADAPT_API int32_t omci_add_auth_igmp_group_vlan_config(uint32_t group, uint32_t vlan);

/**
 * Removes a group from the unit-wide private list.
 * @param group  Group value, the engine's own form.
 * @param vlan   Any value, 0 too.
 * @return Byte result of `auth_group_delete_api`.
 */
MCADAPT_API int32_t omci_delete_auth_igmp_group_vlan_config(uint32_t group, uint32_t vlan);

/** Empties the unit-wide private list. @return 0. */
MCADAPT_API int32_t omci_clear_all_auth_igmp_group_vlan_config(void);

/**
 * Adds a run of static groups: the values from byte 13 of `startBuf` to byte 13 of `endBuf`.
 *
 * Each is appended to `g_static_list` of the port (32 fit), whatever the engine answered.
 *
 * @param port      Switch port, 0 to 29, configured; the lists serve ports 0 and 1.
 * @param startBuf  At least 14 bytes; byte 13 is the first value.
 * @param endBuf    At least 14 bytes; byte 13 is the last value, not below the first.
 * @param arg4      Ignored.
 * @param vlan      Not 0.
 * @return -1 for a bad port, VLAN or range, else the byte result of the last `igmp_if_static_group_source_add`.
 * @note Called on the OMCI agent's thread, one operation on rules, VLANs or static groups at a time.
 */
MCADAPT_API int32_t omci_add_static_multi_acess_ctrl_table(uint32_t port, const uint8_t *startBuf,
                                                           const uint8_t *endBuf, uint32_t arg4, uint16_t vlan);

/**
 * Removes a run of static groups; arguments as `omci_add_static_multi_acess_ctrl_table`.
 *
 * Entries are found by their group alone; `vlan` is only handed to the engine. They are freed in place; only the first
 * `g_static_grp_num` entries are searched.
 *
 * @return -1 for a bad port, VLAN or range, else the byte result of the last `igmp_if_static_group_source_del`, 0 if
 *         none was made.
 * @note Called on the OMCI agent's thread, one operation on rules, VLANs or static groups at a time.
 */
MCADAPT_API int32_t omci_del_static_multi_acess_ctrl_table(uint32_t port, const uint8_t *startBuf,
                                                           const uint8_t *endBuf, uint32_t arg4, uint16_t vlan);

/**
 * Removes every static group of a port.
 * @param port  Switch port, 0 to 29, configured.
 * @return -1 for a bad port, else the byte result of the last `igmp_if_static_group_source_del`, 0 if none was made.
 * @note Called on the OMCI agent's thread, one operation on rules, VLANs or static groups at a time.
 */
MCADAPT_API int32_t omci_clear_all_static_multi_acess_ctrl_table(uint32_t port);

/* --- Status --- */

/**
 * Lists the active groups.
 * @param[out] countOut  Groups listed, at most 512.
 * @param[out] buf       Room for 512 entries of 8 bytes, at any alignment: group address (host byte order), user
 *                       port, three bytes not written.
 * @return 0, also when the refresh failed; the groups are then those of the previous snapshot.
 * @note Needs about 13 KiB of stack; prints the count whatever the masks hold.
 */
MCADAPT_API int32_t omci_get_multicast_ip_port(uint32_t *countOut, uint8_t *buf);

MCADAPT_END_DECLS

#endif
