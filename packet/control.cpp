/**
 * @file
 * Control mode: downstream frames are copied by rule, upstream frames are marked with the ONU and user port.
 */
#include "core/uplink.h"
#include "packet/downstream.h"
#include "platform/unit_services.h"

namespace mcadapt {

static constexpr uint16_t kUnassignedOnuVlan = 128;

// The inner VLAN of an upstream frame: the user port, counted from 1.
static uint16_t user_port_vlan(uint32_t port) { return low16(port + 1); }

// An ONU id of 0 is not assigned yet.
static uint16_t onu_vlan(uint8_t onu_id) { return onu_id == 0 ? kUnassignedOnuVlan : onu_id; }

template <class F> static void control_downstream(uint8_t *frame, uint32_t length, uint32_t vlan_id)
{
    const DownstreamMatches &first_port = search_downstream<F>(0, vlan_id);
    // intended: the IGMP ports drive the loop of both families, and name the port of a frame that no rule matched
    for (int i = 0; i < MC_LOGIC_PORTS && is_user_port(i); ++i) {
        const DownstreamMatches &matches = i == 0 ? first_port : search_downstream<F>(i, vlan_id);
        if (matches.count != 0) {
            // intended: a frame whose tag a match took out is sent with its full length
            send_matches<F>(matches, frame, length, length, low16(F::ports()[i].portNo));
            continue;
        }
        LOG_TRACE(F, "Enter igmp_snoop_handle,uplink can't find vlanconfig! direct pass!\r\n");
        F::send(frame, low16(length), low16(portState[i].portNo));
    }
}

static void igmp_control_upstream(const uint8_t *frame, uint32_t length, uint32_t port)
{
    WorkBuffer work;
    uint32_t marked;
    if (has_epon_uplink()) {
        marked = work.mark(frame, length, user_port_vlan(port));
    } else {
        uint8_t onu_id = 0;
        vx_ploam_onuid_get(&onu_id);
        marked = work.mark_twice(frame, length, onu_vlan(onu_id), user_port_vlan(port));
    }
    if (marked != 0)
        Igmp::send(work.bytes(), low16(marked), kUplinkPort);
}

static void mld_control_upstream(const uint8_t *frame, uint32_t length, uint32_t port)
{
    // intended: two tags whatever the uplink mode is
    uint8_t onu_id = 0;
    vx_ploam_onuid_get(&onu_id);
    LOG_TRACE(Mld, "igmp_adapt_control_handle onu_id = %d", onu_id);
    set_tag(mldInitParams.outerTag, onu_vlan(onu_id), 0);
    set_tag(mldInitParams.innerTag, user_port_vlan(port), 0);

    WorkBuffer work;
    const uint32_t marked = work.mark_twice(frame, length, onu_vlan(onu_id), user_port_vlan(port));
    if (marked != 0)
        Mld::send(work.bytes(), low16(marked), kUplinkPort);
}

template <class F> static void control_handle(uint8_t *frame, uint32_t port, uint32_t length, uint32_t vlan_id)
{
    const int32_t state = port_state<F>(find_handler_port<F>(port));
    LOG_TRACE(F, "Enter igmp_control_handle, rPort = %d, rport_sta = %d\r\n", port, state);
    if (state == MC_PORT_TYPE_UPLINK) {
        control_downstream<F>(frame, length, vlan_id);
    } else if (state == MC_PORT_TYPE_USER) {
        if constexpr (F::kMld)
            mld_control_upstream(frame, length, port);
        else
            igmp_control_upstream(frame, length, port);
    } else {
        LOG_ERROR(F, "invalid port !!\r\n");
    }
}

} // namespace mcadapt

using namespace mcadapt;

void igmp_adapt_control_handle(uint8_t *frame, uint32_t rxPort, uint32_t length, uint32_t vlanId)
{
    control_handle<Igmp>(frame, rxPort, length, vlanId);
}

void mld_adapt_control_handle(uint8_t *frame, uint32_t rxPort, uint32_t length, uint32_t vlanId)
{
    control_handle<Mld>(frame, rxPort, length, vlanId);
}
