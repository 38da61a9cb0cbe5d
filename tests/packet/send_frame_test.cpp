// The lower transmit layer: a finished frame goes to the switch driver.
#include "transmit_side.h"

#include "support/frames.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char kPlusLine[] = "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n";
constexpr char kFirstRow[] = "f0 f1 f2 f3 f4 f5 f6 f7 f8 f9 fa fb fc fd fe ff ";
constexpr char kSecondRow[] = "00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f ";

/** Bytes f0, f1, ... ff, 00, 01, ... */
ByteVector counted_bytes(std::size_t count)
{
    ByteVector bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(0xF0 + i);
    return bytes;
}

template <class Side> class SendFrame : public TransmitTest<Side> {
protected:
    static auto send_frame(const ByteVector &frame, uint16_t port)
    {
        return observe([&] { return Side::send_frame(frame.data(), static_cast<uint16_t>(frame.size()), port); });
    }

    // intended: only the IGMP dump has a heading
    static std::string heading(int port, std::size_t length)
    {
        if (std::is_same_v<Side, MldSide>)
            return "";
        return "[l2_igmp_send_pkt]: Pkt Send to port " + number(port) + ", len " +
               number(static_cast<int64_t>(length)) + ".\r\n";
    }
};
TYPED_TEST_SUITE(SendFrame, TransmitSides, SideName);

TYPED_TEST(SendFrame, a_frame_reaches_the_driver_with_source_port_and_pon_vlan)
{
    const ByteVector frame = igmp_report("225.1.2.3").vlan(100);

    const auto seen = this->send_frame(frame, 3);

    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("L2_multicast_send_msg(" + hex(frame) + ", 3, 50, 7, 300)"));
    EXPECT_EQ(seen.output, "");
    EXPECT_THAT(seen.changed, IsEmpty());
}

TYPED_TEST(SendFrame, the_frame_itself_is_handed_over_not_a_copy_of_a_fixed_size)
{
    for (const std::size_t length : {0u, 1u, 59u, 1518u, 1519u, 2048u, 65535u}) {
        SCOPED_TRACE(length);
        const ByteVector frame = counted_bytes(length);
        const auto seen = this->send_frame(frame, 0);
        EXPECT_THAT(seen.calls, ElementsAre(driver_call(frame, 0, 7, 300)));
    }
}

TYPED_TEST(SendFrame, source_port_and_pon_vlan_are_passed_unchanged)
{
    this->log_own(MC_DEBUG_TRACE);
    TypeParam::source_port() = 255;
    ponVlan = 0xFFFFFFFF;

    const auto seen = this->send_frame({0xAB}, 2);

    EXPECT_THAT(seen.calls, ElementsAre("L2_multicast_send_msg(ab, 2, 1, 255, 4294967295)"));
    EXPECT_EQ(seen.output, std::string(TypeParam::kTrace) + TypeParam::kSenderName +
                               "  ifindex = 2 len = 1 srcPortNum = 255 ponVlan = -1\r\n");
}

