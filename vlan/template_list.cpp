#include "vlan/template_list.h"

#include <cstring>

#include "core/counts.h"
#include "mcadapt/records.h"
#include "mcadapt/vlan_tables.h"

namespace mcadapt {

bool template_list_is_full() { return is_full(setVlanNumber, MC_TEMPLATE_VLANS); }

void append_template_vlan(uint16_t vlan)
{
    PortVlan[setVlanNumber] = vlan;
    globle_parm.TemplateVlan[setVlanNumber] = vlan;
    ++setVlanNumber;
}

void drop_template_entry(int32_t index)
{
    --setVlanNumber;
    PortVlan[index] = 0;
    globle_parm.TemplateVlan[index] = 0;
}

void compact_template_lists()
{
    memcpy(PortVlan, sortMcVlan(PortVlan), sizeof(PortVlan));
    memcpy(globle_parm.TemplateVlan, sortMcVlan(globle_parm.TemplateVlan), sizeof(globle_parm.TemplateVlan));
}

} // namespace mcadapt
