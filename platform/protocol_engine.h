/**
 * @file
 * The IGMP/MLD protocol engine: calls that a port supplies and the library makes.
 *
 * Results are 32-bit, 0 for success unless a call says otherwise. "Low byte" means that the library looks at the low
 * 8 bits only, as a signed number: 256 counts as success, 255 as -1. The library passes refusals on or prints them; it
 * never undoes what it stored, never retries, and makes the following calls all the same.
 *
 * Start-up calls are made on the thread that calls `mc_igmp_init`; packets arrive on the receive task; all other calls
 * are made on management threads, and those marked so during start-up too. The library holds no lock during a call.
 * Pointers are valid during the call only. Ports are switch port numbers unless a call says otherwise.
 */
#ifndef MCADAPT_PLATFORM_PROTOCOL_ENGINE_H
#define MCADAPT_PLATFORM_PROTOCOL_ENGINE_H

#include <stdint.h>

#include "mcadapt/api.h"
#include "mcadapt/engine_types.h"

MCADAPT_BEGIN_DECLS

/* --- Start-up, in the order of the calls --- */

/** Puts the IGMP half into its start state. @return Not looked at. */
int32_t igmp_data_init(void);

/** Puts the MLD half into its start state. @return Not looked at. */
int32_t mld_data_init(void);

/**
 * Starts the IGMP half's tasks. The callbacks are registered only later; nothing orders the two.
 * @param priority   As given to `mc_igmp_init`.
 * @param engineArg  As given to `mc_igmp_init`; the engine's own.
 * @return Not looked at.
 */
int32_t igmp_task_init(int32_t priority, int32_t engineArg);

/** Starts the MLD half's tasks. @param priority  As given to `mc_igmp_init`. @return Not looked at. */
int32_t mld_task_init(int32_t priority);

/** Forgets every multicast VLAN. Start-up and full reset. @return Low byte. */
int32_t igmp_vlan_del_all(void);

/** Registers the callback that sends the engine's IGMP packets. @return Low byte. */
int32_t igmp_register_switch_send_pkt(mcSendPacketCallback send);

/** Registers the callback that installs IPv4 forwarding entries. @return Low byte. */
int32_t igmp_register_switch_add_table(mcForwardingCallback add);

/** Registers the callback that removes IPv4 forwarding entries. @return Low byte. */
int32_t igmp_register_switch_del_table(mcForwardingCallback remove);

/**
 * Declares a port to the IGMP half, for every VLAN.
 * @param port  A switch port, or 0xFFFF, the uplink's wildcard.
 * @return Low byte; a refusal ends the declarations.
 */
int32_t igmp_port_add_all_vlan(uint32_t port);

/** Registers the callback that sends the engine's MLD packets. @return Low byte. */
int32_t mld_register_switch_send_pkt(mcSendPacketCallback send);

/** Registers the callback that installs IPv6 forwarding entries. @return Low byte. */
int32_t mld_register_switch_add_table(mcForwardingCallback add);

/** Registers the callback that removes IPv6 forwarding entries. @return Low byte. */
int32_t mld_register_switch_del_table(mcForwardingCallback remove);

/** Declares a port to the MLD half. @param port  A switch port; 29 for the uplink. @return A refusal ends the calls. */
int32_t mld_port_conf_set(uint32_t port);

/** Sets the MLD mode. @param mode  16 bits: 2 snooping, 3 control. @return Result, whole. */
int32_t mld_proxy_snoop_set_globle(uint32_t mode);

/** Sets the source address of proxied reports. @param address  IPv4, host byte order. @return Low byte. */
int32_t igmp_globle_proxyip_set(uint32_t address);

/* --- Packets, on the receive task --- */

/**
 * Reads the engine's clock; called once, when the first frame of a family arrives.
 * @param[out] time  64 zeroed bytes; what is written is not used.
 * @return Not looked at.
 */
int32_t igmp_time_now(void *time);

/**
 * Takes one IPv4 packet whose protocol field says IGMP.
 *
 * Nothing else of the packet has been checked: its length field may claim more than the frame held. The memory behind
 * the pointer is readable up to the end of the 2048-byte receive buffer.
 *
 * @param ipHeader  First byte of the IPv4 header.
 * @param length    Total length field of that header, 0 to 65535.
 * @param port      Switch port, or 0xFFFF for the uplink.
 * @param vlan      Multicast VLAN found for the frame.
 * @param options   Always 0.
 * @return Low byte; it becomes the intake's result.
 * @note May call the callbacks before it returns.
 */
