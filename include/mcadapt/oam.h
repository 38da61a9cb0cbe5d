/**
 * @file
 * Operations of the EPON OAM agent. Called on the OAM agent's thread.
 */
#ifndef MCADAPT_OAM_H
#define MCADAPT_OAM_H

#include <stdint.h>

#include "mcadapt/api.h"

MCADAPT_BEGIN_DECLS

/**
 * Sets fast leave of port 0. Stores the state in `oamFastLeave` and hands 1 or 0 to `omci_set_port_igmp_leave_mode`.
 * @param state  2 turns fast leave on, any other value off.
 * @return 0, also when the engine refuses.
 */
MCADAPT_API int32_t mc_oam_set_onu_fast_leave(uint32_t state);

/** Tells the fast-leave abilities. @param[out] out  63: all six ability bits. @return 0. */
MCADAPT_API int32_t mc_oam_get_onu_fast_leave_ability(uint32_t *out);

/**
 * Tells the fast-leave state of the shared status segment (not the state last set here).
 * @param[out] out  1 when the segment says 1, else 2.
 * @retval 0   Told.
 * @retval -1  The segment cannot be had; `out` is not written.
 * @note Attaches the segment each time and never detaches it.
 */
MCADAPT_API int32_t mc_oam_get_onu_fast_leave_state(uint32_t *out);

/**
 * Hands a list of control entries to the engine with `igmp_oam_control_2`; nothing is stored.
 * @param action  Handed to the engine; 2 is refused.
 * @param bufLen  Only printed: the entry count of the buffer decides how much is read.
 * @param buf     Byte 0 control type, must be 1; byte 1 entry count N; then N entries of 10 bytes: user port counted
 *                from 1 (16 bits), VLAN id (16 bits), six-byte group address. 16-bit fields in host byte order, at
 *                any alignment.
 * @retval 0      Nothing to do, or `action` is 2.
 * @retval -1     Another control type.
 * @retval other  The engine's answer to the last entry.
 */
MCADAPT_API int32_t mc_oam_set_multicast_control(uint32_t action, uint32_t bufLen, const uint8_t *buf);

/**
 * Lists the active groups as control entries.
 * @param[out] lenOut  Bytes written: 2 + 10 x count.
 * @param[out] buf     Room for 2 + 10 x 255 bytes, at any alignment: 3, count (low byte), then per group user port,
 *                     VLAN id, 0 (16 bits each, host byte order) and group address.
 * @retval 0   Refreshed from the engine.
 * @retval -1  The refresh failed; the groups are those of the previous snapshot.
 * @note Needs about 13 KiB of stack.
 */
MCADAPT_API int32_t mc_oam_get_multicast_control(uint16_t *lenOut, uint8_t *buf);

MCADAPT_END_DECLS

#endif
