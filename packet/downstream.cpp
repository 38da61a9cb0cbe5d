#include "packet/downstream.h"

namespace mcadapt {

// The last downstream frame's matches, shared by both handlers of a family; only the receive task touches them.
template <class F> static DownstreamMatches downlinkvlan = {0, false, {MC_NO_VLAN}};

// A frame that no rule matched leaves no VLAN of an earlier one behind.
static void forget_vlans(DownstreamMatches &matches)
{
    static constexpr int kForgottenEntries = 4;
    for (int i = 0; i < kForgottenEntries; ++i)
        matches.out_vlan[i] = MC_NO_VLAN;
}

template <class F> static void trace_search(const RuleRow &row, int32_t rules, uint32_t vlan_id)
{
    for (int32_t i = 0; i < rules; ++i)
        LOG_TRACE(F, "searchDownSnoopPortCfgVlan from downlink,vlan(%d) config search!,cfgvlan(%d)\r\n", vlan_id,
                  row[i].in_dn_vlan & kVidMask);
}

template <class F> const DownstreamMatches &search_downstream(int logic_port, uint32_t vlan_id)
{
    if constexpr (F::kMld)
        LOG_TRACE(F, "recieve paket from uplink,search vlan config for snooping!\r\n");
    else
        LOG_CONFIG(F, "searchDownSnoopPortCfgVlan!\r\n"); // intended: a configuration line here, a trace in MLD

    DownstreamMatches &matches = downlinkvlan<F>;
    matches.count = 0;
    matches.strips = false;
    const RuleRow &row = F::rules()[logic_port];
    const int32_t rules = entries_to_walk(F::rule_counts()[logic_port], MC_RULES_PER_PORT);
    if (on(F::debug(), MC_DEBUG_TRACE))
        trace_search<F>(row, rules, vlan_id);
    for (int32_t i = 0; i < rules; ++i) {
        if ((row[i].in_dn_vlan & kVidMask) != vlan_id)
            continue;
        const uint16_t out_vlan = row[i].out_dn_vlan;
        matches.out_vlan[matches.count++] = out_vlan;
        matches.strips |= out_vlan == 0;
    }
    if (matches.count == 0)
        forget_vlans(matches);
    return matches;
}

// Kept out of line: most frames are tagged, and sending one in place then saves no registers.
template <class F>
[[gnu::noinline]] static void send_inserted(WorkBuffer &work, const uint8_t *frame, uint32_t length,
                                            uint16_t tag_control, uint16_t port)
{
    if (work.insert_tag(frame, length, tag_control))
        F::send(work.bytes(), low16(length + kTagBytes), port);
}

template <class F>
static void send_tagged(WorkBuffer &work, uint8_t *frame, uint32_t length, uint16_t tag_control, uint16_t port)
{
    if constexpr (F::kMld)
        set_tag(mldInitParams.outerTag, tag_control & kVidMask, tag_control >> kPriorityShift);
    const auto sent_control = static_cast<uint16_t>(tag_control & kPriorityAndVid);
    if (is_tagged(frame)) {
        replace_tag(frame, sent_control);
        F::send(frame, low16(length), port);
    } else {
        send_inserted<F>(work, frame, length, sent_control, port);
    }
}

template <class F> void send_tagged(uint8_t *frame, uint32_t length, uint16_t tag_control, uint16_t port)
{
    WorkBuffer work;
    send_tagged<F>(work, frame, length, tag_control, port);
}

template <class F>
void send_matches(const DownstreamMatches &matches, uint8_t *frame, uint32_t length, uint32_t stripped_length,
                  uint16_t port)
{
    WorkBuffer work;
    // A frame may be sent longer than it is without its tag: with its own last bytes, as they were before any match.
    // intended: a tag inserted for an earlier match has moved them, for the buffer is the same
    if (matches.strips && stripped_length == length)
        work.copy(frame, length);

    for (int i = 0; i < matches.count; ++i) {
        const uint16_t out_vlan = matches.out_vlan[i];
        if (out_vlan == MC_NO_VLAN)
            LOG_ERROR(F, "searchDownSnoopPortCfgVlan is error,never here !!\r\n");
        else if (out_vlan != 0)
            send_tagged<F>(work, frame, length, out_vlan, port);
        else if (work.strip_tag(frame, length))
            F::send(work.bytes(), low16(stripped_length), port);
    }
}

template const DownstreamMatches &search_downstream<Igmp>(int logic_port, uint32_t vlan_id);
template const DownstreamMatches &search_downstream<Mld>(int logic_port, uint32_t vlan_id);
template void send_tagged<Igmp>(uint8_t *, uint32_t, uint16_t, uint16_t);
template void send_tagged<Mld>(uint8_t *, uint32_t, uint16_t, uint16_t);
template void send_matches<Igmp>(const DownstreamMatches &, uint8_t *, uint32_t, uint32_t, uint16_t);
template void send_matches<Mld>(const DownstreamMatches &, uint8_t *, uint32_t, uint32_t, uint16_t);

} // namespace mcadapt