TYPED_TEST(SendFrame, the_port_becomes_the_ifindex_or_the_test_uplink_stands_in_for_port_29)
{
    static constexpr struct {
        uint16_t port;
        uint32_t test_uplink;
        uint32_t traced_port;
        uint32_t ifindex;
    } kCases[] = {
        {29, 0xFFFE, 29, 29},
        {29, 5, 5, 5},
        {29, 0, 0, 0},
        {29, 29, 29, 29},
        {29, 255, 255, 255},
        {29, 256, 256, 0},
        {29, 0x1FF, 511, 255},
        {29, 65533, 65533, 253},
        {29, 65535, 65535, 255},
        {29, 0x10000, 0, 0},
        {29, 0x10005, 5, 5},
        {29, 0x1FFFE, 65534, 254}, // compared before it is cut
        {29, 0xFFFFFFFF, 65535, 255},
        {0, 5, 0, 0},
        {28, 5, 28, 28},
        {30, 5, 30, 30},
        {285, 5, 285, 29}, // 29 only in its low byte
        {256, 0xFFFE, 256, 0},
        {65535, 5, 65535, 255},
    };
    this->log_own(MC_DEBUG_TRACE);
    for (const auto &c : kCases) {
        SCOPED_TRACE("port " + number(c.port) + ", test uplink " + number(c.test_uplink));
        TypeParam::test_uplink() = c.test_uplink;

        const auto seen = this->send_frame({0x01, 0x02}, c.port);

        EXPECT_EQ(seen.trace, this->sent_line(c.traced_port, 2) + "<" + this->sent({0x01, 0x02}, c.ifindex) + ">\n");
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

TYPED_TEST(SendFrame, the_trace_line_tells_lengths_and_ports_as_unsigned_16_bit_values)
{
    this->log_own(MC_DEBUG_TRACE);
    const auto seen = this->send_frame(counted_bytes(65535), 65535);
    EXPECT_EQ(seen.output, this->sent_line(65535, 65535));
}

TYPED_TEST(SendFrame, the_driver_result_is_returned_and_a_failure_printed_for_every_port)
{
    this->log_own(MC_DEBUG_ERROR);
    for (const uint16_t port : std::initializer_list<uint16_t>{0, 12, 29, 300}) {
        for (const int32_t result : {1, -1, 255, 256, INT32_MAX, INT32_MIN}) {
            SCOPED_TRACE("port " + number(port) + ", result " + number(result));
            platform().answer("L2_multicast_send_msg", result);

            const auto seen = this->send_frame({0x00}, port);

            EXPECT_EQ(seen.result, result);
            EXPECT_EQ(seen.trace, "<" + this->sent({0x00}, port & 0xFF) + ">\n" + TypeParam::kError +
                                      " uplink L2_multicast_send_msg Fail ,ret = " + number(result) + ".");
        }
    }
}

TYPED_TEST(SendFrame, success_prints_no_failure)
{
    this->log_own(MC_DEBUG_ERROR);
    EXPECT_EQ(this->send_frame({0x00}, 29).output, "");
}

TYPED_TEST(SendFrame, the_dump_has_sixteen_bytes_to_a_line)
{
    const std::string fifteen(kFirstRow, 45);
    const struct {
        std::size_t length;
        std::string rows;
    } cases[] = {
        {0, ""},
        {1, "f0 "},
        {15, fifteen},
        {16, kFirstRow}, // no line end behind the last byte
        {17, std::string(kFirstRow) + "\r\n00 "},
        {32, std::string(kFirstRow) + "\r\n" + kSecondRow},
        {33, std::string(kFirstRow) + "\r\n" + kSecondRow + "\r\n10 "},
    };
    this->log_own(MC_DEBUG_TX_DUMP);
    for (const auto &c : cases) {
        SCOPED_TRACE(c.length);
        const ByteVector frame = counted_bytes(c.length);
        static constexpr uint8_t kNothing = 0;
        const uint8_t *bytes = frame.empty() ? &kNothing : frame.data();

        const auto seen = observe([&] { return TypeParam::send_frame(bytes, static_cast<uint16_t>(c.length), 4); });

        EXPECT_EQ(seen.output, this->heading(4, c.length) + kPlusLine + c.rows + kPlusLine);
        EXPECT_EQ(seen.calls.size(), 1u);
    }
}

TYPED_TEST(SendFrame, a_null_frame_is_not_dumped)
{
    this->log_own(MC_DEBUG_TX_DUMP);
    const auto seen = observe([] { return TypeParam::send_frame(nullptr, 0, 65535); });
    EXPECT_EQ(seen.output, this->heading(65535, 0));
    EXPECT_EQ(seen.calls.size(), 1u);
}

TYPED_TEST(SendFrame, dump_trace_call_and_failure_follow_each_other)
{
    this->log_own(0xFFFFFFFF);
    TypeParam::test_uplink() = 261;
    platform().answer("L2_multicast_send_msg", -3);

    const auto seen = this->send_frame({0xAB}, 29);

    // The heading tells the port that was asked for, the trace the one that stands in for it.
    EXPECT_EQ(seen.trace, this->heading(29, 1) + kPlusLine + "ab " + kPlusLine + this->sent_line(261, 1) + "<" +
                              this->sent({0xAB}, 5) + ">\n" + TypeParam::kError +
                              " uplink L2_multicast_send_msg Fail ,ret = -3.");
}

TYPED_TEST(SendFrame, every_line_has_its_own_bit_of_the_familys_mask)
{
    platform().answer("L2_multicast_send_msg", 9);
    for (const uint32_t bit : {0x01u, 0x02u, 0x04u, 0x08u, 0x10u, 0x20u, 0x40u}) {
        SCOPED_TRACE(bit);
        std::string expected;
        if (bit == 0x01)
            expected = this->sent_line(3, 1);
        if (bit == 0x04)
            expected = std::string(TypeParam::kError) + " uplink L2_multicast_send_msg Fail ,ret = 9.";
        if (bit == 0x08)
            expected = this->heading(3, 1) + kPlusLine + "ab " + kPlusLine;
        this->log_own(bit);
        EXPECT_EQ(this->send_frame({0xAB}, 3).output, expected);
    }
    this->log_other();
    EXPECT_EQ(this->send_frame({0xAB}, 3).output, "");
}

} // namespace
} // namespace mcadapt::test
