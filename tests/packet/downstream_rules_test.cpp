// The downstream search and what its matches send: the same in both modes and both families but for the length with
// which a frame is sent whose tag was taken out.
#include <climits>

#include "mode_handlers.h"
#include "rule_matching.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

struct DownstreamHandler {
    const char *name;
    Handler handler;
    bool mld;
    bool keeps_length; // of a frame whose tag was taken out
    std::size_t longest;
};

class DownstreamRules : public ModeHandlerTest, public ::testing::WithParamInterface<DownstreamHandler> {
protected:
    static bool mld() { return GetParam().mld; }
    static uint32_t &mask() { return mld() ? mld_debug : mc_debug; }

    static void put(int logic_port, const std::vector<vlanCfgNode> &rules)
    {
        (mld() ? put_mld_rules : put_rules)(logic_port, rules);
    }

    static void put_count(int logic_port, int32_t count)
    {
        (mld() ? mldInitParams.mldSetVlanCfgNumber : setVlanCfgNumber)[logic_port] = count;
    }

    static Handled from_uplink(const ByteVector &frame, uint32_t vlan = 100)
    {
        return handle(GetParam().handler, frame, kUplink, vlan);
    }

    static std::string sent(const ByteVector &frame, uint32_t ifindex = kUserPort)
    {
        return mld() ? mld_sent(frame, ifindex) : igmp_sent(frame, ifindex);
    }

    /** The frame without its tag, as it is sent when `tail` lies at the end of the buffer that it is built in. */
    static ByteVector stripped(const ByteVector &frame, const ByteVector &tail)
    {
        return GetParam().keeps_length ? without_tag(frame) + tail : without_tag(frame);
    }
    static ByteVector stripped(const ByteVector &frame) { return stripped(frame, last_four(frame)); }

    /** A rule that matches VLAN 100, and lets a frame through as it is when nothing matches. */
    static RuleBuilder match(uint16_t out) { return rule(0).down_mode(0).down(100, out); }

    const ByteVector untagged = igmp_query("225.1.2.3");
    const ByteVector tagged = igmp_query("225.1.2.3").vlan(100, 5);
};

TEST_P(DownstreamRules, a_tagged_frame_gets_the_tag_of_its_rule_in_place)
{
    put(0, {match(0x2064)});
    const auto seen = from_uplink(from_hex("01005e010203 001b21aabbcc 8100a064 0800 46c00020"));
    const ByteVector expected = from_hex("01005e010203 001b21aabbcc 81002064 0800 46c00020");
    EXPECT_THAT(seen.calls, ElementsAre(sent(expected)));
    EXPECT_EQ(seen.frame, expected);
}

TEST_P(DownstreamRules, an_untagged_frame_gets_the_tag_inserted_in_a_copy)
{
    put(0, {match(0x2064)});
    const ByteVector frame = from_hex("01005e010203 001b21aabbcc 0800 46c00020");
    const auto seen = from_uplink(frame);
    EXPECT_THAT(seen.calls, ElementsAre(sent(from_hex("01005e010203 001b21aabbcc 81002064 0800 46c00020"))));
    EXPECT_EQ(seen.frame, frame);
}

TEST_P(DownstreamRules, the_tag_is_the_value_of_the_rule_without_bit_12)
{
    struct {
        uint16_t out, control;
    } const cases[] = {{1, 1},           {0x0064, 0x0064}, {0x0FFF, 0x0FFF}, {0x1064, 0x0064}, {0x1000, 0x0000},
                       {0x2064, 0x2064}, {0xE064, 0xE064}, {0xF064, 0xE064}, {0xFFFE, 0xEFFE}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.out);
        put(0, {match(c.out)});
        EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(sent(with_control(tagged, c.control))));
        EXPECT_THAT(from_uplink(untagged).calls, ElementsAre(sent(with_tag(untagged, c.control))));
    }
}

TEST_P(DownstreamRules, only_the_low_12_bits_of_in_dn_vlan_are_compared)
{
    for (const ComparedVlan &c : kComparedVlans) {
        SCOPED_TRACE(::testing::PrintToString(c));
        put(0, {rule(0).down_mode(0).down(c.in, 7)});
        EXPECT_THAT(from_uplink(tagged, c.vlan).calls, ElementsAre(sent(c.matches ? with_control(tagged, 7) : tagged)));
    }
}

TEST_P(DownstreamRules, the_vlan_given_decides_not_the_tag_in_the_frame)
{
    put(0, {match(7)});
    const ByteVector other = igmp_query().vlan(200);
    EXPECT_THAT(from_uplink(other, 100).calls, ElementsAre(sent(with_control(other, 7))));
    EXPECT_THAT(from_uplink(tagged, 200).calls, ElementsAre(sent(tagged)));
}

