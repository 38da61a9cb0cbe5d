// How the MLD intake alone hands a frame over; what both intakes do stands in intake_handover_test.cpp.
#include "intake_handover.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr char kEngineCall[] = "mld_pkt_recv(6000000000200001, 72, 0, 4088, 13119)";

using MldHandover = HandoverTest<MldSide>;

// --- Modes: 2 is snooping and 3 control, where the IGMP side has 1 and 3

TEST_F(MldHandover, snooping_gives_the_frame_to_the_engine_and_then_to_the_snooping_handler)
{
    mldInitParams.multiMode = 2;
    expect_log(report(), 0,
               joined(accepted(0, 0, 2),
                      {{called(kEngineCall), trace("mld MODE is Snooping\r\n"),
                        trace("Enter mld_snoop_handle, rPort = 0, rport_sta = 2\r\n"),
                        trace("mldsearchUpSnoopPortCfgVlan 65535\r\n")},
                       sending(report(), 29, 0),
                       {trace("Enter igmp_snoop_handle,downlink can't find vlanconfig! direct pass!\r\n")}}));
}

TEST_F(MldHandover, control_gives_the_frame_to_the_engine_and_then_to_the_control_handler)
{
    mldInitParams.multiMode = 3;
    expect_log(
        report(), 0,
        joined(accepted(0, 0, 3), {{called(kEngineCall), trace("mld MODE is control\r\n"),
                                    trace("Enter igmp_control_handle, rPort = 0, rport_sta = 2\r\n"),
                                    called("vx_ploam_onuid_get()"), trace("igmp_adapt_control_handle onu_id = 7")},
                                   sending(with_tag(with_tag(report(), 1), 7), 29, 0)}));
}

TEST_F(MldHandover, the_mode_is_the_low_byte_of_the_mld_sides_own)
{
    proxy_adapt_mode = 3;
    globle_parm.multiMode = 3;
    const std::pair<uint16_t, int> kModes[] = {{0x0102, 2}, {0x0203, 3}, {0x0200, 0}, {0xFF01, 1}};
    mld_debug = MC_DEBUG_TRACE;
    for (const auto &[mode, low_byte] : kModes) {
        SCOPED_TRACE(mode);
        mldInitParams.multiMode = mode;
        const std::string output = take(report()).output;
        EXPECT_THAT(output, HasSubstr(trace("MLD MODE = " + number(low_byte) + "\r\n").text));
        const std::string snooping = trace("mld MODE is Snooping\r\n").text;
        const std::string control = trace("mld MODE is control\r\n").text;
        EXPECT_EQ(output.find(snooping) != std::string::npos, low_byte == 2);
        EXPECT_EQ(output.find(control) != std::string::npos, low_byte == 3);
    }
}

TEST_F(MldHandover, both_sides_start_in_snooping_although_they_number_it_differently)
{
    initmldGlobleParmeter();
    proxy_adapt_mode = 1;
    mld_debug = MC_DEBUG_TRACE;
    EXPECT_THAT(take(report()).output,
                HasSubstr(trace("MLD MODE = 2\r\n").text + trace("mld MODE is Snooping\r\n").text));
}

// --- The uplink

TEST_F(MldHandover, in_snooping_mode_a_frame_from_the_uplink_passes_the_engine_by)
{
    mldInitParams.multiMode = 2;
    mldInitParams.mldPortVlanCfg[0][0].prodntagmode = 0;
    platform().answer("mld_pkt_recv", 5);
    EXPECT_EQ(take(report(), 29).result, -1);
    expect_log(report(), 29,
               joined(accepted(29, 29, 2),
                      {{trace("mldL2PktProc  mld_mode = 2 usPort = 29\r\n"), trace("mld MODE is Snooping\r\n"),
                        trace("Enter mld_snoop_handle, rPort = 29, rport_sta = 1\r\n"),
                        trace("recieve paket from uplink,search vlan config for snooping!\r\n"),
                        trace("Enter mld_snoop_handle,port 0 can't find vlanconfig in vlan 0! direct pass!\r\n"),
                        trace("Enter mld_snoop_handle,uplink can't find vlanconfig! direct pass!\r\n")},
                       sending(report(), 0, 29)}));
}

