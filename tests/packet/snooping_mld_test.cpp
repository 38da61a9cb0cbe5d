// MLD snooping: everything in which it differs from IGMP snooping.
#include "mode_handlers.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class SnoopMld : public ModeHandlerTest {
protected:
    static Handled from_uplink(const ByteVector &frame, uint32_t vlan = 100)
    {
        return handle(mld_adapt_snoop_handle, frame, kUplink, vlan);
    }
    static Handled from_user(const ByteVector &frame, uint32_t vlan = 100)
    {
        return handle(mld_adapt_snoop_handle, frame, kUserPort, vlan);
    }

    static RuleBuilder match(uint16_t out) { return rule(0).down(100, out); }
    static RuleBuilder no_match(uint8_t mode) { return rule(0).down_mode(mode).down(200, 200); }

    /** A rule that matches VLAN 100 upstream, and the tag for it. */
    static void put_upstream(uint16_t tag)
    {
        put_mld_rules(0, {rule(0).up(100, 0x0BAD)});
        put_rules(0, {rule().out_up(tag)});
    }

    /** What the outer tag record holds whenever a frame is sent. */
    static std::vector<mldTagRecord> &watch_outer_tags()
    {
        static std::vector<mldTagRecord> tags;
        tags.clear();
        platform().on("L2_multicast_send_msg", [] { tags.push_back(mldInitParams.outerTag); });
        return tags;
    }

    const ByteVector untagged = mld_query("ff1e::1");
    const ByteVector tagged = mld_query("ff1e::1").vlan(100, 5);
};

// --- The length check

TEST_F(SnoopMld, a_frame_above_1518_bytes_is_dropped_before_anything_else)
{
    put_mld_rules(0, {match(5).up(100, 5)});
    put_rules(0, {match(5).up(100, 5)});
    for (const uint32_t port : {kUplink, kUserPort, 7u, 30u}) {
        for (const std::size_t length : Lengths{1519, 2000}) {
            const ByteVector frame = tagged_counting_frame(length, 100);
            const std::string texts = "vlan 100, rPort = " + std::to_string(port) + " len = " + std::to_string(length);
            expect_lines(mld_debug, {mld_error("[igmp_adapt_snoop_handle]: " + texts + ", error!\r\n")}, [&] {
                auto seen = handle(mld_adapt_snoop_handle, frame, port, 100);
                EXPECT_THAT(seen.calls, IsEmpty());
                EXPECT_THAT(seen.changed, IsEmpty());
                EXPECT_EQ(seen.frame, frame);
                return seen;
            });
        }
    }
}

TEST_F(SnoopMld, a_frame_of_1518_bytes_is_handled)
{
    put_mld_rules(0, {match(5)});
    const ByteVector frame = counting_frame(1518);
    EXPECT_THAT(from_uplink(frame).calls, ElementsAre(mld_sent(with_tag(frame, 5), kUserPort)));
    EXPECT_THAT(from_user(frame).calls, ElementsAre(mld_sent(frame, kUplink)));
}

// --- Downstream

TEST_F(SnoopMld, only_the_mld_rules_count_downstream)
{
    put_rules(0, {match(5).down_mode(0)});
    EXPECT_THAT(from_uplink(tagged).calls, IsEmpty()) << "the first MLD rule is a cleared one";
    put_mld_rules(0, {match(6)});
    put_rules(0, {});
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(mld_sent(with_control(tagged, 6), kUserPort)));
}

TEST_F(SnoopMld, only_the_mld_port_table_counts)
{
    put_mld_rules(0, {match(6)});
    put_igmp_ports({kUplink, MC_PORT_TYPE_USER}, {kUserPort, MC_PORT_TYPE_UPLINK});
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(mld_sent(with_control(tagged, 6), kUserPort)));
    put_igmp_ports({kUserPort, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
    put_mld_ports({4, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(mld_sent(with_control(tagged, 6), 4)));
}

TEST_F(SnoopMld, the_overrides_of_the_igmp_side_do_not_matter)
{
    globle_parm.port[0].cvlan = 0x3005;
    globle_parm.port[0].svlan = 0x3005;
    put_mld_rules(0, {match(6)});
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(mld_sent(with_control(tagged, 6), kUserPort)));
    EXPECT_THAT(from_user(tagged).calls, ElementsAre(mld_sent(tagged, kUplink)));
    globle_parm.port[0].cvlan = 0;
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(mld_sent(with_control(tagged, 6), kUserPort)));
}

