// Frames too short for what a rule asks: a tag is taken out of 16 bytes or more and put into 12 or more. A shorter
// frame is not sent, but it is searched for, told of and remembered like any other.
#include "mode_handlers.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;

constexpr std::size_t kShortestToStrip = 16;
constexpr std::size_t kShortestToInsert = 12;
constexpr std::size_t kLongestTried = 20;

/** The content of the receive buffer; the frames are its first bytes. */
const ByteVector &untagged()
{
    static const ByteVector bytes = counting_frame(kLongestTried);
    return bytes;
}
const ByteVector &tagged()
{
    static const ByteVector bytes = tagged_counting_frame(kLongestTried, 0xA064);
    return bytes;
}

ByteVector front(const ByteVector &bytes, std::size_t length)
{
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length)};
}

struct ShortFrameHandler {
    const char *name;
    Handler handler;
    bool mld;
    bool control;
};

class ShortFrames : public ModeHandlerTest, public ::testing::WithParamInterface<ShortFrameHandler> {
protected:
    static bool mld() { return GetParam().mld; }

    static void put(const std::vector<vlanCfgNode> &rules)
    {
        put_rules(0, rules);
        put_mld_rules(0, rules);
    }

    static RuleBuilder match(uint16_t tag) { return rule(0).down_mode(0).down(100, tag).up(100, tag); }

    static Handled from(uint32_t port, const ByteVector &buffer, std::size_t length)
    {
        return handle(GetParam().handler, buffer, port, 100, length);
    }

    static std::string sent(const ByteVector &frame, uint32_t ifindex)
    {
        return mld() ? mld_sent(frame, ifindex) : igmp_sent(frame, ifindex);
    }

    /** What the calls of a pass are when it makes them all. */
    static std::vector<std::string> platform_calls_upstream()
    {
        if (!GetParam().control)
            return {};
        if (mld() || platform().uplink_mode == 0)
            return {mld() ? "vx_ploam_onuid_get()" : "vx_hal_nni_upmode_get()"};
        return {"vx_hal_nni_upmode_get()", "vx_ploam_onuid_get()"};
    }

    /** The output of a pass without the lines of what is sent. */
    static std::string output_without_sends(uint32_t port, const ByteVector &buffer, std::size_t length)
    {
        std::string output = from(port, buffer, length).output;
        const std::string start =
            mld() ? mld_trace("mld_l2_igmp_send_pkt  ").text : igmp_trace("l2_igmp_send_pkt  ").text;
        for (std::size_t at = output.find(start); at != std::string::npos; at = output.find(start))
            output.erase(at, output.find("\r\n", at + start.size()) + 2 - at);
        return output;
    }
};

TEST_P(ShortFrames, a_tag_is_inserted_into_12_bytes_or_more)
{
    put({match(5)});
    for (std::size_t length = 0; length <= kLongestTried; ++length) {
        SCOPED_TRACE(length);
        std::vector<std::string> expected;
        if (length >= kShortestToInsert)
            expected.push_back(sent(with_tag(front(untagged(), length), 5), kUserPort));
        EXPECT_EQ(from(kUplink, untagged(), length).calls, expected);
    }
}

TEST_P(ShortFrames, a_tag_is_replaced_in_the_buffer_of_any_frame)
{
    put({match(5)});
    for (std::size_t length = 0; length <= kLongestTried; ++length) {
        SCOPED_TRACE(length);
        const ByteVector replaced = with_control(tagged(), 5);
        const auto seen = from(kUplink, tagged(), length);
        EXPECT_THAT(seen.calls, ElementsAre(sent(front(replaced, length), kUserPort)));
        EXPECT_EQ(seen.frame, replaced);
    }
}

TEST_P(ShortFrames, a_tag_is_taken_out_of_16_bytes_or_more)
{
    put({match(0)});
    for (const ByteVector &buffer : {untagged(), tagged()}) {
        for (std::size_t length = 0; length <= kLongestTried; ++length) {
            SCOPED_TRACE(length);
            std::vector<std::string> expected;
            if (length >= kShortestToStrip) {
                const ByteVector frame = front(buffer, length);
                const bool keeps_length = mld() || GetParam().control;
                expected.push_back(
                    sent(keeps_length ? without_tag(frame) + last_four(frame) : without_tag(frame), kUserPort));
            }
            const auto seen = from(kUplink, buffer, length);
            EXPECT_EQ(seen.calls, expected);
            EXPECT_EQ(seen.frame, buffer);
        }
    }
}

