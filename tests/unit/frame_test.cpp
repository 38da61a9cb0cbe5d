// Frame layouts, tags, rewritten copies and the dump.
#include "packet/frame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>

#include "support/frames.h"
#include "support/library_test.h"

namespace mcadapt::test {
namespace {

using Lengths = std::initializer_list<std::size_t>;

// --- Numbers on the wire

TEST(FrameWord, is_read_and_written_in_network_order)
{
    const uint8_t bytes[] = {0x12, 0xFE, 0x81};
    EXPECT_EQ(read_be16(bytes), 0x12FE);
    EXPECT_EQ(read_be16(bytes + 1), 0xFE81);
    uint8_t written[4] = {1, 2, 3, 4};
    write_be16(written + 1, 0xFE12);
    EXPECT_EQ(hex(written, 4), "01fe1204");
}

// --- Layouts

struct LayoutCase {
    const char *title;
    ByteVector frame;
    Layout layout;
    uint16_t tag_control;
    uint16_t vlan;
    uint32_t ip_offset;
};

const std::vector<LayoutCase> &layout_cases()
{
    static const std::vector<LayoutCase> cases = {
        {"untagged", igmp_query(), Layout::kUntagged, 0, 0, 14},
        {"untagged IPv6", mld_query(), Layout::kUntagged, 0, 0, 14},
        {"no known type", igmp_query().ethertype(0x88a8), Layout::kUntagged, 0, 0, 14},
        {"almost a tag", igmp_query().ethertype(0x8101), Layout::kUntagged, 0, 0, 14},
        {"almost PPPoE", igmp_query().ethertype(0x8863), Layout::kUntagged, 0, 0, 14},
        {"a tag", igmp_query().tag(0x6064), Layout::kTagged, 0x6064, 0x064, 18},
        {"a tag with bit 12", igmp_query().tag(0xFFFF), Layout::kTagged, 0xFFFF, 0xFFF, 18},
        {"two tags", igmp_query().tag(0x6064).tag(0xF065), Layout::kDoubleTagged, 0x6064, 0x065, 22},
        {"two tags, the inner one without VLAN", igmp_query().tag(0x6064).tag(0), Layout::kDoubleTagged, 0x6064, 0, 22},
        {"three tags", igmp_query().tag(1).tag(2).tag(3), Layout::kDoubleTagged, 1, 2, 22},
        {"a second tag of another kind", igmp_query().tag(100).tag(101, 0x88a8), Layout::kTagged, 100, 100, 18},
        {"PPPoE", igmp_query().pppoe(), Layout::kPppoe, 0, 0, 22},
        {"PPPoE, whatever it carries", igmp_query().pppoe(0x0021), Layout::kPppoe, 0, 0, 22},
        // The tag control field itself reads as the PPPoE type; its low 12 bits stay the VLAN.
        {"PPPoE in the tag", igmp_query().pppoe_in_tag(), Layout::kTaggedPppoe, 0x8864, 0x864, 22},
        {"PPPoE in the tag, then a tag", igmp_query().tag(0x8864).tag(5), Layout::kTaggedPppoe, 0x8864, 0x864, 22},
        {"almost PPPoE in the tag", igmp_query().tag(0x8863), Layout::kTagged, 0x8863, 0x863, 18},
        {"PPPoE behind a tag", igmp_query().tag(100).pppoe(), Layout::kTagged, 100, 100, 18},
    };
    return cases;
}

TEST(FrameLayout, finds_the_layout_the_tag_the_vlan_and_the_packet)
{
    for (const LayoutCase &c : layout_cases()) {
        SCOPED_TRACE(c.title);
        const FrameHeader header = classify(c.frame.data());
        EXPECT_EQ(header.layout, c.layout);
        EXPECT_EQ(header.tag_control, c.tag_control);
        EXPECT_EQ(header.vlan, c.vlan);
        EXPECT_EQ(header.ip_offset, c.ip_offset);
    }
}

TEST(FrameLayout, agrees_with_where_the_packet_lies)
{
    for (const FrameBuilder &frame : {igmp_query(), igmp_query().tag(1), igmp_query().tag(1).tag(2),
                                      igmp_query().pppoe(), igmp_query().pppoe_in_tag()})
        EXPECT_EQ(classify(frame.bytes().data()).ip_offset, frame.packet_offset());
}

// --- Tags

TEST(FrameTag, is_there_when_both_bytes_of_its_tpid_are)
{
    struct {
        uint16_t type;
        bool tagged;
    } const cases[] = {{0x8100, true}, {0x8101, false}, {0x8000, false}, {0x0081, false}, {0x88a8, false}, {0, false}};
    for (const auto &c : cases)
        EXPECT_EQ(is_tagged(igmp_query().ethertype(c.type).bytes().data()), c.tagged) << c.type;
}

TEST(FrameTag, is_written_as_four_bytes)
{
    ByteVector bytes(6, 0xEE);
    write_tag(bytes.data() + 1, 0xB00C);
    EXPECT_EQ(hex(bytes), "ee8100b00cee");
}

TEST(FrameTag, is_written_over_the_bytes_behind_the_addresses)
{
    for (const ByteVector &frame : {igmp_query().bytes(), igmp_query().tag(100).bytes()}) {
        ByteVector replaced = frame;
        replace_tag(replaced.data(), 0xF064);
        EXPECT_EQ(hex(replaced), hex(frame.data(), 12) + "8100f064" + hex(frame.data() + 16, frame.size() - 16));
    }
}

// --- Rewritten copies

/** Bytes each different from their neighbours; never a tag. */
ByteVector numbered(std::size_t length)
{
    ByteVector bytes(length);
    for (std::size_t i = 0; i < length; ++i)
        bytes[i] = static_cast<uint8_t>(i % 251 + 1);
    return bytes;
}

ByteVector numbered_with_tag(std::size_t length)
{
    ByteVector bytes = numbered(std::max<std::size_t>(length, 16));
    bytes[12] = 0x81;
    bytes[13] = 0x00;
    return bytes;
}

class FrameCopy : public ::testing::Test {
protected:
    static constexpr std::size_t kLongest = 2000;