TEST_F(MldHandover, in_control_mode_a_frame_from_the_uplink_passes_the_engine_by)
{
    mldInitParams.multiMode = 3;
    platform().answer("mld_pkt_recv", 5);
    EXPECT_EQ(take(report(), 29).result, -1);
    expect_log(report(), 29,
               joined(accepted(29, 29, 3),
                      {{trace("mldL2PktProc  mld_mode = 3 usPort = 29\r\n"), trace("mld MODE is control\r\n"),
                        trace("Enter igmp_control_handle, rPort = 29, rport_sta = 1\r\n"),
                        trace("recieve paket from uplink,search vlan config for snooping!\r\n"),
                        trace("Enter igmp_snoop_handle,uplink can't find vlanconfig! direct pass!\r\n")},
                       sending(report(), 0, 29)}));
}

TEST_F(MldHandover, in_every_other_mode_the_engine_gets_a_frame_from_the_uplink_by_its_number)
{
    // Intended: no wildcard port, as the IGMP side has.
    for (const uint8_t mode : std::initializer_list<uint8_t>{0, 1, 4}) {
        SCOPED_TRACE(int{mode});
        mldInitParams.multiMode = mode;
        expect_log(report(), 29,
                   joined(accepted(29, 29, mode), {{called("mld_pkt_recv(6000000000200001, 72, 29, 4088, 13119)")}}));
    }
}

// --- The test uplink

TEST_F(MldHandover, a_frame_from_the_test_uplink_is_handled_as_from_port_29)
{
    mldInitParams.mldTestUplink = 0;
    expect_log(report(), 0,
               joined(accepted(0, 29, 1), {{called("mld_pkt_recv(6000000000200001, 72, 29, 4088, 13119)")}}));
    EXPECT_EQ(mldInitParams.mldSrcPortNum, 0); // as received
}

TEST_F(MldHandover, in_control_mode_a_frame_from_the_test_uplink_passes_the_engine_by)
{
    mldInitParams.mldTestUplink = 0;
    mldInitParams.multiMode = 3;
    mld_debug = MC_DEBUG_TRACE;
    const auto seen = take(report(), 0);
    EXPECT_EQ(seen.result, -1);
    EXPECT_THAT(seen.output,
                HasSubstr("\r\n[MC_MLD_DBG_DBG]: mldL2PktProc  mld_mode = 3 usPort = 29\r\n"
                          "\r\n[MC_MLD_DBG_DBG]: mld MODE is control\r\n"
                          "\r\n[MC_MLD_DBG_DBG]: Enter igmp_control_handle, rPort = 29, rport_sta = 1\r\n"));
    EXPECT_EQ(platform().count("mld_pkt_recv"), 0u);
}

TEST_F(MldHandover, an_effective_port_that_is_not_configured_reaches_engine_and_handler)
{
    mldInitParams.mldTestUplink = 0;
    mldInitParams.mldPortState[1].portNo = 5;
    platform().answer("mld_pkt_recv", 5);
    mld_debug = MC_DEBUG_TRACE;
    for (const uint8_t mode : std::initializer_list<uint8_t>{2, 3}) {
        SCOPED_TRACE(int{mode});
        mldInitParams.multiMode = mode;
        const auto seen = take(report(), 0);
        EXPECT_EQ(seen.result, 5);
        EXPECT_THAT(seen.trace, HasSubstr("\r\n[MC_MLD_DBG_DBG]: MLD MODE = " + number(mode) +
                                          "\r\n\r\n[MC_MLD_DBG_DBG]: \n [checkPortState]port(29) is not find!"
                                          "<mld_pkt_recv(6000000000200001, 72, 29, 4088, 13119)>\n"
                                          "\r\n[MC_MLD_DBG_DBG]: mld_pkt_recv ret = 5\r\n"
                                          "\r\n[MC_MLD_DBG_DBG]: mld MODE is " +
                                          (mode == 2 ? "Snooping" : "control") + "\r\n"));
        EXPECT_THAT(seen.output, HasSubstr(", rPort = 29, rport_sta = -1\r\n"));
    }
}

TEST_F(MldHandover, in_modes_without_a_handler_the_effective_port_is_not_looked_up_again)
{
    mldInitParams.mldTestUplink = 0;
    mldInitParams.mldPortState[1].portNo = 5;
    mld_debug = MC_DEBUG_TRACE;
    EXPECT_THAT(
        take(report(), 0).trace,
        HasSubstr("\r\n[MC_MLD_DBG_DBG]: MLD MODE = 1\r\n<mld_pkt_recv(6000000000200001, 72, 29, 4088, 13119)>"));
}

// --- The engine's packet and answer

TEST_F(MldHandover, the_engine_gets_the_payload_length_and_40)
{
    for (const uint16_t length : std::initializer_list<uint16_t>{0, 32, 255, 256, 0x1234, 65535}) {
        SCOPED_TRACE(length);
        mld_debug = MC_DEBUG_TRACE;
        const auto seen = take(mld_report("ff1e::1").packet_word(4, length));
        EXPECT_EQ(platform().engine_packets.back().length, length + 40u);
        EXPECT_THAT(seen.output, HasSubstr(trace("IP TOTAL LENGTH = " + number(length + 40) + "\r\n").text));
    }
}

