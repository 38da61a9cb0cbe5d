/**
 * @file
 * The IGMP template VLAN list: `PortVlan` and its mirror `TemplateVlan`, always changed together.
 */
#ifndef MCADAPT_VLAN_TEMPLATE_LIST_H
#define MCADAPT_VLAN_TEMPLATE_LIST_H

#include <cstdint>

namespace mcadapt {

/** Appends a VLAN. @return Whether the list had a place. */
bool append_template_vlan(uint16_t vlan);

/** Frees one entry in place and counts it off. */
void drop_template_entry(int32_t index);

/** Moves the entries in use to the front of both lists. */
void compact_template_lists();

} // namespace mcadapt

#endif