TEST_P(DownstreamRules, a_second_tag_stays_behind_the_new_one)
{
    put(0, {match(7)});
    const ByteVector twice = igmp_query().tag(200).tag(100);
    EXPECT_THAT(from_uplink(twice).calls, ElementsAre(sent(igmp_query().tag(7).tag(100))));
}

TEST_P(DownstreamRules, a_pppoe_frame_gets_its_tag_in_front_of_the_session_header)
{
    put(0, {match(7)});
    EXPECT_THAT(from_uplink(igmp_query().pppoe()).calls, ElementsAre(sent(igmp_query().tag(7).pppoe())));
    // A tag whose control field reads as a PPPoE header is a tag like any other here.
    const ByteVector in_tag = igmp_query().pppoe_in_tag();
    EXPECT_THAT(from_uplink(in_tag).calls, ElementsAre(sent(with_control(in_tag, 7))));
}

TEST_P(DownstreamRules, a_frame_counts_as_tagged_by_both_bytes_of_the_tpid)
{
    put(0, {match(7)});
    for (const uint16_t type : std::initializer_list<uint16_t>{0x8000, 0x8101, 0x0100, 0x88a8}) {
        const ByteVector frame = igmp_query().ethertype(type);
        EXPECT_THAT(from_uplink(frame).calls, ElementsAre(sent(with_tag(frame, 7)))) << type;
    }
}

TEST_P(DownstreamRules, only_the_counted_rules_of_the_first_port_are_searched)
{
    put(0, {match(5), match(6), match(7)});
    put(1, {match(8)});
    put_count(0, 1);
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(sent(with_control(tagged, 5))));
    for (const int32_t none : {0, -1, INT_MIN}) {
        put_count(0, none);
        EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(sent(tagged))) << none;
    }
}

TEST_P(DownstreamRules, all_sixteen_rules_may_match)
{
    std::vector<vlanCfgNode> rules;
    std::vector<std::string> expected;
    for (uint16_t i = 0; i < MC_RULES_PER_PORT; ++i) {
        rules.push_back(match(static_cast<uint16_t>(i + 1)));
        expected.push_back(sent(with_tag(untagged, static_cast<uint16_t>(i + 1))));
    }
    put(0, rules);
    put(1, rules);
    EXPECT_THAT(from_uplink(untagged).calls, ElementsAreArray(expected));
    // A count outside the table is taken as a full table.
    put_count(0, 17);
    EXPECT_THAT(from_uplink(untagged).calls, ElementsAreArray(expected));
    put_count(0, INT_MAX);
    EXPECT_THAT(from_uplink(untagged).calls, ElementsAreArray(expected));
}

TEST_P(DownstreamRules, each_match_sends_a_copy_in_rule_order)
{
    put(0, {match(0x6005), rule(0).down(200, 9), match(4), match(0xA006), rule(0).down(101, 9), match(3), match(2)});
    const auto seen = from_uplink(tagged);
    EXPECT_THAT(seen.calls, ElementsAre(sent(with_control(tagged, 0x6005)), sent(with_control(tagged, 4)),
                                        sent(with_control(tagged, 0xA006)), sent(with_control(tagged, 3)),
                                        sent(with_control(tagged, 2))));
    EXPECT_EQ(seen.frame, with_control(tagged, 2));
    EXPECT_THAT(from_uplink(untagged).calls, ElementsAre(sent(with_tag(untagged, 0x6005)), sent(with_tag(untagged, 4)),
                                                         sent(with_tag(untagged, 0xA006)), sent(with_tag(untagged, 3)),
                                                         sent(with_tag(untagged, 2))));
}

TEST_P(DownstreamRules, a_frame_does_not_see_the_matches_of_the_one_before)
{
    put(0, {match(5), match(6), rule(0).down_mode(0).down(200, 7)});
    from_uplink(tagged, 100);
    EXPECT_THAT(from_uplink(tagged, 200).calls, ElementsAre(sent(with_control(tagged, 7))));
    EXPECT_THAT(from_uplink(tagged, 300).calls, ElementsAre(sent(tagged)));
}

TEST_P(DownstreamRules, a_value_of_zero_takes_four_bytes_out_tagged_or_not)
{
    put(0, {match(0)});
    auto seen = from_uplink(tagged);
    EXPECT_THAT(seen.calls, ElementsAre(sent(stripped(tagged))));
    EXPECT_EQ(seen.frame, tagged);
    seen = from_uplink(untagged);
    EXPECT_THAT(seen.calls, ElementsAre(sent(stripped(untagged))));
    EXPECT_EQ(seen.frame, untagged);
}