int32_t igmp_pkt_recv(const uint8_t *ipHeader, uint32_t length, uint32_t port, uint32_t vlan, uint32_t options);

/**
 * Takes one IPv6 packet; whether it carries MLD has not been checked.
 *
 * @param ipHeader  First byte of the IPv6 header.
 * @param length    Payload length field of that header plus 40, 40 to 65575.
 * @param port      Switch port; 29 for the uplink.
 * @param vlan      Multicast VLAN found for the frame.
 * @param scratch   The first two bytes of the frame, read as a little-endian number, plus 12.
 * @return 0 accepted; returned whole by the intake.
 * @note May call the callbacks before it returns.
 */
int32_t mld_pkt_recv(const uint8_t *ipHeader, uint32_t length, uint32_t port, uint32_t vlan, uint16_t *scratch);

/* --- Mode and global parameters --- */

/** Sets the IGMP mode: 1 snooping, 2 proxy, 3 control. Start-up too. @return Result, whole. */
int32_t igmp_mode_switch_globle(uint32_t mode);

/** Sets the default VLAN. Start-up too. @param vlan  As the agent gave it, 32 bits. @return Result, whole. */
int32_t igmp_default_vid_set(uint32_t vlan);

/** Sets the default VLAN of the MLD half. @param vlan  As the agent gave it, 32 bits. @return Printed only. */
int32_t mld_api_set_default_vlan(uint32_t vlan);

/**
 * Sets the six timers, of IGMP and of MLD alike (the MLD operation makes this call too). Start-up too.
 *
 * Values are as the agent gave them; the engine judges them.
 *
 * @param ageEnable  The general member interval.
 * @return Result, whole.
 */
int32_t igmp_para_globle_set(uint32_t robustness, uint32_t queryInterval, uint32_t queryResponseInterval,
                             uint32_t lastMemberQueryInterval, uint32_t lastMemberQueryCount, uint32_t ageEnable);

/** Sets the last member query count. @return Result, whole; as the next four. */
int32_t igmp_para_lmqc_globle_set(uint32_t count);
/** Sets the last member query interval. */
int32_t igmp_para_lmqi_globle_set(uint32_t interval);
/** Sets the query response interval. */
int32_t igmp_para_qri_globle_set(uint32_t interval);
/** Sets the query interval. */
int32_t igmp_para_qi_globle_set(uint32_t interval);
/** Sets the robustness variable. */
int32_t igmp_para_rv_globle_set(uint32_t robustness);

/** Sets the IGMP version. @return Low byte. */
int32_t igmp_version_globle_set(uint32_t version);

/** Sets the SSM source pair; the meaning of the two words is the engine's. @return Low byte. */
int32_t igmp_ssm_ip_globle_set(uint32_t first, uint32_t second);

/** Replaces the SSM map entry. @param words  Five words, the library's stored copy. @return Low byte. */
int32_t igmp_ssm_map_change(const uint32_t *words);

/** Sets fast leave of every port. Start-up too. @param enable  0 off. @return Low byte. */
int32_t igmp_fast_leave_enable_globle(uint32_t enable);

/** Sets VLAN learning. Start-up too. @param enable  0 off. @return Low byte. */
int32_t igmp_vlan_learning_set(uint32_t enable);

/* --- Multicast VLANs --- */

/** Registers a multicast VLAN. @param vlan  12 bits; an old default VLAN comes with all 16. @return Low byte. */
int32_t igmp_vlan_add(uint32_t vlan);

/**
 * Forgets a multicast VLAN.
 * @param vlan  12 bits; 4095 when the web pages replace the rules of a port that had none.
 * @return Low byte; printed only.
 */
int32_t igmp_vlan_del(uint32_t vlan);

/** Registers (1) or forgets (0) a multicast VLAN of the MLD half. @param vlan  12 bits. @return Result, whole. */
int32_t mld_pack_set_mc_vlan(uint32_t add, uint32_t vlan);

/* --- Ports --- */

/** Sets the most groups on a port. @param limit  As given; 1024 for no limit. @return Low byte. */
int32_t igmp_if_max_group_num_set(uint32_t port, int32_t limit);

/** Sets fast leave of a port. @param enable  0 off. @return Low byte. */
int32_t igmp_if_fast_leave_enable(uint32_t port, uint32_t enable);

/** Sets the multicast bandwidth limit of a port, in the engine's own unit. @return Printed only. */
int32_t igmp_if_max_bandwidth_set(uint32_t port, uint32_t enable, uint32_t maxBandwidth, uint32_t vlan);

