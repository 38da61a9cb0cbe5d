// MLD control mode: everything in which it differs from IGMP control mode.
#include "mode_handlers.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ControlMld : public ModeHandlerTest {
protected:
    static Handled from_uplink(const ByteVector &frame, uint32_t vlan = 100)
    {
        return handle(mld_adapt_control_handle, frame, kUplink, vlan);
    }
    static Handled from_user(const ByteVector &frame, uint32_t port = kUserPort)
    {
        return handle(mld_adapt_control_handle, frame, port, 100);
    }

    static RuleBuilder match(uint16_t out) { return rule(0).down(100, out); }

    const ByteVector untagged = mld_query("ff1e::1");
    const ByteVector tagged = mld_query("ff1e::1").vlan(100, 5);
    const std::string asked_onu = "vx_ploam_onuid_get()";
};

// --- Downstream: two port tables at work

TEST_F(ControlMld, a_downstream_frame_that_nothing_matches_passes_whatever_the_tag_mode)
{
    for (const ByteVector &frame : {tagged, untagged, counting_frame(14), counting_frame(2000)}) {
        for (const uint8_t mode : std::initializer_list<uint8_t>{0, 1, 2, 3, 4, 0xFF}) {
            put_mld_rules(0, {rule(0).down_mode(mode).down(200, 5)});
            const auto seen = from_uplink(frame);
            EXPECT_THAT(seen.calls, ElementsAre(mld_sent(frame, kUserPort))) << static_cast<int>(mode);
            EXPECT_EQ(seen.frame, frame);
            EXPECT_THAT(seen.changed, IsEmpty());
        }
    }
}

TEST_F(ControlMld, only_the_mld_rules_count)
{
    put_rules(0, {match(5)});
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(mld_sent(tagged, kUserPort)));
    put_mld_rules(0, {match(6)});
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(mld_sent(with_control(tagged, 6), kUserPort)));
}

TEST_F(ControlMld, the_overrides_of_snooping_do_not_matter)
{
    globle_parm.port[0].cvlan = 0x3005;
    globle_parm.port[0].svlan = 0x3005;
    put_mld_rules(0, {match(6)});
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(mld_sent(with_control(tagged, 6), kUserPort)));
    EXPECT_THAT(from_uplink(tagged, 200).calls, ElementsAre(mld_sent(tagged, kUserPort)));
}

