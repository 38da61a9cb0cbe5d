/**
 * @file
 * What a benchmark sets and reads in the platform.
 */
#ifndef MCADAPT_BENCH_PLATFORM_H
#define MCADAPT_BENCH_PLATFORM_H

#include <cstdint>

namespace mcadapt::bench {

/** What `vx_hal_nni_upmode_get` tells: 0 EPON, else GPON. */
extern uint32_t uplink_mode;

/** Calls of `L2_multicast_send_msg`. */
extern uint32_t frames_sent;

} // namespace mcadapt::bench

#endif
