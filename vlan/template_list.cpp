#include "vlan/template_list.h"

#include "core/counts.h"
#include "mcadapt/records.h"
#include "mcadapt/vlan_tables.h"
#include "vlan/copies.h"

namespace mcadapt {

bool append_template_vlan(uint16_t vlan)
{
    const int32_t place = setVlanNumber;
    if (is_full(place, MC_TEMPLATE_VLANS))
        return false;
    PortVlan[place] = vlan;
    globle_parm.TemplateVlan[place] = vlan;
    ++setVlanNumber;
    return true;
}

void drop_template_entry(int32_t index)
{
    --setVlanNumber;
    PortVlan[index] = 0;
    globle_parm.TemplateVlan[index] = 0;
}

void compact_template_lists()
{
    copy_vlans(PortVlan, sortMcVlan(plain(PortVlan)));
    copy_vlans(globle_parm.TemplateVlan, sortMcVlan(plain(globle_parm.TemplateVlan)));
}

} // namespace mcadapt
