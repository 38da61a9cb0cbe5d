/**
 * @file
 * Frame intake of both families: the steps that they share first, then the two intakes one above the other.
 */
#include <cstring>

#include "core/counts.h"
#include "core/log.h"
#include "core/ports.h"
#include "mcadapt/packet_path.h"
#include "packet/frame.h"
#include "packet/rule_search.h"
#include "platform/protocol_engine.h"

namespace mcadapt {

static constexpr uint32_t kSourceMacOffset = 6;
static constexpr uint8_t kProtocolIgmp = 2;
static constexpr uint32_t kIpv6HeaderBytes = 40;

static constexpr uint8_t kIgmpSnooping = 1;
static constexpr uint8_t kIgmpControl = 3;
// intended: the MLD side numbers its modes differently
static constexpr uint8_t kMldSnooping = 2;
static constexpr uint8_t kMldControl = 3;

// Result of an intake that refused a frame for its port or length, and for its contents.
static constexpr int32_t kNotTaken = 0;
static constexpr int32_t kRefused = -1;

template <class F> static int accept_port(uint32_t port)
{
    const int logic_port = port > kUplinkPort ? kNoLogicPort : find_logic_port<F>(port);
    if (logic_port == kNoLogicPort) {
        check_port_state<F>(port); // only for its line; frames that are accepted do without the call
        LOG_ERROR(F, "The port no(%d) is illegal, abord!<*_*>\r\n", port);
    }
    return logic_port;
}

template <class F> static bool accept_length(uint32_t length)
{
    if (length <= kMaxFrameBytes)
        return true;
    LOG_ERROR(F, "usLength  = %d\r\n", length);
    return false;
}

// The engine's clock is read once, when the first frame of a family arrives.
static void count_frame(uint32_t &frames)
{
    if (frames == 0) {
        uint64_t scratch[8] = {};
        igmp_time_now(scratch);
    }
    ++frames;
}

// A frame from the test uplink is handled as one from the uplink.
template <class F> static uint32_t effective_port(uint32_t port)
{
    return port == F::test_uplink() ? kUplinkPort : port;
}

template <class F> static bool long_enough(const FrameHeader &header, uint32_t length)
{
    switch (header.layout) {
    case Layout::kTaggedPppoe:
        if (length < 22) {
            LOG_ERROR(F, "Frame PPPoE header and vlan tag,but too short ,abord!<*_*>(%d)\r\n", length);
            return false;
        }
        return true;
    case Layout::kTagged:
    case Layout::kDoubleTagged: // intended: the second tag is not counted
        if (length < 18) {
            LOG_ERROR(F, "Too short frame,abord!(%d)\r\n", length);
            return false;
        }
        return true;
    case Layout::kPppoe:
        if (length < 22) {
            LOG_ERROR(F, "Frame PPPoE header,but too short ,abord!<*_*>(%d)\r\n", length);
            return false;
        }
        return true;
    case Layout::kUntagged:
        break;
    }
    if (length < 14) {
        LOG_ERROR(F, "Ethernet Frame too short ,abord!<*_*>(%d)\r\n", length);
        return false;
    }
    return true;
}

// intended: PPPoE frames too must hold the EtherType here; the PPP codes of IPv4 and IPv6 are not accepted.
template <class F> static bool carries(const uint8_t *frame, const FrameHeader &header, uint16_t type)
{
    const uint8_t *at = frame + header.ip_offset - 2;
    if (read_be16(at) == type)
        return true;
    LOG_ERROR(F, "Not ip pkt recieved,abord!(%d)\r\n", at[0] | at[1] << 8);
    return false;
}

template <class F> static void report_unknown_port(uint32_t port)
{
    LOG_TRACE(F, "\n [checkPortState]port(%d) is not find!", port);
    LOG_ERROR(F, "\n [checkPortState]port(%d) is not find!", port);
    LOG_ERROR(F, "port number is invalid!\r\n");
}

static constexpr int32_t kNoKey = -1;

template <class F> static void trace_search(const RuleRow &row, int32_t walked, uint32_t frame_vlan)
{
    for (int32_t i = 0; i < walked; ++i)
        LOG_TRACE(F, "recieve paket from downlink,vlan(%d) config search!,cfgvlan(%d)\r\n", frame_vlan,
                  row[i].in_up_vlan & kVidMask);
}

// The multicast VLAN of the first rule whose upstream VLAN is the frame's.
template <class F> static int32_t search_row(const RuleRow &row, int32_t count, uint32_t frame_vlan)
{
    const int32_t rules = entries_to_walk(count, MC_RULES_PER_PORT);
    const int32_t found = find_upstream_rule(row, rules, frame_vlan);
    if (on(F::debug(), MC_DEBUG_TRACE))
        trace_search<F>(row, walked_rules(found, rules), frame_vlan);
    return found < rules ? row[found].in_data_vlan & kVidMask : kNoKey;
}

// The template VLAN whose low 12 bits are the key, cut to them; MC_NO_VLAN when there is none.
template <class F> static uint32_t search_template_vlans(uint32_t key)
{
    LOG_TRACE(F, "in searchVlan vlan = %d\r\n", key);
    const int32_t vlans = entries_to_walk(F::template_count(), MC_TEMPLATE_VLANS);
    for (int32_t i = 0; i < vlans; ++i) {
        const uint32_t entry = F::template_vlans()[i];
        if ((entry & kVidMask) == key) {
            LOG_TRACE(F, "\n vlan is %d", entry);
            return key;
        }
    }
    return MC_NO_VLAN;
}

// In snooping and control mode the engine does not see what comes from the uplink.
template <class F> static bool bypasses_engine(uint32_t port, int logic_port, uint32_t mode)
{
    if (logic_port == kNoLogicPort) {
        LOG_TRACE(F, "\n [checkPortState]port(%d) is not find!", port);
        return false;
    }
    if (!is_uplink<F>(logic_port))
        return false;
    if constexpr (F::kMld)
        LOG_TRACE(F, "mldL2PktProc  mld_mode = %d usPort = %d\r\n", mode, port);
    else
        LOG_TRACE(F, "igmpL2PktProc  igmp_mode = %d usPort = %d\r\n", mode, port);
    return true;
}

// The VLAN to look for among the template VLANs: of the matching rule, or of the frame itself from the uplink.
static uint32_t igmp_search_key(uint32_t frame_vlan, uint32_t port, int logic_port)
{
    LOG_TRACE(Igmp, "in searchRecievePktPortCfgVlan vlan_id = %d usPort = %d \r\n", frame_vlan, port);
    if (logic_port == kNoLogicPort) {
        report_unknown_port<Igmp>(port);
        return 0;
    }
    if (is_uplink<Igmp>(logic_port)) {
        LOG_TRACE(Igmp, "recieve paket from uplink,no need vlan config search!\r\n");
        return frame_vlan;
    }
    // intended: only the first row is searched, with the count of the port's own
    if (port != PortVlanCfg[0][0].portNO)
        return 0;
    const int32_t key = search_row<Igmp>(PortVlanCfg[0], setVlanCfgNumber[logic_port], frame_vlan);
    return key == kNoKey ? 0 : static_cast<uint32_t>(key);
}

static uint32_t mld_search_key(uint32_t frame_vlan, uint32_t port, int logic_port)
{
    LOG_TRACE(Mld, "in mldsearchRecievePktPortCfgVlan vlan_id = %d usPort = %d \r\n", frame_vlan, port);
    if (logic_port == kNoLogicPort) {
        report_unknown_port<Mld>(port);
        return 0;
    }
    if (is_uplink<Mld>(logic_port)) {
        LOG_TRACE(Mld, "recieve paket from uplink,no need vlan config search!\r\n");
        return frame_vlan;
    }
    // intended: both rows are searched, each when the first IPv4 rule of its row is the port's
    for (int row = 0; row < MC_LOGIC_PORTS; ++row) {
        if (port != PortVlanCfg[row][0].portNO)
            continue;
        const int32_t key = search_row<Mld>(mldInitParams.mldPortVlanCfg[row],
                                            mldInitParams.mldSetVlanCfgNumber[logic_port], frame_vlan);
        if (key != kNoKey)
            return static_cast<uint32_t>(key);
    }
    return 0;
}

// The multicast VLAN of a frame: a template VLAN, else that of the port's first rule, else the default VLAN.
static uint32_t find_igmp_vlan(uint32_t key, int rx_logic_port)
{
    const uint32_t vlan = search_template_vlans<Igmp>(key);
    LOG_TRACE(Igmp, "out searchVlan vlan = %d\r\n", vlan);
    if (vlan != MC_NO_VLAN)
        return vlan;
    const uint32_t first_rule_vlan = PortVlanCfg[rx_logic_port][0].in_data_vlan & kVidMask;
    LOG_TRACE(Igmp, "EPON searchVlan vlan = %d\r\n", first_rule_vlan);
    if (first_rule_vlan == kVidMask)
        return defaultVlan; // intended: the global one, not that of globle_parm
    LOG_TRACE(Igmp, "no.1 port vlan config exsit, vlan = %d\r\n", first_rule_vlan);
    return first_rule_vlan;
}

static uint32_t find_mld_vlan(uint32_t key, int rx_logic_port)
{
    const uint32_t vlan = search_template_vlans<Mld>(key);
    if (vlan != MC_NO_VLAN)
        return vlan;
    const uint32_t first_rule_vlan = mldInitParams.mldPortVlanCfg[rx_logic_port][0].in_data_vlan & kVidMask;
    if (first_rule_vlan == kVidMask)
        return mldInitParams.defaultVlan;
    LOG_TRACE(Mld, "no.1 port vlan config exsit, vlan = %d\r\n", first_rule_vlan);
    return first_rule_vlan;
}

static void trace_igmp_packet(uint32_t vlan, uint32_t length, uint8_t protocol)
{
    LOG_TRACE(Igmp, "GROUP_VLAN = %d\r\n", vlan);
    LOG_TRACE(Igmp, "IP TOTAL LENGTH = %d\r\n", length);
    LOG_TRACE(Igmp, "PROTOL TYPE = %d", protocol);
}

static void trace_mld_packet(uint32_t vlan, uint32_t length, uint8_t mode)
{
    LOG_TRACE(Mld, "GROUP_VLAN = %d\r\n", vlan);
    LOG_TRACE(Mld, "IP TOTAL LENGTH = %d\r\n", length);
    LOG_TRACE(Mld, "MLD MODE = %d\r\n", mode);
}

static int32_t hand_to_igmp_engine(const uint8_t *ip_header, uint32_t length, uint32_t port, uint32_t vlan)
{
    uint32_t engine_port = port;
    if (port == kUplinkPort) {
        engine_port = kEngineUplinkPort;
        LOG_TRACE(Igmp, "The port no is (%d)\r\n", engine_port);
    }
    return byte_status(igmp_pkt_recv(ip_header, length, engine_port, vlan, 0));
}

static int32_t hand_to_mld_engine(const uint8_t *frame, const uint8_t *ip_header, uint32_t length, uint32_t port,
                                  uint32_t vlan)
{
    auto scratch = static_cast<uint16_t>((frame[0] | frame[1] << 8) + 12);
    const int32_t ret = mld_pkt_recv(ip_header, length, port, vlan, &scratch);
    if (ret != 0)
        LOG_TRACE(Mld, "mld_pkt_recv ret = %d\r\n", ret);
    return ret;
}

// The record that handlers and the engine's transmit path read the frame's tag from.
static void remember_tag(const FrameHeader &header)
{
    // intended: a single tag leaves its control field in tpid, and pri is always 0
    const bool own_tpid = header.layout == Layout::kTagged || header.layout == Layout::kTaggedPppoe;
    mldInitParams.outerTag.tpid = own_tpid ? header.tag_control : kTpid;
    mldInitParams.outerTag.vid = header.vlan;
    mldInitParams.outerTag.pri = 0;
}

} // namespace mcadapt

