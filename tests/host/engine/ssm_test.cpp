// Source-specific groups (RFC 4607), and the map that helps hosts that cannot name sources.
#include "engine_fixture.h"

namespace engine_test {
namespace {

class Ssm : public TwinTest {
protected:
    const std::string group_ = n.family == Family::kIgmp ? "232.1.2.3" : "ff3e::3";
};

TEST_P(Ssm, a_source_specific_group_is_joined_by_naming_sources)
{
    give(record(wire::kAllow, group_, {1}));
    EXPECT_EQ(state(n.family, group_), "IN(1)");
}

TEST_P(Ssm, reports_that_ask_for_every_source_are_refused)
{
    give(record(wire::kIsEx, group_, {}));
    give(record(wire::kToEx, group_, {1}));
    give(wire::join(n.family, n.older, group_));
    give(wire::leave(n.family, group_));
    EXPECT_EQ(state(n.family, group_), "-");
    EXPECT_EQ(refused(n.family, DropReason::kSsmRange), 4u);
}

TEST_P(Ssm, they_leave_a_membership_that_names_sources_as_it_is)
{
    give(record(wire::kAllow, group_, {1}));
    give(wire::join(n.family, n.older, group_));
    give(record(wire::kIsEx, group_, {}));
    EXPECT_EQ(state(n.family, group_), "IN(1)");
    EXPECT_EQ(engine_.groups(n.family).at(0).version, n.newest);
}

FOR_BOTH_FAMILIES(Ssm);

class SsmSettings : public EngineTest {
protected:
    static uint32_t value(const std::string &group) { return wire::ipv4_value(group); }
    bool joins(const std::string &group)
    {
        give(wire::join(Family::kIgmp, 2, group));
        return state(Family::kIgmp, group) != "-";
    }
    int32_t map(const std::string &group, const std::string &mask, const std::string &first, const std::string &second,
                uint32_t on)
    {
        const uint32_t words[5] = {value(group), value(mask), value(first), value(second), on};
        return engine_.set_ssm_map(words);
    }
};

TEST_F(SsmSettings, the_range_can_be_moved_and_brought_back)
{
    EXPECT_EQ(engine_.set_ssm_range(value("239.9.0.0"), value("255.255.0.0")), 0);
    EXPECT_TRUE(joins("232.1.2.3"));
    EXPECT_FALSE(joins("239.9.7.7"));
    EXPECT_EQ(engine_.set_ssm_range(0, 0), 0);
    EXPECT_FALSE(joins("232.1.2.4"));
    EXPECT_NE(engine_.set_ssm_range(value("10.0.0.0"), value("255.0.0.0")), 0);
    EXPECT_NE(engine_.set_ssm_range(value("239.9.1.0"), value("255.255.0.0")), 0) << "bits beyond the mask";
}

TEST_F(SsmSettings, mapped_groups_are_joined_with_the_mapped_sources)
{
    EXPECT_EQ(map("232.1.0.0", "255.255.0.0", "10.9.0.2", "10.9.0.1", 1), 0);
    EXPECT_TRUE(joins("232.1.2.3"));
    EXPECT_EQ(state(Family::kIgmp, "232.1.2.3"), "IN(1 2)");
    EXPECT_EQ(engine_.groups(Family::kIgmp).at(0).version, 3) << "the map makes a version 3 host of it";
    give(wire::leave(Family::kIgmp, "232.1.2.3"));
    EXPECT_THAT(library_.sent,
                ElementsAre("port 0 vlan 100: IGMPv3 query 232.1.2.3 {10.9.0.1 10.9.0.2} from 0.0.0.0 to 232.1.2.3"));
    pass(2s);
    EXPECT_EQ(state(Family::kIgmp, "232.1.2.3"), "-");
    EXPECT_FALSE(joins("232.2.2.3")) << "not mapped";
}

TEST_F(SsmSettings, the_map_may_name_one_source_and_groups_outside_the_range)
{
    EXPECT_EQ(map("239.1.0.0", "255.255.0.0", "10.9.0.4", "0.0.0.0", 1), 0);
    EXPECT_TRUE(joins("239.1.2.3"));
    EXPECT_EQ(state(Family::kIgmp, "239.1.2.3"), "IN(4)");
}

TEST_F(SsmSettings, a_map_that_is_off_maps_nothing)
{
    EXPECT_EQ(map("232.1.0.0", "255.255.0.0", "10.9.0.1", "0.0.0.0", 0), 0);
    EXPECT_FALSE(joins("232.1.2.3"));
    const uint32_t zero[5] = {0, 0, 0, 0, 0};
    EXPECT_EQ(engine_.set_ssm_map(zero), 0);
    EXPECT_TRUE(joins("239.1.2.3"));
}

TEST_F(SsmSettings, a_map_without_group_or_source_is_refused)
{
    EXPECT_NE(map("10.1.0.0", "255.255.0.0", "10.9.0.1", "0.0.0.0", 1), 0);
    EXPECT_NE(map("232.1.0.0", "255.255.0.0", "0.0.0.0", "0.0.0.0", 1), 0);
    EXPECT_NE(engine_.set_ssm_map(nullptr), 0);
}

} // namespace
} // namespace engine_test
