// Older hosts among newer ones: RFC 9776 section 7.3.2, RFC 9777 section 8.3.2.
#include "engine_fixture.h"

namespace engine_test {
namespace {

class OlderHosts : public TwinTest {
protected:
    int version() const { return engine_.groups(n.family).at(0).version; }
    void older_join() { give(wire::join(n.family, n.older, n.group)); }
};

TEST_P(OlderHosts, an_older_report_counts_as_IS_EX_of_nothing)
{
    give(record(wire::kIsEx, {3}));
    give(record(wire::kAllow, {1}));
    older_join();
    EXPECT_EQ(group_state(), "EX(;)");
    EXPECT_EQ(version(), n.older);
}

TEST_P(OlderHosts, the_older_host_is_present_for_one_membership_interval_after_its_last_report)
{
    older_join();
    pass(200s);
    older_join();
    give(record(wire::kIsEx));
    pass(259s);
    EXPECT_EQ(version(), n.older);
    give(record(wire::kIsEx));
    pass(1s);
    EXPECT_EQ(version(), n.newest);
}

TEST_P(OlderHosts, a_newer_report_does_not_end_the_older_mode)
{
    older_join();
    give(record(wire::kIsEx));
    EXPECT_EQ(version(), n.older);
}

TEST_P(OlderHosts, block_is_ignored_while_an_older_host_is_present)
{
    older_join();
    give(record(wire::kBlock, {1}));
    EXPECT_EQ(group_state(), "EX(;)");
    EXPECT_THAT(library_.sent, IsEmpty());
    EXPECT_EQ(refused(n.family, DropReason::kOlderHost), 1u);
}

TEST_P(OlderHosts, the_sources_of_TO_EX_are_ignored_while_an_older_host_is_present)
{
    older_join();
    give(record(wire::kToEx, {1}));
    EXPECT_EQ(group_state(), "EX(;)");
    EXPECT_THAT(library_.sent, IsEmpty());
}

TEST_P(OlderHosts, the_sources_of_IS_EX_are_not_ignored)
{
    older_join();
    give(record(wire::kIsEx, {1}));
    EXPECT_EQ(group_state(), "EX(1;)");
}

TEST_P(OlderHosts, a_leave_of_the_older_version_is_TO_IN_of_nothing)
{
    older_join();
    give(wire::leave(n.family, n.group));
    EXPECT_THAT(library_.sent, ElementsAre(group_query()));
}

FOR_BOTH_FAMILIES(OlderHosts);

class IgmpV1Hosts : public EngineTest {
protected:
    IgmpV1Hosts() { give(wire::join(Family::kIgmp, 1, kGroup)); }
    const std::string kGroup = "239.1.2.3";
};

TEST_F(IgmpV1Hosts, leaves_are_ignored_since_a_version_1_host_would_not_answer_in_time)
{
    give(wire::leave(Family::kIgmp, kGroup));
    give(wire::report(Family::kIgmp, {{wire::kToIn, kGroup, {}}}));
    EXPECT_THAT(library_.sent, IsEmpty());
    EXPECT_EQ(refused(Family::kIgmp, DropReason::kOlderHost), 2u);
    pass(10s);
    EXPECT_EQ(state(Family::kIgmp, kGroup), "EX(;)");
    EXPECT_EQ(engine_.groups(Family::kIgmp).at(0).version, 1);
}

TEST_F(IgmpV1Hosts, fast_leave_is_no_exception)
{
    engine_.set_fast_leave(1);
    give(wire::leave(Family::kIgmp, kGroup));
    EXPECT_EQ(state(Family::kIgmp, kGroup), "EX(;)");
}

TEST_F(IgmpV1Hosts, version_2_takes_over_when_only_version_2_hosts_are_left)
{
    pass(200s);
    give(wire::join(Family::kIgmp, 2, kGroup));
    pass(60s);
    EXPECT_EQ(engine_.groups(Family::kIgmp).at(0).version, 2);
    give(wire::leave(Family::kIgmp, kGroup));
    EXPECT_THAT(library_.sent, testing::SizeIs(1));
}

} // namespace
} // namespace engine_test