TEST_P(ShortFrames, what_cannot_be_sent_does_not_stop_what_can)
{
    put({match(0), match(5), match(0), match(6)});
    for (const std::size_t length : Lengths{0, 11, 12, 15}) {
        SCOPED_TRACE(length);
        EXPECT_THAT(from(kUplink, tagged(), length).calls,
                    ElementsAre(sent(front(with_control(tagged(), 5), length), kUserPort),
                                sent(front(with_control(tagged(), 6), length), kUserPort)));
    }
}

TEST_P(ShortFrames, a_frame_of_any_length_passes_as_it_is)
{
    put({rule(0).down_mode(0)});
    for (std::size_t length = 0; length <= kLongestTried; ++length)
        for (const ByteVector &buffer : {untagged(), tagged()})
            EXPECT_THAT(from(kUplink, buffer, length).calls, ElementsAre(sent(front(buffer, length), kUserPort)));
}

TEST_P(ShortFrames, the_lines_of_a_frame_that_is_not_sent_are_those_of_one_that_is)
{
    put({match(0), match(5), match(0xFFFF)});
    everything_logged();
    for (const uint32_t port : {kUplink, kUserPort}) {
        for (const ByteVector &buffer : {untagged(), tagged()}) {
            const std::string expected = output_without_sends(port, buffer, kLongestTried);
            EXPECT_FALSE(expected.empty());
            for (const std::size_t length : Lengths{0, 11, 12, 15})
                EXPECT_EQ(output_without_sends(port, buffer, length), expected) << length;
        }
    }
}

TEST_P(ShortFrames, an_upstream_frame_is_sent_when_it_has_the_bytes_for_its_tags)
{
    put({match(5)});
    platform().uplink_mode = 0;
    const bool marks = GetParam().control;
    for (std::size_t length = 0; length <= kLongestTried; ++length) {
        SCOPED_TRACE(length);
        std::vector<std::string> expected = platform_calls_upstream();
        if (length >= kShortestToInsert) {
            ByteVector frame = with_tag(front(untagged(), length), marks ? 1 : 5);
            if (marks && mld())
                frame = with_tag(frame, 7);
            expected.push_back(sent(frame, kUplink));
        }
        EXPECT_EQ(from(kUserPort, untagged(), length).calls, expected);

        expected = platform_calls_upstream();
        ByteVector retagged = front(with_control(tagged(), marks ? 1 : 5), length);
        if (marks && mld() && length >= kShortestToStrip)
            retagged = with_tag(retagged, 7);
        if (!marks || length >= kShortestToStrip)
            expected.push_back(sent(retagged, kUplink));
        EXPECT_EQ(from(kUserPort, tagged(), length).calls, expected);
    }
}

INSTANTIATE_TEST_SUITE_P(, ShortFrames,
                         ::testing::Values(ShortFrameHandler{"igmp_snooping", igmp_adapt_snoop_handle, false, false},
                                           ShortFrameHandler{"mld_snooping", mld_adapt_snoop_handle, true, false},
                                           ShortFrameHandler{"igmp_control", igmp_adapt_control_handle, false, true},
                                           ShortFrameHandler{"mld_control", mld_adapt_control_handle, true, true}),
                         [](const auto &row) { return std::string(row.param.name); });

// --- What only one of the handlers does

class ShortFrame : public ModeHandlerTest {};

TEST_F(ShortFrame, is_stripped_by_tag_mode_from_16_bytes_on)
{
    put_rules(0, {rule(0).down_mode(1)});
    put_mld_rules(0, {rule(0).down_mode(1)});
    for (std::size_t length = 0; length <= kLongestTried; ++length) {
        SCOPED_TRACE(length);
        std::vector<std::string> igmp;
        std::vector<std::string> mld;
        if (length >= kShortestToStrip) {
            igmp.push_back(igmp_sent(without_tag(front(untagged(), length)), kUserPort));
            mld.push_back(mld_sent(without_tag(front(untagged(), length)), kUserPort));
        }
        EXPECT_EQ(handle(igmp_adapt_snoop_handle, untagged(), kUplink, 100, length).calls, igmp);
        EXPECT_EQ(handle(mld_adapt_snoop_handle, untagged(), kUplink, 100, length).calls, mld);
    }
}

