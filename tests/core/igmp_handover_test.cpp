// How the IGMP intake alone hands a frame over; what both intakes do stands in intake_handover_test.cpp.
#include "intake_handover.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

using IgmpHandover = HandoverTest<IgmpSide>;

// --- Modes

TEST_F(IgmpHandover, snooping_gives_the_frame_to_the_engine_and_then_to_the_snooping_handler)
{
    proxy_adapt_mode = 1;
    expect_log(report(), 0,
               joined(accepted(0, 0, 1),
                      {{called("igmp_pkt_recv(46c0002000004000, 32, 0, 4088, 0)"), trace("IGMP MODE is Snooping\r\n"),
                        trace("Enter igmp_snoop_handle, rPort = 0, rport_sta = 2\r\n"),
                        trace("searchUpSnoopPortCfgVlan 65535\r\n")},
                       sending(report(), 29, 0),
                       {trace("Enter igmp_snoop_handle,downlink can't find vlanconfig! direct pass!\r\n"),
                        error("invalid port !!\r\n")}}));
}

TEST_F(IgmpHandover, control_gives_the_frame_to_the_engine_and_then_to_the_control_handler)
{
    proxy_adapt_mode = 3;
    platform().uplink_mode = 0;
    expect_log(
        report(), 0,
        joined(accepted(0, 0, 3),
               {{called("igmp_pkt_recv(46c0002000004000, 32, 0, 4088, 0)"), trace("IGMP MODE is control\r\n"),
                 trace("Enter igmp_control_handle, rPort = 0, rport_sta = 2\r\n"), called("vx_hal_nni_upmode_get()")},
                sending(with_tag(report(), 1), 29, 0)}));
}

TEST_F(IgmpHandover, the_mode_is_that_of_proxy_adapt_mode)
{
    proxy_adapt_mode = 2;
    globle_parm.multiMode = 1;
    status_block.statusMode = 3;
    mldInitParams.multiMode = 2;
    EXPECT_THAT(take(report()).calls, ElementsAre("igmp_pkt_recv(46c0002000004000, 32, 0, 4088, 0)"));
}

// --- The uplink

TEST_F(IgmpHandover, in_snooping_mode_a_frame_from_the_uplink_passes_the_engine_by)
{
    proxy_adapt_mode = 1;
    platform().answer("igmp_pkt_recv", 5);
    PortVlanCfg[0][0].prodntagmode = 0;
    EXPECT_EQ(take(report(), 29).result, -1);
    expect_log(report(), 29,
               joined(accepted(29, 29, 1),
                      {{trace("igmpL2PktProc  igmp_mode = 1 usPort = 29\r\n"), trace("IGMP MODE is Snooping\r\n"),
                        trace("Enter igmp_snoop_handle, rPort = 29, rport_sta = 1\r\n"),
                        config("searchDownSnoopPortCfgVlan!\r\n"),
                        trace("Enter igmp_snoop_handle,uplink can't find vlanconfig! direct pass!\r\n")},
                       sending(report(), 0, 29),
                       {error("invalid port !!\r\n")}}));
}

TEST_F(IgmpHandover, in_control_mode_a_frame_from_the_uplink_passes_the_engine_by)
{
    proxy_adapt_mode = 3;
    platform().answer("igmp_pkt_recv", 5);
    EXPECT_EQ(take(report(), 29).result, -1);
    expect_log(report(), 29,
               joined(accepted(29, 29, 3),
                      {{trace("igmpL2PktProc  igmp_mode = 3 usPort = 29\r\n"), trace("IGMP MODE is control\r\n"),
                        trace("Enter igmp_control_handle, rPort = 29, rport_sta = 1\r\n"),
                        config("searchDownSnoopPortCfgVlan!\r\n"),
                        trace("Enter igmp_snoop_handle,uplink can't find vlanconfig! direct pass!\r\n")},
                       sending(report(), 0, 29)}));
}

TEST_F(IgmpHandover, in_every_other_mode_the_engine_gets_a_frame_from_the_uplink_as_from_port_65535)
{
    platform().answer("igmp_pkt_recv", 5);
    for (const uint8_t mode : std::initializer_list<uint8_t>{0, 2, 4}) {
        SCOPED_TRACE(int{mode});
        proxy_adapt_mode = mode;
        EXPECT_EQ(take(report(), 29).result, 5);
        expect_log(report(), 29,
                   joined(accepted(29, 29, mode), {{trace("The port no is (65535)\r\n"),
                                                    called("igmp_pkt_recv(46c0002000004000, 32, 65535, 4088, 0)")}}));
    }
}

TEST_F(IgmpHandover, port_29_reaches_the_engine_as_65535_whatever_its_type)
{
    portState[1].portType = MC_PORT_TYPE_USER;
    proxy_adapt_mode = 1;
    mc_debug = MC_DEBUG_TRACE;
    EXPECT_THAT(take(report(), 29).trace,
                HasSubstr("\r\n[MC_DBG_DBG]: IGMP MODE = 1\r\n\r\n[MC_DBG_DBG]: The port no is (65535)\r\n"
                          "<igmp_pkt_recv(46c0002000004000, 32, 65535, 4088, 0)>\n"
                          "\r\n[MC_DBG_DBG]: IGMP MODE is Snooping\r\n"));
}

// --- The test uplink

TEST_F(IgmpHandover, a_frame_from_the_test_uplink_is_handled_as_from_port_29)
{
    testuplink = 0;
    expect_log(report(), 0,
               joined(accepted(0, 29, 2), {{trace("The port no is (65535)\r\n"),
                                            called("igmp_pkt_recv(46c0002000004000, 32, 65535, 4088, 0)")}}));
}