TEST_F(MldHandover, the_engine_gets_the_first_two_bytes_read_little_endian_and_12)
{
    const std::pair<const char *, uint32_t> kDestinations[] = {
        {"33:33:00:00:00:01", 0x333F}, {"00:01:00:00:00:01", 0x010C}, {"01:00:00:00:00:01", 0x000D},
        {"f4:00:00:00:00:01", 0x0100}, {"ff:ff:ff:ff:ff:ff", 0x000B}, // 16 bits wide
    };
    for (const auto &[destination, scratch] : kDestinations) {
        SCOPED_TRACE(destination);
        take(mld_report("ff1e::1").to(destination));
        EXPECT_EQ(platform().engine_packets.back().last, scratch);
    }
}

TEST_F(MldHandover, the_result_is_the_engines_whole_answer)
{
    mld_debug = MC_DEBUG_TRACE;
    for (const int32_t answer : {1, -1, 127, 128, 255, 256, 0x180, -256, 0x7FFFFF05}) {
        SCOPED_TRACE(answer);
        platform().answer("mld_pkt_recv", answer);
        for (const uint16_t mode : std::initializer_list<uint16_t>{1, 2, 3}) {
            mldInitParams.multiMode = mode;
            const auto seen = take(report());
            EXPECT_EQ(seen.result, answer);
            EXPECT_THAT(seen.trace, HasSubstr(called(kEngineCall).text +
                                              trace("mld_pkt_recv ret = " + number(answer) + "\r\n").text));
        }
    }
    platform().answer("mld_pkt_recv", 0);
    EXPECT_THAT(take(report()).output, Not(HasSubstr("mld_pkt_recv ret")));
}

TEST_F(MldHandover, the_line_of_the_engines_answer_is_a_trace)
{
    platform().answer("mld_pkt_recv", 5);
    expect_log(report(), 0, joined(accepted(0, 0, 1), {{called(kEngineCall), trace("mld_pkt_recv ret = 5\r\n")}}));
}

// --- What the handlers get

TEST_F(MldHandover, the_handlers_get_the_vlan_from_the_tag_record_as_the_engine_left_it)
{
    // Intended: a packet that the engine sends in its call may change the record.
    put_mld_rules(0, {rule(0).up(4000, 300)});
    mldInitParams.multiMode = 2;
    mld_debug = MC_DEBUG_TRACE;
    platform().on("mld_pkt_recv", [] { mldInitParams.outerTag.vid = 555; });
    EXPECT_THAT(take(mld_report("ff1e::1").vlan(100)).output, HasSubstr("vlan = 555 config search!"));
}

TEST_F(MldHandover, the_handlers_find_the_tag_record_as_the_frame_left_it)
{
    // A frame that no rule matches passes the handler without a change of the record.
    mldInitParams.multiMode = 2;
    take(mld_report("ff1e::1").tag(0x6064));
    EXPECT_EQ(mldInitParams.outerTag, (mldTagRecord{0x6064, 0x064, 0}));
    take(mld_report("ff1e::1").tag(0x6064).tag(0xA0C8));
    EXPECT_EQ(mldInitParams.outerTag, (mldTagRecord{0x8100, 0x0C8, 0}));
}

TEST_F(MldHandover, the_handlers_get_the_length_as_received)
{
    const std::pair<uint16_t, std::size_t> kModes[] = {{2, 94}, {3, 98}}; // control puts one more tag in
    for (const auto &[mode, length] : kModes) {
        SCOPED_TRACE(mode);
        mldInitParams.multiMode = mode;
        platform().forget_calls();
        take(mld_report("ff1e::1").vlan(100).pad_to(100), 0, 94);
        ASSERT_EQ(platform().sent.size(), 1u);
        EXPECT_EQ(platform().sent[0].bytes.size(), length);
    }
}

TEST_F(MldHandover, the_handlers_get_the_frame_itself)
{
    put_rules(0, {rule(0).up(100, 300)});
    put_mld_rules(0, {rule(0).up(100, 400)});
    mldInitParams.multiMode = 2;
    const ByteVector frame = mld_report("ff1e::1").vlan(100);
    take(frame, 0);
    EXPECT_EQ(buffer->frame(), with_control(frame, 300)); // the IGMP rule's tag, written in place
}

} // namespace
} // namespace mcadapt::test
