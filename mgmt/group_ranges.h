/**
 * @file
 * The check of a range of groups, for authorised and static groups alike.
 */
#ifndef MCADAPT_MGMT_GROUP_RANGES_H
#define MCADAPT_MGMT_GROUP_RANGES_H

#include <cstdint>

#include "core/families.h"
#include "core/log.h"

namespace mcadapt {

/** Refuses VLAN 0 and a start above the end. */
inline bool check_range(uint32_t start, uint32_t end, uint16_t vlan)
{
    if (vlan != 0 && start <= end)
        return true;
    LOG_ERROR(Igmp, "parameter is invalid!\r\n");
    return false;
}

} // namespace mcadapt

#endif
