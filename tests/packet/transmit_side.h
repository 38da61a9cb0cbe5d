/**
 * @file
 * The two families of the transmit path under one set of names, and a fixture for tests that hold for both.
 */
#ifndef MCADAPT_TESTS_TRANSMIT_SIDE_H
#define MCADAPT_TESTS_TRANSMIT_SIDE_H

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/call_text.h"
#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {

struct IgmpSide {
    static constexpr char kName[] = "Igmp";
    static constexpr char kTrace[] = "\r\n[MC_DBG_DBG]: ";
    static constexpr char kError[] = "\r\n[MC_DBG_ERR]: ";
    static constexpr char kSenderName[] = "l2_igmp_send_pkt";
    static constexpr uint16_t kSingleType = 0x0800;
    static constexpr uint16_t kRuleType = 0x0800;

    static uint32_t &mask() { return mc_debug; }
    static uint32_t &other_mask() { return mld_debug; }
    static uint32_t &test_uplink() { return testuplink; }
    static uint32_t &other_test_uplink() { return mldInitParams.mldTestUplink; }
    static uint8_t &source_port() { return srcPortNum; }
    static uint8_t &other_source_port() { return mldInitParams.mldSrcPortNum; }
    static uint8_t (&own_mac())[6] { return sys_mac; }
    static uint8_t (&other_mac())[6] { return mld_sys_mac; }
    static portStateNode (&ports())[MC_LOGIC_PORTS] { return portState; }
    static int32_t (&rule_counts())[MC_LOGIC_PORTS] { return setVlanCfgNumber; }
    static void put_rule_row(int logic_port, const std::vector<vlanCfgNode> &rules) { put_rules(logic_port, rules); }

    /** To 239.1.2.3. */
    static constexpr char kGroupMac[] = "01:00:5e:01:02:03";
    static ByteVector packet(std::size_t length);

    static inline mcTagDescriptor tag;
    static void put_tag(uint16_t tpid, uint16_t vid, uint8_t pri) { tag = {tpid, vid, pri}; }
    static uint16_t tag_vid() { return tag.vid; }

    static int32_t send_frame(const uint8_t *frame, uint16_t length, uint16_t port)
    {
        return l2_igmp_send_pkt(frame, length, port);
    }
    static int32_t send_packet(const ByteVector &packet, uint32_t port, uint32_t length)
    {
        return send_pkt_igmp(packet.data(), port, &tag, length);
    }
};

struct MldSide {
    static constexpr char kName[] = "Mld";
    static constexpr char kTrace[] = "\r\n[MC_MLD_DBG_DBG]: ";
    static constexpr char kError[] = "\r\n[MC_MLD_DBG_ERR]: ";
    static constexpr char kSenderName[] = "mld_l2_igmp_send_pkt";
    static constexpr uint16_t kSingleType = 0x86DD;
    static constexpr uint16_t kRuleType = 0x0866; // intended: not the EtherType of IPv6

    static uint32_t &mask() { return mld_debug; }
    static uint32_t &other_mask() { return mc_debug; }
    static uint32_t &test_uplink() { return mldInitParams.mldTestUplink; }
    static uint32_t &other_test_uplink() { return testuplink; }
    static uint8_t &source_port() { return mldInitParams.mldSrcPortNum; }
    static uint8_t &other_source_port() { return srcPortNum; }
    static uint8_t (&own_mac())[6] { return mld_sys_mac; }
    static uint8_t (&other_mac())[6] { return sys_mac; }
    static portStateNode (&ports())[MC_LOGIC_PORTS] { return mldInitParams.mldPortState; }
    static int32_t (&rule_counts())[MC_LOGIC_PORTS] { return mldInitParams.mldSetVlanCfgNumber; }
    static void put_rule_row(int logic_port, const std::vector<vlanCfgNode> &rules)
    {
        put_mld_rules(logic_port, rules);
    }

    /** Bytes 28 to 31 are a1:b2:c3:d4. */
    static constexpr char kGroupMac[] = "33:33:a1:b2:c3:d4";
    static ByteVector packet(std::size_t length);

    static void put_tag(uint16_t tpid, uint16_t vid, uint8_t pri) { mldInitParams.outerTag = {tpid, vid, pri}; }
    static uint16_t tag_vid() { return mldInitParams.outerTag.vid; }

    static int32_t send_frame(const uint8_t *frame, uint16_t length, uint16_t port)
    {
        return mld_l2_igmp_send_pkt(frame, length, port);
    }
    static int32_t send_packet(const ByteVector &packet, uint32_t port, uint32_t length)
    {
        return send_pkt_mld(packet.data(), port, nullptr, length);
    }
};

/** A packet in which every byte tells its place; both families read only the destination. */
inline ByteVector numbered_packet(std::size_t length, std::size_t destination_offset, const ByteVector &destination)
{
    ByteVector packet(std::max(length, destination_offset + destination.size()));
    for (std::size_t i = 0; i < packet.size(); ++i)
        packet[i] = static_cast<uint8_t>(i * 7 + i / 256 + 1);
    std::copy(destination.begin(), destination.end(),
              packet.begin() + static_cast<ByteVector::difference_type>(destination_offset));
    return packet;
}

