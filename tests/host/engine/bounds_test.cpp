// What a subscriber cannot do: fill the memory, or cost others their membership.
#include "engine_fixture.h"

namespace engine_test {
namespace {

constexpr Limits kSmall{8, 5};

class Bounds : public TwinTest {
protected:
    Bounds() : TwinTest(kSmall) {}
    std::string numbered(int i) const
    {
        return (n.family == Family::kIgmp ? "239.5.0." : "ff1e::5:") + std::to_string(i);
    }
    void join(int i, uint32_t port = 0) { give(wire::join(n.family, n.older, numbered(i)), port); }
};

TEST_P(Bounds, groups_beyond_the_bound_of_a_port_are_refused_and_counted)
{
    for (int i = 1; i <= 20; ++i)
        join(i);
    EXPECT_EQ(engine_.group_count(n.family), 8u);
    EXPECT_EQ(refused(n.family, DropReason::kPortFull), 12u);
    EXPECT_THAT(library_.entries, testing::SizeIs(8));
}

TEST_P(Bounds, a_full_port_keeps_its_groups_and_other_ports_their_room)
{
    for (int i = 1; i <= 20; ++i)
        join(i);
    pass(200s);
    join(3);
    join(9, 1);
    pass(100s);
    EXPECT_EQ(state(n.family, numbered(3)), "EX(;)");
    EXPECT_EQ(state(n.family, numbered(9), 1), "EX(;)");
    EXPECT_EQ(engine_.group_count(n.family), 2u) << "the others timed out";
    join(12);
    EXPECT_EQ(state(n.family, numbered(12)), "EX(;)") << "and made room";
}

TEST_P(Bounds, sources_beyond_the_bound_of_a_group_are_refused_and_the_known_ones_stay)
{
    give(record(wire::kIsIn, {1, 2, 3}));
    give(record(wire::kAllow, {4, 5, 6, 7}));
    EXPECT_EQ(group_state(), "IN(1 2 3 4 5)");
    EXPECT_THAT(library_.refusals, testing::SizeIs(1));
    EXPECT_EQ(refused(n.family, DropReason::kSourcesFull), 1u);
    give(record(wire::kIsIn, {2, 6}));
    EXPECT_EQ(group_state(), "IN(1 2 3 4 5)");
}

TEST_P(Bounds, a_record_of_more_sources_than_fit_is_cut)
{
    std::vector<int> many;
    for (int i = 1; i <= 60; ++i)
        many.push_back(i);
    give(record(wire::kIsEx, many));
    EXPECT_EQ(group_state(), "EX(;1 2 3 4 5)");
}

TEST_P(Bounds, a_source_named_twice_counts_once)
{
    give(record(wire::kIsIn, {2, 1, 2, 1, 2, 1, 2}));
    EXPECT_EQ(group_state(), "IN(1 2)");
    EXPECT_THAT(library_.refusals, IsEmpty());
}

TEST_P(Bounds, sources_in_any_order_are_found_again)
{
    give(record(wire::kIsIn, {1, 2, 3, 4, 5}));
    give(record(wire::kIsEx, {5, 1, 3}));
    EXPECT_EQ(group_state(), "EX(1 3 5;)");
}

TEST_P(Bounds, room_is_given_back)
{
    for (int round = 0; round < 5; ++round) {
        for (int i = 1; i <= 8; ++i)
            join(i);
        EXPECT_EQ(engine_.group_count(n.family), 8u);
        for (int i = 1; i <= 8; ++i)
            give(wire::leave(n.family, numbered(i)));
        pass(2s);
        EXPECT_EQ(engine_.group_count(n.family), 0u);
    }
    EXPECT_EQ(refused(n.family, DropReason::kPortFull), 0u);
}

TEST_P(Bounds, the_limit_of_a_port_counts_the_groups_that_subscribers_joined)
{
    EXPECT_EQ(engine_.set_group_limit(0, 2), 0);
    for (int i = 1; i <= 4; ++i)
        join(i);
    join(1);
    EXPECT_EQ(engine_.group_count(n.family), 2u);
    EXPECT_EQ(refused(n.family, DropReason::kGroupLimit), 2u);
    join(4, 1);
    EXPECT_EQ(state(n.family, numbered(4), 1), "EX(;)") << "the limit is port 0's";
    engine_.set_group_limit(0, 1024);
    join(3);
    join(4);
    EXPECT_EQ(engine_.group_count(n.family), 5u);
}

TEST_P(Bounds, a_lower_limit_takes_no_membership_away)
{
    for (int i = 1; i <= 4; ++i)
        join(i);
    engine_.set_group_limit(0, 1);
    join(2);
    EXPECT_EQ(engine_.group_count(n.family), 4u);
    join(5);
    EXPECT_EQ(engine_.group_count(n.family), 4u);
}

FOR_BOTH_FAMILIES(Bounds);

class Footprint : public TwinTest {
protected:
    static std::string group(Family family, int i)
    {
        const std::string high = std::to_string(i / 250), low = std::to_string(i % 250);
        return family == Family::kIgmp ? "239.7." + high + "." + low : "ff1e::" + high + ":" + low;
    }
};

TEST_P(Footprint, a_group_takes_less_than_400_bytes_with_all_that_belongs_to_it)
{
    const std::size_t before = engine_.memory_bytes();
    for (int i = 0; i < 4096; ++i)
        give(wire::join(n.family, n.older, group(n.family, i)));
    ASSERT_EQ(engine_.group_count(n.family), 4096u);
    const std::size_t each = (engine_.memory_bytes() - before) / 4096;
    EXPECT_LT(each, 400u);
    RecordProperty("bytes_per_group", static_cast<int>(each));
}

TEST_P(Footprint, joining_and_leaving_again_and_again_takes_no_more_memory)
{
    const wire::Bytes join = wire::join(n.family, n.older, n.group);
    const wire::Bytes leave = wire::leave(n.family, n.group);
    const auto churn = [&](int rounds) {
        for (int i = 0; i < rounds; ++i) {
            give(join);
            give(leave);
            pass(i % 3 == 0 ? 2s : 0s);
            library_.forget();
        }
    };
    churn(50);
    const std::size_t before = engine_.memory_bytes();
    churn(3000);
    EXPECT_EQ(engine_.memory_bytes(), before);
}

FOR_BOTH_FAMILIES(Footprint);

} // namespace
} // namespace engine_test