// intended: with its full length the frame ends in its own last four bytes once more
TEST_P(DownstreamRules, a_stripped_frame_of_any_length_ends_in_its_own_last_bytes)
{
    put(0, {match(0)});
    for (const std::size_t length : Lengths{16, 17, 18, 19, 20, 21, 23, 60, 64, 300}) {
        const ByteVector frame = counting_frame(length);
        EXPECT_THAT(from_uplink(frame).calls, ElementsAre(sent(stripped(frame)))) << length;
    }
}

TEST_P(DownstreamRules, a_tag_replaced_before_does_not_change_the_last_bytes_of_a_stripped_frame)
{
    put(0, {match(0x2064), match(0), match(0x0065), match(0)});
    for (const std::size_t length : Lengths{16, 17, 18, 19, 20, 60}) {
        const ByteVector frame = tagged_counting_frame(length, 0xA064);
        const auto seen = from_uplink(frame);
        EXPECT_THAT(seen.calls, ElementsAre(sent(with_control(frame, 0x2064)), sent(stripped(frame)),
                                            sent(with_control(frame, 0x0065)), sent(stripped(frame))))
            << length;
        EXPECT_EQ(seen.frame, with_control(frame, 0x0065)) << length;
    }
}

// intended: the copy with the inserted tag is built in the same buffer
TEST_P(DownstreamRules, a_tag_inserted_before_leaves_its_bytes_at_the_end_of_a_stripped_frame)
{
    put(0, {match(0x2064), match(0), match(0)});
    for (const std::size_t length : Lengths{16, 17, 18, 19, 20, 24, 60}) {
        const ByteVector frame = counting_frame(length);
        const ByteVector inserted = with_tag(frame, 0x2064);
        const ByteVector left(inserted.end() - 8, inserted.end() - 4);
        EXPECT_THAT(from_uplink(frame).calls,
                    ElementsAre(sent(inserted), sent(stripped(frame, left)), sent(stripped(frame, left))))
            << length;
    }
}

TEST_P(DownstreamRules, a_value_not_set_is_reported_and_skipped)
{
    put(0, {match(5), match(0xFFFF), match(6)});
    mask() = MC_DEBUG_ERROR;
    const auto seen = from_uplink(tagged);
    EXPECT_THAT(seen.calls, ElementsAre(sent(with_control(tagged, 5)), sent(with_control(tagged, 6))));
    const Line never = (mld() ? mld_error : igmp_error)("searchDownSnoopPortCfgVlan is error,never here !!\r\n");
    EXPECT_THAT(seen.trace, ::testing::StartsWith(in_trace(seen.calls[0]) + never.text + in_trace(seen.calls[1])));

    put(0, {match(0xFFFF)});
    EXPECT_THAT(from_uplink(tagged).calls, IsEmpty());
}