using namespace mcadapt;

int32_t igmpL2PktProc(uint8_t *frame, uint32_t len, uint32_t port)
{
    static uint32_t frames = 0;

    srcPortNum = static_cast<uint8_t>(port);
    LOG_TRACE(Igmp, "igmpL2PktProc is in! %d\n", port);
    const int rx_logic_port = accept_port<Igmp>(port);
    if (rx_logic_port == kNoLogicPort || !accept_length<Igmp>(len))
        return kNotTaken;
    if (on(mc_debug, MC_DEBUG_RX_DUMP)) {
        printf("[igmpL2PktProc]: Pkt recv from port %d, len %d.\r\n", port, len);
        dump_frame(frame, len);
    }
    const uint32_t from = effective_port<Igmp>(port);
    count_frame(frames);

    if (memcmp(frame + kSourceMacOffset, sys_mac, sizeof(sys_mac)) == 0) {
        LOG_ERROR(Igmp, "Error! Igmp Packet comes from myself!\r\n");
        return kRefused;
    }
    LOG_TRACE(Igmp, "\r\nRcieve L2 data on interface %d(%d):\r\n", from, from);
    const FrameHeader header = classify(frame);
    if (!long_enough<Igmp>(header, len) || !carries<Igmp>(frame, header, kTypeIpv4))
        return kRefused;

    const int logic_port = find_logic_port<Igmp>(from);
    const uint32_t vlan = find_igmp_vlan(igmp_search_key(header.vlan, from, logic_port), rx_logic_port);
    ponVlan = vlan;

    const uint8_t *ip_header = frame + header.ip_offset;
    const uint32_t ip_length = read_be16(ip_header + 2);
    const uint8_t protocol = ip_header[9];
    if (on(mc_debug, MC_DEBUG_TRACE))
        trace_igmp_packet(vlan, ip_length, protocol);
    if (protocol != kProtocolIgmp) {
        // intended: the line of a frame of the unit's own
        LOG_ERROR(Igmp, "Error! Igmp Packet comes from myself!\r\n");
        return kRefused;
    }

    const uint8_t mode = proxy_adapt_mode;
    LOG_TRACE(Igmp, "IGMP MODE = %d\r\n", mode);
    const bool forwarded = mode == kIgmpSnooping || mode == kIgmpControl;
    int32_t result = kRefused;
    if (!forwarded || !bypasses_engine<Igmp>(from, logic_port, mode))
        result = hand_to_igmp_engine(ip_header, ip_length, from, vlan);

    if (mode == kIgmpSnooping) {
        LOG_TRACE(Igmp, "IGMP MODE is Snooping\r\n");
        igmp_adapt_snoop_handle(frame, from, len, header.vlan);
    } else if (mode == kIgmpControl) {
        LOG_TRACE(Igmp, "IGMP MODE is control\r\n");
        igmp_adapt_control_handle(frame, from, len, header.vlan);
    }
    return result;
}

