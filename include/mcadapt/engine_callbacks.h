/**
 * @file
 * What the protocol engine calls: transmission of its packets, forwarding entries, and the test hooks beside them.
 *
 * Start-up registers the callbacks with the engine. They run on whichever thread the engine calls them from: its own
 * tasks, or the receive task while that is inside `igmp_pkt_recv` or `mld_pkt_recv`. They take no lock. Records and
 * packets are read before they return; no reference is kept.
 */
#ifndef MCADAPT_ENGINE_CALLBACKS_H
#define MCADAPT_ENGINE_CALLBACKS_H

#include <stdint.h>

#include "mcadapt/api.h"
#include "mcadapt/engine_types.h"

MCADAPT_BEGIN_DECLS

/**
 * Sends an IPv4 packet of the engine: adds the Ethernet header and a tag, one frame per matching rule on a user port.
 *
 * @param packet      The IPv4 packet, at least its 20-byte header.
 * @param port        Switch port, 0 to 29; 0xFFFF means the uplink.
 * @param[in,out] tag The tag to use; `vid` keeps the VLAN of the last rule that matched.
 * @param length      Packet length, bytes.
 * @retval 0   Sent, or refused for its port; what the driver answers is printed and not returned.
 * @retval -1  A frame did not fit 2048 bytes; it and the later ones were not sent.
 */
MCADAPT_API int32_t send_pkt_igmp(const uint8_t *packet, uint32_t port, mcTagDescriptor *tag, uint32_t length);

/**
 * MLD twin of `send_pkt_igmp`: the tag is `outerTag` of `mldInitParams`, which keeps the VLAN of the last match.
 * Arguments and result as `send_pkt_igmp`, but for these:
 * @param packet  The IPv6 packet, at least its 40-byte header.
 * @param tag     Ignored.
 */
MCADAPT_API int32_t send_pkt_mld(const uint8_t *packet, uint32_t port, mcTagDescriptor *tag, uint32_t length);

/**
 * Installs the forwarding entry of an IPv4 group.
 * @param group   The membership: `ipv4Group`, `vlan` and `port` are read.
 * @retval 0      Installed.
 * @retval other  Refused by the switch: what `igmp_set_table_return` makes of `tablereturn`, which may be 0.
 */
MCADAPT_API int32_t igmp_add_grp(const mcGroupRecord *group);

/**
 * Removes the forwarding entry of an IPv4 group.
 * @param group  The membership: `ipv4Group`, `vlan` and `port` are read.
 * @return The driver's result; 0 success.
 */
MCADAPT_API int32_t igmp_del_grp(const mcGroupRecord *group);

/**
 * Installs the forwarding entry of an IPv6 group.
 * @param group  The membership: `ipv6GroupTail`, `vlan` and `port` are read.
 * @return The driver's result; 0 success.
 */
MCADAPT_API int32_t mld_add_grp(const mcGroupRecord *group);

/**
 * Removes the forwarding entry of an IPv6 group.
 * @param group  The membership: `ipv6GroupTail`, `vlan` and `port` are read.
 * @return The driver's result; 0 success.
 */
MCADAPT_API int32_t mld_del_grp(const mcGroupRecord *group);

/**
 * Sets what the engine is told when an IPv4 entry cannot be installed.
 * @param value  0: success; any other: 1.
 * @return The value stored in `tablereturn`: 0 or 1.
 * @note Called on any management thread, and on the engine's threads when the switch refuses an entry.
 */
MCADAPT_API int32_t igmp_set_table_return(uint32_t value);

/**
 * Redirects IGMP frames between the uplink and a test port.
 * @param port  Stored in `testuplink`; `MC_NO_TEST_UPLINK` ends the redirection.
 * @return 0.
 * @note Called on any management thread.
 */
MCADAPT_API int32_t igmp_adapt_set_test_uplink(uint32_t port);

/**
 * Sets the tags that override the rules of one logic port in IGMP snooping mode.
 * @param index   Logic port, 0 or 1; another stores nothing.
 * @param up      Upstream tag control; 0 means none. Stored in `svlan`, low 16 bits.
 * @param second  Stored in `svlan_s`, low 16 bits.
 * @param down    Downstream tag control; 0 strips the tag, 0xFFFF means none. Stored in `cvlan`, low 16 bits.
 * @return 0.
 * @note Called on any management thread.
 */
MCADAPT_API int32_t igmp_adapt_set_sig_vlan(uint32_t index, uint32_t up, uint32_t second, uint32_t down);

/**
 * Makes the receive task drop every frame.
 * @param flag  Non-zero drops; stored in `pkt_process_disable`.
 * @note Called on any management thread.
 */
MCADAPT_API void igmp_adapt_set_pkt_process_disable(uint8_t flag);

MCADAPT_END_DECLS

#endif