// intended: without a match the port comes from the IGMP port table, with one from that of the MLD side
TEST_F(ControlMld, where_the_port_tables_differ_the_match_decides_which_one_names_the_port)
{
    put_igmp_ports({4, MC_PORT_TYPE_USER}, {9, MC_PORT_TYPE_UPLINK});
    put_mld_ports({6, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
    put_mld_rules(0, {match(5), match(0)});
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(mld_sent(with_control(tagged, 5), 6),
                                                       mld_sent(without_tag(tagged) + last_four(tagged), 6)));
    EXPECT_THAT(from_uplink(tagged, 200).calls, ElementsAre(mld_sent(tagged, 4)));
    put_mld_rules(0, {match(5)});
    EXPECT_THAT(from_uplink(untagged).calls, ElementsAre(mld_sent(with_tag(untagged, 5), 6)));
}

TEST_F(ControlMld, both_port_tables_give_the_low_16_bits_of_a_port)
{
    put_igmp_ports({0x70004, MC_PORT_TYPE_USER}, {9, MC_PORT_TYPE_UPLINK});
    put_mld_ports({0x70006, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
    put_mld_rules(0, {match(5)});
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(mld_sent(with_control(tagged, 5), 6)));
    EXPECT_THAT(from_uplink(tagged, 200).calls, ElementsAre(mld_sent(tagged, 4)));
}

// intended: the IGMP port table says which entries are user ports
TEST_F(ControlMld, the_copies_run_over_the_user_ports_of_the_igmp_side)
{
    put_mld_rules(0, {match(5)});
    put_igmp_ports({4, MC_PORT_TYPE_UPLINK}, {5, MC_PORT_TYPE_USER});
    EXPECT_THAT(from_uplink(tagged).calls, IsEmpty());

    put_igmp_ports({4, MC_PORT_TYPE_USER}, {5, MC_PORT_TYPE_USER});
    put_mld_ports({kUplink, MC_PORT_TYPE_UPLINK}, {6, MC_PORT_TYPE_UPLINK});
    put_mld_rules(1, {match(7)});
    testuplink = 3;
    mldInitParams.mldTestUplink = 2;
    EXPECT_THAT(from_uplink(tagged).calls,
                ElementsAre(mld_sent(with_control(tagged, 5), 2), mld_sent(with_control(tagged, 7), 6)));
    EXPECT_THAT(from_uplink(tagged, 200).calls, ElementsAre(mld_sent(tagged, 4), mld_sent(tagged, 5)));
}

TEST_F(ControlMld, the_mld_port_table_says_what_the_receiving_port_is)
{
    put_igmp_ports({4, MC_PORT_TYPE_USER}, {kUserPort, MC_PORT_TYPE_UPLINK});
    put_mld_ports({kUplink, MC_PORT_TYPE_UPLINK}, {kUserPort, MC_PORT_TYPE_USER});
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(mld_sent(tagged, 4)));
    EXPECT_THAT(from_user(tagged).calls,
                ElementsAre(asked_onu, mld_sent(with_tag(with_control(tagged, 1), 7), kUplink)));
}

TEST_F(ControlMld, each_downstream_tag_is_remembered_before_it_is_sent)
{
    put_mld_rules(0, {match(0x2064), match(0), match(0xF065), match(0xFFFF), match(0x1000)});
    std::vector<mldTagRecord> tags;
    platform().on("L2_multicast_send_msg", [&tags] { tags.push_back(mldInitParams.outerTag); });
    const mldTagRecord first = {0x8100, 0x064, 1};
    const mldTagRecord second = {0x8100, 0x065, 7};
    for (const ByteVector &frame : {tagged, untagged}) {
        tags.clear();
        from_uplink(frame);
        EXPECT_THAT(tags, ElementsAre(first, first, second, mldTagRecord{0x8100, 0, 0}));
    }
    EXPECT_EQ(mldInitParams.innerTag, mldTagRecord{});
}

// --- Upstream: always two tags

TEST_F(ControlMld, an_upstream_frame_gets_two_tags_whatever_the_uplink_mode)
{
    platform().onu_id = 5;
    const ByteVector expected = from_hex("333300000001 001b21aabbcc 81000005 81000001 86dd 60000000");
    for (const uint32_t mode : {0u, 1u}) {
        platform().uplink_mode = mode;
        for (const ByteVector &frame : {from_hex("333300000001 001b21aabbcc 86dd 60000000"),
                                        from_hex("333300000001 001b21aabbcc 8100a064 86dd 60000000")}) {
            const auto seen = from_user(frame);
            EXPECT_THAT(seen.calls, ElementsAre(asked_onu, mld_sent(expected, kUplink)));
            EXPECT_EQ(seen.frame, frame) << "the marked frame is a copy";
        }
    }
}

TEST_F(ControlMld, both_tags_are_remembered_before_the_frame_is_sent)
{
    struct {
        uint8_t onu_id;
        uint16_t vlan;
    } const cases[] = {{0, 128}, {1, 1}, {7, 7}, {128, 128}, {255, 255}};
    put_ports({28, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
    mldTagRecord outer;
    mldTagRecord inner;
    platform().on("L2_multicast_send_msg", [&] {
        outer = mldInitParams.outerTag;
        inner = mldInitParams.innerTag;
    });
    for (const auto &c : cases) {
        SCOPED_TRACE(static_cast<int>(c.onu_id));
        platform().onu_id = c.onu_id;
        for (const ByteVector &frame : {tagged, untagged}) {
            mldInitParams.outerTag = {1, 2, 3};
            mldInitParams.innerTag = {1, 2, 3};
            const ByteVector marked = with_tag(frame == tagged ? with_control(frame, 29) : with_tag(frame, 29), c.vlan);
            EXPECT_THAT(from_user(frame, 28).calls, ElementsAre(asked_onu, mld_sent(marked, kUplink)));
            EXPECT_EQ(outer, (mldTagRecord{0x8100, c.vlan, 0}));
            EXPECT_EQ(inner, (mldTagRecord{0x8100, 29, 0}));
        }
    }
}

TEST_F(ControlMld, only_the_first_tag_of_an_upstream_frame_is_dropped)
{
    const ByteVector twice = mld_report("ff1e::1").tag(200).tag(100);
    EXPECT_THAT(from_user(twice).calls, ElementsAre(asked_onu, mld_sent(with_tag(with_control(twice, 1), 7), kUplink)));
}

TEST_F(ControlMld, the_onu_id_counts_though_the_platform_reports_a_failure)
{
    platform().answer("vx_ploam_onuid_get", -1);
    platform().onu_id = 9;
    EXPECT_THAT(from_user(untagged).calls,
                ElementsAre(asked_onu, mld_sent(with_tag(with_tag(untagged, 1), 9), kUplink)));
}

TEST_F(ControlMld, upstream_frames_are_not_looked_up_in_the_rules)
{
    put_rules(0, {rule(0).up(100, 9).down(100, 9)});
    put_mld_rules(0, {rule(0).up(100, 9).down(100, 9)});
    EXPECT_THAT(from_user(tagged).calls,
                ElementsAre(asked_onu, mld_sent(with_tag(with_control(tagged, 1), 7), kUplink)));
}

TEST_F(ControlMld, frames_above_1518_bytes_are_not_dropped)
{
    put_mld_rules(0, {match(5)});
    for (const std::size_t length : Lengths{1518, 1519, 1996, 2000}) {
        SCOPED_TRACE(length);
        const ByteVector plain = counting_frame(length);
        const ByteVector with_old_tag = tagged_counting_frame(length, 100);
        EXPECT_THAT(from_uplink(plain).calls, ElementsAre(mld_sent(with_tag(plain, 5), kUserPort)));
        EXPECT_THAT(from_user(plain).calls, ElementsAre(asked_onu, mld_sent(with_tag(with_tag(plain, 1), 7), kUplink)));
        EXPECT_THAT(from_user(with_old_tag).calls,
                    ElementsAre(asked_onu, mld_sent(with_tag(with_control(with_old_tag, 1), 7), kUplink)));
    }
}

TEST_F(ControlMld, marked_frames_go_to_the_test_uplink_in_place_of_the_uplink)
{
    testuplink = 5;
    mldInitParams.mldTestUplink = 6;
    EXPECT_THAT(from_user(untagged).calls, ElementsAre(asked_onu, mld_sent(with_tag(with_tag(untagged, 1), 7), 6)));
}

TEST_F(ControlMld, the_engine_s_packets_carry_the_onu_until_the_next_downstream_tag)
{
    const ByteVector packet = mld_query("ff1e::1").packet();
    const auto engine_tag = [&packet] {
        platform().forget_calls();
        send_pkt_mld(packet.data(), 0xFFFF, nullptr, static_cast<uint32_t>(packet.size()));
        return platform().sent.size() == 1 ? hex(platform().sent[0].bytes.data() + 12, 4) : "not sent once";
    };
    from_user(tagged);
    EXPECT_EQ(engine_tag(), "81000007");
    platform().onu_id = 0;
    from_user(tagged);
    EXPECT_EQ(engine_tag(), "81000080");
    put_mld_rules(0, {match(0x2064)});
    from_uplink(tagged);
    EXPECT_EQ(engine_tag(), "81002064");
}

// --- Lines

const Line kMldControlDown = mld_trace("Enter igmp_control_handle, rPort = 29, rport_sta = 1\r\n");
const Line kMldControlUp = mld_trace("Enter igmp_control_handle, rPort = 0, rport_sta = 2\r\n");
const Line kMldControlSearch = mld_trace("recieve paket from uplink,search vlan config for snooping!\r\n");
const Line kMldControlPassed = mld_trace("Enter igmp_snoop_handle,uplink can't find vlanconfig! direct pass!\r\n");

Line mld_control_compared(const char *frame_vlan, const char *rule_vlan)
{
    return mld_trace("searchDownSnoopPortCfgVlan from downlink,vlan(" + std::string(frame_vlan) +
                     ") config search!,cfgvlan(" + rule_vlan + ")\r\n");
}

TEST_F(ControlMld, a_downstream_match_is_told_rule_by_rule)
{
    put_mld_rules(0, {rule(0).down(50, 9), match(5), match(0xFFFF), match(0)});
    expect_lines(mld_debug,
                 {kMldControlDown, kMldControlSearch, mld_control_compared("100", "50"),
                  mld_control_compared("100", "100"), mld_control_compared("100", "100"),
                  mld_control_compared("100", "100"), mld_send_trace(kUserPort, tagged.size()),
                  mld_error("searchDownSnoopPortCfgVlan is error,never here !!\r\n"),
                  mld_send_trace(kUserPort, tagged.size())},
                 [&] { return from_uplink(tagged); });
}

TEST_F(ControlMld, each_user_port_is_searched_and_told_in_its_turn)
{
    put_igmp_ports({4, MC_PORT_TYPE_USER}, {5, MC_PORT_TYPE_USER});
    put_mld_rules(0, {rule(0).down(51, 9)});
    put_mld_rules(1, {match(7)});
    const std::vector<Line> first = {kMldControlDown, kMldControlSearch, mld_control_compared("100", "51"),
                                     kMldControlPassed, mld_send_trace(4, tagged.size())};
    const std::vector<Line> second = {kMldControlSearch, mld_control_compared("100", "100"),
                                      mld_send_trace(kUplink, tagged.size())};
    std::vector<Line> all = first;
    all.insert(all.end(), second.begin(), second.end());
    expect_lines(mld_debug, all, [&] { return from_uplink(tagged); });

    everything_logged();
    EXPECT_EQ(from_uplink(tagged).trace, output_under(~0u, first) + in_trace(mld_sent(tagged, 4)) +
                                             output_under(~0u, second) +
                                             in_trace(mld_sent(with_control(tagged, 7), kUplink)));
}

TEST_F(ControlMld, the_search_is_told_though_there_is_no_user_port)
{
    put_igmp_ports({4, MC_PORT_TYPE_UPLINK}, {5, MC_PORT_TYPE_USER});
    put_mld_rules(0, {match(5)});
    expect_lines(mld_debug, {kMldControlDown, kMldControlSearch, mld_control_compared("100", "100")},
                 [&] { return from_uplink(tagged); });
}

TEST_F(ControlMld, the_onu_id_is_told_as_it_was_read)
{
    platform().onu_id = 0; // sent as 128
    const Line told = mld_trace("igmp_adapt_control_handle onu_id = 0");
    expect_lines(mld_debug, {kMldControlUp, told, mld_send_trace(kUplink, untagged.size() + 8)},
                 [&] { return from_user(untagged); });
    everything_logged();
    const auto seen = from_user(tagged);
    EXPECT_EQ(seen.trace, kMldControlUp.text + in_trace(asked_onu) + told.text +
                              mld_send_trace(kUplink, tagged.size() + 4).text + in_trace(seen.calls.at(1)));
}

// --- By way of the intake

TEST_F(ControlMld, the_engine_has_the_packet_before_the_frame_is_marked)
{
    mldInitParams.multiMode = 3;
    FrameBuffer buffer(tagged);
    const auto seen = observe([&] { return mldL2PktProc(buffer.data(), buffer.length(), kUserPort); });
    EXPECT_THAT(seen.calls, ElementsAre(::testing::StartsWith("mld_pkt_recv("), asked_onu,
                                        ::testing::StartsWith("L2_multicast_send_msg(")));
    EXPECT_EQ(platform().sent.at(0).bytes, with_tag(with_control(tagged, 1), 7));
}

TEST_F(ControlMld, a_frame_from_the_test_uplink_is_handled_as_one_from_the_uplink)
{
    mldInitParams.multiMode = 3;
    mldInitParams.mldTestUplink = kUserPort;
    FrameBuffer buffer(tagged);
    const auto seen = observe([&] { return mldL2PktProc(buffer.data(), buffer.length(), kUserPort); });
    EXPECT_THAT(seen.calls, ElementsAre(::testing::StartsWith("L2_multicast_send_msg(")));
    EXPECT_EQ(platform().sent.at(0).bytes, tagged);
    EXPECT_EQ(platform().sent.at(0).ifindex, kUserPort);
}

} // namespace
} // namespace mcadapt::test
