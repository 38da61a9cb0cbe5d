// The engine's MLD packets on their way out: what only this family does.
#include "transmit_side.h"

#include "support/frames.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

class SendPacketMld : public TransmitTest<MldSide> {};

TEST_F(SendPacketMld, a_query_to_the_uplink_carries_the_outer_tag_record)
{
    const ByteVector packet = mld_query("ff1e::1").packet();
    mldInitParams.outerTag = {0x8100, 100, 5};
    mldInitParams.innerTag = {0x9100, 999, 7};

    const auto seen =
        observe([&] { return send_pkt_mld(packet.data(), 0xFFFF, nullptr, static_cast<uint32_t>(packet.size())); });

    const ByteVector group(packet.begin() + 28, packet.begin() + 32);
    const std::string frame = "3333" + hex(group) +
                              "0219c6aabbcc"
                              "8100a06486dd" +
                              hex(packet);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("L2_multicast_send_msg(" + frame + ", 29, " +
                                        number(18 + static_cast<int>(packet.size())) + ", 7, 300)"));
    EXPECT_THAT(seen.changed, IsEmpty());
}

// intended: the bytes taken are not the last four of the IPv6 destination
TEST_F(SendPacketMld, the_destination_is_made_of_bytes_28_to_31_of_the_packet)
{
    for (const char *bytes : {"ff 00 00 01", "00 00 00 00", "80 ff 7f 81"}) {
        SCOPED_TRACE(bytes);
        const ByteVector taken = from_hex(bytes);
        ByteVector packet = numbered_packet(64, 28, taken);
        std::fill(packet.begin() + 36, packet.begin() + 40, uint8_t{0x55});
        send_pkt_mld(packet.data(), 29, nullptr, 64);
        const ByteVector &frame = platform().sent.back().bytes;
        EXPECT_EQ(hex(frame).substr(0, 24), "3333" + hex(taken) + "0219c6aabbcc");
        EXPECT_EQ(hex(frame).substr(36), hex(packet));
    }
}

TEST_F(SendPacketMld, the_source_is_all_zero_until_somebody_fills_it)
{
    set_mac(mld_sys_mac, "00:00:00:00:00:00");
    send(29);
    EXPECT_EQ(mac_text(platform().sent.back().bytes.data() + 6), "00:00:00:00:00:00");
}

TEST_F(SendPacketMld, the_packet_is_not_touched)
{
    const ByteVector packet = MldSide::packet(64);
    ByteVector handed_over = packet;
    put_two_matching_rules();
    send_pkt_mld(handed_over.data(), 0, nullptr, 64);
    EXPECT_EQ(handed_over, packet);
}

TEST_F(SendPacketMld, the_third_argument_is_neither_read_nor_written)
{
    const ByteVector packet = MldSide::packet(64);
    put_two_matching_rules();
    mcTagDescriptor ignored = {0x8100, 101, 1};

    const auto seen = observe([&] { return send_pkt_mld(packet.data(), 0, &ignored, 64); });

    EXPECT_THAT(seen.calls, ElementsAre(sent(rule_frame({0xA0C8}), 0), sent(rule_frame({0xA0C8, 0xA0D2}), 0)));
    EXPECT_EQ(ignored.tpid, 0x8100);
    EXPECT_EQ(ignored.vid, 101);
    EXPECT_EQ(ignored.pri, 1);
}

TEST_F(SendPacketMld, only_the_vlan_of_the_outer_tag_record_is_rewritten)
{
    put_two_matching_rules();
    const auto seen = send(0);
    EXPECT_THAT(seen.changed, ElementsAre("mldInitParams.outerTag.vid"));
    EXPECT_EQ(mldInitParams.outerTag, (mldTagRecord{kTpid, 210, 5}));
}

TEST_F(SendPacketMld, the_vlan_of_a_frame_that_did_not_fit_stays_in_the_record)
{
    put_two_matching_rules();
    EXPECT_EQ(send(0, 2025).result, -1);
    EXPECT_EQ(mldInitParams.outerTag.vid, 210);
}

// intended: 08 66 through the rules, 86 dd on its own
TEST_F(SendPacketMld, frames_of_the_rule_loop_carry_the_ethertype_0866)
{
    put_two_matching_rules();
    send(0);
    ASSERT_EQ(platform().sent.size(), 2u);
    EXPECT_EQ(hex(platform().sent[0].bytes).substr(24, 12), "88a8a0c80866");
    EXPECT_EQ(hex(platform().sent[1].bytes).substr(24, 24), "88a8a0c80866"
                                                            "88a8a0d20866");
    send(29);
    EXPECT_EQ(hex(platform().sent[2].bytes).substr(24, 12), "88a8a0d286dd");
}

TEST_F(SendPacketMld, a_single_match_carries_the_ethertype_0866_too)
{
    put_mld_rules(0, {rule(0).in_data(100).out_down(0xFFFF)});
    send(0);
    ASSERT_EQ(platform().sent.size(), 1u);
    EXPECT_EQ(hex(platform().sent[0].bytes).substr(24, 12), "88a8a0640866");
}

TEST_F(SendPacketMld, the_igmp_side_has_no_say_in_it)
{
    testuplink = 3;
    portState[1].portType = 2;
    EXPECT_THAT(send(29).calls, ElementsAre(sent(single_frame(0xA064), 29)));
}

TEST_F(SendPacketMld, the_search_is_told_as_a_trace) // intended: configuration to the IGMP twin
{
    log_own(MC_DEBUG_TRACE);
    EXPECT_THAT(send(12).output, HasSubstr("\r\n[MC_MLD_DBG_DBG]: searchSendPktPortCfgVlan ,vlan(100)"));
    log_own(~static_cast<uint32_t>(MC_DEBUG_TRACE));
    EXPECT_THAT(send(12).output, Not(HasSubstr("searchSendPktPortCfgVlan ,vlan")));
}

TEST_F(SendPacketMld, the_number_of_matches_is_told_in_the_words_of_the_igmp_twin) // intended
{
    log_own(MC_DEBUG_TRACE);
    EXPECT_THAT(send(12).output,
                HasSubstr("\r\n[MC_MLD_DBG_DBG]: [send_pkt_igmp]: searchSendPktPortCfgVlan num 0\r\n"));
}

} // namespace
} // namespace mcadapt::test