TEST_F(ShortFrame, is_stripped_by_cvlan_from_16_bytes_on)
{
    globle_parm.port[0].cvlan = 0;
    for (std::size_t length = 0; length <= kLongestTried; ++length) {
        SCOPED_TRACE(length);
        std::vector<std::string> expected;
        if (length >= kShortestToStrip)
            expected.push_back(igmp_sent(without_tag(front(tagged(), length)), kUserPort));
        EXPECT_EQ(handle(igmp_adapt_snoop_handle, tagged(), kUplink, 100, length).calls, expected);
    }
}

TEST_F(ShortFrame, of_any_length_is_overwritten_by_cvlan)
{
    globle_parm.port[0].cvlan = 0x3005;
    const ByteVector written = with_control(tagged(), 0x3005);
    for (std::size_t length = 0; length <= kLongestTried; ++length) {
        const auto seen = handle(igmp_adapt_snoop_handle, untagged(), kUplink, 100, length);
        EXPECT_THAT(seen.calls, ElementsAre(igmp_sent(front(written, length), kUserPort)));
        EXPECT_EQ(seen.frame, written);
    }
}

TEST_F(ShortFrame, takes_its_svlan_from_12_bytes_on)
{
    globle_parm.port[0].svlan = 5;
    for (std::size_t length = 0; length <= kLongestTried; ++length) {
        SCOPED_TRACE(length);
        std::vector<std::string> expected;
        if (length >= kShortestToInsert)
            expected.push_back(igmp_sent(with_tag(front(untagged(), length), 5), kUplink));
        EXPECT_EQ(handle(igmp_adapt_snoop_handle, untagged(), kUserPort, 100, length).calls, expected);
        EXPECT_THAT(handle(igmp_adapt_snoop_handle, tagged(), kUserPort, 100, length).calls,
                    ElementsAre(igmp_sent(front(with_control(tagged(), 5), length), kUplink)));
    }
}

TEST_F(ShortFrame, is_marked_twice_from_12_bytes_on_or_from_16_with_a_tag)
{
    for (std::size_t length = 0; length <= kLongestTried; ++length) {
        SCOPED_TRACE(length);
        std::vector<std::string> expected = {"vx_hal_nni_upmode_get()", "vx_ploam_onuid_get()"};
        std::vector<std::string> expected_tagged = expected;
        if (length >= kShortestToInsert)
            expected.push_back(igmp_sent(with_tag(with_tag(front(untagged(), length), 1), 7), kUplink));
        if (length >= kShortestToStrip)
            expected_tagged.push_back(igmp_sent(with_tag(front(with_control(tagged(), 1), length), 7), kUplink));
        EXPECT_EQ(handle(igmp_adapt_control_handle, untagged(), kUserPort, 100, length).calls, expected);
        EXPECT_EQ(handle(igmp_adapt_control_handle, tagged(), kUserPort, 100, length).calls, expected_tagged);
    }
}

TEST_F(ShortFrame, is_remembered_by_mld_though_it_is_not_sent)
{
    put_mld_rules(0, {rule(0).down(100, 0x2064).up(100, 1)});
    put_rules(0, {rule().out_up(0x4065)});
    const auto tag_after = [](Handler handler, uint32_t port) {
        mldInitParams.outerTag = {};
        EXPECT_EQ(platform().count("L2_multicast_send_msg"), 0u);
        handle(handler, untagged(), port, 100, kShortestToInsert - 1);
        return mldInitParams.outerTag;
    };
    EXPECT_EQ(tag_after(mld_adapt_snoop_handle, kUplink), (mldTagRecord{0x8100, 0x064, 1}));
    EXPECT_EQ(tag_after(mld_adapt_snoop_handle, kUserPort), (mldTagRecord{0x8100, 0x065, 2}));
    EXPECT_EQ(tag_after(mld_adapt_control_handle, kUplink), (mldTagRecord{0x8100, 0x064, 1}));
    EXPECT_EQ(tag_after(mld_adapt_control_handle, kUserPort), (mldTagRecord{0x8100, 7, 0}));
    EXPECT_EQ(mldInitParams.innerTag, (mldTagRecord{0x8100, 1, 0}));
    EXPECT_EQ(platform().count("L2_multicast_send_msg"), 0u);
}

} // namespace
} // namespace mcadapt::test
