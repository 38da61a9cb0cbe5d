// The upper transmit layer, as far as both families agree: ports, tags, lengths and results.
#include "transmit_side.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

template <class Side> class SendPacket : public TransmitTest<Side> {
protected:
    static std::string trace_line(const std::string &text) { return Side::kTrace + text; }
    static std::string error_line(const std::string &text) { return Side::kError + text; }
};
TYPED_TEST_SUITE(SendPacket, TransmitSides, SideName);

TYPED_TEST(SendPacket, the_uplink_gets_one_frame_with_the_engines_tag)
{
    for (const uint32_t port : {29u, 0xFFFFu}) {
        SCOPED_TRACE(port);
        const auto seen = this->send(port);
        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(seen.calls, ElementsAre(this->sent(this->single_frame(0xA064), 29)));
        EXPECT_EQ(seen.output, "");
        EXPECT_THAT(seen.changed, IsEmpty());
        EXPECT_EQ(TypeParam::tag_vid(), 100);
    }
}

TYPED_TEST(SendPacket, the_uplink_gets_one_frame_whatever_rules_match)
{
    this->put_two_matching_rules();
    TypeParam::put_rule_row(1, {rule(29).in_data(100).out_down(300), rule(29).in_data(100).out_down(301)});
    EXPECT_THAT(this->send(29).calls, ElementsAre(this->sent(this->single_frame(0xA064), 29)));
    EXPECT_EQ(TypeParam::tag_vid(), 100);
}

TYPED_TEST(SendPacket, the_engines_uplink_number_becomes_29_before_it_is_traced_and_looked_up)
{
    this->log_own(MC_DEBUG_TRACE);
    const auto seen = this->send(0xFFFF);
    EXPECT_EQ(seen.output, this->trace_line("The port no is (29)\r\n") + this->trace_line("checkPortState 29") +
                               this->sent_line(29, 82));
}

TYPED_TEST(SendPacket, a_test_uplink_gets_the_packets_for_the_uplink_only)
{
    TypeParam::test_uplink() = 5;
    EXPECT_THAT(this->send(0xFFFF).calls, ElementsAre(this->sent(this->single_frame(0xA064), 5)));
    EXPECT_THAT(this->send(29).calls, ElementsAre(this->sent(this->single_frame(0xA064), 5)));
    EXPECT_THAT(this->send(0).calls, ElementsAre(this->sent(this->single_frame(0xA064), 0)));
    EXPECT_THAT(this->send(28).calls, ElementsAre(this->sent(this->single_frame(0xA064), 28)));
}

TYPED_TEST(SendPacket, a_port_above_29_is_refused_and_nothing_is_sent)
{
    static constexpr struct {
        uint32_t port;
        const char *printed;
    } kCases[] = {
        {30, "30"},          {31, "31"},
        {255, "255"},        {285, "285"}, // 29 only in its low byte
        {0xFFFE, "65534"},   {0x10000, "65536"},
        {0x1FFFF, "131071"}, // 0xFFFF only in its low 16 bits
        {0x1001D, "65565"},  {0x7FFFFFFF, "2147483647"},
        {0xFFFFFFFF, "-1"},
    };
    for (const auto &c : kCases) {
        SCOPED_TRACE(c.port);
        const std::string traced = this->trace_line("The port no is (" + std::string(c.printed) + ")\r\n");
        const std::string refused =
            this->error_line("The port no(" + std::string(c.printed) + ") is illegal, abord!<*_*>\r\n");

        this->log_own(0xFFFFFFFF);
        const auto seen = this->send(c.port);
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.trace, traced + refused);
        EXPECT_THAT(seen.changed, IsEmpty());

        this->log_own(MC_DEBUG_TRACE);
        EXPECT_EQ(this->send(c.port).output, traced);
        this->log_own(MC_DEBUG_ERROR);
        EXPECT_EQ(this->send(c.port).output, refused);
        this->log_own(~static_cast<uint32_t>(MC_DEBUG_TRACE | MC_DEBUG_ERROR));
        EXPECT_EQ(this->send(c.port).output, "");
    }
}

