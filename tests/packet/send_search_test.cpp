// Which rules a packet of the engine is sent by.
#include "transmit_side.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::StartsWith;

/** A rule that matches VLAN 100; `in_up` tells which rule was walked, `out` what is sent. */
RuleBuilder matching(uint16_t in_up, uint16_t out, uint8_t port = 0)
{
    return rule(port).in_up(in_up).in_data(100).out_down(out);
}

/** A rule that holds VLAN 100 everywhere but in `in_data_vlan`. */
RuleBuilder passed_over(uint16_t in_up, uint8_t port = 0)
{
    return rule(port).up(in_up, 100).down(100, 100).data(101, 100);
}

struct SearchCase {
    const char *name;
    std::vector<vlanCfgNode> block0;
    std::vector<vlanCfgNode> block1;
    std::vector<uint16_t> walked;   /**< `in_up_vlan` of the rules looked at, in order. */
    std::vector<uint16_t> controls; /**< Tag control of each frame's newest tag; priority 0. */
    uint32_t port = 0;
    uint16_t vid = 100;
    std::vector<int32_t> counts = {}; /**< Rule counts, where they are not the sizes of the blocks. */
};

std::vector<vlanCfgNode> row_of(std::size_t count, const vlanCfgNode &rule) { return {count, rule}; }

std::vector<SearchCase> search_cases()
{
    const std::vector<uint16_t> sixteen_tens(16, 10);
    return {
        {"no rules", {}, {}, {}, {}},
        {"no match", {passed_over(10), passed_over(11)}, {}, {10, 11}, {}},
        {"one match", {matching(10, 200)}, {}, {10}, {200}},
        {"the last of three", {passed_over(10), passed_over(11), matching(12, 200)}, {}, {10, 11, 12}, {200}},
        // intended: a match moves the walk one block on, and the rule index is not reset
        {"second match in the other block",
         {passed_over(10), matching(11, 200), passed_over(12), passed_over(13)},
         {matching(20, 210), matching(21, 211), passed_over(22), matching(23, 213)},
         {10, 11, 22, 23},
         {200, 213}},
        {"the rest of the first block is left after a match",
         {matching(10, 200), matching(11, 201), matching(12, 202)},
         {},
         {10, 0xFFFF, 0xFFFF},
         {200}},
        {"the second block is not read at the index of the match",
         {matching(10, 200)},
         {matching(20, 210), matching(21, 211)},
         {10},
         {200}},
        // intended: the count is that of the port's own block, whichever block is read
        {"rules behind the other block's count are read",
         {matching(10, 200), passed_over(11)},
         {matching(20, 210), matching(21, 211)},
         {10, 21},
         {200, 211},
         0,
         100,
         {2, 0}},
        {"the other block's count does not end the walk early",
         {passed_over(10), passed_over(11), matching(12, 200)},
         {rule(29)},
         {10, 11, 12},
         {200}},
        {"the other block's count does not lengthen the walk",
         {passed_over(10)},
         row_of(16, matching(20, 210)),
         {10},
         {}},
        {"at most two matches", row_of(16, matching(10, 200)), row_of(16, matching(20, 210)), {10, 20}, {200, 210}},
        {"two matches at the end of both blocks",
         {passed_over(10), passed_over(11), matching(12, 200), passed_over(13)},
         {passed_over(20), passed_over(21), passed_over(22), matching(23, 210)},
         {10, 11, 12, 23},
         {200, 210}},
        // intended: the walk begins in the first block even for the second logic port
        {"the second logic port walks the first block",
         {passed_over(10), matching(11, 200), matching(12, 201)},
         {matching(20, 210, 7), matching(21, 211), matching(22, 212)},
         {10, 11, 22},
         {200, 212},
         7},
        {"the second logic port has its own count",
         {passed_over(10), matching(11, 200), matching(12, 201)},
         {matching(20, 210, 7)},
         {10},
         {},
         7},
        {"the second logic port without rules", {matching(10, 200, 7)}, {}, {}, {}, 7},
        {"the port in the first rule of the second block", {matching(10, 200, 1)}, {passed_over(20, 0)}, {10}, {200}},
        {"the port only in later rules",
         {matching(10, 200, 1), matching(11, 201, 0)},
         {matching(20, 210, 29), matching(21, 211, 0)},
         {},
         {}},
        {"the ports of the walked rules do not matter",
         {passed_over(10, 0), matching(11, 200, 9), passed_over(12, 9)},
         {rule(29), rule(29), matching(22, 212, 29)},
         {10, 11, 22},
         {200, 212}},
        {"first rules count although the second block has no live ones",
         {matching(10, 200, 1)},
         {rule(0)},
         {10},
         {200},
         0,
         100,
         {1, 0}},
        {"VLANs differ in the priority", {rule(0).in_up(10).in_data(0x2064).out_down(200)}, {}, {10}, {}},
        {"VLANs agree in all 16 bits", {rule(0).in_up(10).in_data(0x2064).out_down(200)}, {}, {10}, {200}, 0, 0x2064},
        {"the packet's VLAN has a priority", {matching(10, 200)}, {}, {10}, {}, 0, 0x2064},
        {"VLAN 0", {rule(0).in_up(10).in_data(0).out_down(200)}, {}, {10}, {200}, 0, 0},
        {"no VLAN matches an empty place",
         {rule(0).in_up(10).in_data(101), empty_rule()},
         {},
         {10, 0xFFFF},
         {0xFFFF},
         0,
         0xFFFF},
        {"an entry without a VLAN keeps the packet's", {matching(10, 0xFFFF)}, {}, {10}, {100}},
        {"a second entry without a VLAN keeps the first one's",
         {matching(10, 200), passed_over(11)},
         {rule(29), matching(21, 0xFFFF)},
         {10, 21},
         {200, 200}},
        {"a second entry replaces the packet's VLAN kept by the first",
         {matching(10, 0xFFFF), passed_over(11)},
         {rule(29), matching(21, 210)},
         {10, 21},
         {100, 210}},
        {"an entry of VLAN 0 is used", {matching(10, 0)}, {}, {10}, {0}},
        {"a count below 0", {matching(10, 200)}, {}, {}, {}, 0, 100, {-1, 0}},
        {"the lowest count", {matching(10, 200)}, {}, {}, {}, 0, 100, {INT32_MIN, 0}},
        {"a count above 16", row_of(16, passed_over(10)), {}, sixteen_tens, {}, 0, 100, {17, 0}},
        {"the highest count", row_of(16, passed_over(10)), {}, sixteen_tens, {}, 0, 100, {INT32_MAX, 0}},
    };
}

