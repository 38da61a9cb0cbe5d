// Counterparts of the self-tests that a well-known kernel bridge names for its IGMPv3 and MLDv2 states: include, allow,
// is_include, is_exclude, to_exclude, block, timeouts, and a port in EXCLUDE mode beside one that names sources.
#include "engine_fixture.h"

namespace engine_test {
namespace {

class BridgeStates : public TwinTest {
protected:
    // The bridge's own set-up: sources 1 to 3 included.
    void include() { give(record(wire::kIsIn, {1, 2, 3})); }
    // Sources 1 to 3 wanted, 20 and 21 not.
    void exclude()
    {
        give(record(wire::kIsEx, {20, 21}));
        give(record(wire::kAllow, {1, 2, 3}));
    }
    bool wants(int source, uint32_t port = 0) const
    {
        for (const GroupView &view : engine_.groups(n.family))
            if (view.membership.port == port)
                return engine_.wants(view.membership, address(n.source(source)));
        return false;
    }
    GroupAddress address(const std::string &written) const
    {
        GroupAddress out{n.family, {}};
        const wire::Bytes bytes = wire::address(written);
        if (n.family == Family::kMld) {
            std::copy(bytes.begin(), bytes.end(), out.bytes);
        } else {
            const uint32_t value = wire::ipv4_value(written);
            std::copy_n(reinterpret_cast<const uint8_t *>(&value), 4, out.bytes + 12);
        }
        return out;
    }
};

TEST_P(BridgeStates, report_and_leave_of_the_older_version)
{
    give(wire::join(n.family, n.older, n.group));
    EXPECT_EQ(group_state(), "EX(;)");
    give(wire::leave(n.family, n.group));
    pass(2s);
    EXPECT_EQ(group_state(), "-");
}

TEST_P(BridgeStates, include_forwards_the_named_sources_and_no_other)
{
    include();
    EXPECT_EQ(group_state(), "IN(1 2 3)");
    EXPECT_TRUE(wants(1));
    EXPECT_FALSE(wants(4));
}

TEST_P(BridgeStates, include_allow_adds_sources)
{
    include();
    give(record(wire::kAllow, {10, 11, 12}));
    EXPECT_EQ(group_state(), "IN(1 2 3 10 11 12)");
    EXPECT_TRUE(wants(10));
}

TEST_P(BridgeStates, include_is_include_adds_sources)
{
    include();
    give(record(wire::kIsIn, {10, 11, 12}));
    EXPECT_EQ(group_state(), "IN(1 2 3 10 11 12)");
}

TEST_P(BridgeStates, include_is_exclude_changes_the_filter_mode)
{
    include();
    give(record(wire::kIsEx, {1, 20, 21}));
    EXPECT_EQ(group_state(), "EX(1;20 21)");
    EXPECT_FALSE(wants(20));
    EXPECT_TRUE(wants(1));
    EXPECT_TRUE(wants(50));
}

TEST_P(BridgeStates, include_to_exclude_changes_the_filter_mode_and_asks_for_what_both_name)
{
    include();
    give(record(wire::kToEx, {1, 20, 21}));
    EXPECT_EQ(group_state(), "EX(1;20 21)");
    EXPECT_THAT(library_.sent, ElementsAre(source_query({1})));
    pass(2s);
    EXPECT_EQ(group_state(), "EX(;1 20 21)");
}

TEST_P(BridgeStates, exclude_allow_adds_wanted_sources)
{
    exclude();
    give(record(wire::kAllow, {10, 20}));
    EXPECT_EQ(group_state(), "EX(1 2 3 10 20;21)");
}

TEST_P(BridgeStates, exclude_is_include_adds_wanted_sources)
{
    exclude();
    give(record(wire::kIsIn, {10, 20}));
    EXPECT_EQ(group_state(), "EX(1 2 3 10 20;21)");
}

TEST_P(BridgeStates, exclude_is_exclude_replaces_both_lists)
{
    exclude();
    give(record(wire::kIsEx, {3, 20, 30}));
    EXPECT_EQ(group_state(), "EX(3 30;20)");
}

TEST_P(BridgeStates, exclude_to_exclude_replaces_both_lists_and_asks)
{
    exclude();
    give(record(wire::kToEx, {3, 20, 30}));
    EXPECT_EQ(group_state(), "EX(3 30;20)");
    EXPECT_THAT(library_.sent, ElementsAre(source_query({3, 30})));
    pass(2s);
    EXPECT_EQ(group_state(), "EX(;3 20 30)");
}

TEST_P(BridgeStates, include_block_asks_and_then_forgets)
{
    include();
    give(record(wire::kBlock, {2, 3, 20}));
    EXPECT_EQ(group_state(), "IN(1 2 3)");
    pass(2s);
    EXPECT_EQ(group_state(), "IN(1)");
    EXPECT_FALSE(wants(2));
}

TEST_P(BridgeStates, exclude_block_asks_and_then_blocks)
{
    exclude();
    give(record(wire::kBlock, {1, 20, 30}));
    EXPECT_EQ(group_state(), "EX(1 2 3 30;20 21)");
    pass(2s);
    EXPECT_EQ(group_state(), "EX(2 3;1 20 21 30)");
    EXPECT_FALSE(wants(30));
}

TEST_P(BridgeStates, exclude_times_out_into_include_of_what_still_runs)
{
    exclude();
    pass(200s);
    give(record(wire::kAllow, {1, 2}));
    pass(60s);
    EXPECT_EQ(group_state(), "IN(1 2)");
    EXPECT_FALSE(wants(30));
    pass(200s);
    EXPECT_EQ(group_state(), "-");
}

TEST_P(BridgeStates, a_port_in_exclude_mode_gets_what_another_port_names)
{
    give(record(wire::kIsEx), 1);
    include();
    for (const int source : {1, 2, 3})
        EXPECT_TRUE(wants(source, 1)) << source;
    EXPECT_THAT(library_.entries, ElementsAre(entry('+', n.group, 1), entry('+', n.group, 0)));
    pass(260s);
    EXPECT_THAT(library_.entries, testing::SizeIs(4));
}

FOR_BOTH_FAMILIES(BridgeStates);

} // namespace
} // namespace engine_test
