#include "intake_kit.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/** What an accepted frame is given to: the engine, then the handler of the mode. */
class IgmpHandover : public IgmpIntake {
protected:
    static const ByteVector &report()
    {
        static const ByteVector frame = igmp_report("225.1.2.3");
        return frame;
    }

    /** The lines of an untagged report up to its mode, on an adapter without rules. */
    Log accepted(uint32_t port, uint32_t from, int mode) const
    {
        Log log = {trace("igmpL2PktProc is in! " + number(port) + "\n"), received(report(), port),
                   trace("\r\nRcieve L2 data on interface " + number(from) + "(" + number(from) + "):\r\n"),
                   trace("in searchRecievePktPortCfgVlan vlan_id = 0 usPort = " + number(from) + " \r\n")};
        if (from == 29)
            log.push_back(trace("recieve paket from uplink,no need vlan config search!\r\n"));
        append(log, {trace("in searchVlan vlan = 0\r\n"), trace("out searchVlan vlan = 65535\r\n"),
                     trace("EPON searchVlan vlan = 4095\r\n"), trace("GROUP_VLAN = 4088\r\n"),
                     trace("IP TOTAL LENGTH = 32\r\n"), trace("PROTOL TYPE = 2"),
                     trace("IGMP MODE = " + number(mode) + "\r\n")});
        return log;
    }

    /** The lines of a frame's sending. */
    Log sending(const ByteVector &frame, uint32_t port, uint32_t source) const
    {
        const std::string length = std::to_string(frame.size());
        return {sent(frame, port),
                trace("l2_igmp_send_pkt  ifindex = " + number(port) + " len = " + length +
                      " srcPortNum = " + number(source) + " ponVlan = 4088\r\n"),
                called("L2_multicast_send_msg(" + hex(frame) + ", " + number(port) + ", " + length + ", " +
                       number(source) + ", 4088)")};
    }

    static void append(Log &log, const Log &more) { log.insert(log.end(), more.begin(), more.end()); }
    static Log joined(Log log, const std::vector<Log> &more)
    {
        for (const Log &each : more)
            append(log, each);
        return log;
    }
};

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

TEST_F(IgmpHandover, every_other_mode_gives_the_frame_to_the_engine_alone)
{
    for (const uint8_t mode : std::initializer_list<uint8_t>{0, 2, 4, 5, 100, 255}) {
        SCOPED_TRACE(int{mode});
        proxy_adapt_mode = mode;
        expect_log(report(), 0,
                   joined(accepted(0, 0, mode), {{called("igmp_pkt_recv(46c0002000004000, 32, 0, 4088, 0)")}}));
    }
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

TEST_F(IgmpHandover, what_passes_the_engine_by_is_told_by_the_port_type)
{
    for (const uint8_t mode : std::initializer_list<uint8_t>{1, 3}) {
        for (const uint32_t type : {0u, 1u, 2u, 3u}) {
            SCOPED_TRACE(testing::Message() << "mode " << int{mode} << ", type " << type);
            proxy_adapt_mode = mode;
            portState[0].portType = type;
            platform().forget_calls();
            EXPECT_EQ(take(report(), 0).result, type == 1 ? -1 : 0);
            EXPECT_EQ(platform().count("igmp_pkt_recv"), type == 1 ? 0u : 1u);
        }
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

TEST_F(IgmpHandover, a_user_port_reaches_the_engine_by_its_number)
{
    portState[0].portNo = 28;
    mc_debug = MC_DEBUG_TRACE;
    const auto seen = take(report(), 28);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_pkt_recv(46c0002000004000, 32, 28, 4088, 0)"));
    EXPECT_THAT(seen.output, Not(HasSubstr("The port no is")));
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

TEST_F(IgmpHandover, the_test_uplink_is_that_of_the_igmp_side)
{
    mldInitParams.mldTestUplink = 0;
    EXPECT_THAT(take(report(), 0).calls, ElementsAre("igmp_pkt_recv(46c0002000004000, 32, 0, 4088, 0)"));
    testuplink = 1;
    EXPECT_THAT(take(report(), 0).calls, ElementsAre("igmp_pkt_recv(46c0002000004000, 32, 0, 4088, 0)"));
}

TEST_F(IgmpHandover, a_port_is_admitted_before_it_is_taken_for_the_test_uplink)
{
    testuplink = 7;
    mc_debug = MC_DEBUG_ERROR;
    const auto seen = take(report(), 7);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.output, HasSubstr("[checkPortState]port(7) is not find!"));
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

TEST_F(IgmpHandover, a_frame_that_the_engine_refuses_is_forwarded_all_the_same)
{
    for (const uint8_t mode : std::initializer_list<uint8_t>{1, 3}) {
        SCOPED_TRACE(int{mode});
        proxy_adapt_mode = mode;
        platform().answer("igmp_pkt_recv", 5);
        platform().forget_calls();
        EXPECT_EQ(take(report()).result, 5);
        EXPECT_EQ(platform().sent.size(), 1u);
    }
}

// --- What the handlers get

TEST_F(IgmpHandover, the_handlers_get_the_vlan_of_the_innermost_tag)
{
    put_rules(0, {rule(0).up(4000, 300).down(4000, 300)});
    mc_debug = MC_DEBUG_TRACE;
    for (const Layout &layout : kLayouts) {
        SCOPED_TRACE(layout.name);
        const ByteVector frame = layout.wrap(igmp_report("225.1.2.3"));
        const std::string vlan = number(layout.vlan);
        proxy_adapt_mode = 1;
        EXPECT_THAT(take(frame, 0).output,
                    HasSubstr("searchUpSnoopPortCfgVlan from downlink,vlan = " + vlan + " config search!"));
        EXPECT_THAT(take(frame, 29).output,
                    HasSubstr("searchDownSnoopPortCfgVlan from downlink,vlan(" + vlan + ") config search!"));
        proxy_adapt_mode = 3;
        EXPECT_THAT(take(frame, 29).output,
                    HasSubstr("searchDownSnoopPortCfgVlan from downlink,vlan(" + vlan + ") config search!"));
    }
}

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

TEST_F(IgmpHandover, a_refused_frame_reaches_neither_engine_nor_handler)
{
    for (const uint8_t mode : std::initializer_list<uint8_t>{1, 2, 3}) {
        SCOPED_TRACE(int{mode});
        proxy_adapt_mode = mode;
        EXPECT_THAT(take(report(), 30).calls, IsEmpty());
        EXPECT_THAT(take(report(), 1).calls, IsEmpty());
        EXPECT_THAT(take(report(), 0, 2001).calls, IsEmpty());
        EXPECT_THAT(take(report(), 0, 13).calls, IsEmpty());
        EXPECT_THAT(take(igmp_report("225.1.2.3").from("02:19:c6:01:02:03")).calls, IsEmpty());
        EXPECT_THAT(take(igmp_report("225.1.2.3").ethertype(0x86DD)).calls, IsEmpty());
        EXPECT_THAT(take(igmp_report("225.1.2.3").packet_byte(9, 17)).calls, IsEmpty());
        EXPECT_THAT(take(mld_report("ff1e::1")).calls, IsEmpty());
    }
}

} // namespace
} // namespace mcadapt::test
