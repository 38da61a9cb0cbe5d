/**
 * @file
 * The kind of uplink, which the unit is asked for whenever it matters.
 */
#ifndef MCADAPT_CORE_UPLINK_H
#define MCADAPT_CORE_UPLINK_H

#include <cstdint>

#include "platform/unit_services.h"

namespace mcadapt {

/** Asks the unit. @return Whether the uplink is EPON, which it also is when the unit tells nothing; otherwise GPON. */
inline bool has_epon_uplink()
{
    uint32_t mode = 0;
    vx_hal_nni_upmode_get(&mode);
    return mode == 0;
}

} // namespace mcadapt

#endif
