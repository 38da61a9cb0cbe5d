// IGMP control mode: downstream frames that no rule matches pass, upstream frames are marked with the user port, and
// on a GPON uplink with the ONU.
#include "mode_handlers.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ControlIgmp : public ModeHandlerTest {
protected:
    static Handled from_uplink(const ByteVector &frame, uint32_t vlan = 100)
    {
        return handle(igmp_adapt_control_handle, frame, kUplink, vlan);
    }
    static Handled from_user(const ByteVector &frame, uint32_t port = kUserPort)
    {
        return handle(igmp_adapt_control_handle, frame, port, 100);
    }

    static void user_port_is(uint32_t port) { put_ports({port, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK}); }

    static RuleBuilder match(uint16_t out) { return rule(0).down(100, out); }

    const ByteVector untagged = igmp_query("225.1.2.3");
    const ByteVector tagged = igmp_query("225.1.2.3").vlan(100, 5);
    const std::string asked_mode = "vx_hal_nni_upmode_get()";
    const std::string asked_onu = "vx_ploam_onuid_get()";
};

// --- Downstream

TEST_F(ControlIgmp, a_downstream_frame_that_nothing_matches_passes_whatever_the_tag_mode)
{
    for (const ByteVector &frame : {tagged, untagged, counting_frame(14), counting_frame(2000)}) {
        for (const uint8_t mode : std::initializer_list<uint8_t>{0, 1, 2, 3, 4, 0xFF}) {
            put_rules(0, {rule(0).down_mode(mode).down(200, 5)});
            const auto seen = from_uplink(frame);
            EXPECT_THAT(seen.calls, ElementsAre(igmp_sent(frame, kUserPort))) << static_cast<int>(mode);
            EXPECT_EQ(seen.frame, frame);
        }
    }
    put_rules(0, {});
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(igmp_sent(tagged, kUserPort)));
}

TEST_F(ControlIgmp, the_overrides_of_snooping_do_not_matter)
{
    put_rules(0, {match(5)});
    for (const uint16_t vlan : std::initializer_list<uint16_t>{0, 0x3005}) {
        globle_parm.port[0].cvlan = vlan;
        globle_parm.port[0].svlan = vlan;
        EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(igmp_sent(with_control(tagged, 5), kUserPort)));
        EXPECT_THAT(from_uplink(tagged, 200).calls, ElementsAre(igmp_sent(tagged, kUserPort)));
    }
    platform().uplink_mode = 0;
    EXPECT_THAT(from_user(tagged).calls, ElementsAre(asked_mode, igmp_sent(with_control(tagged, 1), kUplink)));
}

TEST_F(ControlIgmp, only_the_igmp_tables_count)
{
    put_mld_ports({kUplink, MC_PORT_TYPE_USER}, {kUserPort, MC_PORT_TYPE_UPLINK});
    put_mld_rules(0, {match(5)});
    put_rules(0, {match(6)});
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(igmp_sent(with_control(tagged, 6), kUserPort)));
}

// intended: unlike snooping, the frame is sent as long as it arrived
TEST_F(ControlIgmp, a_frame_that_a_rule_strips_keeps_its_length)
{
    put_rules(0, {match(0)});
    const ByteVector frame = from_hex("01005e010203 001b21aabbcc 81000064 0800 46c00020 01020304");
    EXPECT_THAT(
        from_uplink(frame).calls,
        ElementsAre(igmp_sent(from_hex("01005e010203 001b21aabbcc 0800 46c00020 01020304 01020304"), kUserPort)));
}

TEST_F(ControlIgmp, a_frame_longer_than_its_buffer_is_not_stripped)
{
    put_rules(0, {match(0)});
    const ByteVector frame = with_tag(counting_frame(2044), 100);
    EXPECT_EQ(handle(igmp_adapt_control_handle, frame, kUplink, 100, 2048).calls.size(), 1u);
    for (const std::size_t length : Lengths{2049, 65536, 0xFFFFFFFF})
        EXPECT_THAT(handle(igmp_adapt_control_handle, frame, kUplink, 100, length).calls, IsEmpty()) << length;
}

