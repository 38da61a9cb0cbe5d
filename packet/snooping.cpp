/**
 * @file
 * Snooping mode: a protocol frame is forwarded at layer 2, its tag rewritten by the port's rules.
 */
#include "packet/downstream.h"
#include "packet/rule_search.h"

namespace mcadapt {

static constexpr uint32_t kMaxMldFrameBytes = 1518;

// Tag modes of downstream protocol frames that let a frame through when no rule matched.
static constexpr uint8_t kDownstreamUntag = 1;
static constexpr uint8_t kDownstreamAsIs0 = 0;
static constexpr uint8_t kDownstreamAsIs3 = 3;

static bool passes_as_is(uint8_t mode) { return mode == kDownstreamAsIs0 || mode == kDownstreamAsIs3; }

template <class F> static void send_stripped(const uint8_t *frame, uint32_t length, uint16_t port)
{
    WorkBuffer work;
    if (work.strip_tag(frame, length))
        F::send(work.bytes(), low16(length - kTagBytes), port);
}

// No rule matched: the tag mode of the port's first rule decides.
template <class F>
static void send_unmatched(const uint8_t *frame, uint32_t length, uint32_t vlan_id, int logic_port, uint32_t port)
{
    const uint8_t mode = F::rules()[logic_port][0].prodntagmode;
    if constexpr (F::kMld) {
        LOG_TRACE(F, "Enter mld_snoop_handle,port %d can't find vlanconfig in vlan %d! direct pass!\r\n", port,
                  vlan_id);
        if (passes_as_is(mode))
            LOG_TRACE(F, "Enter mld_snoop_handle,uplink can't find vlanconfig! direct pass!\r\n");
    } else {
        LOG_TRACE(F, "Enter igmp_snoop_handle,uplink can't find vlanconfig! direct pass!\r\n");
    }

    if (mode == kDownstreamUntag)
        send_stripped<F>(frame, length, low16(port));
    else if (passes_as_is(mode))
        F::send(frame, low16(length), low16(port));
}

template <class F>
static void send_by_rules(const DownstreamMatches &matches, uint8_t *frame, uint32_t length, uint32_t vlan_id,
                          int logic_port, uint32_t port)
{
    if (matches.count == 0) {
        send_unmatched<F>(frame, length, vlan_id, logic_port, port);
        return;
    }
    // intended: MLD sends a frame whose tag a match took out with its full length
    const uint32_t stripped_length = F::kMld ? length : length - kTagBytes;
    send_matches<F>(matches, frame, length, stripped_length, low16(port));
}

static void igmp_downstream(uint8_t *frame, uint32_t length, uint32_t vlan_id)
{
    const DownstreamMatches &first_port = search_downstream<Igmp>(0, vlan_id);
    for (int i = 0; i < MC_LOGIC_PORTS && is_user_port(i); ++i) {
        const uint32_t port = portState[i].portNo;
        const uint16_t cvlan = globle_parm.port[i].cvlan;
        if (cvlan == MC_NO_VLAN) {
            const DownstreamMatches &matches = i == 0 ? first_port : search_downstream<Igmp>(i, vlan_id);
            send_by_rules<Igmp>(matches, frame, length, vlan_id, i, port);
        } else if (cvlan == 0) {
            send_stripped<Igmp>(frame, length, low16(port));
        } else {
            // intended: written over the frame's bytes, tagged or not, and bit 12 is kept
            replace_tag(frame, cvlan);
            Igmp::send(frame, low16(length), low16(port));
        }
    }
}

static void mld_downstream(uint8_t *frame, uint32_t length, uint32_t vlan_id)
{
    const DownstreamMatches &first_port = search_downstream<Mld>(0, vlan_id);
    const portStateNode(&ports)[MC_LOGIC_PORTS] = mldInitParams.mldPortState;
    for (int i = 0; i < MC_LOGIC_PORTS && ports[i].portType == MC_PORT_TYPE_USER; ++i) {
        const DownstreamMatches &matches = i == 0 ? first_port : search_downstream<Mld>(i, vlan_id);
        send_by_rules<Mld>(matches, frame, length, vlan_id, i, ports[i].portNo);
    }
}

template <class F> static void trace_search(const RuleRow &row, int32_t walked, uint32_t vlan_id)
{
    for (int32_t i = 0; i < walked; ++i)
        LOG_TRACE(F, "searchUpSnoopPortCfgVlan from downlink,vlan = %d config search!,cfgvlan = %d\r\n", vlan_id,
                  row[i].in_up_vlan & kVidMask);
}

// The tag control of the first rule whose upstream VLAN is the frame's; MC_NO_VLAN when there is none.
template <class F> static uint16_t search_upstream(uint32_t port, int logic_port, uint32_t vlan_id)
{
    const int32_t rules = entries_to_walk(F::rule_counts()[logic_port], MC_RULES_PER_PORT);
    int32_t r = 0;
    for (int block = 0; block < MC_LOGIC_PORTS; ++block) {
        const RuleRow &row = F::rules()[block];
        // intended: r is not reset, so behind a block that was walked the port is compared with a later rule
        if (r >= MC_RULES_PER_PORT || row[r].portNO != port)
            continue;
        r = find_upstream_rule(row, rules, vlan_id);
        if (on(F::debug(), MC_DEBUG_TRACE))
            trace_search<F>(row, walked_rules(r, rules), vlan_id);
        if (r < rules)
            return PortVlanCfg[block][r].out_up_vlan; // intended: from the IGMP table for MLD too
    }
    return MC_NO_VLAN;
}

template <class F>
static void send_upstream(uint8_t *frame, uint32_t length, uint32_t vlan_id, uint32_t port, int logic_port)
{
    const uint16_t tag_control = search_upstream<F>(port, logic_port, vlan_id);
    if constexpr (F::kMld)
        LOG_TRACE(F, "mldsearchUpSnoopPortCfgVlan %d\r\n", tag_control);
    else
        LOG_TRACE(F, "searchUpSnoopPortCfgVlan %d\r\n", tag_control);
    if (tag_control == MC_NO_VLAN) {
        F::send(frame, low16(length), kUplinkPort);
        LOG_TRACE(F, "Enter igmp_snoop_handle,downlink can't find vlanconfig! direct pass!\r\n");
        return;
    }
    send_tagged<F>(frame, length, tag_control, kUplinkPort);
}

static void igmp_upstream(uint8_t *frame, uint32_t length, uint32_t vlan_id, uint32_t port, int logic_port)
{
    const uint16_t svlan = globle_parm.port[logic_port].svlan;
    if (svlan == MC_NO_VLAN)
        send_upstream<Igmp>(frame, length, vlan_id, port, logic_port);
    else
        send_tagged<Igmp>(frame, length, svlan, kUplinkPort);
}

// intended: every refusal is reported twice
[[gnu::cold]] static void report_igmp_snoop_port(uint32_t port)
{
    if (port > kUplinkPort) {
        LOG_ERROR(Igmp, "\n port(%d) is invalid!", port);
        LOG_ERROR(Igmp, "\n port(%d) is invalid!", port);
    } else {
        LOG_TRACE(Igmp, "\n [checkPortState]port(%d) is not find!", port);
        LOG_ERROR(Igmp, "\n [checkPortState]port(%d) is not find!", port);
    }
}

static int find_igmp_snoop_port(uint32_t port)
{
    const int logic_port = port > kUplinkPort ? kNoLogicPort : find_logic_port<Igmp>(port);
    if (logic_port == kNoLogicPort)
        report_igmp_snoop_port(port);
    return logic_port;
}

} // namespace mcadapt

