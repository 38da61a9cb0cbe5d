// The upstream search of snooping, which both families share: the rules of the MLD side say which frame matches, but
// the tag of both families stands in the IGMP table.
#include <climits>

#include "mode_handlers.h"
#include "rule_matching.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr uint16_t kNotRead = 0x0BAD;

class SnoopUpstream : public ModeHandlerTest, public ::testing::WithParamInterface<bool> {
protected:
    static bool mld() { return GetParam(); }

    /** Fills a block so that the handler of this family finds the rules, and the tags where it looks for them. */
    static void put(int block, std::vector<vlanCfgNode> rules)
    {
        put_rules(block, rules);
        if (!mld())
            return;
        for (std::size_t r = 0; r < rules.size(); ++r) {
            PortVlanCfg[block][r] = rule().out_up(rules[r].out_up_vlan);
            rules[r].out_up_vlan = kNotRead;
        }
        put_mld_rules(block, rules);
        setVlanCfgNumber[block] = 0;
    }

    static void put_count(int logic_port, int32_t count)
    {
        (mld() ? mldInitParams.mldSetVlanCfgNumber : setVlanCfgNumber)[logic_port] = count;
    }

    static Handled from_user(const ByteVector &frame, uint32_t vlan = 100, uint32_t port = kUserPort)
    {
        return handle(mld() ? mld_adapt_snoop_handle : igmp_adapt_snoop_handle, frame, port, vlan);
    }

    static std::string sent(const ByteVector &frame, uint32_t ifindex = kUplink)
    {
        return mld() ? mld_sent(frame, ifindex) : igmp_sent(frame, ifindex);
    }

    /** The tag with which a frame of VLAN 100 from a port is sent; -1 when it is sent as it is. */
    static int tag_for(uint32_t port)
    {
        platform().forget_calls();
        const ByteVector frame = counting_frame(60);
        from_user(frame, 100, port);
        if (platform().sent.size() != 1 || platform().sent[0].ifindex != kUplink) {
            ADD_FAILURE() << "not sent once to the uplink";
            return INT_MIN;
        }
        const ByteVector bytes = platform().sent[0].bytes;
        if (bytes == frame)
            return -1;
        EXPECT_EQ(without_tag(bytes), frame);
        return bytes[14] << 8 | bytes[15];
    }

    const ByteVector untagged = igmp_report("225.1.2.3");
    const ByteVector tagged = igmp_report("225.1.2.3").vlan(100, 5);
};

TEST_P(SnoopUpstream, a_tagged_frame_gets_the_tag_of_its_rule_in_place)
{
    put(0, {rule(0).up(100, 0x2064)});
    const auto seen = from_user(from_hex("01005e010203 001b21aabbcc 8100a064 0800 46c00020"));
    const ByteVector expected = from_hex("01005e010203 001b21aabbcc 81002064 0800 46c00020");
    EXPECT_THAT(seen.calls, ElementsAre(sent(expected)));
    EXPECT_EQ(seen.frame, expected);
}

TEST_P(SnoopUpstream, an_untagged_frame_gets_the_tag_inserted_in_a_copy)
{
    put(0, {rule(0).up(0, 0x2064)});
    const ByteVector frame = from_hex("01005e010203 001b21aabbcc 0800 46c00020");
    const auto seen = from_user(frame, 0);
    EXPECT_THAT(seen.calls, ElementsAre(sent(from_hex("01005e010203 001b21aabbcc 81002064 0800 46c00020"))));
    EXPECT_EQ(seen.frame, frame);
}

TEST_P(SnoopUpstream, the_tag_is_the_value_of_the_rule_without_bit_12)
{
    struct {
        uint16_t out, control;
    } const cases[] = {{1, 1},           {0, 0},           {0x1000, 0},     {0x1064, 0x0064},
                       {0x2064, 0x2064}, {0xF064, 0xE064}, {0xFFFE, 0xEFFE}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.out);
        put(0, {rule(0).up(100, c.out)});
        EXPECT_THAT(from_user(tagged).calls, ElementsAre(sent(with_control(tagged, c.control))));
        EXPECT_THAT(from_user(untagged).calls, ElementsAre(sent(with_tag(untagged, c.control))));
    }
}