/**
 * Allows or denies one channel of a control list on a port.
 * @param kind   1, 0 or 2, from the agent's options 0, 1 and any other.
 * @param vlan   16 bits.
 * @param index  Channel index.
 * @return Result, whole.
 */
int32_t igmp_set_multicast_control(uint32_t port, uint32_t kind, uint32_t vlan, uint32_t index);

/**
 * Takes one entry of an OAM control list.
 * @param action   As the agent codes it; never 2.
 * @param port     User port counted from 0, 16 bits: the agent's port 0 arrives as 0xFFFF.
 * @param vlan     16 bits.
 * @param address  Six-byte group address.
 * @return Result, whole.
 */
int32_t igmp_oam_control_2(uint32_t action, uint32_t port, uint32_t vlan, const uint8_t *address);

/* --- Authorised and static groups --- */

/** Turns the group-limit function, the white list, on (1) or off (0). @return Printed only. */
int32_t igmp_chile_grp_limit_func_set(uint32_t enable);

/**
 * Authorises a range of groups.
 * @param port   Switch port; 0 with VLAN 65535: the whole unit.
 * @param start  Whole unit: address of a 4-byte group; per port: the group value itself. `end` likewise.
 * @param arg4   The agent's own; 0 for the whole unit.
 * @param vlan   16 bits; 65535 any.
 * @return Whole unit: result, whole; per port: printed only.
 */
int32_t igmp_if_add_auth_group_cfg(uint32_t port, uintptr_t start, uintptr_t end, uint32_t arg4, uint32_t vlan);

/** Takes a range of a port back; arguments as `igmp_if_add_auth_group_cfg`, per port. @return Result, whole. */
int32_t igmp_if_delete_auth_group_cfg(uint32_t port, uintptr_t start, uintptr_t end, uint32_t arg4, uint32_t vlan);

/** Takes every range back. @param port  Port 0 with VLAN 65535: the whole unit. @return Result, whole. */
int32_t igmp_if_delete_auth_group_cfg_all(uint32_t port, uint32_t vlan);

/** Turns range authorisation of a port on (1). @return Printed only. */
int32_t igmp_if_grp_range_auth_enable(uint32_t port, uint32_t enable);

/** Adds a group to the unit-wide private list. @return Result, whole. */
int32_t add_to_auth_group_api(uint32_t group, uint32_t vlan);

/** Removes a group from the unit-wide private list. @return Low byte. */
int32_t auth_group_delete_api(uint32_t group, uint32_t vlan);

/** Empties the unit-wide private list. @return Not looked at. */
int32_t auth_group_delete_all_api(void);

/** Drops every group. Full reset. @return Not looked at. */
int32_t igmp_del_all_group(void);

/** Drops every group but the static ones. @return Low byte; printed only. */
int32_t igmp_del_all_group_except_static_group(void);

/**
 * Joins a static group on a port.
 * @param port   Rule installs and removals: the logic port; static-group operations: the switch port.
 * @param vlan   16 bits.
 * @param group  The value that the agent gave, 0 to 255.
 * @param arg4   Always 0; `arg5` always 1.
 * @return Low byte.
 */
int32_t igmp_if_static_group_source_add(uint32_t port, uint32_t vlan, uint32_t group, uint32_t arg4, uint32_t arg5);

/** Leaves a static group; arguments as `igmp_if_static_group_source_add`. @return Low byte. */
int32_t igmp_if_static_group_source_del(uint32_t port, uint32_t vlan, uint32_t group, uint32_t arg4, uint32_t arg5);

/* --- Status --- */

/**
 * Gathers the active groups.
 * @param port         Switch port, or 255 for all.
 * @param length       Bytes offered: 12804.
 * @param[out] buffer  Zeroed. Bytes 0-3 count, then packed records of 25 bytes: `vlanId` (2), `infoB` (4),
 *                     `groupAddress` (4), `infoD` (4), `infoE` (4), `infoF` (4), `infoG` (2), `userPort` (1), all in
 *                     host byte order. A count above 512 is taken as 512.
 * @return Above 0: gathered; 0 or below: no answer, the snapshot stays as it was.
 */
int32_t igmp_gather_grp_info(uint32_t port, uint32_t length, void *buffer);

/**
 * Gathers the interface counters of a port.
 * @param length       Bytes offered: 16.
 * @param[out] buffer  Zeroed; four 32-bit counters in host byte order.
 * @return Above 0: gathered; 0 or below: no answer, the snapshot stays as it was.
 */
int32_t igmp_if_gather_if_status(uint32_t port, uint32_t length, void *buffer);

MCADAPT_END_DECLS

#endif
