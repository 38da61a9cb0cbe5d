// The intake as far as both families agree: layouts, ports, lengths, the unit's own frames.
#include "intake_side.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;

// --- Layouts

template <class Side> class IntakeLayouts : public OneIntake<Side> {
};
TYPED_TEST_SUITE(IntakeLayouts, IntakeSides, IntakeSideName);

TYPED_TEST(IntakeLayouts, a_frame_that_is_too_short_for_its_layout_is_refused)
{
    for (const FrameLayout &layout : kLayouts)
        for (const uint32_t length : {0u, 13u, layout.least - 1}) {
            SCOPED_TRACE(testing::Message() << layout.name << ", " << length << " bytes");
            const ByteVector frame = layout.wrap(TypeParam::report());
            const ByteVector seen_part(frame.begin(), std::next(frame.begin(), static_cast<std::ptrdiff_t>(length)));
            EXPECT_EQ(this->take(frame, 0, length).result, -1);
            const LogLine line = this->error(layout.too_short + ("(" + number(length)) + ")\r\n");
            this->expect_log(frame, 0, length, this->joined(this->classified(seen_part, 0, 0), {{line}}));
        }
}

TYPED_TEST(IntakeLayouts, a_frame_of_the_least_length_passes)
{
    for (const FrameLayout &layout : kLayouts) {
        SCOPED_TRACE(layout.name);
        const auto seen = this->take(layout.wrap(TypeParam::report()), 0, layout.least);
        EXPECT_THAT(seen.calls, ElementsAre(TypeParam::engine_call(0, 4088)));
    }
}

// --- Tags

template <class Side> class IntakeClassification : public OneIntake<Side> {
protected:
    /** The frame VLAN, as it is printed. */
    std::string vlan_of(const ByteVector &frame)
    {
        Side::mask() = MC_DEBUG_TRACE;
        const std::string before = Side::kSearch + std::string(" vlan_id = ");
        const std::string line = part(this->take(frame).output, before, " usPort");
        return line.compare(0, before.size(), before) == 0 ? line.substr(before.size()) : line;
    }

    std::string errors_of(const ByteVector &frame, uint32_t length)
    {
        Side::mask() = MC_DEBUG_ERROR;
        return this->take(frame, 0, length).output;
    }
    std::string errors_of(const ByteVector &frame) { return errors_of(frame, static_cast<uint32_t>(frame.size())); }
};
TYPED_TEST_SUITE(IntakeClassification, IntakeSides, IntakeSideName);

TYPED_TEST(IntakeClassification, the_low_12_bits_of_the_tag_are_the_frame_vlan)
{
    EXPECT_EQ(this->vlan_of(TypeParam::report().tag(0xFFFF)), "4095");
    EXPECT_EQ(this->vlan_of(TypeParam::report().tag(0xF000)), "0");
    EXPECT_EQ(this->vlan_of(TypeParam::report().tag(7).tag(0xFFFF)), "4095");
}

TYPED_TEST(IntakeClassification, a_control_field_of_8864_outweighs_a_second_tag)
{
    const ByteVector frame = TypeParam::report().tag(0x8864).tag(100);
    EXPECT_EQ(this->vlan_of(frame), "2148");
    EXPECT_EQ(this->engine_offset(), 22);
    // Here the layout needs 22 bytes, where two tags need 18.
    EXPECT_EQ(this->errors_of(frame, 21),
              this->error("Frame PPPoE header and vlan tag,but too short ,abord!<*_*>(21)\r\n").text);
}

TYPED_TEST(IntakeClassification, only_the_whole_control_field_of_8864_means_pppoe)
{
    for (const uint16_t control : std::initializer_list<uint16_t>{0x0864, 0x9864, 0x8865}) {
        SCOPED_TRACE(control);
        this->take(TypeParam::report().tag(control));
        EXPECT_EQ(this->engine_offset(), 18);
    }
}

TYPED_TEST(IntakeClassification, the_inner_tag_does_not_mean_pppoe)
{
    EXPECT_EQ(this->vlan_of(TypeParam::report().tag(100).tag(0x8864)), "2148");
    EXPECT_EQ(this->engine_offset(), 22);
}

TYPED_TEST(IntakeClassification, only_tags_of_type_8100_are_tags)
{
    const std::string of_88a8 = this->error("Not ip pkt recieved,abord!(43144)\r\n").text;
    EXPECT_EQ(this->errors_of(TypeParam::report().tag(100, 0x88A8)), of_88a8);
    EXPECT_EQ(this->errors_of(TypeParam::report().tag(100).tag(100, 0x88A8)), of_88a8);
    EXPECT_EQ(this->errors_of(TypeParam::report().tag(100).tag(100).tag(100)),
              this->error("Not ip pkt recieved,abord!(129)\r\n").text);
}

TYPED_TEST(IntakeClassification, pppoe_behind_a_tag_of_another_vlan_is_not_ip)
{
    EXPECT_EQ(this->errors_of(TypeParam::report().tag(100).pppoe()),
              this->error("Not ip pkt recieved,abord!(25736)\r\n").text); // 0x8864
}

// --- Ports, lengths, own frames