TEST_P(SnoopUpstream, only_the_low_12_bits_of_in_up_vlan_are_compared)
{
    for (const ComparedVlan &c : kComparedVlans) {
        SCOPED_TRACE(::testing::PrintToString(c));
        put(0, {rule(0).up(c.in, 7)});
        EXPECT_THAT(from_user(tagged, c.vlan).calls, ElementsAre(sent(c.matches ? with_control(tagged, 7) : tagged)));
    }
}

TEST_P(SnoopUpstream, a_frame_that_nothing_matches_is_sent_as_it_is)
{
    put(0, {rule(0).up(200, 7).down(100, 8).data(100, 9)});
    for (const ByteVector &frame : {tagged, untagged, igmp_report("225.1.2.3").pppoe().bytes()}) {
        const auto seen = from_user(frame);
        EXPECT_THAT(seen.calls, ElementsAre(sent(frame)));
        EXPECT_EQ(seen.frame, frame);
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

TEST_P(SnoopUpstream, the_first_match_ends_the_search)
{
    put(0, {rule(0).up(200, 5), rule(0).up(100, 6), rule(0).up(100, 7)});
    put(1, {rule(0).up(100, 8)});
    EXPECT_EQ(tag_for(kUserPort), 6);
    put(0, {rule(0).up(200, 5), rule(0).up(100, 0xFFFF), rule(0).up(100, 7)});
    EXPECT_EQ(tag_for(kUserPort), -1) << "a match without a tag ends the search, too";
}

// Which rules are searched: `ports0` and `ports1` are the ports of the two blocks' rules. The rule of block b and
// index r stands for VLAN 100 and tag 0x100 * (b + 1) + r where it is listed in `matching`, else for VLAN 200.
struct BlockCase {
    const char *title;
    std::vector<uint8_t> ports0, ports1;
    int32_t count;
    std::vector<int> matching;
    int tag;
};

std::vector<vlanCfgNode> block_rules(int block, const std::vector<uint8_t> &ports, const std::vector<int> &matching)
{
    std::vector<vlanCfgNode> rules;
    for (std::size_t r = 0; r < ports.size(); ++r) {
        const int tag = 0x100 * (block + 1) + static_cast<int>(r);
        const bool matches = std::find(matching.begin(), matching.end(), tag) != matching.end();
        rules.push_back(rule(ports[r]).up(matches ? 100 : 200, static_cast<uint16_t>(tag)));
    }
    return rules;
}

std::vector<uint8_t> ports_of_block(std::size_t count, uint8_t port) { return std::vector<uint8_t>(count, port); }

// intended: behind a block that was walked in vain, the rule of the other block at the count is the one compared
const std::vector<BlockCase> &block_cases()
{
    static const std::vector<BlockCase> cases = {
        {"the block's first rule is the port's", {0, 7}, {}, 2, {0x101}, 0x101},
        {"only the first rule names the block's port", {7, 0}, {}, 2, {0x100, 0x101}, -1},
        {"the second block is searched when the first is another port's", {7}, {0, 7}, 2, {0x100, 0x201}, 0x201},
        {"neither block is the port's", {7}, {7}, 1, {0x100, 0x200}, -1},
        {"the count bounds the walk of the second block", {7}, {0, 0, 0}, 2, {0x202}, -1},
        {"a rule at the count is the port's: searched from its start", {0, 0}, {7, 7, 0}, 2, {0x200, 0x201}, 0x200},
        {"a rule at the count is the port's, but lies behind the walk", {0, 0}, {7, 7, 0}, 2, {0x202}, -1},
        {"the first rule does not count behind a walk", {0, 0}, {0, 0, 7}, 2, {0x200}, -1},
        {"a count of one compares the second rule", {0}, {7, 0}, 1, {0x200}, 0x200},
        {"a count of 15 compares the last rule", ports_of_block(15, 0), ports_of_block(16, 0), 15, {0x203}, 0x203},
        {"a count of 16 leaves no rule to compare", ports_of_block(16, 0), ports_of_block(16, 0), 16, {0x200}, -1},
        {"a full second block is searched", ports_of_block(16, 7), ports_of_block(16, 0), 16, {0x20F}, 0x20F},
        {"a count of zero walks no block", {0}, {0}, 0, {0x100, 0x200}, -1},
        {"a count below zero walks no block", {0}, {0}, -1, {0x100, 0x200}, -1},
        {"the lowest count walks no block", {0}, {0}, INT_MIN, {0x100, 0x200}, -1},
        {"a count outside the table is a full table", ports_of_block(16, 0), ports_of_block(16, 0), 17, {0x10F}, 0x10F},
        {"nothing behind the table is compared", ports_of_block(16, 0), ports_of_block(16, 0), INT_MAX, {0x200}, -1},
    };
    return cases;
}

TEST_P(SnoopUpstream, the_rule_index_decides_which_blocks_are_searched)
{
    for (const BlockCase &c : block_cases()) {
        SCOPED_TRACE(c.title);
        put(0, block_rules(0, c.ports0, c.matching));
        put(1, block_rules(1, c.ports1, c.matching));
        put_count(0, c.count);
        put_count(1, 9);
        EXPECT_EQ(tag_for(kUserPort), c.tag);
    }
}

TEST_P(SnoopUpstream, both_blocks_are_walked_by_the_count_of_the_receiving_port)
{
    put_ports({kUplink, MC_PORT_TYPE_UPLINK}, {kUserPort, MC_PORT_TYPE_USER});
    put(0, {rule(0).up(200, 5), rule(0).up(100, 6)});
    put(1, {rule(7).up(200, 7), rule(0).up(100, 8)});
    put_count(0, 2);
    put_count(1, 1);
    EXPECT_EQ(tag_for(kUserPort), -1) << "one rule of each block";
    put_count(0, 1);
    put_count(1, 2);
    EXPECT_EQ(tag_for(kUserPort), 6);
}

TEST_P(SnoopUpstream, a_rule_names_its_port_by_number)
{
    put_ports({28, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK});
    put(0, {rule(28).up(100, 6)});
    EXPECT_EQ(tag_for(28), 6);
    put(0, {rule(0).up(100, 6)});
    EXPECT_EQ(tag_for(28), -1);
}

TEST_P(SnoopUpstream, long_frames_are_sent_whole)
{
    for (const std::size_t length : Lengths{1514, 1515, 1518, 1519, 1996, 2000}) {
        if (mld() && length > 1518)
            continue;
        const ByteVector plain = counting_frame(length);
        put(0, {rule(0).up(100, 7)});
        EXPECT_THAT(from_user(plain).calls, ElementsAre(sent(with_tag(plain, 7)))) << length;
        EXPECT_THAT(from_user(plain, 200).calls, ElementsAre(sent(plain))) << length;
        const ByteVector with_old_tag = tagged_counting_frame(length, 100);
        EXPECT_THAT(from_user(with_old_tag).calls, ElementsAre(sent(with_control(with_old_tag, 7)))) << length;
    }
}

TEST_P(SnoopUpstream, frames_go_to_the_test_uplink_in_place_of_the_uplink)
{
    testuplink = 5;
    mldInitParams.mldTestUplink = 6;
    put(0, {rule(0).up(100, 7)});
    const uint32_t test_uplink = mld() ? 6 : 5;
    EXPECT_THAT(from_user(tagged).calls, ElementsAre(sent(with_control(tagged, 7), test_uplink)));
    EXPECT_THAT(from_user(untagged).calls, ElementsAre(sent(with_tag(untagged, 7), test_uplink)));
    EXPECT_THAT(from_user(tagged, 200).calls, ElementsAre(sent(tagged, test_uplink)));
}

TEST_P(SnoopUpstream, the_driver_may_refuse_the_frame)
{
    put(0, {rule(0).up(100, 7)});
    platform().answer("L2_multicast_send_msg", -1);
    EXPECT_THAT(from_user(tagged).calls, ElementsAre(sent(with_control(tagged, 7))));
    EXPECT_THAT(from_user(tagged, 200).calls, ElementsAre(sent(tagged)));
}

INSTANTIATE_TEST_SUITE_P(, SnoopUpstream, ::testing::Bool(),
                         [](const auto &row) { return std::string(row.param ? "mld" : "igmp"); });

} // namespace
} // namespace mcadapt::test
