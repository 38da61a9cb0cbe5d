/**
 * @file
 * Switch ports of the unit on a PC.
 */
#ifndef MCADAPT_HOST_PORTS_H
#define MCADAPT_HOST_PORTS_H

#include <cstdint>

namespace mcadapt::host {

constexpr uint32_t kUserPort = 0;     /**< The user port that the library knows. */
constexpr uint32_t kUplinkPort = 29;  /**< The uplink. */
constexpr uint32_t kHighestPort = 29; /**< Ports are numbered from 0 to this. */

} // namespace mcadapt::host

#endif