inline ByteVector IgmpSide::packet(std::size_t length) { return numbered_packet(length, 16, {239, 1, 2, 3}); }
inline ByteVector MldSide::packet(std::size_t length) { return numbered_packet(length, 28, {0xA1, 0xB2, 0xC3, 0xD4}); }

/** The call that hands a frame to the switch driver. */
inline std::string driver_call(const ByteVector &frame, uint32_t ifindex, uint32_t source_port, uint32_t vlan)
{
    const HexBytes bytes{frame.data(), frame.size()};
    return call_line("L2_multicast_send_msg", bytes, ifindex, frame.size(), source_port, vlan);
}

/** A tag and the EtherType behind it, as they lie in a frame. */
inline ByteVector tag_group(uint16_t tpid, uint16_t control, uint16_t type)
{
    ByteVector bytes;
    for (const uint16_t word : {tpid, control, type}) {
        bytes.push_back(static_cast<uint8_t>(word >> 8));
        bytes.push_back(static_cast<uint8_t>(word & 0xFF));
    }
    return bytes;
}

inline ByteVector joined(const std::vector<ByteVector> &parts)
{
    ByteVector all;
    for (const ByteVector &part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

inline std::string number(int64_t value) { return std::to_string(value); }

/** Starts with records of the other family that would show if they were taken instead. */
template <class Side> class TransmitTest : public LibraryTest {
protected:
    static constexpr uint8_t kSourcePort = 7;
    static constexpr uint32_t kPonVlan = 300;
    static constexpr uint32_t kPacketBytes = 64;
    static constexpr uint16_t kTpid = 0x88A8;

    void SetUp() override
    {
        LibraryTest::SetUp();
        Side::source_port() = kSourcePort;
        Side::other_source_port() = 99;
        Side::other_test_uplink() = 17;
        ponVlan = kPonVlan;
        set_mac(Side::own_mac(), "02:19:c6:aa:bb:cc");
        set_mac(Side::other_mac(), "02:02:02:02:02:02");
        Side::put_tag(kTpid, 100, 5);
    }

    static void set_mac(uint8_t (&record)[6], std::string_view text)
    {
        const MacAddress bytes = mac(text);
        std::copy(bytes.begin(), bytes.end(), record);
    }

    /** Opens these classes of the family, and none of the other one's. */
    static void log_own(uint32_t bits)
    {
        Side::mask() = bits;
        Side::other_mask() = 0;
    }
    /** Opens all classes of the other family only. */
    static void log_other()
    {
        Side::mask() = 0;
        Side::other_mask() = 0xFFFFFFFF;
    }

    static auto send(uint32_t port, uint32_t length = kPacketBytes)
    {
        const ByteVector packet = Side::packet(length < 0x10000 ? length : 0);
        return observe([&] { return Side::send_packet(packet, port, length); });
    }

    static std::string sent(const ByteVector &frame, uint32_t ifindex)
    {
        return driver_call(frame, ifindex, kSourcePort, kPonVlan);
    }

    static ByteVector frame_around(const ByteVector &groups, std::size_t length = kPacketBytes)
    {
        const MacAddress group = mac(Side::kGroupMac);
        ByteVector packet = Side::packet(length);
        packet.resize(length);
        return joined({{group.begin(), group.end()}, {Side::own_mac(), Side::own_mac() + 6}, groups, packet});
    }

    /** The frame with the engine's own tag. */
    static ByteVector single_frame(uint16_t control, std::size_t length = kPacketBytes)
    {
        return frame_around(tag_group(kTpid, control, Side::kSingleType), length);
    }

    /** A frame of the rule loop: one group per match so far, the newest last. */
    static ByteVector rule_frame(const std::vector<uint16_t> &controls, std::size_t length = kPacketBytes)
    {
        std::vector<ByteVector> groups;
        groups.reserve(controls.size());
        for (const uint16_t control : controls)
            groups.push_back(tag_group(kTpid, control, Side::kRuleType));
        return frame_around(joined(groups), length);
    }

    /** Two rules of the user port that match VLAN 100: VLANs 200 and 210. */
    static void put_two_matching_rules()
    {
        Side::put_rule_row(0, {rule(0).in_up(10).in_data(100).out_down(200), rule(0).in_up(11).in_data(101)});
        Side::put_rule_row(1, {rule(29).in_up(20).in_data(101), rule(29).in_up(21).in_data(100).out_down(210)});
    }

    /** The lower layer's trace line. */
    static std::string sent_line(uint32_t port, std::size_t length)
    {
        return std::string(Side::kTrace) + Side::kSenderName + "  ifindex = " + number(port) +
               " len = " + number(static_cast<int64_t>(length)) + " srcPortNum = 7 ponVlan = 300\r\n";
    }
};

using TransmitSides = ::testing::Types<IgmpSide, MldSide>;

struct SideName {
    template <class Side> static std::string GetName(int) { return Side::kName; }
};

} // namespace mcadapt::test

#endif
