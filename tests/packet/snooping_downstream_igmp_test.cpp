// IGMP snooping, frames from the uplink: what the user ports get when no rule matches, the VLAN that overrides the
// rules of a port, and the lines.
#include "mode_handlers.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SnoopDownstreamIgmp : public ModeHandlerTest {
protected:
    static Handled from_uplink(const ByteVector &frame, uint32_t vlan = 100)
    {
        return handle(igmp_adapt_snoop_handle, frame, kUplink, vlan);
    }

    static RuleBuilder match(uint16_t out) { return rule(0).down(100, out); }
    static RuleBuilder no_match(uint8_t mode) { return rule(0).down_mode(mode).down(200, 200); }

    const ByteVector untagged = igmp_query("225.1.2.3");
    const ByteVector tagged = igmp_query("225.1.2.3").vlan(100, 5);
};

TEST_F(SnoopDownstreamIgmp, without_a_match_the_tag_mode_of_the_first_rule_decides)
{
    for (const ByteVector &frame : {tagged, untagged, counting_frame(16), counting_frame(2000)}) {
        SCOPED_TRACE(frame.size());
        for (const uint8_t passing : std::initializer_list<uint8_t>{0, 3}) {
            put_rules(0, {no_match(passing), no_match(2)});
            EXPECT_THAT(from_uplink(frame).calls, ElementsAre(igmp_sent(frame, kUserPort)));
        }
        put_rules(0, {no_match(1), no_match(2)});
        EXPECT_THAT(from_uplink(frame).calls, ElementsAre(igmp_sent(without_tag(frame), kUserPort)));
        for (const uint8_t silent : std::initializer_list<uint8_t>{2, 4, 5, 0x10, 0xFF}) {
            put_rules(0, {no_match(silent), no_match(0), no_match(1)});
            EXPECT_THAT(from_uplink(frame).calls, IsEmpty()) << static_cast<int>(silent);
        }
        EXPECT_EQ(from_uplink(frame).frame, frame);
    }
}

TEST_F(SnoopDownstreamIgmp, the_tag_mode_holds_though_no_rule_is_counted)
{
    put_rules(0, {match(5).down_mode(0)});
    setVlanCfgNumber[0] = 0;
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(igmp_sent(tagged, kUserPort)));
    put_rules(0, {});
    EXPECT_THAT(from_uplink(tagged).calls, IsEmpty()) << "a cleared rule has mode 4";
}

TEST_F(SnoopDownstreamIgmp, the_tag_modes_do_not_matter_when_a_rule_matches)
{
    for (const uint8_t mode : std::initializer_list<uint8_t>{0, 1, 2, 3, 4}) {
        put_rules(0, {no_match(mode), match(5).down_mode(mode)});
        EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(igmp_sent(with_control(tagged, 5), kUserPort)));
    }
}