TYPED_TEST(SendPacket, only_state_1_sends_without_a_search)
{
    for (const uint32_t state : {0u, 1u, 2u, 3u, 257u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(state);
        TypeParam::put_tag(this->kTpid, 100, 5);
        TypeParam::ports()[0] = {0, state};
        this->put_two_matching_rules();

        const auto seen = this->send(0);

        if (state == 1)
            EXPECT_THAT(seen.calls, ElementsAre(this->sent(this->single_frame(0xA064), 0)));
        else
            EXPECT_THAT(seen.calls, ElementsAre(this->sent(this->rule_frame({0xA0C8}), 0),
                                                this->sent(this->rule_frame({0xA0C8, 0xA0D2}), 0)));
    }
}

TYPED_TEST(SendPacket, port_29_is_searched_for_when_its_state_is_not_1)
{
    TypeParam::ports()[1].portType = 2;
    TypeParam::put_rule_row(0, {rule(29).in_data(100).out_down(200)});
    TypeParam::put_rule_row(1, {rule(29).in_data(1)});
    EXPECT_THAT(this->send(0xFFFF).calls, ElementsAre(this->sent(this->rule_frame({0xA0C8}), 29)));
}

TYPED_TEST(SendPacket, the_first_entry_of_the_port_table_with_the_port_counts)
{
    this->put_two_matching_rules();
    TypeParam::ports()[0] = {29, 2};
    TypeParam::ports()[1] = {29, 1};
    EXPECT_THAT(this->send(29).calls, ElementsAre(this->sent(this->rule_frame({0xA0C8}), 29),
                                                  this->sent(this->rule_frame({0xA0C8, 0xA0D2}), 29)));
    TypeParam::put_tag(this->kTpid, 100, 5);
    TypeParam::ports()[0] = {29, 1};
    TypeParam::ports()[1] = {29, 2};
    EXPECT_THAT(this->send(29).calls, ElementsAre(this->sent(this->single_frame(0xA064), 29)));
}

TYPED_TEST(SendPacket, an_unknown_port_gets_one_frame_with_the_engines_tag)
{
    // The second rule block begins with the unknown port: that alone makes no search.
    TypeParam::put_rule_row(0, {rule(0).in_data(100).out_down(200)});
    TypeParam::put_rule_row(1, {rule(12).in_data(100).out_down(200)});
    const auto seen = this->send(12);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre(this->sent(this->single_frame(0xA064), 12)));
    EXPECT_EQ(TypeParam::tag_vid(), 100);
}

TYPED_TEST(SendPacket, the_tag_is_made_of_vlan_and_priority)
{
    static constexpr struct {
        uint16_t tpid;
        uint16_t vid;
        uint8_t pri;
        uint16_t control;
    } kCases[] = {
        {0x8100, 100, 5, 0xA064},    {0x8100, 0, 0, 0x0000},      {0x8100, 4095, 7, 0xEFFF},
        {0x9100, 1, 1, 0x2001},      {0x88A8, 0x1064, 2, 0x5064}, // a VLAN is written whole
        {0x0000, 0x8001, 4, 0x8001}, {0xFFFF, 0xFFFF, 0, 0xFFFF},
    };
    for (const auto &c : kCases) {
        SCOPED_TRACE(number(c.vid) + ", priority " + number(c.pri));
        TypeParam::put_tag(c.tpid, c.vid, c.pri);
        const ByteVector frame = this->frame_around(tag_group(c.tpid, c.control, TypeParam::kSingleType));
        EXPECT_THAT(this->send(29).calls, ElementsAre(this->sent(frame, 29)));
    }
}

TYPED_TEST(SendPacket, the_vlan_of_a_rule_joins_the_engines_tpid_and_priority)
{
    static constexpr struct {
        uint16_t out_vlan;
        uint8_t pri;
        uint16_t control;
    } kCases[] = {{200, 5, 0xA0C8}, {0, 7, 0xE000}, {0x20C8, 4, 0xA0C8}, {0xFFFE, 0, 0xFFFE}};
    for (const auto &c : kCases) {
        SCOPED_TRACE(c.out_vlan);
        TypeParam::put_tag(0x9100, 100, c.pri);
        TypeParam::put_rule_row(0, {rule(0).in_data(100).out_down(c.out_vlan)});
        const ByteVector frame = this->frame_around(tag_group(0x9100, c.control, TypeParam::kRuleType));
        EXPECT_THAT(this->send(0).calls, ElementsAre(this->sent(frame, 0)));
        EXPECT_EQ(TypeParam::tag_vid(), c.out_vlan);
    }
}

TYPED_TEST(SendPacket, a_packet_is_sent_whole_at_every_length_that_fits)
{
    for (const uint32_t length : {0u, 1u, 20u, 40u, 1500u, 1501u, 2029u, 2030u}) {
        SCOPED_TRACE(length);
        const auto seen = this->send(29, length);
        EXPECT_EQ(seen.result, 0);
        EXPECT_THAT(seen.calls, ElementsAre(this->sent(this->single_frame(0xA064, length), 29)));
        EXPECT_EQ(platform().sent.back().bytes.size(), length + 18);
    }
}

