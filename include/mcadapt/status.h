/**
 * @file
 * The status snapshot and its refresh from the engine.
 *
 * Called on any management thread; a refresh needs about 13 KiB of its stack.
 */
#ifndef MCADAPT_STATUS_H
#define MCADAPT_STATUS_H

#include <stdint.h>

#include "mcadapt/api.h"

MCADAPT_BEGIN_DECLS

/**
 * Refreshes the group records of the status snapshot.
 * @param port  Switch port, 0 to 29; 255 for all.
 * @retval 0   Refreshed; at most 512 groups are kept.
 * @retval -1  Port refused, no answer from the engine, or no snapshot block; the snapshot is unchanged.
 */
MCADAPT_API int32_t igmp_hal_sync_grp_infor(uint32_t port);

/**
 * Refreshes the four interface counters of a port in the status snapshot.
 * @param port  Switch port, 0 to 29.
 * @retval 0   Refreshed.
 * @retval -1  As `igmp_hal_sync_grp_infor`.
 */
MCADAPT_API int32_t igmp_hal_sync_if_status(uint32_t port);

/**
 * Counts the distinct `infoE` values of the active groups (of the first `std_cnt` modulo 256; at most 100 values).
 * A value of 0 is counted every time.
 * @param[out] out  5 bytes, at any alignment: the count (16 bits, host byte order), 1, 1, 0.
 * @retval 0   Refreshed from the engine.
 * @retval -1  The refresh failed; the groups are those of the previous snapshot.
 */
MCADAPT_API int32_t GetIgmpStatusPara(uint8_t *out);

MCADAPT_END_DECLS

#endif