int32_t mldL2PktProc(uint8_t *frame, uint32_t len, uint32_t port)
{
    static uint32_t frames = 0;

    mldInitParams.mldSrcPortNum = static_cast<uint8_t>(port);
    LOG_TRACE(Mld, "mldL2PktProc is in! %d\n", port);
    const int rx_logic_port = accept_port<Mld>(port);
    if (rx_logic_port == kNoLogicPort || !accept_length<Mld>(len))
        return kNotTaken;
    if (on(mld_debug, MC_DEBUG_RX_DUMP))
        dump_frame(frame, len); // intended: no heading
    const uint32_t from = effective_port<Mld>(port);
    count_frame(frames);

    // intended: nothing fills mld_sys_mac, so only an all-zero source is refused; the line is a trace
    if (memcmp(frame + kSourceMacOffset, mld_sys_mac, sizeof(mld_sys_mac)) == 0) {
        LOG_TRACE(Mld, "Error! mld Packet comes from myself!\r\n");
        return kRefused;
    }
    LOG_TRACE(Mld, "\r\n[INFO]Rcieve L2 data on interface %d(%d):\r\n", from, from);
    const FrameHeader header = classify(frame);
    remember_tag(header);
    if (!long_enough<Mld>(header, len) || !carries<Mld>(frame, header, kTypeIpv6))
        return kRefused;

    const int logic_port = find_logic_port<Mld>(from);
    const uint32_t vlan = find_mld_vlan(mld_search_key(header.vlan, from, logic_port), rx_logic_port);
    ponVlan = vlan;

    // intended: whether the packet is MLD at all is left to the engine
    const uint8_t *ip_header = frame + header.ip_offset;
    const uint32_t ip_length = read_be16(ip_header + 4) + kIpv6HeaderBytes;
    const auto mode = static_cast<uint8_t>(mldInitParams.multiMode);
    if (on(mld_debug, MC_DEBUG_TRACE))
        trace_mld_packet(vlan, ip_length, mode);

    const bool forwarded = mode == kMldSnooping || mode == kMldControl;
    int32_t result = kRefused;
    if (!forwarded || !bypasses_engine<Mld>(from, logic_port, mode))
        result = hand_to_mld_engine(frame, ip_header, ip_length, from, vlan);

    if (mode == kMldSnooping) {
        LOG_TRACE(Mld, "mld MODE is Snooping\r\n");
        mld_adapt_snoop_handle(frame, from, len, mldInitParams.outerTag.vid);
    } else if (mode == kMldControl) {
        LOG_TRACE(Mld, "mld MODE is control\r\n");
        mld_adapt_control_handle(frame, from, len, mldInitParams.outerTag.vid);
    }
    return result;
}