TYPED_TEST(SendPacket, a_packet_that_does_not_fit_2048_bytes_is_refused)
{
    for (const uint32_t port : {29u, 0u, 12u}) {
        for (const uint32_t length : {2031u, 2048u, 65536u, 65564u, 0x80000000u, 0xFFFFFFEDu, 0xFFFFFFFFu}) {
            SCOPED_TRACE("port " + number(port) + ", length " + number(length));
            this->log_own(0);
            const auto seen = this->send(port, length);
            EXPECT_EQ(seen.result, -1);
            EXPECT_THAT(seen.calls, IsEmpty());
            EXPECT_EQ(seen.output, "");
            EXPECT_THAT(seen.changed, IsEmpty());
        }
    }
}

TYPED_TEST(SendPacket, the_refusal_of_a_packet_that_does_not_fit_is_an_error_line)
{
    this->log_own(MC_DEBUG_ERROR);
    const auto seen = this->send(29, 2031);
    EXPECT_THAT(seen.output, StartsWith(TypeParam::kError));
    EXPECT_GT(seen.output.size(), std::string(TypeParam::kError).size());

    this->log_own(~static_cast<uint32_t>(MC_DEBUG_ERROR));
    EXPECT_EQ(this->send(29, 2031).output,
              this->trace_line("The port no is (29)\r\n") + this->trace_line("checkPortState 29"));
}

TYPED_TEST(SendPacket, each_frame_of_the_rule_loop_must_fit_by_itself)
{
    static constexpr struct {
        uint32_t length;
        std::size_t frames;
        int32_t result;
    } kCases[] = {{2024, 2, 0}, {2025, 1, -1}, {2030, 1, -1}, {2031, 0, -1}};
    this->put_two_matching_rules();
    for (const auto &c : kCases) {
        SCOPED_TRACE(c.length);
        TypeParam::put_tag(this->kTpid, 100, 5);
        const std::vector<std::string> both = {this->sent(this->rule_frame({0xA0C8}, c.length), 0),
                                               this->sent(this->rule_frame({0xA0C8, 0xA0D2}, c.length), 0)};
        const auto seen = this->send(0, c.length);
        EXPECT_EQ(seen.result, c.result);
        EXPECT_THAT(seen.calls, ::testing::ElementsAreArray(both.data(), c.frames));
    }
}

TYPED_TEST(SendPacket, the_earlier_frame_is_sent_before_a_later_one_is_refused)
{
    this->put_two_matching_rules();
    this->log_own(MC_DEBUG_ERROR);
    const auto seen = this->send(0, 2025);
    EXPECT_THAT(seen.trace,
                StartsWith("<" + this->sent(this->rule_frame({0xA0C8}, 2025), 0) + ">\n" + TypeParam::kError));
    EXPECT_EQ(platform().sent.size(), 1u);
}

TYPED_TEST(SendPacket, an_illegal_port_is_refused_before_the_length)
{
    this->log_own(MC_DEBUG_ERROR);
    const auto seen = this->send(30, 4000);
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.output, this->error_line("The port no(30) is illegal, abord!<*_*>\r\n"));
}

TYPED_TEST(SendPacket, a_driver_failure_is_printed_per_frame_and_goes_no_further)
{
    const std::string failed = this->error_line(" uplink L2_multicast_send_msg Fail ,ret = 4.");
    this->put_two_matching_rules();
    this->log_own(MC_DEBUG_ERROR);
    platform().answer("L2_multicast_send_msg", 4);

    const auto by_rules = this->send(0);
    EXPECT_EQ(by_rules.result, 0);
    EXPECT_EQ(by_rules.trace, "<" + this->sent(this->rule_frame({0xA0C8}), 0) + ">\n" + failed + "<" +
                                  this->sent(this->rule_frame({0xA0C8, 0xA0D2}), 0) + ">\n" + failed);

    const auto single = this->send(29);
    EXPECT_EQ(single.result, 0);
    EXPECT_EQ(single.output, failed);
}

TYPED_TEST(SendPacket, the_other_familys_mask_opens_nothing)
{
    this->put_two_matching_rules();
    this->log_other();
    platform().answer("L2_multicast_send_msg", 4);
    for (const uint32_t port : {0u, 12u, 29u, 30u}) {
        SCOPED_TRACE(port);
        EXPECT_EQ(this->send(port).output, "");
    }
    EXPECT_EQ(this->send(29, 4000).output, "");
}

} // namespace
} // namespace mcadapt::test