TEST_F(SnoopMld, without_a_match_the_tag_mode_of_the_first_mld_rule_decides)
{
    put_rules(0, {rule(0).down_mode(0)});
    for (const ByteVector &frame : {tagged, untagged, counting_frame(16), counting_frame(1518)}) {
        SCOPED_TRACE(frame.size());
        for (const uint8_t passing : std::initializer_list<uint8_t>{0, 3}) {
            put_mld_rules(0, {no_match(passing), no_match(2)});
            EXPECT_THAT(from_uplink(frame).calls, ElementsAre(mld_sent(frame, kUserPort)));
        }
        // Four bytes shorter here, unlike a frame that a rule strips.
        put_mld_rules(0, {no_match(1), no_match(2)});
        EXPECT_THAT(from_uplink(frame).calls, ElementsAre(mld_sent(without_tag(frame), kUserPort)));
        for (const uint8_t silent : std::initializer_list<uint8_t>{2, 4, 5, 0x10, 0xFF}) {
            put_mld_rules(0, {no_match(silent), no_match(0)});
            EXPECT_THAT(from_uplink(frame).calls, IsEmpty()) << static_cast<int>(silent);
        }
    }
}

TEST_F(SnoopMld, the_second_user_port_follows_the_tag_mode_of_its_own_first_rule)
{
    for (const uint8_t mode : std::initializer_list<uint8_t>{1, 3}) {
        put_ports({kUserPort, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
        second_user_port_appears(3);
        put_mld_rules(0, {no_match(0)});
        put_mld_rules(1, {no_match(mode)});
        EXPECT_THAT(from_uplink(tagged).calls,
                    ElementsAre(mld_sent(tagged, kUserPort), mld_sent(mode == 1 ? without_tag(tagged) : tagged, 3)));
    }
}

TEST_F(SnoopMld, a_frame_that_a_rule_strips_keeps_its_length)
{
    put_mld_rules(0, {match(0)});
    const ByteVector frame = from_hex("333300000001 001b21aabbcc 81000064 86dd 60000000 01020304");
    EXPECT_THAT(
        from_uplink(frame).calls,
        ElementsAre(mld_sent(from_hex("333300000001 001b21aabbcc 86dd 60000000 01020304 01020304"), kUserPort)));
}

TEST_F(SnoopMld, each_tag_sent_is_remembered_before_it_is_sent)
{
    put_mld_rules(0, {match(0x2064), match(0xF065), match(0x1000), match(7)});
    for (const ByteVector &frame : {tagged, untagged}) {
        mldInitParams.outerTag = {};
        const auto &tags = watch_outer_tags();
        from_uplink(frame);
        EXPECT_THAT(tags, ElementsAre(mldTagRecord{0x8100, 0x064, 1}, mldTagRecord{0x8100, 0x065, 7},
                                      mldTagRecord{0x8100, 0, 0}, mldTagRecord{0x8100, 7, 0}));
    }
}

TEST_F(SnoopMld, only_a_tag_that_is_sent_is_remembered)
{
    const mldTagRecord before = {0x1234, 0x567, 3};
    mldInitParams.outerTag = before;
    put_mld_rules(0, {match(0), match(0xFFFF)});
    from_uplink(tagged);
    EXPECT_EQ(mldInitParams.outerTag, before);
    for (const uint8_t mode : std::initializer_list<uint8_t>{0, 1, 2, 3}) {
        put_mld_rules(0, {no_match(mode)});
        from_uplink(tagged);
        EXPECT_EQ(mldInitParams.outerTag, before);
    }
    from_user(tagged);
    EXPECT_EQ(mldInitParams.outerTag, before);
    EXPECT_EQ(mldInitParams.innerTag, mldTagRecord{});
}

// --- Upstream

// intended: the MLD rules say which frame matches, the IGMP rules what becomes of it
TEST_F(SnoopMld, the_tag_of_an_upstream_frame_stands_in_the_igmp_table)
{
    put_mld_rules(0, {rule(0).up(200, 1), rule(0).up(100, 2)});
    put_rules(0, {rule(9).up(100, 3), rule(9).up(300, 0xA004), rule(0).up(100, 5)});
    EXPECT_THAT(from_user(tagged).calls, ElementsAre(mld_sent(with_control(tagged, 0xA004), kUplink)));

    put_mld_rules(0, {rule(9).up(100, 1)});
    put_mld_rules(1, {rule(0).up(100, 1)});
    mldInitParams.mldSetVlanCfgNumber[0] = 1;
    put_rules(0, {rule(0).up(100, 3)});
    put_rules(1, {rule(9).up(300, 0xA006)});
    EXPECT_THAT(from_user(tagged).calls, ElementsAre(mld_sent(with_control(tagged, 0xA006), kUplink)));
}

TEST_F(SnoopMld, an_upstream_match_without_an_igmp_rule_is_none)
{
    put_mld_rules(0, {rule(0).up(100, 2), rule(0).up(100, 3)});
    put_rules(0, {rule(), rule(0).up(100, 5)});
    EXPECT_THAT(from_user(tagged).calls, ElementsAre(mld_sent(tagged, kUplink)));
}

TEST_F(SnoopMld, the_igmp_rules_do_not_make_an_upstream_frame_match)
{
    put_rules(0, {rule(0).up(100, 5)});
    EXPECT_THAT(from_user(tagged).calls, ElementsAre(mld_sent(tagged, kUplink)));
}

TEST_F(SnoopMld, an_upstream_tag_is_remembered_before_it_is_sent)
{
    for (const ByteVector &frame : {tagged, untagged}) {
        mldInitParams.outerTag = {};
        put_upstream(0xF065);
        const auto &tags = watch_outer_tags();
        from_user(frame);
        EXPECT_THAT(tags, ElementsAre(mldTagRecord{0x8100, 0x065, 7}));
    }
}

TEST_F(SnoopMld, the_engine_s_next_packet_carries_the_tag_sent_last)
{
    put_mld_rules(0, {match(0x2064)});
    from_uplink(tagged);
    const ByteVector packet = mld_query("ff1e::1").packet();
    platform().forget_calls();
    send_pkt_mld(packet.data(), 0xFFFF, nullptr, static_cast<uint32_t>(packet.size()));
    ASSERT_EQ(platform().sent.size(), 1u);
    const ByteVector &bytes = platform().sent[0].bytes;
    EXPECT_EQ(hex(bytes.data() + 12, 4), "81002064");
}

// --- Lines: no closing line ends a pass, and the search starts with a trace

const Line kMldSnoopingDown = mld_trace("Enter mld_snoop_handle, rPort = 29, rport_sta = 1\r\n");
const Line kMldSnoopingUp = mld_trace("Enter mld_snoop_handle, rPort = 0, rport_sta = 2\r\n");
const Line kMldSnoopingSearch = mld_trace("recieve paket from uplink,search vlan config for snooping!\r\n");

Line compared_down(const char *frame_vlan, const char *rule_vlan)
{
    return mld_trace("searchDownSnoopPortCfgVlan from downlink,vlan(" + std::string(frame_vlan) +
                     ") config search!,cfgvlan(" + rule_vlan + ")\r\n");
}

Line compared_up(const char *frame_vlan, const char *rule_vlan)
{
    return mld_trace("searchUpSnoopPortCfgVlan from downlink,vlan = " + std::string(frame_vlan) +
                     " config search!,cfgvlan = " + rule_vlan + "\r\n");
}

TEST_F(SnoopMld, a_downstream_match_is_told_rule_by_rule)
{
    put_mld_rules(0, {rule(0).down(50, 9), match(5), match(0xFFFF), rule(0).down(0xF033, 9)});
    expect_lines(mld_debug,
                 {kMldSnoopingDown, kMldSnoopingSearch, compared_down("100", "50"), compared_down("100", "100"),
                  compared_down("100", "100"), compared_down("100", "51"), mld_send_trace(kUserPort, tagged.size()),
                  mld_error("searchDownSnoopPortCfgVlan is error,never here !!\r\n")},
                 [&] { return from_uplink(tagged); });
}

TEST_F(SnoopMld, a_frame_that_nothing_matches_is_told_with_its_port_and_once_more_when_it_passes)
{
    put_mld_ports({4, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
    const Line missed = mld_trace("Enter mld_snoop_handle,port 4 can't find vlanconfig in vlan 100! direct pass!\r\n");
    const Line passed = mld_trace("Enter mld_snoop_handle,uplink can't find vlanconfig! direct pass!\r\n");
    struct {
        uint8_t mode;
        std::vector<Line> lines;
    } const cases[] = {{0, {missed, passed, mld_send_trace(4, tagged.size())}},
                       {1, {missed, mld_send_trace(4, tagged.size() - 4)}},
                       {2, {missed}},
                       {3, {missed, passed, mld_send_trace(4, tagged.size())}},
                       {4, {missed}}};
    for (const auto &c : cases) {
        SCOPED_TRACE(static_cast<int>(c.mode));
        put_mld_rules(0, {no_match(c.mode)});
        std::vector<Line> lines = {kMldSnoopingDown, kMldSnoopingSearch, compared_down("100", "200")};
        lines.insert(lines.end(), c.lines.begin(), c.lines.end());
        expect_lines(mld_debug, lines, [&] { return from_uplink(tagged); });
    }
}

TEST_F(SnoopMld, an_unmatched_frame_is_told_with_the_whole_port_number_and_sent_to_its_low_16_bits)
{
    put_mld_ports({0x10005, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
    put_mld_rules(0, {no_match(0)});
    mld_debug = MC_DEBUG_TRACE;
    const auto seen = from_uplink(tagged);
    EXPECT_THAT(seen.output, ::testing::HasSubstr("port 65541 can't find vlanconfig in vlan 100!"));
    ASSERT_EQ(platform().sent.size(), 1u);
    EXPECT_EQ(platform().sent[0].ifindex, 5u);
}

TEST_F(SnoopMld, the_search_of_the_second_port_comes_when_its_turn_comes)
{
    everything_logged();
    second_user_port_appears(3);
    put_mld_rules(0, {match(5)});
    put_mld_rules(1, {rule(3).down(101, 7), rule(3).down_mode(2).down(102, 8)});
    const auto seen = from_uplink(tagged);
    EXPECT_EQ(seen.trace,
              output_under(~0u, {kMldSnoopingDown, kMldSnoopingSearch, compared_down("100", "100"),
                                 mld_send_trace(kUserPort, tagged.size())}) +
                  in_trace(mld_sent(with_control(tagged, 5), kUserPort)) +
                  output_under(~0u, {kMldSnoopingSearch, compared_down("100", "101"), compared_down("100", "102"),
                                     mld_trace("Enter mld_snoop_handle,port 3 can't find vlanconfig in vlan 100! "
                                               "direct pass!\r\n")}));
}

TEST_F(SnoopMld, the_search_is_told_though_there_is_no_user_port)
{
    put_ports({kUplink, MC_PORT_TYPE_UPLINK}, {kUserPort, MC_PORT_TYPE_USER});
    expect_lines(mld_debug, {kMldSnoopingDown, kMldSnoopingSearch}, [&] { return from_uplink(tagged); });
}

TEST_F(SnoopMld, an_upstream_search_is_told_up_to_the_match)
{
    put_mld_rules(0, {rule(0).up(50, 9), rule(0).up(0xF064, 9), rule(0).up(100, 8)});
    put_rules(0, {rule(), rule().out_up(0x3007)});
    expect_lines(mld_debug,
                 {kMldSnoopingUp, compared_up("100", "50"), compared_up("100", "100"),
                  mld_trace("mldsearchUpSnoopPortCfgVlan 12295\r\n"), mld_send_trace(kUplink, untagged.size() + 4)},
                 [&] { return from_user(untagged); });
}

TEST_F(SnoopMld, an_upstream_frame_is_sent_before_it_is_told_that_it_passed)
{
    const std::vector<Line> before = {kMldSnoopingUp, mld_trace("mldsearchUpSnoopPortCfgVlan 65535\r\n"),
                                      mld_send_trace(kUplink, tagged.size())};
    const Line after = mld_trace("Enter igmp_snoop_handle,downlink can't find vlanconfig! direct pass!\r\n");
    std::vector<Line> all = before;
    all.push_back(after);
    expect_lines(mld_debug, all, [&] { return from_user(tagged); });

    everything_logged();
    EXPECT_EQ(from_user(tagged).trace, output_under(~0u, before) + in_trace(mld_sent(tagged, kUplink)) + after.text);
}

// --- By way of the intake

TEST_F(SnoopMld, a_frame_from_the_test_uplink_is_handled_as_one_from_the_uplink)
{
    mldInitParams.mldTestUplink = kUserPort;
    put_mld_rules(0, {match(5).up(100, 9)});
    FrameBuffer buffer(tagged);
    mldL2PktProc(buffer.data(), buffer.length(), kUserPort);
    ASSERT_EQ(platform().sent.size(), 1u);
    EXPECT_EQ(platform().sent[0].bytes, with_control(tagged, 5));
    EXPECT_EQ(platform().sent[0].ifindex, kUserPort);
    EXPECT_THAT(platform().engine_packets, IsEmpty());
}

TEST_F(SnoopMld, a_frame_between_the_longest_of_the_handler_and_of_the_intake_only_reaches_the_engine)
{
    for (const std::size_t length : Lengths{1518, 1519}) {
        platform().forget_calls();
        FrameBuffer buffer(mld_report("ff1e::1").pad_to(length));
        mldL2PktProc(buffer.data(), buffer.length(), kUserPort);
        EXPECT_EQ(platform().engine_packets.size(), 1u);
        EXPECT_EQ(platform().sent.size(), length == 1518 ? 1u : 0u);
    }
}

} // namespace
} // namespace mcadapt::test