TEST_P(DownstreamRules, the_user_port_is_named_by_its_low_16_bits)
{
    put_ports({0x50007, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
    put(0, {match(5)});
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(sent(with_control(tagged, 5), 7)));
    EXPECT_THAT(from_uplink(tagged, 9).calls, ElementsAre(sent(tagged, 7)));

    put_ports({0x50102, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
    mask() = MC_DEBUG_TRACE;
    const auto seen = from_uplink(tagged);
    EXPECT_THAT(seen.calls, ElementsAre(sent(with_control(tagged, 5), 2)));
    EXPECT_THAT(seen.output, ::testing::EndsWith((mld() ? mld_send_trace : igmp_send_trace)(258, tagged.size()).text));
}

TEST_P(DownstreamRules, a_copy_that_the_driver_refuses_does_not_stop_the_next)
{
    put(0, {match(5), match(6)});
    platform().answer("L2_multicast_send_msg", -1);
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(sent(with_control(tagged, 5)), sent(with_control(tagged, 6))));
}

TEST_P(DownstreamRules, the_first_port_that_is_no_user_port_ends_the_copies)
{
    put(0, {match(5)});
    put(1, {match(6)});
    put_ports({kUplink, MC_PORT_TYPE_UPLINK}, {kUserPort, MC_PORT_TYPE_USER});
    const auto seen = from_uplink(tagged);
    EXPECT_THAT(seen.calls, IsEmpty());
    EXPECT_EQ(seen.frame, tagged);
    for (const uint32_t type : {0u, 3u, 0x10002u}) {
        put_ports({kUserPort, type}, {kUplink, MC_PORT_TYPE_UPLINK});
        EXPECT_THAT(from_uplink(tagged).calls, IsEmpty()) << type;
    }
}

TEST_P(DownstreamRules, a_second_user_port_has_its_own_rules_and_gets_the_frame_as_the_first_left_it)
{
    second_user_port_appears(3);
    put(0, {match(5), match(6)});
    put(1, {rule(3).down(200, 7), match(0), match(8), match(9)});
    const auto seen = from_uplink(tagged);
    const ByteVector left = with_control(tagged, 6);
    EXPECT_THAT(seen.calls,
                ElementsAre(sent(with_control(tagged, 5)), sent(left), sent(stripped(left, last_four(left)), 3),
                            sent(with_control(tagged, 8), 3), sent(with_control(tagged, 9), 3)));
    EXPECT_EQ(seen.frame, with_control(tagged, 9));
}

TEST_P(DownstreamRules, a_second_user_port_gets_a_new_copy_of_the_last_bytes)
{
    second_user_port_appears(3);
    put(0, {match(0x2064), match(0)});
    put(1, {match(0)});
    const ByteVector frame = tagged_counting_frame(18, 0xA064);
    const ByteVector replaced = with_control(frame, 0x2064);
    EXPECT_THAT(from_uplink(frame).calls,
                ElementsAre(sent(replaced), sent(stripped(frame)), sent(stripped(replaced), 3)));
}

TEST_P(DownstreamRules, a_second_user_port_is_not_served_by_the_matches_of_the_first)
{
    second_user_port_appears(3);
    put(0, {match(5)});
    put(1, {rule(3).down_mode(0).down(200, 7)});
    EXPECT_THAT(from_uplink(tagged).calls,
                ElementsAre(sent(with_control(tagged, 5)), sent(with_control(tagged, 5), 3)));
    put(0, {rule(0).down_mode(0).down(200, 7)});
    put(1, {match(8)});
    put_ports({kUserPort, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
    EXPECT_THAT(from_uplink(tagged).calls, ElementsAre(sent(tagged), sent(with_control(tagged, 8), 3)));
}

TEST_P(DownstreamRules, the_second_user_port_is_searched_by_its_own_count)
{
    second_user_port_appears(3);
    put(0, {match(5)});
    put(1, {match(7), match(8)});
    put_count(1, 1);
    EXPECT_THAT(from_uplink(untagged).calls, ElementsAre(sent(with_tag(untagged, 5)), sent(with_tag(untagged, 7), 3)));
}

TEST_P(DownstreamRules, two_user_ports_end_the_copies)
{
    second_user_port_appears(3);
    put(0, {match(5)});
    put(1, {match(6)});
    // What follows the MLD port table would read as a third user port.
    mldInitParams.mldPort[0].leavemod = 4;
    mldInitParams.mldPort[0].max_bandwidth = MC_PORT_TYPE_USER;
    EXPECT_THAT(from_uplink(tagged).calls,
                ElementsAre(sent(with_control(tagged, 5)), sent(with_control(tagged, 6), 3)));
}

TEST_P(DownstreamRules, long_frames_are_copied_whole)
{
    for (const std::size_t length : Lengths{1514, 1515, 1518, 1519, 1996, 2000}) {
        if (length > GetParam().longest)
            continue;
        SCOPED_TRACE(length);
        const ByteVector frame = counting_frame(length);
        put(0, {match(0x2064)});
        EXPECT_THAT(from_uplink(frame).calls, ElementsAre(sent(with_tag(frame, 0x2064))));
        put(0, {match(0)});
        EXPECT_THAT(from_uplink(frame).calls, ElementsAre(sent(stripped(frame))));
        put(0, {rule(0).down_mode(0)});
        EXPECT_THAT(from_uplink(frame).calls, ElementsAre(sent(frame)));
        const ByteVector with_old_tag = tagged_counting_frame(length, 100);
        put(0, {match(0x2064)});
        EXPECT_THAT(from_uplink(with_old_tag).calls, ElementsAre(sent(with_control(with_old_tag, 0x2064))));
    }
}

TEST_P(DownstreamRules, no_record_changes_but_the_tag_that_mld_remembers)
{
    put(0, {match(0x2064), match(0)});
    if (mld())
        EXPECT_THAT(
            from_uplink(tagged).changed,
            ElementsAre("mldInitParams.outerTag.tpid", "mldInitParams.outerTag.vid", "mldInitParams.outerTag.pri"));
    else
        EXPECT_THAT(from_uplink(tagged).changed, IsEmpty());
    put(0, {match(0), match(0xFFFF)});
    EXPECT_THAT(from_uplink(tagged).changed, IsEmpty());
    EXPECT_THAT(from_uplink(tagged, 200).changed, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    , DownstreamRules,
    ::testing::Values(DownstreamHandler{"igmp_snooping", igmp_adapt_snoop_handle, false, false, 2000},
                      DownstreamHandler{"mld_snooping", mld_adapt_snoop_handle, true, true, 1518},
                      DownstreamHandler{"igmp_control", igmp_adapt_control_handle, false, true, 2000},
                      DownstreamHandler{"mld_control", mld_adapt_control_handle, true, true, 2000}),
    [](const auto &row) { return std::string(row.param.name); });

} // namespace
} // namespace mcadapt::test
