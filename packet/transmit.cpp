/**
 * @file
 * Transmission: the lower layer sends finished frames, the upper one builds them from the engine's packets.
 */
#include <cstring>

#include "core/counts.h"
#include "core/log.h"
#include "core/ports.h"
#include "mcadapt/engine_callbacks.h"
#include "packet/frame.h"
#include "platform/switch_driver.h"

namespace mcadapt {

static constexpr uint32_t kFrameBytes = 2048;
// A tag and the EtherType behind it.
static constexpr uint32_t kTagGroupBytes = 6;

static constexpr int32_t kPacketTooLong = -1;

// A test uplink takes the place of the uplink.
template <class F> static uint16_t driver_port(uint16_t port)
{
    if (port != kUplinkPort)
        return port;
    const uint32_t test_uplink = F::test_uplink();
    return test_uplink == MC_NO_TEST_UPLINK ? port : static_cast<uint16_t>(test_uplink);
}

template <class F> [[gnu::cold]] static void log_send(const uint8_t *frame, uint16_t length, uint16_t port, uint16_t to)
{
    if (on(F::debug(), MC_DEBUG_TX_DUMP)) {
        if constexpr (!F::kMld) // intended: the MLD dump has no heading
            printf("[l2_igmp_send_pkt]: Pkt Send to port %d, len %d.\r\n", port, length);
        dump_frame(frame, length);
    }
    if constexpr (F::kMld)
        LOG_TRACE(F, "mld_l2_igmp_send_pkt  ifindex = %d len = %d srcPortNum = %d ponVlan = %d\r\n", to, length,
                  +F::source_port(), +ponVlan);
    else
        LOG_TRACE(F, "l2_igmp_send_pkt  ifindex = %d len = %d srcPortNum = %d ponVlan = %d\r\n", to, length,
                  +F::source_port(), +ponVlan);
}

template <class F> static int32_t send_frame(const uint8_t *frame, uint16_t length, uint16_t port)
{
    const uint16_t to = driver_port<F>(port);
    if (on(F::debug(), MC_DEBUG_TX_DUMP | MC_DEBUG_TRACE))
        log_send<F>(frame, length, port, to);
    const int32_t ret = L2_multicast_send_msg(frame, static_cast<uint8_t>(to), length, F::source_port(), ponVlan);
    if (ret != 0)
        LOG_ERROR(F, " uplink L2_multicast_send_msg Fail ,ret = %d.", ret);
    return ret;
}

// The VLANs of the rules by which the last packet of the engine was sent to a user port.
template <class F> static MC_SHARED(uint16_t) sent_vlans[MC_RULES_PER_PORT] = {MC_NO_VLAN};

// Rules of the port that may match: none unless the port's own rule stands first in either block.
template <class F> static int32_t rules_to_search(uint32_t port)
{
    const int logic_port = check_port_state<F>(port);
    if (logic_port == kNoLogicPort) {
        LOG_ERROR(F, "port number is invalid!\r\n");
        return 0;
    }
    if (port != F::rules()[0][0].portNO && port != F::rules()[1][0].portNO)
        return 0;
    return entries_to_walk(F::rule_counts()[logic_port], MC_RULES_PER_PORT);
}

// Fills `sent_vlans`. @return How many rules match.
template <class F> static int search_send_rules(uint32_t port, uint16_t vlan)
{
    if constexpr (F::kMld)
        LOG_TRACE(F, "searchSendPktPortCfgVlan ,vlan(%d)", vlan); // intended: a configuration line in IGMP
    else
        LOG_CONFIG(F, "searchSendPktPortCfgVlan ,vlan(%d)", vlan);

    int count = 0;
    auto &sent = sent_vlans<F>;
    const int32_t rules = rules_to_search<F>(port);
    const RuleRow *block = F::rules();
    // intended: each match moves the walk one block further, while the rule index goes on
    for (int32_t r = 0; r < rules && count < MC_LOGIC_PORTS; ++r) {
        const vlanCfgNode &rule = (*block)[r];
        LOG_TRACE(F, "searchSendPktPortCfgVlan from downlink,vlan(%d) config search!,cfgvlan(%d)\r\n", vlan,
                  +rule.in_up_vlan);
        if (rule.in_data_vlan == vlan) {
            sent[count++] = rule.out_dn_vlan;
            ++block;
        }
    }
    return count;
}

// 01:00:5E and the low 23 bits of the IPv4 destination, or 33:33 and the bytes at 28 of the IPv6 header.
template <class F> static void write_addresses(uint8_t *frame, const uint8_t *packet)
{
    if constexpr (F::kMld) {
        frame[0] = frame[1] = 0x33;
        memcpy(frame + 2, packet + 28, 4);
    } else {
        frame[0] = 0x01;
        frame[1] = 0x00;
        frame[2] = 0x5E;
        frame[3] = packet[17] & 0x7F;
        memcpy(frame + 4, packet + 18, 2);
    }
    memcpy(frame + 6, F::mac(), 6);
}

// A frame of an engine's packet while it is built and sent: `groups` tag groups lie behind the addresses.
template <class F, class Tag> struct EngineFrame {
    const uint8_t *packet;
    uint32_t packet_length;
    uint16_t port;
    Tag &tag;
    uint8_t (&bytes)[kFrameBytes];

    bool send(uint32_t groups, uint16_t ether_type)
    {
        const uint32_t header_length = kMacsBytes + groups * kTagGroupBytes;
        if (packet_length > kFrameBytes - header_length) {
            LOG_ERROR(F, "packet of %u bytes does not fit a frame, not sent\r\n", packet_length);
            return false;
        }
        uint8_t *group = bytes + header_length - kTagGroupBytes;
        write_be16(group, tag.tpid);
        write_be16(group + 2, static_cast<uint16_t>(tag.vid | tag.pri << kPriorityShift));
        write_be16(group + 4, ether_type);
        copy_bytes(bytes + header_length, packet, packet_length);
        F::send(bytes, static_cast<uint16_t>(header_length + packet_length), port);
        return true;
    }
};

template <class F, class Tag> static int32_t send_by_rules(EngineFrame<F, Tag> &frame, int matches)
{
    // intended: the EtherType of these MLD frames is not that of IPv6
    constexpr uint16_t kEtherType = F::kMld ? 0x0866 : kTypeIpv4;
    for (int k = 0; k < matches; ++k) {
        const uint16_t out_vlan = sent_vlans<F>[k];
        if (out_vlan != MC_NO_VLAN)
            frame.tag.vid = out_vlan;
        // intended: the groups of the frames before stay, so each frame is one group longer
        if (!frame.send(static_cast<uint32_t>(k) + 1, kEtherType))
            return kPacketTooLong;
    }
    return 0;
}

template <class F, class Tag>
static int32_t send_packet(const uint8_t *packet, uint32_t port, Tag &tag, uint32_t length)
{
    if (port == kEngineUplinkPort)
        port = kUplinkPort;
    LOG_TRACE(F, "The port no is (%d)\r\n", port);
    if (port > kUplinkPort) {
        LOG_ERROR(F, "The port no(%d) is illegal, abord!<*_*>\r\n", port);
        return 0;
    }
    uint8_t bytes[kFrameBytes]; // every byte that is sent is written first
    EngineFrame<F, Tag> frame = {packet, length, static_cast<uint16_t>(port), tag, bytes};
    write_addresses<F>(frame.bytes, packet);

    const int logic_port = find_logic_port<F>(port);
    if (logic_port == kNoLogicPort)
        LOG_TRACE(F, "\n [checkPortState]port(%d) is not find!", port);
    LOG_TRACE(F, "checkPortState %d", port);
    if (logic_port == kNoLogicPort || !is_uplink<F>(logic_port)) {
        const int matches = search_send_rules<F>(port, tag.vid);
        LOG_TRACE(F, "[send_pkt_igmp]: searchSendPktPortCfgVlan num %d\r\n", matches);
        if (matches != 0)
            return send_by_rules(frame, matches);
    }
    return frame.send(1, F::kMld ? kTypeIpv6 : kTypeIpv4) ? 0 : kPacketTooLong;
}

} // namespace mcadapt

using namespace mcadapt;

int32_t l2_igmp_send_pkt(const uint8_t *frame, uint16_t length, uint16_t port)
{
    return send_frame<Igmp>(frame, length, port);
}

int32_t mld_l2_igmp_send_pkt(const uint8_t *frame, uint16_t length, uint16_t port)
{
    return send_frame<Mld>(frame, length, port);
}

int32_t send_pkt_igmp(const uint8_t *packet, uint32_t port, mcTagDescriptor *tag, uint32_t length)
{
    return send_packet<Igmp>(packet, port, *tag, length);
}

// The engine has no tag for MLD packets: they carry the tag of the frames around them.
int32_t send_pkt_mld(const uint8_t *packet, uint32_t port, mcTagDescriptor *, uint32_t length)
{
    return send_packet<Mld>(packet, port, mldInitParams.outerTag, length);
}
