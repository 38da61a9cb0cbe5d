// Registered, default and learned VLANs.
#include "engine_fixture.h"

namespace engine_test {
namespace {

class Vlans : public TwinTest {
protected:
    bool joins(uint32_t vlan)
    {
        give(wire::join(n.family, n.older, n.group), 0, vlan);
        return state(n.family, n.group, 0, vlan) != "-";
    }
};

TEST_P(Vlans, registered_vlans_and_the_default_vlan_are_served)
{
    EXPECT_TRUE(joins(100));
    EXPECT_TRUE(joins(kStartDefaultVlan));
    EXPECT_FALSE(joins(101));
    EXPECT_EQ(engine_.set_default_vlan(n.family, 101), 0);
    EXPECT_TRUE(joins(101));
    EXPECT_EQ(dropped(n.family, DropReason::kVlan), 1u);
}

TEST_P(Vlans, memberships_of_different_vlans_are_apart)
{
    engine_.add_vlan(n.family, 200);
    EXPECT_TRUE(joins(100));
    EXPECT_EQ(state(n.family, n.group, 0, 200), "-");
    EXPECT_TRUE(joins(200));
    EXPECT_THAT(library_.entries, testing::SizeIs(2));
    EXPECT_EQ(library_.entries[1].find("vlan 200") == std::string::npos, false);
}

TEST_P(Vlans, a_vlan_taken_back_takes_its_learned_groups_along)
{
    engine_.add_vlan(n.family, 200);
    joins(100);
    joins(200);
    EXPECT_EQ(engine_.remove_vlan(n.family, 100), 0);
    EXPECT_EQ(state(n.family, n.group, 0, 100), "-");
    EXPECT_EQ(state(n.family, n.group, 0, 200), "EX(;)");
    EXPECT_EQ(library_.entries.back(), entry('-', n.group));
    EXPECT_FALSE(joins(100));
}

TEST_P(Vlans, all_vlans_can_be_taken_back_at_once)
{
    engine_.add_vlan(n.family, 200);
    joins(100);
    joins(200);
    joins(kStartDefaultVlan);
    EXPECT_EQ(engine_.remove_all_vlans(n.family), 0);
    EXPECT_EQ(engine_.group_count(n.family), 1u) << "the default VLAN is nobody's to take back";
    EXPECT_FALSE(joins(200));
}

TEST_P(Vlans, the_default_vlans_groups_stay_when_its_registration_ends)
{
    engine_.add_vlan(n.family, kStartDefaultVlan);
    joins(kStartDefaultVlan);
    engine_.remove_vlan(n.family, kStartDefaultVlan);
    EXPECT_EQ(state(n.family, n.group, 0, kStartDefaultVlan), "EX(;)");
}

TEST_P(Vlans, learning_serves_every_vlan_that_is_heard)
{
    engine_.set_vlan_learning(1);
    EXPECT_TRUE(joins(300));
    engine_.set_vlan_learning(0);
    EXPECT_FALSE(joins(301));
    give(wire::leave(n.family, n.group), 0, 300);
    EXPECT_THAT(library_.drops, ElementsAre("vlan", "vlan")) << "learned VLANs are forgotten with learning";
}

TEST_P(Vlans, ids_are_12_bits_and_neither_0_nor_4095)
{
    EXPECT_EQ(engine_.add_vlan(n.family, 0xF000 | 200), 0);
    EXPECT_TRUE(joins(200));
    EXPECT_NE(engine_.add_vlan(n.family, 0), 0);
    EXPECT_NE(engine_.add_vlan(n.family, 4095), 0);
    EXPECT_NE(engine_.remove_vlan(n.family, 4095), 0);
    EXPECT_NE(engine_.set_default_vlan(n.family, 4095), 0);
    EXPECT_NE(engine_.set_default_vlan(n.family, 0x10064), 0);
    engine_.set_vlan_learning(1);
    EXPECT_FALSE(joins(0));
    EXPECT_FALSE(joins(4095));
}

TEST_P(Vlans, the_families_have_their_own)
{
    const Family twin = n.family == Family::kIgmp ? Family::kMld : Family::kIgmp;
    engine_.add_vlan(twin, 400);
    EXPECT_FALSE(joins(400));
}

FOR_BOTH_FAMILIES(Vlans);

} // namespace
} // namespace engine_test