    FrameCopy() { work.copy(left_.data(), kLongest); }

    ByteVector front(std::size_t length) const { return {work.bytes(), work.bytes() + length}; }

    /** Expects that nothing was written since the start. */
    void expect_untouched() const { EXPECT_EQ(front(kLongest), left_); }

    static uint32_t cut(std::size_t length) { return static_cast<uint32_t>(length); }

    WorkBuffer work;

private:
    const ByteVector left_ = ByteVector(kLongest, 0xEE);
};

TEST_F(FrameCopy, as_it_is_keeps_what_lies_behind)
{
    for (const std::size_t length : Lengths{1, 13, 60, 1518, 1519, kLongest}) {
        const ByteVector frame = numbered(length);
        ASSERT_TRUE(work.copy(frame.data(), cut(length)));
        EXPECT_EQ(front(length), frame);
        const ByteVector behind(work.bytes() + length, work.bytes() + kLongest);
        EXPECT_EQ(behind, ByteVector(kLongest - length, 0xEE));
    }
}

TEST_F(FrameCopy, with_a_tag_inserted_has_the_rest_behind_it)
{
    for (const std::size_t length : Lengths{12, 13, 14, 60, 1518, 1519, kLongest}) {
        const ByteVector frame = numbered(length);
        ASSERT_TRUE(work.insert_tag(frame.data(), cut(length), 0xB00C));
        EXPECT_EQ(front(length + 4), with_tag(frame, 0xB00C));
    }
    const ByteVector tagged = igmp_query().tag(100);
    ASSERT_TRUE(work.insert_tag(tagged.data(), cut(tagged.size()), 5));
    EXPECT_EQ(front(tagged.size() + 4), with_tag(tagged, 5)) << "a tag that is there stays";
}

TEST_F(FrameCopy, with_four_bytes_taken_out_keeps_what_lies_behind)
{
    for (const std::size_t length : Lengths{kLongest, 1519, 1518, 60, 17, 16}) {
        const ByteVector frame = numbered(length);
        const ByteVector before = front(kLongest);
        ASSERT_TRUE(work.strip_tag(frame.data(), cut(length)));
        EXPECT_EQ(front(length - 4), without_tag(frame));
        EXPECT_TRUE(std::equal(before.begin() + static_cast<std::ptrdiff_t>(length) - 4, before.end(),
                               work.bytes() + length - 4));
    }
}

TEST_F(FrameCopy, marked_once_has_the_tag_in_the_place_of_its_own)
{
    for (const std::size_t length : Lengths{16, 17, 60, 1519, kLongest}) {
        const ByteVector plain = numbered(length);
        ASSERT_EQ(work.mark(plain.data(), cut(length), 5), length + 4);
        EXPECT_EQ(front(length + 4), with_tag(plain, 5));
        const ByteVector tagged = numbered_with_tag(length);
        ASSERT_EQ(work.mark(tagged.data(), cut(length), 5), length);
        EXPECT_EQ(front(length), with_control(tagged, 5));
    }
    FrameBuffer shortest(numbered(12)); // whether it is tagged is read behind it
    ASSERT_EQ(work.mark(shortest.data(), 12, 0xB00C), 16u);
    EXPECT_EQ(front(16), with_tag(numbered(12), 0xB00C));
}

TEST_F(FrameCopy, marked_twice_has_both_tags_in_the_place_of_its_own)
{
    for (const std::size_t length : Lengths{16, 17, 60, 1519, kLongest}) {
        const ByteVector plain = numbered(length);
        ASSERT_EQ(work.mark_twice(plain.data(), cut(length), 0xB00C, 5), length + 8);
        EXPECT_EQ(front(length + 8), with_tag(with_tag(plain, 5), 0xB00C));
        const ByteVector tagged = numbered_with_tag(length);
        ASSERT_EQ(work.mark_twice(tagged.data(), cut(length), 0xB00C, 5), length + 4);
        EXPECT_EQ(front(length + 4), with_tag(with_control(tagged, 5), 0xB00C));
    }
    FrameBuffer shortest(numbered(12));
    ASSERT_EQ(work.mark_twice(shortest.data(), 12, 0xB00C, 5), 20u);
    EXPECT_EQ(front(20), with_tag(with_tag(numbered(12), 5), 0xB00C));
}

TEST_F(FrameCopy, is_not_made_of_a_frame_too_short_for_it)
{
    const ByteVector plain = numbered(16);
    for (const uint32_t length : {0u, 1u, 11u}) {
        EXPECT_FALSE(work.insert_tag(plain.data(), length, 5)) << length;
        EXPECT_EQ(work.mark(plain.data(), length, 5), 0u) << length;
        EXPECT_EQ(work.mark_twice(plain.data(), length, 5, 6), 0u) << length;
    }
    const ByteVector tagged = numbered_with_tag(16);
    for (const uint32_t length : {0u, 11u, 12u, 15u}) {
        EXPECT_FALSE(work.strip_tag(plain.data(), length)) << length;
        EXPECT_EQ(work.mark(tagged.data(), length, 5), 0u) << length;
        EXPECT_EQ(work.mark_twice(tagged.data(), length, 5, 6), 0u) << length;
    }
    expect_untouched();
}

TEST_F(FrameCopy, is_not_made_of_a_frame_too_long_for_it)
{
    const ByteVector plain = numbered(FrameBuffer::kSize);
    const ByteVector tagged = numbered_with_tag(FrameBuffer::kSize);
    for (const uint32_t length : {2049u, 65536u, 0xFFFFFFFFu}) {
        EXPECT_FALSE(work.copy(plain.data(), length)) << length;
        EXPECT_FALSE(work.insert_tag(plain.data(), length, 5)) << length;
        EXPECT_FALSE(work.strip_tag(plain.data(), length)) << length;
        for (const ByteVector &frame : {plain, tagged}) {
            EXPECT_EQ(work.mark(frame.data(), length, 5), 0u) << length;
            EXPECT_EQ(work.mark_twice(frame.data(), length, 5, 6), 0u) << length;
        }
    }
    expect_untouched();
}

// --- Dump

const std::string kRuler = "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n";

class FrameDump : public LibraryTest {};

std::string dump_of(const uint8_t *frame, std::size_t length)
{
    return observe([&] { dump_frame(frame, static_cast<uint32_t>(length)); }).output;
}

TEST_F(FrameDump, has_sixteen_bytes_to_a_line_between_rulers)
{
    struct {
        std::size_t length;
        std::string lines;
    } const cases[] = {
        {1, "01 "},
        {15, "01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f "},
        {16, "01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 "},
        {17, "01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 \r\n11 "},
        {32, "01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 \r\n"
             "11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f 20 "},
        {33, "01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 \r\n"
             "11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f 20 \r\n21 "},
    };
    for (const auto &c : cases)
        EXPECT_EQ(dump_of(numbered(c.length).data(), c.length), kRuler + c.lines + kRuler) << c.length;
}

TEST_F(FrameDump, has_two_lower_case_digits_for_every_byte)
{
    const ByteVector bytes = {0x00, 0x0A, 0xFF, 0x80};
    EXPECT_EQ(dump_of(bytes.data(), bytes.size()), kRuler + "00 0a ff 80 " + kRuler);
}

TEST_F(FrameDump, of_no_frame_is_empty) { EXPECT_EQ(dump_of(nullptr, 5), ""); }

TEST_F(FrameDump, of_length_zero_has_only_the_rulers)
{
    const uint8_t byte = 1;
    EXPECT_EQ(dump_of(&byte, 0), kRuler + kRuler);
}

} // namespace
} // namespace mcadapt::test