TEST_F(IgmpHandover, in_snooping_mode_a_frame_from_the_test_uplink_passes_the_engine_by)
{
    testuplink = 0;
    proxy_adapt_mode = 1;
    mc_debug = MC_DEBUG_TRACE;
    const auto seen = take(report(), 0);
    EXPECT_EQ(seen.result, -1);
    EXPECT_THAT(seen.output, HasSubstr("\r\n[MC_DBG_DBG]: igmpL2PktProc  igmp_mode = 1 usPort = 29\r\n"
                                       "\r\n[MC_DBG_DBG]: IGMP MODE is Snooping\r\n"
                                       "\r\n[MC_DBG_DBG]: Enter igmp_snoop_handle, rPort = 29, rport_sta = 1\r\n"));
    EXPECT_EQ(platform().count("igmp_pkt_recv"), 0u);
}

TEST_F(IgmpHandover, an_effective_port_that_is_not_configured_reaches_engine_and_handler)
{
    testuplink = 0;
    portState[1].portNo = 5;
    mc_debug = MC_DEBUG_TRACE;
    for (const uint8_t mode : std::initializer_list<uint8_t>{1, 3}) {
        SCOPED_TRACE(int{mode});
        const std::string printed = number(mode);
        const std::string handler = mode == 1 ? "Snooping" : "control";
        proxy_adapt_mode = mode;
        platform().answer("igmp_pkt_recv", 5);
        const auto seen = take(report(), 0);
        EXPECT_EQ(seen.result, 5);
        EXPECT_THAT(seen.trace, HasSubstr("\r\n[MC_DBG_DBG]: IGMP MODE = " + printed +
                                          "\r\n\r\n[MC_DBG_DBG]: \n [checkPortState]port(29) is not find!"
                                          "\r\n[MC_DBG_DBG]: The port no is (65535)\r\n"
                                          "<igmp_pkt_recv(46c0002000004000, 32, 65535, 4088, 0)>\n"
                                          "\r\n[MC_DBG_DBG]: IGMP MODE is " +
                                          handler + "\r\n"));
        EXPECT_THAT(seen.output, HasSubstr(", rPort = 29, rport_sta = -1\r\n"));
    }
}

TEST_F(IgmpHandover, in_modes_without_a_handler_the_effective_port_is_not_looked_up_again)
{
    testuplink = 0;
    portState[1].portNo = 5;
    mc_debug = MC_DEBUG_TRACE;
    EXPECT_THAT(take(report(), 0).trace,
                HasSubstr("\r\n[MC_DBG_DBG]: IGMP MODE = 2\r\n\r\n[MC_DBG_DBG]: The port no is (65535)\r\n"));
}

// --- The engine's packet and answer

TEST_F(IgmpHandover, the_engine_gets_the_length_that_the_packet_tells)
{
    for (const uint16_t length : std::initializer_list<uint16_t>{0, 20, 255, 256, 0x1234, 65535}) {
        SCOPED_TRACE(length);
        mc_debug = MC_DEBUG_TRACE;
        const auto seen = take(igmp_report("225.1.2.3").packet_word(2, length));
        EXPECT_EQ(platform().engine_packets.back().length, length);
        EXPECT_THAT(seen.output, HasSubstr(trace("IP TOTAL LENGTH = " + number(length) + "\r\n").text));
    }
}

TEST_F(IgmpHandover, the_result_is_the_low_byte_of_the_engines_answer_as_a_signed_number)
{
    const std::pair<int32_t, int32_t> kAnswers[] = {{0, 0},   {1, 1},   {127, 127}, {128, -128},   {255, -1},
                                                    {256, 0}, {-1, -1}, {-256, 0},  {0x180, -128}, {0x7FFFFF05, 5}};
    for (const auto &[answer, result] : kAnswers) {
        SCOPED_TRACE(answer);
        platform().answer("igmp_pkt_recv", answer);
        for (const uint8_t mode : std::initializer_list<uint8_t>{1, 2, 3}) {
            proxy_adapt_mode = mode;
            EXPECT_EQ(take(report()).result, result);
        }
    }
}

// --- What the handlers get

TEST_F(IgmpHandover, the_handlers_get_the_length_as_received)
{
    for (const uint8_t mode : std::initializer_list<uint8_t>{1, 3}) {
        SCOPED_TRACE(int{mode});
        proxy_adapt_mode = mode;
        platform().uplink_mode = 0;
        platform().forget_calls();
        take(igmp_report("225.1.2.3").vlan(100).pad_to(64), 0, 60);
        ASSERT_EQ(platform().sent.size(), 1u);
        EXPECT_EQ(platform().sent[0].bytes.size(), 60u);
    }
}

TEST_F(IgmpHandover, the_handlers_get_the_frame_itself)
{
    put_rules(0, {rule(0).up(100, 300)});
    proxy_adapt_mode = 1;
    const ByteVector frame = igmp_report("225.1.2.3").vlan(100);
    take(frame, 0);
    EXPECT_EQ(buffer->frame(), with_control(frame, 300)); // the rule's tag, written in place
}

TEST_F(IgmpHandover, a_frame_refused_for_its_type_or_protocol_reaches_neither_engine_nor_handler)
{
    for (const uint8_t mode : std::initializer_list<uint8_t>{1, 2, 3}) {
        SCOPED_TRACE(int{mode});
        proxy_adapt_mode = mode;
        EXPECT_THAT(take(igmp_report("225.1.2.3").ethertype(0x86DD)).calls, IsEmpty());
        EXPECT_THAT(take(igmp_report("225.1.2.3").packet_byte(9, 17)).calls, IsEmpty());
    }
}

} // namespace
} // namespace mcadapt::test