TEST_F(SnoopDownstreamIgmp, the_second_user_port_follows_the_tag_mode_of_its_own_first_rule)
{
    struct {
        uint8_t mode;
        std::vector<ByteVector> sent;
    } const cases[] = {{0, {tagged}}, {1, {without_tag(tagged)}}, {2, {}}, {3, {tagged}}, {4, {}}};
    for (const auto &c : cases) {
        SCOPED_TRACE(static_cast<int>(c.mode));
        put_ports({kUserPort, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
        second_user_port_appears(3);
        put_rules(0, {no_match(0)});
        put_rules(1, {no_match(c.mode)});
        std::vector<std::string> expected = {igmp_sent(tagged, kUserPort)};
        for (const ByteVector &frame : c.sent)
            expected.push_back(igmp_sent(frame, 3));
        EXPECT_EQ(from_uplink(tagged).calls, expected);
    }
}

TEST_F(SnoopDownstreamIgmp, a_cvlan_is_written_over_bytes_12_to_15_with_all_its_bits)
{
    put_rules(0, {match(5), match(6)});
    for (const uint16_t cvlan : std::initializer_list<uint16_t>{0x3005, 0x1000, 1, 0xFFFE, 0xF064}) {
        globle_parm.port[0].cvlan = cvlan;
        for (const ByteVector &frame : {tagged, untagged}) {
            const auto seen = from_uplink(frame);
            ByteVector expected = frame;
            expected[12] = 0x81;
            expected[13] = 0x00;
            expected = with_control(expected, cvlan); // intended: bit 12 too
            EXPECT_THAT(seen.calls, ElementsAre(igmp_sent(expected, kUserPort))) << cvlan;
            EXPECT_EQ(seen.frame, expected);
        }
    }
}

TEST_F(SnoopDownstreamIgmp, a_cvlan_of_zero_takes_out_bytes_12_to_15_tagged_or_not)
{
    put_rules(0, {match(5)});
    globle_parm.port[0].cvlan = 0;
    for (const ByteVector &frame : {tagged, untagged, counting_frame(16), counting_frame(17), counting_frame(2000)}) {
        const auto seen = from_uplink(frame);
        EXPECT_THAT(seen.calls, ElementsAre(igmp_sent(without_tag(frame), kUserPort)));
        EXPECT_EQ(seen.frame, frame);
    }
}

TEST_F(SnoopDownstreamIgmp, a_frame_stripped_by_cvlan_keeps_its_own_addresses)
{
    globle_parm.port[0].cvlan = 0;
    from_uplink(igmp_query().to("01:00:5e:7f:7f:7f").from("02:02:02:02:02:02").vlan(100));
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(igmp_sent(without_tag(tagged), kUserPort)));
}

TEST_F(SnoopDownstreamIgmp, each_user_port_has_its_own_cvlan)
{
    put_rules(0, {match(5)});
    put_rules(1, {rule(3).down(100, 0x2007)});
    globle_parm.port[1].cvlan = 0x3005;
    EXPECT_THAT(from_uplink(untagged).calls, ElementsAre(igmp_sent(with_tag(untagged, 5), kUserPort)));

    second_user_port_appears(3);
    globle_parm.port[0].cvlan = 0;
    ByteVector overwritten = untagged;
    overwritten[12] = 0x81;
    overwritten[13] = 0x00;
    EXPECT_THAT(from_uplink(untagged).calls, ElementsAre(igmp_sent(without_tag(untagged), kUserPort),
                                                         igmp_sent(with_control(overwritten, 0x3005), 3)));
}

TEST_F(SnoopDownstreamIgmp, a_tag_written_for_the_first_port_counts_as_one_for_the_second)
{
    globle_parm.port[0].cvlan = 0x3005;
    put_rules(1, {rule(3).down(100, 0x2007), rule(3).down(100, 0)});
    second_user_port_appears(3);
    ByteVector first = untagged;
    first[12] = 0x81;
    first[13] = 0x00;
    first = with_control(first, 0x3005);
    const ByteVector second = with_control(first, 0x2007);
    const auto seen = from_uplink(untagged);
    EXPECT_THAT(seen.calls,
                ElementsAre(igmp_sent(first, kUserPort), igmp_sent(second, 3), igmp_sent(without_tag(second), 3)));
    EXPECT_EQ(seen.frame, second);

    put_rules(1, {rule(3).down_mode(0)});
    put_ports({kUserPort, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
    EXPECT_THAT(from_uplink(untagged).calls, ElementsAre(igmp_sent(first, kUserPort), igmp_sent(first, 3)));
}

TEST_F(SnoopDownstreamIgmp, the_svlan_does_not_matter)
{
    put_rules(0, {match(5)});
    globle_parm.port[0].svlan = 7;
    globle_parm.port[1].svlan = 7;
    globle_parm.port[0].svlan_s = 7;
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(igmp_sent(with_control(tagged, 5), kUserPort)));
}

// --- Lines

const Line kIgmpDownSearch = igmp_config("searchDownSnoopPortCfgVlan!\r\n");
const Line kIgmpDownClosing = igmp_error("invalid port !!\r\n"); // intended: ends a successful pass as well
const Line kIgmpSnoopingDown = igmp_trace("Enter igmp_snoop_handle, rPort = 29, rport_sta = 1\r\n");

Line igmp_down_compared(const char *frame_vlan, const char *rule_vlan)
{
    return igmp_trace("searchDownSnoopPortCfgVlan from downlink,vlan(" + std::string(frame_vlan) +
                      ") config search!,cfgvlan(" + rule_vlan + ")\r\n");
}

TEST_F(SnoopDownstreamIgmp, a_match_is_told_rule_by_rule)
{
    put_rules(0, {rule(0).down(50, 9), match(5), match(0xFFFF), rule(0).down(0xF033, 9)});
    const std::vector<Line> lines = {kIgmpSnoopingDown,
                                     kIgmpDownSearch,
                                     igmp_down_compared("100", "50"),
                                     igmp_down_compared("100", "100"),
                                     igmp_down_compared("100", "100"),
                                     igmp_down_compared("100", "51"),
                                     igmp_send_trace(kUserPort, tagged.size()),
                                     igmp_error("searchDownSnoopPortCfgVlan is error,never here !!\r\n"),
                                     kIgmpDownClosing};
    expect_lines(mc_debug, lines, [&] { return from_uplink(tagged); });
}

TEST_F(SnoopDownstreamIgmp, a_frame_that_nothing_matches_is_told_so_whatever_becomes_of_it)
{
    struct {
        uint8_t mode;
        std::vector<Line> sends;
    } const cases[] = {{0, {igmp_send_trace(kUserPort, tagged.size())}},
                       {1, {igmp_send_trace(kUserPort, tagged.size() - 4)}},
                       {2, {}}};
    for (const auto &c : cases) {
        put_rules(0, {no_match(c.mode)});
        std::vector<Line> lines = {
            kIgmpSnoopingDown, kIgmpDownSearch, igmp_down_compared("100", "200"),
            igmp_trace("Enter igmp_snoop_handle,uplink can't find vlanconfig! direct pass!\r\n")};
        lines.insert(lines.end(), c.sends.begin(), c.sends.end());
        lines.push_back(kIgmpDownClosing);
        expect_lines(mc_debug, lines, [&] { return from_uplink(tagged); });
    }
}

TEST_F(SnoopDownstreamIgmp, an_override_is_sent_after_a_search_that_does_not_matter)
{
    put_rules(0, {match(5)});
    for (const uint16_t cvlan : std::initializer_list<uint16_t>{0, 0x3005}) {
        globle_parm.port[0].cvlan = cvlan;
        const std::size_t length = tagged.size() - (cvlan == 0 ? 4 : 0);
        expect_lines(mc_debug,
                     {kIgmpSnoopingDown, kIgmpDownSearch, igmp_down_compared("100", "100"),
                      igmp_send_trace(kUserPort, length), kIgmpDownClosing},
                     [&] { return from_uplink(tagged); });
    }
}

TEST_F(SnoopDownstreamIgmp, the_search_comes_before_the_sends_and_the_closing_line_after_them)
{
    everything_logged();
    put_rules(0, {match(5), match(0)});
    const auto seen = from_uplink(tagged);
    const std::string all = output_under(~0u, {kIgmpSnoopingDown, kIgmpDownSearch, igmp_down_compared("100", "100"),
                                               igmp_down_compared("100", "100")}) +
                            igmp_send_trace(kUserPort, tagged.size()).text +
                            in_trace(igmp_sent(with_control(tagged, 5), kUserPort)) +
                            igmp_send_trace(kUserPort, tagged.size() - 4).text +
                            in_trace(igmp_sent(without_tag(tagged), kUserPort)) + kIgmpDownClosing.text;
    EXPECT_EQ(seen.trace, all);
}

TEST_F(SnoopDownstreamIgmp, the_search_of_the_second_port_comes_when_its_turn_comes)
{
    everything_logged();
    second_user_port_appears(3);
    put_rules(0, {match(5)});
    put_rules(1, {rule(3).down(100, 7), rule(3).down(101, 8)});
    const auto seen = from_uplink(tagged);
    const std::string all =
        output_under(~0u, {kIgmpSnoopingDown, kIgmpDownSearch, igmp_down_compared("100", "100")}) +
        igmp_send_trace(kUserPort, tagged.size()).text + in_trace(igmp_sent(with_control(tagged, 5), kUserPort)) +
        output_under(~0u, {kIgmpDownSearch, igmp_down_compared("100", "100"), igmp_down_compared("100", "101")}) +
        igmp_send_trace(3, tagged.size()).text + in_trace(igmp_sent(with_control(tagged, 7), 3)) +
        kIgmpDownClosing.text;
    EXPECT_EQ(seen.trace, all);
}

TEST_F(SnoopDownstreamIgmp, the_second_port_is_not_searched_under_an_override)
{
    everything_logged();
    second_user_port_appears(3);
    put_rules(0, {match(5)});
    put_rules(1, {rule(3).down(100, 7)});
    globle_parm.port[1].cvlan = 9;
    const auto seen = from_uplink(tagged);
    EXPECT_EQ(seen.output, output_under(~0u, {kIgmpSnoopingDown, kIgmpDownSearch, igmp_down_compared("100", "100"),
                                              igmp_send_trace(kUserPort, tagged.size()),
                                              igmp_send_trace(3, tagged.size()), kIgmpDownClosing}));
}

TEST_F(SnoopDownstreamIgmp, the_search_is_told_though_there_is_no_user_port_or_rule)
{
    put_ports({kUplink, MC_PORT_TYPE_UPLINK}, {kUserPort, MC_PORT_TYPE_USER});
    put_rules(0, {match(5)});
    expect_lines(mc_debug, {kIgmpSnoopingDown, kIgmpDownSearch, igmp_down_compared("100", "100"), kIgmpDownClosing},
                 [&] { return from_uplink(tagged); });
    put_rules(0, {});
    expect_lines(mc_debug, {kIgmpSnoopingDown, kIgmpDownSearch, kIgmpDownClosing}, [&] { return from_uplink(tagged); });
}

// --- By way of the intake

TEST_F(SnoopDownstreamIgmp, a_frame_from_the_uplink_goes_to_the_user_port_past_the_engine)
{
    proxy_adapt_mode = 1;
    put_rules(0, {rule(0).down(101, 0x2065)});
    FrameBuffer buffer(igmp_query().tag(0x6064).tag(0x8065)); // the inner VLAN counts
    const auto seen = observe([&] { return igmpL2PktProc(buffer.data(), buffer.length(), kUplink); });
    ASSERT_EQ(platform().sent.size(), 1u);
    EXPECT_EQ(platform().sent[0].bytes, igmp_query().tag(0x2065).tag(0x8065).bytes());
    EXPECT_EQ(platform().sent[0].ifindex, kUserPort);
    EXPECT_EQ(platform().sent[0].srcPort, kUplink);
    EXPECT_EQ(seen.calls.size(), 1u);
}

TEST_F(SnoopDownstreamIgmp, a_frame_from_the_test_uplink_is_handled_as_one_from_the_uplink)
{
    proxy_adapt_mode = 1;
    testuplink = kUserPort;
    put_rules(0, {match(5).up(100, 9)});
    FrameBuffer buffer(tagged);
    igmpL2PktProc(buffer.data(), buffer.length(), kUserPort);
    ASSERT_EQ(platform().sent.size(), 1u);
    EXPECT_EQ(platform().sent[0].bytes, with_control(tagged, 5));
    EXPECT_EQ(platform().sent[0].ifindex, kUserPort);
    EXPECT_THAT(platform().engine_packets, IsEmpty());
}

} // namespace
} // namespace mcadapt::test
