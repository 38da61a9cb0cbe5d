// The engine's IGMP packets on their way out: what only this family does.
#include "transmit_side.h"

#include <cstring>

#include "support/frames.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class SendPacketIgmp : public TransmitTest<IgmpSide> {};

TEST_F(SendPacketIgmp, a_query_to_the_uplink_becomes_a_tagged_frame)
{
    const ByteVector packet = igmp_query("239.1.2.3").packet();
    mcTagDescriptor tag = {0x8100, 100, 5};

    const auto seen =
        observe([&] { return send_pkt_igmp(packet.data(), 0xFFFF, &tag, static_cast<uint32_t>(packet.size())); });

    const std::string frame = "01005e010203"
                              "0219c6aabbcc"
                              "8100a0640800" +
                              hex(packet);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("L2_multicast_send_msg(" + frame + ", 29, " +
                                        number(18 + static_cast<int>(packet.size())) + ", 7, 300)"));
    EXPECT_THAT(seen.changed, IsEmpty());
}

TEST_F(SendPacketIgmp, the_destination_is_made_of_the_low_23_bits_of_the_group)
{
    static constexpr struct {
        const char *group; // bytes 16 to 19 of the packet
        const char *mac;
    } kCases[] = {
        {"ef 01 02 03", "01:00:5e:01:02:03"}, {"e0 81 02 03", "01:00:5e:01:02:03"},
        {"e0 00 00 01", "01:00:5e:00:00:01"}, {"ef ff ff ff", "01:00:5e:7f:ff:ff"},
        {"0a 80 fe 80", "01:00:5e:00:fe:80"}, // nobody asks whether it is a group
    };
    for (const auto &c : kCases) {
        SCOPED_TRACE(c.group);
        const ByteVector packet = numbered_packet(28, 16, from_hex(c.group));
        mcTagDescriptor tag = {0x8100, 100, 5};
        send_pkt_igmp(packet.data(), 29, &tag, 28);
        const ByteVector &frame = platform().sent.back().bytes;
        EXPECT_EQ(mac_text(frame.data()), c.mac);
        EXPECT_EQ(mac_text(frame.data() + 6), "02:19:c6:aa:bb:cc");
        EXPECT_EQ(hex(frame).substr(36), hex(packet));
    }
}

TEST_F(SendPacketIgmp, the_packet_is_not_touched)
{
    const ByteVector packet = IgmpSide::packet(64);
    ByteVector handed_over = packet;
    put_two_matching_rules();
    send_pkt_igmp(handed_over.data(), 0, &IgmpSide::tag, 64);
    EXPECT_EQ(handed_over, packet);
}

TEST_F(SendPacketIgmp, the_descriptor_is_tpid_vlan_and_priority_in_host_order)
{
    struct {
        uint8_t bytes[5];
    } raw;
    const uint16_t words[] = {0x9100, 0x0123};
    std::memcpy(raw.bytes, words, sizeof(words));
    raw.bytes[4] = 3;
    static_assert(sizeof(mcTagDescriptor) == 6);
    mcTagDescriptor tag;
    std::memcpy(&tag, raw.bytes, sizeof(raw.bytes));
    const ByteVector packet = IgmpSide::packet(64);

    const auto seen = observe([&] { return send_pkt_igmp(packet.data(), 29, &tag, 64); });

    EXPECT_THAT(seen.calls, ElementsAre(sent(frame_around(from_hex("91 00 61 23 08 00")), 29)));
}

TEST_F(SendPacketIgmp, only_the_vlan_of_the_descriptor_is_rewritten)
{
    put_two_matching_rules();
    const auto seen = send(0);
    EXPECT_EQ(IgmpSide::tag.tpid, kTpid);
    EXPECT_EQ(IgmpSide::tag.vid, 210);
    EXPECT_EQ(IgmpSide::tag.pri, 5);
    EXPECT_THAT(seen.changed, IsEmpty());
}

TEST_F(SendPacketIgmp, the_vlan_of_a_frame_that_did_not_fit_stays_in_the_descriptor)
{
    put_two_matching_rules();
    EXPECT_EQ(send(0, 2025).result, -1);
    EXPECT_EQ(IgmpSide::tag.vid, 210);
}

TEST_F(SendPacketIgmp, frames_of_the_rule_loop_say_ipv4)
{
    put_two_matching_rules();
    send(0);
    ASSERT_EQ(platform().sent.size(), 2u);
    EXPECT_EQ(hex(platform().sent[0].bytes).substr(24, 12), "88a8a0c80800");
    EXPECT_EQ(hex(platform().sent[1].bytes).substr(24, 24), "88a8a0c80800"
                                                            "88a8a0d20800");
}

TEST_F(SendPacketIgmp, the_mld_side_has_no_say_in_it)
{
    mldInitParams.outerTag = {0x1111, 999, 7};
    mldInitParams.mldTestUplink = 3;
    EXPECT_THAT(send(29).calls, ElementsAre(sent(single_frame(0xA064), 29)));
}

TEST_F(SendPacketIgmp, the_search_is_told_as_configuration) // intended: the MLD twin traces this line
{
    log_own(MC_DEBUG_CONFIG);
    EXPECT_EQ(send(12).output, "\r\n[MC_DBG_CFG]: searchSendPktPortCfgVlan ,vlan(100)");
    log_own(~static_cast<uint32_t>(MC_DEBUG_CONFIG));
    EXPECT_THAT(send(12).output, Not(HasSubstr("searchSendPktPortCfgVlan ,vlan")));
}

} // namespace
} // namespace mcadapt::test
