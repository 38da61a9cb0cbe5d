// IGMP snooping, frames from a user port: the VLAN that overrides the rules, and the lines. The search itself is
// tested for both families together.
#include "mode_handlers.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SnoopUpstreamIgmp : public ModeHandlerTest {
protected:
    static Handled from_user(const ByteVector &frame, uint32_t vlan = 100)
    {
        return handle(igmp_adapt_snoop_handle, frame, kUserPort, vlan);
    }

    const ByteVector untagged = igmp_report("225.1.2.3");
    const ByteVector tagged = igmp_report("225.1.2.3").vlan(100, 5);
};

TEST_F(SnoopUpstreamIgmp, an_svlan_overrides_the_rules)
{
    put_rules(0, {rule(0).up(100, 7)});
    struct {
        uint16_t svlan, control;
    } const cases[] = {{0x1064, 0x0064},
                       {0x0064, 0x0064},
                       {0x2064, 0x2064},
                       {0xF064, 0xE064},
                       {0xFFFE, 0xEFFE},
                       {0x1000, 0x0000},
                       {0, 0}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.svlan);
        globle_parm.port[0].svlan = c.svlan;
        auto seen = from_user(tagged);
        EXPECT_THAT(seen.calls, ElementsAre(igmp_sent(with_control(tagged, c.control), kUplink)));
        EXPECT_EQ(seen.frame, with_control(tagged, c.control));
        EXPECT_THAT(seen.changed, IsEmpty());
        seen = from_user(untagged);
        EXPECT_THAT(seen.calls, ElementsAre(igmp_sent(with_tag(untagged, c.control), kUplink)));
        EXPECT_EQ(seen.frame, untagged);
    }
}

TEST_F(SnoopUpstreamIgmp, only_the_svlan_of_the_receiving_port_counts)
{
    globle_parm.port[0].svlan_s = 4;
    globle_parm.port[0].cvlan = 5;
    globle_parm.port[1].svlan = 6;
    EXPECT_THAT(from_user(tagged).calls, ElementsAre(igmp_sent(tagged, kUplink)));
    put_ports({kUplink, MC_PORT_TYPE_UPLINK}, {kUserPort, MC_PORT_TYPE_USER});
    EXPECT_THAT(from_user(tagged).calls, ElementsAre(igmp_sent(with_control(tagged, 6), kUplink)));
}

TEST_F(SnoopUpstreamIgmp, an_svlan_frame_goes_to_the_test_uplink)
{
    globle_parm.port[0].svlan = 7;
    testuplink = 5;
    EXPECT_THAT(from_user(tagged).calls, ElementsAre(igmp_sent(with_control(tagged, 7), 5)));
}

TEST_F(SnoopUpstreamIgmp, long_frames_take_the_svlan_whole)
{
    globle_parm.port[0].svlan = 7;
    for (const std::size_t length : Lengths{1518, 1519, 2000}) {
        const ByteVector frame = counting_frame(length);
        EXPECT_THAT(from_user(frame).calls, ElementsAre(igmp_sent(with_tag(frame, 7), kUplink)));
    }
}

TEST_F(SnoopUpstreamIgmp, no_record_changes)
{
    put_rules(0, {rule(0).up(100, 7)});
    EXPECT_THAT(from_user(tagged).changed, IsEmpty());
    EXPECT_THAT(from_user(untagged).changed, IsEmpty());
}

// --- Lines

const Line kIgmpSnoopingUp = igmp_trace("Enter igmp_snoop_handle, rPort = 0, rport_sta = 2\r\n");
const Line kIgmpUpClosing = igmp_error("invalid port !!\r\n"); // intended: ends a successful pass as well

Line igmp_up_compared(const char *frame_vlan, const char *rule_vlan)
{
    return igmp_trace("searchUpSnoopPortCfgVlan from downlink,vlan = " + std::string(frame_vlan) +
                      " config search!,cfgvlan = " + rule_vlan + "\r\n");
}

TEST_F(SnoopUpstreamIgmp, the_search_is_told_up_to_the_match)
{
    put_rules(0, {rule(0).up(50, 9), rule(0).up(0xF064, 0x3007), rule(0).up(100, 8)});
    expect_lines(mc_debug,
                 {kIgmpSnoopingUp, igmp_up_compared("100", "50"), igmp_up_compared("100", "100"),
                  igmp_trace("searchUpSnoopPortCfgVlan 12295\r\n"), igmp_send_trace(kUplink, tagged.size()),
                  kIgmpUpClosing},
                 [&] { return from_user(tagged); });
}

TEST_F(SnoopUpstreamIgmp, a_search_in_vain_is_told_through_both_blocks)
{
    put_rules(0, {rule(0).up(50, 9)});
    put_rules(1, {rule(7).up(51, 9), rule(0).up(52, 9)});
    expect_lines(mc_debug,
                 {kIgmpSnoopingUp, igmp_up_compared("100", "50"), igmp_up_compared("100", "51"),
                  igmp_trace("searchUpSnoopPortCfgVlan 65535\r\n"), igmp_send_trace(kUplink, tagged.size()),
                  igmp_trace("Enter igmp_snoop_handle,downlink can't find vlanconfig! direct pass!\r\n"),
                  kIgmpUpClosing},
                 [&] { return from_user(tagged); });
}

TEST_F(SnoopUpstreamIgmp, an_override_is_not_searched_for)
{
    put_rules(0, {rule(0).up(100, 9)});
    globle_parm.port[0].svlan = 7;
    expect_lines(mc_debug, {kIgmpSnoopingUp, igmp_send_trace(kUplink, untagged.size() + 4), kIgmpUpClosing},
                 [&] { return from_user(untagged); });
}

TEST_F(SnoopUpstreamIgmp, a_frame_is_sent_before_it_is_told_that_it_passed)
{
    everything_logged();
    const auto seen = from_user(tagged);
    EXPECT_EQ(
        seen.trace,
        output_under(~0u, {kIgmpSnoopingUp, igmp_trace("searchUpSnoopPortCfgVlan 65535\r\n"),
                           igmp_send_trace(kUplink, tagged.size())}) +
            in_trace(igmp_sent(tagged, kUplink)) +
            output_under(~0u, {igmp_trace("Enter igmp_snoop_handle,downlink can't find vlanconfig! direct pass!\r\n"),
                               kIgmpUpClosing}));
}

// --- By way of the intake

TEST_F(SnoopUpstreamIgmp, the_engine_has_the_packet_before_the_frame_is_sent_on)
{
    proxy_adapt_mode = 1;
    put_rules(0, {rule(0).up(101, 0x2065).data(300, 300)});
    FrameBuffer buffer(igmp_report("225.1.2.3").tag(0x6064).tag(0x8065)); // the inner VLAN counts
    const auto seen = observe([&] { return igmpL2PktProc(buffer.data(), buffer.length(), kUserPort); });
    const ByteVector expected = igmp_report("225.1.2.3").tag(0x2065).tag(0x8065);
    EXPECT_THAT(seen.calls, ElementsAre(::testing::StartsWith("igmp_pkt_recv("),
                                        call_line("L2_multicast_send_msg", HexBytes{expected.data(), expected.size()},
                                                  kUplink, expected.size(), kUserPort, 300)));
    EXPECT_EQ(buffer.frame(), expected);
}

} // namespace
} // namespace mcadapt::test
