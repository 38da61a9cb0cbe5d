/**
 * @file
 * The default VLAN, the uplink check, and the entry points that this unit does not implement.
 */
#include "core/counts.h"
#include "core/log.h"
#include "core/ports.h"
#include "mcadapt/omci.h"
#include "platform/protocol_engine.h"

namespace mcadapt {

// The first template VLAN whose low 12 bits are a VLAN; they are compared with all its 16 bits.
static bool is_template_vlan_id(uint16_t vlan)
{
    const int32_t vlans = entries_to_walk(setVlanNumber, MC_TEMPLATE_VLANS);
    for (int32_t i = 0; i < vlans; ++i) {
        if ((PortVlan[i] & 0x0FFF) == vlan) {
            LOG_TRACE(Igmp, "\n vlan is %d", +PortVlan[i]);
            return true;
        }
    }
    return false;
}

static int32_t not_implemented()
{
    LOG_CONFIG(Igmp, "void function unused!\r\n");
    return 0;
}

} // namespace mcadapt

using namespace mcadapt;

int32_t omci_set_igmp_default_vlan(uint32_t vlan)
{
    LOG_TRACE(Igmp, "omci_set_igmp_default_vlan %d is in!\n", vlan);
    const uint16_t old = globle_parm.defaultVlan;
    const bool stays_registered = is_template_vlan_id(old);
    if (vlan == old) {
        LOG_TRACE(Igmp, "\n igmp_default_vid_set vlan is already set");
    } else {
        mldInitParams.defaultVlan = static_cast<uint16_t>(vlan);
        defaultVlan = static_cast<uint16_t>(vlan);
        globle_parm.defaultVlan = static_cast<uint16_t>(vlan);
    }

    // intended: the engine is told also when nothing changed
    if (mld_api_set_default_vlan(vlan) != 0)
        LOG_ERROR(Igmp, "\n ERROR!mld_api_set_default_vlan Fail");
    int32_t status = igmp_default_vid_set(vlan);
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_adapt_default_vid_set Fail");
    // A multicast VLAN that stops being the default stays registered with the engine.
    if (stays_registered) {
        status = byte_status(igmp_vlan_add(old)); // intended: all 16 bits
        if (status != 0)
            LOG_ERROR(Igmp, "\n ERROR!igmp_vlan_add Fail");
    }
    return status;
}

int32_t omci_set_port_up_igmp_vlan(uint32_t port, uint32_t, uint32_t)
{
    LOG_CONFIG(Igmp, "omci_set_port_up_igmp_vlan is in! group num \n");
    const int logic_port = find_logic_port<Igmp>(port);
    if (logic_port == kNoLogicPort) {
        LOG_ERROR(Igmp, "\n port(%d) is invalid!", port);
        return -1;
    }
    LOG_TRACE(Igmp, "\n portState%d is %d", 0, +portState[0].portNo);
    LOG_TRACE(Igmp, "\n portState%d is %d", 1, +portState[1].portNo);
    LOG_TRACE(Igmp, "\n logicPort is %d", logic_port);
    if (is_uplink<Igmp>(logic_port))
        return 0;
    LOG_ERROR(Igmp, "\n port(%d) is not uplink!,exit", port);
    return -1;
}

int32_t omci_set_multicast_vlan() { return not_implemented(); }

int32_t omci_get_voip_igmp_vid() { return not_implemented(); }

int32_t omci_set_igmp_vid() { return not_implemented(); }

int32_t omci_set_igmp_age_time() { return not_implemented(); }
