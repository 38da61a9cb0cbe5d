/** Operations on the status block while there is none: nothing is stored in it, the rest is done as always. */
#include "mgmt/management_test.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;

class WithoutStatusBlock : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        mc_status_global = nullptr;
    }
};

TEST_F(WithoutStatusBlock, group_limit_is_set_in_the_parameters_and_the_engine)
{
    const auto seen = observe([] { return omci_set_port_igmpgroup_limit(0, 70000); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_max_group_num_set(0, 70000)"));
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.port[0].grouplimit"));
}

TEST_F(WithoutStatusBlock, group_limit_is_told_as_0)
{
    for (const uint32_t port : {0u, 1u, 2u, 3u, 29u}) {
        uint16_t out = 0x5555;
        EXPECT_EQ(omci_get_port_igmpgroup_limit(port, &out), 0);
        EXPECT_EQ(out, 0);
    }
}

TEST_F(WithoutStatusBlock, group_limit_is_reset_in_the_parameters_and_the_engine)
{
    const auto seen = observe([] { return omci_clear_igmp_parmeter(0, 2); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_max_group_num_set(0, 1024)"));
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.port[0].grouplimit"));
}

TEST_F(WithoutStatusBlock, oam_fast_leave_is_set_on_the_port)
{
    const auto seen = observe([] { return mc_oam_set_onu_fast_leave(2); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls, ElementsAre("igmp_if_fast_leave_enable(0, 1)"));
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.port[0].leavemod"));
}

TEST_F(WithoutStatusBlock, mode_is_set_in_the_other_places_and_told_as_0)
{
    EXPECT_EQ(omci_set_multicast_mode(3), 0);
    EXPECT_EQ(globle_parm.multiMode, 3);
    uint8_t out = 0x55;
    EXPECT_EQ(omci_get_multicast_mode(&out), 0);
    EXPECT_EQ(out, 0);
}

} // namespace
} // namespace mcadapt::test