template <class Side> class SendSearch : public TransmitTest<Side> {
protected:
    static void prepare(const SearchCase &c)
    {
        Side::put_tag(TransmitTest<Side>::kTpid, c.vid, 0);
        Side::ports()[1] = {7, 2};
        Side::put_rule_row(0, c.block0);
        Side::put_rule_row(1, c.block1);
        for (std::size_t i = 0; i < c.counts.size(); ++i)
            Side::rule_counts()[i] = c.counts[i];
    }

    /** The trace lines from the beginning up to the number of matches. */
    static std::string walk_lines(const SearchCase &c)
    {
        std::string lines = Side::kTrace + ("The port no is (" + number(c.port) + ")\r\n") + Side::kTrace +
                            "checkPortState " + number(c.port);
        if (std::is_same_v<Side, MldSide>) // intended: a configuration line in IGMP
            lines += Side::kTrace + ("searchSendPktPortCfgVlan ,vlan(" + number(c.vid) + ")");
        for (const uint16_t vlan : c.walked)
            lines += Side::kTrace + ("searchSendPktPortCfgVlan from downlink,vlan(" + number(c.vid) +
                                     ") config search!,cfgvlan(" + number(vlan) + ")\r\n");
        const auto matches = static_cast<int64_t>(c.controls.size());
        return lines + Side::kTrace + "[send_pkt_igmp]: searchSendPktPortCfgVlan num " + number(matches) + "\r\n";
    }

    static std::vector<std::string> frames(const SearchCase &c)
    {
        std::vector<std::string> calls;
        if (c.controls.empty())
            return {TransmitTest<Side>::sent(TransmitTest<Side>::single_frame(c.vid), c.port)};
        for (std::size_t n = 1; n <= c.controls.size(); ++n) {
            const std::vector<uint16_t> so_far(c.controls.begin(), c.controls.begin() + static_cast<long>(n));
            calls.push_back(TransmitTest<Side>::sent(TransmitTest<Side>::rule_frame(so_far), c.port));
        }
        return calls;
    }
};
TYPED_TEST_SUITE(SendSearch, TransmitSides, SideName);

