/**
 * @file
 * The groups that a membership message names, for tables and explanations. The engine reads its packets itself.
 */
#ifndef MCADAPT_HOST_PROGRAM_NAMED_GROUPS_H
#define MCADAPT_HOST_PROGRAM_NAMED_GROUPS_H

#include <array>
#include <cstdint>
#include <vector>

#include "host/observer.h"

namespace mcadapt::host {

/** One group of a report, leave or done message. */
struct NamedGroup {
    GroupAddress group;
    bool leaves;        /**< A leave, or a record by which a listener may go. */
    const char *record; /**< Name of the record type of an IGMPv3 or MLDv2 report, else null. */
    unsigned sources;   /**< Source addresses of the record. */
};

/** Fills `groups` with what the IP packet names: nothing for queries and for what is no membership message. */
void find_named_groups(Family family, Bytes packet, std::vector<NamedGroup> &groups);

/** The multicast MAC address that stands for a group. */
std::array<uint8_t, 6> mac_of(const GroupAddress &group);

} // namespace mcadapt::host

#endif
