/**
 * @file
 * Bounds that the agents' operations share.
 */
#ifndef MCADAPT_CORE_LIMITS_H
#define MCADAPT_CORE_LIMITS_H

#include <cstdint>

namespace mcadapt {

/** The highest port whose group limit can be set; deliberately lower than that of the other operations on a port. */
constexpr uint32_t kHighestLimitPort = 6;

/** Group limit that stands for none. */
constexpr uint16_t kNoGroupLimit = 1024;

} // namespace mcadapt

#endif
