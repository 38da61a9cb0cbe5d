/**
 * @file
 * Access to the status snapshot for the queries.
 */
#ifndef MCADAPT_MGMT_STATUS_SNAPSHOT_H
#define MCADAPT_MGMT_STATUS_SNAPSHOT_H

#include <cstdint>

#include "mcadapt/records.h"

namespace mcadapt {

/** `igmp_hal_sync_grp_infor` port for all ports. */
constexpr uint32_t kAllPorts = 255;

/** The group records of the snapshot; one query answers from the same ones throughout. */
struct Groups {
    const grpRecord *record;
    uint32_t count; /**< Never more than there are, and none without a snapshot block. */
};

Groups groups_now();

/** Refreshes the groups of all ports; a failure is logged, and the query goes on with what there is. */
int32_t refresh_groups();

} // namespace mcadapt

#endif