template <class Side> class IntakeAdmission : public OneIntake<Side> {
protected:
    static constexpr int32_t kTaken = 9;

    void SetUp() override
    {
        OneIntake<Side>::SetUp();
        platform().answer(Side::kEngine, kTaken);
    }

    /** The lines of a frame whose port is refused in this line. */
    static Log refused(const std::string &port, const std::string &line)
    {
        return {IntakeAdmission::entered(port), IntakeAdmission::error(line),
                IntakeAdmission::error("The port no(" + port + ") is illegal, abord!<*_*>\r\n")};
    }

    /** Expects this port to be refused for its number, before anything else is looked at. */
    void expect_invalid(uint32_t port, uint32_t length = 64)
    {
        const std::string printed = number(static_cast<int32_t>(port));
        this->expect_log(Side::report(), port, length, refused(printed, "\n port(" + printed + ") is invalid!"));
    }
};
TYPED_TEST_SUITE(IntakeAdmission, IntakeSides, IntakeSideName);

TYPED_TEST(IntakeAdmission, a_port_above_29_is_refused_with_0)
{
    for (const uint32_t port : {30u, 31u, 255u, 256u, 0x11Du, 0xFFFFFFFFu}) {
        SCOPED_TRACE(port);
        EXPECT_EQ(this->take(TypeParam::report(), port).result, 0);
        EXPECT_EQ(TypeParam::source_port(), port & 0xFF);
        this->expect_invalid(port);
    }
}

TYPED_TEST(IntakeAdmission, a_port_above_29_is_refused_even_when_it_is_configured)
{
    TypeParam::ports()[0].portNo = 30;
    this->expect_invalid(30);
}

TYPED_TEST(IntakeAdmission, a_port_that_is_not_configured_is_refused_with_0)
{
    for (const uint32_t port : {1u, 28u}) {
        SCOPED_TRACE(port);
        EXPECT_EQ(this->take(TypeParam::report(), port).result, 0);
        EXPECT_EQ(TypeParam::source_port(), port);
        this->expect_log(TypeParam::report(), port,
                         this->refused(number(port), "\n [checkPortState]port(" + number(port) + ") is not find!"));
    }
}

TYPED_TEST(IntakeAdmission, ports_are_those_of_the_familys_own_table)
{
    TypeParam::ports()[0].portNo = 3;
    TypeParam::ports()[1].portNo = 4;
    EXPECT_EQ(this->take(TypeParam::report(), 3).result, this->kTaken);
    EXPECT_EQ(this->take(TypeParam::report(), 4).result, this->kTaken);
    EXPECT_EQ(this->take(TypeParam::report(), 0).result, 0);
    EXPECT_EQ(this->take(TypeParam::report(), 29).result, 0);
    EXPECT_EQ(platform().count(TypeParam::kEngine), 2u);
}

TYPED_TEST(IntakeAdmission, a_frame_of_2000_bytes_is_taken_and_one_of_2001_refused_with_0)
{
    EXPECT_EQ(this->take(TypeParam::report().pad_to(2000)).result, this->kTaken);
    for (const uint32_t length : {2001u, 2048u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(length);
        EXPECT_EQ(this->take(TypeParam::report(), 0, length).result, 0);
        const std::string printed = number(static_cast<int32_t>(length));
        this->expect_log(TypeParam::report(), 0, length,
                         {this->entered("0"), this->error("usLength  = " + printed + "\r\n")});
    }
}

TYPED_TEST(IntakeAdmission, the_port_is_tested_before_the_length) { this->expect_invalid(30, 2001); }

TYPED_TEST(IntakeAdmission, a_source_is_the_units_own_by_all_six_bytes)
{
    for (std::size_t byte = 6; byte < 12; ++byte) {
        SCOPED_TRACE(byte);
        ByteVector frame = TypeParam::report().from(TypeParam::kOwnSource);
        frame[byte] ^= 1;
        EXPECT_EQ(this->take(frame).result, this->kTaken);
    }
    EXPECT_EQ(this->take(TypeParam::report().from(TypeParam::kOwnSource)).result, -1);
}

// --- What a frame leaves

template <class Side> class IntakeStores : public OneIntake<Side> {
};
TYPED_TEST_SUITE(IntakeStores, IntakeSides, IntakeSideName);

TYPED_TEST(IntakeStores, a_frame_refused_for_its_port_length_or_source_leaves_its_port_alone)
{
    const FrameBuilder report = TypeParam::report();
    EXPECT_THAT(this->take(report, 30).changed, ElementsAre(TypeParam::kSourcePortField));
    EXPECT_EQ(TypeParam::source_port(), 30);
    EXPECT_THAT(this->take(report, 0x105).changed, ElementsAre(TypeParam::kSourcePortField));
    EXPECT_EQ(TypeParam::source_port(), 5);
    EXPECT_THAT(this->take(report, 0, 2001).changed, ElementsAre(TypeParam::kSourcePortField));
    EXPECT_EQ(TypeParam::source_port(), 0);
    EXPECT_THAT(this->take(TypeParam::report().from(TypeParam::kOwnSource), 29).changed,
                ElementsAre(TypeParam::kSourcePortField));
    EXPECT_EQ(TypeParam::source_port(), 29);
}

TYPED_TEST(IntakeStores, the_port_is_stored_as_received_under_a_test_uplink)
{
    TypeParam::test_uplink() = 0;
    this->take(TypeParam::report(), 0);
    EXPECT_EQ(TypeParam::source_port(), 0);
}

} // namespace
} // namespace mcadapt::test
