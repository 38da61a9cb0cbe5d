/**
 * @file
 * Services of the unit: calls that a port supplies and the library makes.
 *
 * Pointers are valid during the call only.
 *
 * Beside these the library calls libc: `printf` and its like, `calloc` once per start-up and full reset, `sleep`, and
 * System V shared memory (`shmget` with key 82, 14392 bytes; `shmat`) in the status queries.
 */
#ifndef MCADAPT_PLATFORM_UNIT_SERVICES_H
#define MCADAPT_PLATFORM_UNIT_SERVICES_H

#include <stdint.h>

#include "mcadapt/api.h"

MCADAPT_BEGIN_DECLS

/** Body of a task. */
typedef void (*palTaskEntry)(void);

/**
 * Creates a task (a thread of the process) and starts it.
 *
 * @param[out] taskId  Identifier of the task; 0 on entry. The library does not use it.
 * @param name         "tMCPktRecv".
 * @param priority     One above the priority given to `mc_igmp_init`.
 * @param options      Always 0.
 * @param stackSize    51200 bytes; a smaller stack is not enough.
 * @param entry        Runs on the new task and never returns.
 * @return 0 created; other: the unit then receives no frames, and start-up goes on.
 * @note Called once per start-up, on the thread that calls `mc_igmp_init`.
 */
int32_t pal_task_create(uint32_t *taskId, const char *name, int32_t priority, uint32_t options, uint32_t stackSize,
                        palTaskEntry entry);

/**
 * Reads a MAC address from the unit's settings.
 *
 * @param setting   "ethaddr".
 * @param[out] mac  Room for `length` bytes.
 * @param length    6.
 * @return 0 success; other: printed, and the library goes on with whatever `mac` then holds.
 * @note Called once per start-up, on the thread that calls `mc_igmp_init`.
 */
int32_t get_mac_addr(const char *setting, uint8_t *mac, uint32_t length);

/**
 * Tells the ONU id that the OLT assigned on the PON.
 * @param[out] onuId  0 to 255; 0 is replaced by 128 in the tags built from it.
 * @return Not looked at: `onuId` must be written in every case.
 * @note Called on the receive task, for every upstream frame in control mode (IGMP: on a GPON uplink only).
 */
int32_t vx_ploam_onuid_get(uint8_t *onuId);

/**
 * Tells whether the uplink is EPON or GPON.
 * @param[out] upMode  0 EPON, any other value GPON.
 * @return Not looked at: `upMode` must be written in every case.
 * @note Called on the receive task, for every upstream IGMP frame in control mode, and on the management thread that
 *       installs a rule.
 */
int32_t vx_hal_nni_upmode_get(uint32_t *upMode);

MCADAPT_END_DECLS

#endif
