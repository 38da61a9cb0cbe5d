// What an accepted frame is given to, as far as both families agree.
#include "intake_handover.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

template <class Side> class IntakeHandover : public HandoverTest<Side> {
};
TYPED_TEST_SUITE(IntakeHandover, IntakeSides, IntakeSideName);

TYPED_TEST(IntakeHandover, every_mode_without_a_handler_gives_the_frame_to_the_engine_alone)
{
    for (const uint8_t mode : TypeParam::kOtherModes) {
        SCOPED_TRACE(int{mode});
        TypeParam::set_mode(mode);
        this->expect_log(this->report(), 0,
                         this->joined(this->accepted(0, 0, mode), {{called(TypeParam::engine_call(0, 4088))}}));
    }
}

TYPED_TEST(IntakeHandover, what_passes_the_engine_by_is_told_by_the_type_in_the_familys_own_port_table)
{
    TypeParam::Other::ports()[0].portType = 3;
    for (const uint8_t mode : TypeParam::kHandledModes) {
        for (const uint32_t type : {0u, 1u, 2u, 3u}) {
            SCOPED_TRACE(testing::Message() << "mode " << int{mode} << ", type " << type);
            TypeParam::set_mode(mode);
            TypeParam::ports()[0].portType = type;
            platform().forget_calls();
            EXPECT_EQ(this->take(this->report(), 0).result, type == 1 ? -1 : 0);
            EXPECT_EQ(platform().count(TypeParam::kEngine), type == 1 ? 0u : 1u);
        }
    }
}

TYPED_TEST(IntakeHandover, a_user_port_reaches_the_engine_by_its_number)
{
    TypeParam::ports()[0].portNo = 28;
    TypeParam::mask() = MC_DEBUG_TRACE;
    const auto seen = this->take(this->report(), 28);
    EXPECT_THAT(seen.calls, ElementsAre(TypeParam::engine_call(28, 4088)));
    EXPECT_THAT(seen.output, Not(HasSubstr("The port no is")));
}

TYPED_TEST(IntakeHandover, the_test_uplink_is_that_of_the_family)
{
    TypeParam::Other::test_uplink() = 0;
    EXPECT_THAT(this->take(this->report(), 0).calls, ElementsAre(TypeParam::engine_call(0, 4088)));
    TypeParam::test_uplink() = 1;
    EXPECT_THAT(this->take(this->report(), 0).calls, ElementsAre(TypeParam::engine_call(0, 4088)));
}

TYPED_TEST(IntakeHandover, a_port_is_admitted_before_it_is_taken_for_the_test_uplink)
{
    TypeParam::test_uplink() = 7;
    TypeParam::mask() = MC_DEBUG_ERROR;
    const auto seen = this->take(this->report(), 7);
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.output, HasSubstr("[checkPortState]port(7) is not find!"));
}

TYPED_TEST(IntakeHandover, a_frame_that_the_engine_refuses_is_forwarded_all_the_same)
{
    for (const uint8_t mode : TypeParam::kHandledModes) {
        SCOPED_TRACE(int{mode});
        TypeParam::set_mode(mode);
        platform().answer(TypeParam::kEngine, 5);
        platform().forget_calls();
        EXPECT_EQ(this->take(this->report()).result, 5);
        EXPECT_EQ(platform().sent.size(), 1u);
    }
}

TYPED_TEST(IntakeHandover, the_handlers_get_the_vlan_of_the_innermost_tag)
{
    TypeParam::put_searched_row(0, {rule(0).up(4000, 300).down(4000, 300)});
    TypeParam::mask() = MC_DEBUG_TRACE;
    for (const FrameLayout &layout : kLayouts) {
        SCOPED_TRACE(layout.name);
        const ByteVector frame = layout.wrap(TypeParam::report());
        const std::string vlan = number(layout.vlan);
        const auto [snooping, control] = TypeParam::kHandledModes;
        TypeParam::set_mode(snooping);
        EXPECT_THAT(this->take(frame, 0).output,
                    HasSubstr("searchUpSnoopPortCfgVlan from downlink,vlan = " + vlan + " config search!"));
        EXPECT_THAT(this->take(frame, 29).output,
                    HasSubstr("searchDownSnoopPortCfgVlan from downlink,vlan(" + vlan + ") config search!"));
        TypeParam::set_mode(control);
        EXPECT_THAT(this->take(frame, 29).output,
                    HasSubstr("searchDownSnoopPortCfgVlan from downlink,vlan(" + vlan + ") config search!"));
    }
}

TYPED_TEST(IntakeHandover, a_refused_frame_reaches_neither_engine_nor_handler)
{
    for (const uint8_t mode : std::initializer_list<uint8_t>{1, 2, 3}) {
        SCOPED_TRACE(int{mode});
        TypeParam::set_mode(mode);
        EXPECT_THAT(this->take(this->report(), 30).calls, IsEmpty());
        EXPECT_THAT(this->take(this->report(), 1).calls, IsEmpty());
        EXPECT_THAT(this->take(this->report(), 0, 2001).calls, IsEmpty());
        EXPECT_THAT(this->take(this->report(), 0, 13).calls, IsEmpty());
        EXPECT_THAT(this->take(TypeParam::report().from(TypeParam::kOwnSource)).calls, IsEmpty());
        EXPECT_THAT(this->take(TypeParam::Other::report()).calls, IsEmpty());
    }
}

} // namespace
} // namespace mcadapt::test