using namespace mcadapt;

void igmp_adapt_snoop_handle(uint8_t *frame, uint32_t rxPort, uint32_t length, uint32_t vlanId)
{
    const int logic_port = find_igmp_snoop_port(rxPort);
    const int32_t state = port_state<Igmp>(logic_port);
    LOG_TRACE(Igmp, "Enter igmp_snoop_handle, rPort = %d, rport_sta = %d\r\n", rxPort, state);
    if (state == MC_PORT_TYPE_UPLINK)
        igmp_downstream(frame, length, vlanId);
    else if (state == MC_PORT_TYPE_USER)
        igmp_upstream(frame, length, vlanId, rxPort, logic_port);
    else
        LOG_ERROR(Igmp, "invalid port !!\r\n");
    LOG_ERROR(Igmp, "invalid port !!\r\n"); // intended: ends every pass, successful or not
}

void mld_adapt_snoop_handle(uint8_t *frame, uint32_t rxPort, uint32_t length, uint32_t vlanId)
{
    if (length > kMaxMldFrameBytes) {
        LOG_ERROR(Mld, "[igmp_adapt_snoop_handle]: vlan %d, rPort = %d len = %d, error!\r\n", vlanId, rxPort, length);
        return;
    }
    const int logic_port = find_handler_port<Mld>(rxPort);
    const int32_t state = port_state<Mld>(logic_port);
    LOG_TRACE(Mld, "Enter mld_snoop_handle, rPort = %d, rport_sta = %d\r\n", rxPort, state);
    if (state == MC_PORT_TYPE_UPLINK)
        mld_downstream(frame, length, vlanId);
    else if (state == MC_PORT_TYPE_USER)
        send_upstream<Mld>(frame, length, vlanId, rxPort, logic_port);
    else
        LOG_ERROR(Mld, "invalid port !!\r\n");
}