// --- Upstream, EPON

TEST_F(ControlIgmp, an_epon_uplink_gets_one_tag_with_the_user_port_counted_from_1)
{
    platform().uplink_mode = 0;
    for (const uint32_t port : {0u, 1u, 15u, 28u}) {
        user_port_is(port);
        const auto vlan = static_cast<uint16_t>(port + 1);
        auto seen = from_user(untagged, port);
        EXPECT_THAT(seen.calls, ElementsAre(asked_mode, igmp_sent(with_tag(untagged, vlan), kUplink)));
        EXPECT_EQ(seen.frame, untagged);
        seen = from_user(tagged, port);
        EXPECT_THAT(seen.calls, ElementsAre(asked_mode, igmp_sent(with_control(tagged, vlan), kUplink)));
        EXPECT_EQ(seen.frame, tagged) << "the marked frame is a copy";
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

TEST_F(ControlIgmp, an_epon_frame_reads_as_expected_byte_for_byte)
{
    platform().uplink_mode = 0;
    EXPECT_THAT(
        from_user(from_hex("01005e010203 001b21aabbcc 0800 46c00020")).calls,
        ElementsAre(asked_mode, igmp_sent(from_hex("01005e010203 001b21aabbcc 81000001 0800 46c00020"), kUplink)));
    EXPECT_THAT(
        from_user(from_hex("01005e010203 001b21aabbcc 8100a064 0800 46c00020")).calls,
        ElementsAre(asked_mode, igmp_sent(from_hex("01005e010203 001b21aabbcc 81000001 0800 46c00020"), kUplink)));
}

// --- Upstream, GPON

TEST_F(ControlIgmp, a_gpon_uplink_gets_the_onu_and_the_user_port)
{
    platform().onu_id = 5;
    const ByteVector expected = from_hex("01005e010203 001b21aabbcc 81000005 81000001 0800 46c00020");
    for (const uint32_t mode : {1u, 2u, 256u, 0x80000000u, 0xFFFFFFFFu}) {
        platform().uplink_mode = mode;
        for (const ByteVector &frame : {from_hex("01005e010203 001b21aabbcc 0800 46c00020"),
                                        from_hex("01005e010203 001b21aabbcc 8100a064 0800 46c00020")}) {
            const auto seen = from_user(frame);
            EXPECT_THAT(seen.calls, ElementsAre(asked_mode, asked_onu, igmp_sent(expected, kUplink)));
            EXPECT_EQ(seen.frame, frame) << "the marked frame is a copy";
            EXPECT_THAT(seen.changed, IsEmpty());
        }
    }
}

TEST_F(ControlIgmp, an_onu_id_of_0_is_sent_as_128)
{
    struct {
        uint8_t onu_id;
        uint16_t vlan;
    } const cases[] = {{0, 128}, {1, 1}, {127, 127}, {128, 128}, {255, 255}};
    user_port_is(28);
    for (const auto &c : cases) {
        platform().onu_id = c.onu_id;
        EXPECT_THAT(from_user(untagged, 28).calls,
                    ElementsAre(asked_mode, asked_onu, igmp_sent(with_tag(with_tag(untagged, 29), c.vlan), kUplink)));
        EXPECT_THAT(from_user(tagged, 28).calls,
                    ElementsAre(asked_mode, asked_onu, igmp_sent(with_tag(with_control(tagged, 29), c.vlan), kUplink)));
    }
}

// --- Upstream, both

TEST_F(ControlIgmp, only_the_first_tag_of_an_upstream_frame_is_dropped)
{
    const ByteVector twice = igmp_report("225.1.2.3").tag(200).tag(100);
    platform().uplink_mode = 0;
    EXPECT_THAT(from_user(twice).calls, ElementsAre(asked_mode, igmp_sent(with_control(twice, 1), kUplink)));
    platform().uplink_mode = 1;
    EXPECT_THAT(from_user(twice).calls,
                ElementsAre(asked_mode, asked_onu, igmp_sent(with_tag(with_control(twice, 1), 7), kUplink)));
}

TEST_F(ControlIgmp, a_pppoe_frame_is_marked_in_front_of_its_session_header)
{
    const ByteVector pppoe = igmp_report("225.1.2.3").pppoe();
    platform().uplink_mode = 0;
    EXPECT_THAT(from_user(pppoe).calls, ElementsAre(asked_mode, igmp_sent(with_tag(pppoe, 1), kUplink)));
}

TEST_F(ControlIgmp, upstream_frames_are_not_looked_up_in_the_rules)
{
    put_rules(0, {rule(0).up(100, 9).down(100, 9)});
    platform().uplink_mode = 0;
    EXPECT_THAT(from_user(tagged).calls, ElementsAre(asked_mode, igmp_sent(with_control(tagged, 1), kUplink)));
}

TEST_F(ControlIgmp, what_the_platform_writes_counts_though_it_reports_a_failure)
{
    platform().answer("vx_hal_nni_upmode_get", -1);
    platform().answer("vx_ploam_onuid_get", -1);
    platform().onu_id = 9;
    EXPECT_THAT(from_user(untagged).calls,
                ElementsAre(asked_mode, asked_onu, igmp_sent(with_tag(with_tag(untagged, 1), 9), kUplink)));
    platform().uplink_mode = 0;
    EXPECT_THAT(from_user(untagged).calls, ElementsAre(asked_mode, igmp_sent(with_tag(untagged, 1), kUplink)));
}

TEST_F(ControlIgmp, long_upstream_frames_are_marked_whole)
{
    for (const std::size_t length : Lengths{1510, 1514, 1518, 1519, 1992, 1996, 2000}) {
        SCOPED_TRACE(length);
        const ByteVector plain = counting_frame(length);
        const ByteVector with_old_tag = tagged_counting_frame(length, 100);
        platform().uplink_mode = 0;
        EXPECT_THAT(from_user(plain).calls, ElementsAre(asked_mode, igmp_sent(with_tag(plain, 1), kUplink)));
        EXPECT_THAT(from_user(with_old_tag).calls,
                    ElementsAre(asked_mode, igmp_sent(with_control(with_old_tag, 1), kUplink)));
        platform().uplink_mode = 1;
        EXPECT_THAT(from_user(plain).calls,
                    ElementsAre(asked_mode, asked_onu, igmp_sent(with_tag(with_tag(plain, 1), 7), kUplink)));
        EXPECT_THAT(from_user(with_old_tag).calls,
                    ElementsAre(asked_mode, asked_onu, igmp_sent(with_tag(with_control(with_old_tag, 1), 7), kUplink)));
    }
}

TEST_F(ControlIgmp, marked_frames_go_to_the_test_uplink_in_place_of_the_uplink)
{
    testuplink = 5;
    platform().uplink_mode = 0;
    EXPECT_THAT(from_user(untagged).calls, ElementsAre(asked_mode, igmp_sent(with_tag(untagged, 1), 5)));
    platform().uplink_mode = 1;
    EXPECT_THAT(from_user(untagged).calls,
                ElementsAre(asked_mode, asked_onu, igmp_sent(with_tag(with_tag(untagged, 1), 7), 5)));
}

// --- Lines: no closing line ends a pass that sends

const Line kIgmpControlDown = igmp_trace("Enter igmp_control_handle, rPort = 29, rport_sta = 1\r\n");
const Line kIgmpControlUp = igmp_trace("Enter igmp_control_handle, rPort = 0, rport_sta = 2\r\n");
const Line kIgmpControlSearch = igmp_config("searchDownSnoopPortCfgVlan!\r\n");
const Line kIgmpControlPassed = igmp_trace("Enter igmp_snoop_handle,uplink can't find vlanconfig! direct pass!\r\n");

Line igmp_control_compared(const char *frame_vlan, const char *rule_vlan)
{
    return igmp_trace("searchDownSnoopPortCfgVlan from downlink,vlan(" + std::string(frame_vlan) +
                      ") config search!,cfgvlan(" + rule_vlan + ")\r\n");
}

TEST_F(ControlIgmp, a_downstream_match_is_told_rule_by_rule)
{
    put_rules(0, {rule(0).down(50, 9), match(5), match(0xFFFF), match(0)});
    expect_lines(mc_debug,
                 {kIgmpControlDown, kIgmpControlSearch, igmp_control_compared("100", "50"),
                  igmp_control_compared("100", "100"), igmp_control_compared("100", "100"),
                  igmp_control_compared("100", "100"), igmp_send_trace(kUserPort, tagged.size()),
                  igmp_error("searchDownSnoopPortCfgVlan is error,never here !!\r\n"),
                  igmp_send_trace(kUserPort, tagged.size())},
                 [&] { return from_uplink(tagged); });
}

TEST_F(ControlIgmp, a_downstream_frame_that_nothing_matches_is_told_before_it_is_sent)
{
    put_rules(0, {rule(0).down(0xF033, 9)});
    const std::vector<Line> lines = {kIgmpControlDown, kIgmpControlSearch, igmp_control_compared("100", "51"),
                                     kIgmpControlPassed, igmp_send_trace(kUserPort, tagged.size())};
    expect_lines(mc_debug, lines, [&] { return from_uplink(tagged); });

    everything_logged();
    EXPECT_EQ(from_uplink(tagged).trace, output_under(~0u, lines) + in_trace(igmp_sent(tagged, kUserPort)));
}

TEST_F(ControlIgmp, the_search_of_the_second_port_comes_when_its_turn_comes)
{
    everything_logged();
    second_user_port_appears(3);
    put_rules(0, {match(5)});
    put_rules(1, {rule(3).down(101, 7)});
    EXPECT_EQ(from_uplink(tagged).trace,
              output_under(~0u, {kIgmpControlDown, kIgmpControlSearch, igmp_control_compared("100", "100"),
                                 igmp_send_trace(kUserPort, tagged.size())}) +
                  in_trace(igmp_sent(with_control(tagged, 5), kUserPort)) +
                  output_under(~0u, {kIgmpControlSearch, igmp_control_compared("100", "101"), kIgmpControlPassed,
                                     igmp_send_trace(3, tagged.size())}) +
                  in_trace(igmp_sent(with_control(tagged, 5), 3)));
}

TEST_F(ControlIgmp, an_upstream_frame_has_no_line_of_its_own)
{
    platform().uplink_mode = 0;
    expect_lines(mc_debug, {kIgmpControlUp, igmp_send_trace(kUplink, untagged.size() + 4)},
                 [&] { return from_user(untagged); });
    platform().uplink_mode = 1;
    expect_lines(mc_debug, {kIgmpControlUp, igmp_send_trace(kUplink, untagged.size() + 8)},
                 [&] { return from_user(untagged); });
}

// --- By way of the intake

TEST_F(ControlIgmp, the_engine_has_the_packet_before_the_frame_is_marked)
{
    proxy_adapt_mode = 3;
    platform().uplink_mode = 0;
    FrameBuffer buffer(tagged);
    const auto seen = observe([&] { return igmpL2PktProc(buffer.data(), buffer.length(), kUserPort); });
    EXPECT_THAT(seen.calls, ElementsAre(::testing::StartsWith("igmp_pkt_recv("), asked_mode,
                                        ::testing::StartsWith("L2_multicast_send_msg(")));
    EXPECT_EQ(platform().sent.at(0).bytes, with_control(tagged, 1));
}

TEST_F(ControlIgmp, a_frame_from_the_test_uplink_is_handled_as_one_from_the_uplink)
{
    proxy_adapt_mode = 3;
    testuplink = kUserPort;
    FrameBuffer buffer(tagged);
    const auto seen = observe([&] { return igmpL2PktProc(buffer.data(), buffer.length(), kUserPort); });
    EXPECT_THAT(seen.calls, ElementsAre(::testing::StartsWith("L2_multicast_send_msg(")));
    EXPECT_EQ(platform().sent.at(0).bytes, tagged);
    EXPECT_EQ(platform().sent.at(0).ifindex, kUserPort);
}

} // namespace
} // namespace mcadapt::test