TYPED_TEST(SendSearch, rules_are_walked_in_the_block_of_the_match_count_and_each_match_is_sent)
{
    for (const SearchCase &c : search_cases()) {
        SCOPED_TRACE(c.name);
        this->prepare(c);
        this->log_own(MC_DEBUG_TRACE);

        const auto seen = this->send(c.port);

        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(seen.calls, ElementsAreArray(this->frames(c)));
        EXPECT_EQ(TypeParam::tag_vid(), c.controls.empty() ? c.vid : c.controls.back());
        EXPECT_THAT(seen.output, StartsWith(this->walk_lines(c)));
    }
}

TYPED_TEST(SendSearch, every_frame_of_the_loop_keeps_the_groups_of_the_frames_before)
{
    this->put_two_matching_rules();
    TypeParam::put_tag(0x8100, 100, 5);
    const ByteVector first = tag_group(0x8100, 0xA0C8, TypeParam::kRuleType);
    const ByteVector second = tag_group(0x8100, 0xA0D2, TypeParam::kRuleType);

    const auto seen = this->send(0);

    // intended: the second frame is one tag and EtherType longer, with the first one's still in front
    EXPECT_THAT(seen.calls, ElementsAre(this->sent(this->frame_around(first), 0),
                                        this->sent(this->frame_around(joined({first, second})), 0)));
    EXPECT_EQ(platform().sent[0].bytes.size(), 18 + this->kPacketBytes);
    EXPECT_EQ(platform().sent[1].bytes.size(), 24 + this->kPacketBytes);
    EXPECT_EQ(TypeParam::tag_vid(), 210);
}

TYPED_TEST(SendSearch, the_vlan_kept_from_the_last_match_is_the_one_searched_next)
{
    TypeParam::put_rule_row(0, {rule(0).in_data(100).out_down(200)});
    EXPECT_THAT(this->send(0).calls, ElementsAre(this->sent(this->rule_frame({0xA0C8}), 0)));
    EXPECT_THAT(this->send(0).calls, ElementsAre(this->sent(this->single_frame(0xA0C8), 0)));
}

TYPED_TEST(SendSearch, matches_of_an_earlier_packet_are_forgotten)
{
    this->put_two_matching_rules();
    EXPECT_EQ(this->send(0).calls.size(), 2u);
    TypeParam::put_tag(this->kTpid, 999, 5);
    EXPECT_THAT(this->send(0).calls, ElementsAre(this->sent(this->single_frame(0xA3E7), 0)));
    EXPECT_THAT(this->send(12).calls, ElementsAre(this->sent(this->single_frame(0xA3E7), 12)));
}

TYPED_TEST(SendSearch, the_next_packet_starts_with_one_tag_again)
{
    this->put_two_matching_rules();
    const auto first = this->send(0);
    TypeParam::put_tag(this->kTpid, 100, 5);
    EXPECT_EQ(this->send(0).calls, first.calls);
}

TYPED_TEST(SendSearch, the_other_familys_rules_and_ports_play_no_part)
{
    using Other = std::conditional_t<std::is_same_v<TypeParam, IgmpSide>, MldSide, IgmpSide>;
    Other::put_rule_row(0, {rule(0).in_data(100).out_down(200)});
    Other::put_rule_row(1, {rule(0).in_data(100).out_down(200)});
    Other::ports()[1] = {29, 2};
    EXPECT_THAT(this->send(0).calls, ElementsAre(this->sent(this->single_frame(0xA064), 0)));
    EXPECT_THAT(this->send(29).calls, ElementsAre(this->sent(this->single_frame(0xA064), 29)));
}

} // namespace
} // namespace mcadapt::test
