/**
 * @file
 * The path of a trapped frame: receive task, intake, mode handlers, send.
 *
 * All of it runs on the receive task, except the two send routines, which the engine's threads enter as well.
 * The functions are exported for bring-up and for tests on the unit; a product only creates the task.
 *
 * A frame is always handed on in a buffer of at least 2048 bytes, however short the frame is: headers are read where
 * the frame's own fields say that they are.
 */
#ifndef MCADAPT_PACKET_PATH_H
#define MCADAPT_PACKET_PATH_H

#include <stdint.h>

#include "mcadapt/api.h"

MCADAPT_BEGIN_DECLS

/**
 * Body of the receive task: reads frame after frame from the switch driver, sleeps 1 second when there is none, and
 * gives frames addressed to 01:00:5E to the IGMP intake, all others to the MLD intake. Never returns.
 */
MCADAPT_API void igmp_adapt_pkt_recv_task(void);

/**
 * IGMP intake: validates and classifies a frame, finds its multicast VLAN, hands the IPv4 packet to the engine and
 * the frame to the handler of the protocol mode.
 *
 * Stores `srcPortNum` and `ponVlan`.
 *
 * @param[in,out] frame  The frame, in a buffer of 2048 bytes; a handler may rewrite its tag.
 * @param len            Frame length, bytes; at most 2000 are accepted.
 * @param port           Switch port on which it arrived, 0 to 29.
 * @retval 0      Port or length refused.
 * @retval -1     Content refused, or the frame came from the uplink in snooping or control mode.
 * @retval other  Low byte, sign-extended, of the engine's answer.
 */
MCADAPT_API int32_t igmpL2PktProc(uint8_t *frame, uint32_t len, uint32_t port);

/**
 * MLD intake: what `igmpL2PktProc` is for IPv4, for IPv6; whether the packet is MLD is left to the engine.
 *
 * Arguments as `igmpL2PktProc`.
 *
 * Stores `mldSrcPortNum` and `outerTag` of `mldInitParams`, and `ponVlan`.
 *
 * @retval 0      Port or length refused.
 * @retval -1     Content refused, or the frame came from the uplink in snooping or control mode.
 * @retval other  The engine's answer, whole.
 */
MCADAPT_API int32_t mldL2PktProc(uint8_t *frame, uint32_t len, uint32_t port);

/**
 * Forwards an IGMP frame in snooping mode: from the uplink to every user port, from a user port to the uplink, with
 * the tag rewritten by the port's rules or overrides.
 *
 * @param[in,out] frame  The frame, in a buffer of 2048 bytes; its tag may be rewritten in place.
 * @param rxPort         Switch port on which it arrived; 29 for the uplink.
 * @param length         Frame length, bytes.
 * @param vlanId         VLAN id of the frame's tag, 0 to 4095; 0 when untagged.
 */
MCADAPT_API void igmp_adapt_snoop_handle(uint8_t *frame, uint32_t rxPort, uint32_t length, uint32_t vlanId);

/**
 * MLD twin of `igmp_adapt_snoop_handle`; drops frames above 1518 bytes and stores `outerTag`. Arguments as
 * `igmp_adapt_snoop_handle`.
 */
MCADAPT_API void mld_adapt_snoop_handle(uint8_t *frame, uint32_t rxPort, uint32_t length, uint32_t vlanId);

/**
 * Forwards an IGMP frame in control mode. Downstream as in snooping mode, without the per-port overrides; upstream
 * marked with the user port (EPON: one tag) or with ONU id and user port (GPON: two tags).
 *
 * Arguments as `igmp_adapt_snoop_handle`.
 */
MCADAPT_API void igmp_adapt_control_handle(uint8_t *frame, uint32_t rxPort, uint32_t length, uint32_t vlanId);

/**
 * MLD twin of `igmp_adapt_control_handle`; always two tags upstream; stores `outerTag` and `innerTag`. Arguments as
 * `igmp_adapt_snoop_handle`.
 */
MCADAPT_API void mld_adapt_control_handle(uint8_t *frame, uint32_t rxPort, uint32_t length, uint32_t vlanId);

/**
 * Sends a finished frame of the IGMP side through the switch driver, with `srcPortNum` and `ponVlan`.
 *
 * @param frame   The frame.
 * @param length  Frame length, bytes.
 * @param port    Switch port; 29, the uplink, is replaced by `testuplink` when that is set.
 * @return The driver's result; 0 success.
 * @note Called on the receive task and on the engine's threads.
 */
MCADAPT_API int32_t l2_igmp_send_pkt(const uint8_t *frame, uint16_t length, uint16_t port);

/**
 * MLD twin of `l2_igmp_send_pkt`, with the MLD copies of the source port and of the test uplink; arguments and result
 * as `l2_igmp_send_pkt`.
 * @note Called on the receive task and on the engine's threads.
 */
MCADAPT_API int32_t mld_l2_igmp_send_pkt(const uint8_t *frame, uint16_t length, uint16_t port);

MCADAPT_END_DECLS

#endif
