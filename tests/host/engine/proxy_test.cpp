// The host side of proxy mode: aggregation, reports upstream, answers to queries, older queriers.
#include "engine_fixture.h"

namespace engine_test {
namespace {

class ProxyTest : public TwinTest {
protected:
    ProxyTest()
    {
        engine_.set_mode(n.family, Mode::kProxy);
        pass(10s); // the first queries are out
        library_.forget();
    }

    void join(uint32_t port = 0) { give(wire::join(n.family, n.older, n.group), port); }
    void leave(uint32_t port = 0) { give(wire::leave(n.family, n.group), port); }
    void uplink_query(int version, const std::string &group = "", const std::vector<int> &sources = {},
                      int seconds = 10)
    {
        const int code = seconds * (n.family == Family::kIgmp ? 10 : 1000);
        give(wire::query(n.family, {version, group, code, false, 2, 125, n.sources(sources), -1}), kUplink);
    }
    // What went to the uplink, without the frame around it.
    Lines upstream()
    {
        const std::string before = n.family == Family::kIgmp ? "port 65535 vlan 100: " : "port 29 vlan 100: ";
        const std::string own = n.family == Family::kIgmp ? "10.25.14.20" : n.from;
        Lines out;
        for (const std::string &line : library_.sent)
            if (line.compare(0, before.size(), before) == 0)
                out.push_back(line.substr(before.size(), line.find(" from " + own) - before.size()));
        library_.sent.clear();
        return out;
    }
    std::string report(const std::string &record, const std::vector<int> &sources = {}) const
    {
        return (n.family == Family::kIgmp ? "IGMPv3 report " : "MLDv2 report ") + change(record, sources);
    }
    std::string change(const std::string &record, const std::vector<int> &sources = {}) const
    {
        std::string list;
        for (const std::string &source : n.sources(sources))
            list += (list.empty() ? "" : " ") + source;
        return record + ' ' + n.group + " {" + list + "}";
    }
    std::string older_report() const
    {
        return (n.family == Family::kIgmp ? "IGMPv2 report " : "MLDv1 report ") + n.group;
    }
    std::string older_leave() const { return (n.family == Family::kIgmp ? "IGMPv2 leave " : "MLDv1 done ") + n.group; }
};

TEST_P(ProxyTest, the_first_listener_is_reported_upstream_and_once_more)
{
    join();
    EXPECT_THAT(upstream(), ElementsAre(report("TO_EX")));
    pass(1s);
    EXPECT_THAT(upstream(), ElementsAre(report("TO_EX")));
    pass(5s);
    EXPECT_THAT(upstream(), IsEmpty());
}

TEST_P(ProxyTest, a_second_listener_changes_nothing_upstream)
{
    join();
    pass(5s);
    upstream();
    join(1);
    join();
    pass(5s);
    EXPECT_THAT(upstream(), IsEmpty());
}

TEST_P(ProxyTest, the_leave_goes_upstream_when_the_last_listener_is_gone)
{
    join();
    join(1);
    pass(5s);
    upstream();
    leave();
    pass(5s);
    EXPECT_THAT(upstream(), IsEmpty());
    leave(1);
    pass(2s - 1ns);
    EXPECT_THAT(upstream(), IsEmpty());
    pass(1ns);
    EXPECT_THAT(upstream(), ElementsAre(report("TO_IN")));
    pass(1s);
    EXPECT_THAT(upstream(), ElementsAre(report("TO_IN")));
}

TEST_P(ProxyTest, the_proxys_queries_go_to_the_port_that_left_not_upstream)
{
    join();
    upstream();
    leave();
    EXPECT_THAT(library_.sent, testing::SizeIs(1));
    EXPECT_THAT(library_.sent[0], testing::StartsWith("port 0 vlan 100: " + n.querier + " " + n.group));
}

TEST_P(ProxyTest, sources_of_the_ports_are_united)
{
    give(record(wire::kIsIn, {1, 2}), 0);
    EXPECT_THAT(upstream(), ElementsAre(report("ALLOW", {1, 2})));
    pass(5s);
    upstream();
    give(record(wire::kIsIn, {2, 3}), 1);
    EXPECT_THAT(upstream(), ElementsAre(report("ALLOW", {3})));
    pass(5s);
    upstream();
    give(record(wire::kBlock, {1, 2}), 0);
    pass(2s);
    EXPECT_THAT(upstream(), ElementsAre(report("BLOCK", {1})));
}

TEST_P(ProxyTest, only_what_every_port_excludes_and_none_includes_is_excluded)
{
    give(record(wire::kIsEx, {1, 2, 3}), 0);
    EXPECT_THAT(upstream(), ElementsAre(report("TO_EX", {1, 2, 3})));
    pass(5s);
    upstream();
    give(record(wire::kIsEx, {2, 3, 4}), 1);
    EXPECT_THAT(upstream(), ElementsAre(report("ALLOW", {1})));
    pass(5s);
    upstream();
    engine_.declare_port(n.family, 2);
    give(record(wire::kIsIn, {2}), 2);
    EXPECT_THAT(upstream(), ElementsAre(report("ALLOW", {2})));
}

TEST_P(ProxyTest, a_blocked_source_that_is_asked_for_again_is_reported)
{
    give(record(wire::kIsEx, {1, 2}));
    pass(5s);
    upstream();
    give(record(wire::kAllow, {1}));
    EXPECT_THAT(upstream(), ElementsAre(report("ALLOW", {1})));
    pass(1s);
    EXPECT_THAT(upstream(), ElementsAre(report("ALLOW", {1}))) << "once more";
    pass(5s);
    EXPECT_THAT(upstream(), IsEmpty());
}

TEST_P(ProxyTest, groups_that_go_with_their_vlan_are_left_upstream)
{
    join();
    pass(5s);
    upstream();
    engine_.remove_vlan(n.family, 100);
    EXPECT_THAT(upstream(), ElementsAre(report("TO_IN")));
}

TEST_P(ProxyTest, a_general_query_is_answered_within_its_response_time_with_the_current_state)
{
    join();
    give(record(wire::kIsIn, n.other_group, {1}));
    pass(5s);
    upstream();
    uplink_query(n.newest);
    EXPECT_THAT(upstream(), IsEmpty());
    pass(10s);
    EXPECT_THAT(upstream(), ElementsAre(report("IS_EX") + ", IS_IN " + n.other_group + " {" + n.source(1) + "}"));
    pass(100s);
    EXPECT_THAT(upstream(), IsEmpty());
}

TEST_P(ProxyTest, two_general_queries_in_a_row_get_one_answer)
{
    join();
    pass(5s);
    upstream();
    uplink_query(n.newest);
    uplink_query(n.newest);
    pass(10s);
    EXPECT_THAT(upstream(), testing::SizeIs(1));
}

TEST_P(ProxyTest, an_answer_to_a_general_query_that_comes_first_answers_a_specific_query_too)
{
    join();
    pass(5s);
    upstream();
    uplink_query(n.newest, "", {}, 1);
    uplink_query(n.newest, n.group);
    pass(10s);
    EXPECT_THAT(upstream(), testing::SizeIs(1));
}

TEST_P(ProxyTest, a_query_that_names_sources_does_not_narrow_a_pending_answer_for_the_group)
{
    join();
    pass(5s);
    upstream();
    uplink_query(n.newest, n.group);
    uplink_query(n.newest, n.group, {9});
    pass(10s);
    EXPECT_THAT(upstream(), ElementsAre(report("IS_EX")));
}

TEST_P(ProxyTest, a_later_query_does_not_put_an_answer_off)
{
    join();
    pass(5s);
    upstream();
    uplink_query(n.newest, n.group, {}, 1);
    uplink_query(n.newest, n.group, {}, 25);
    pass(1s);
    EXPECT_THAT(upstream(), ElementsAre(report("IS_EX")));
}

TEST_P(ProxyTest, a_change_while_the_filter_mode_is_being_reported_is_reported_with_it)
{
    join();
    engine_.set_fast_leave(1);
    upstream();
    give(record(wire::kIsIn, n.group, {1}), 1);
    leave();
    EXPECT_THAT(upstream(), ElementsAre(report("TO_IN", {1})));
    give(record(wire::kAllow, n.group, {2}), 1);
    EXPECT_THAT(upstream(), ElementsAre(report("TO_IN", {1, 2})));
    pass(5s);
    EXPECT_THAT(upstream(), ElementsAre(report("TO_IN", {1, 2})));
}

TEST_P(ProxyTest, a_group_that_was_left_is_in_no_answer)
{
    join();
    pass(5s);
    leave();
    pass(2s);
    upstream();
    uplink_query(n.newest, "", {}, 0);
    pass(0s);
    EXPECT_THAT(upstream(), IsEmpty());
}

TEST_P(ProxyTest, a_specific_query_is_answered_for_its_group_only)
{
    join();
    give(record(wire::kIsEx, n.other_group, {}));
    pass(5s);
    upstream();
    uplink_query(n.newest, n.group);
    pass(10s);
    EXPECT_THAT(upstream(), ElementsAre(report("IS_EX")));
    uplink_query(n.newest, n.family == Family::kIgmp ? "239.9.9.9" : "ff1e::9");
    pass(10s);
    EXPECT_THAT(upstream(), IsEmpty());
}

TEST_P(ProxyTest, a_query_that_names_sources_is_answered_for_those_that_are_wanted)
{
    give(record(wire::kIsIn, {1, 2}));
    pass(5s);
    upstream();
    uplink_query(n.newest, n.group, {2, 3});
    pass(10s);
    EXPECT_THAT(upstream(), ElementsAre(report("IS_IN", {2})));
    uplink_query(n.newest, n.group, {4});
    pass(10s);
    EXPECT_THAT(upstream(), IsEmpty());
}

TEST_P(ProxyTest, an_older_querier_is_answered_in_its_version)
{
    join();
    pass(5s);
    upstream();
    uplink_query(n.older);
    pass(10s);
    EXPECT_THAT(upstream(), ElementsAre(older_report()));
}

TEST_P(ProxyTest, while_an_older_querier_is_present_changes_are_reported_in_its_version)
{
    uplink_query(n.older);
    join();
    EXPECT_THAT(upstream(), ElementsAre(older_report()));
    pass(10s);
    EXPECT_THAT(upstream(), ElementsAre(older_report()));
    give(record(wire::kAllow, {1}));
    EXPECT_THAT(upstream(), IsEmpty()) << "it does not know sources";
    leave();
    give(record(wire::kAllow, {1}));
    pass(2s);
    EXPECT_EQ(group_state(), "IN(1)");
    EXPECT_THAT(upstream(), IsEmpty()) << "source 1 is still wanted";
    uplink_query(n.older);
    pass(10s);
    upstream();
    pass(248s);
    EXPECT_THAT(upstream(), ElementsAre(older_leave()));
}

TEST_P(ProxyTest, the_older_querier_is_present_for_robustness_times_interval_and_its_response_time)
{
    uplink_query(n.older);
    pass(260s - 1ns); // 2 x 125 s + 10 s
    join();
    EXPECT_THAT(upstream(), ElementsAre(older_report()));
    engine_.remove_all_groups(false);
    pass(1ns);
    give(record(wire::kIsEx, n.other_group, {}));
    EXPECT_THAT(upstream(), testing::Contains(testing::StartsWith(report("TO_EX").substr(0, 12))));
}

TEST_P(ProxyTest, hearing_an_older_querier_cancels_what_was_pending_in_the_newer_version)
{
    join();
    upstream();
    uplink_query(n.newest);
    uplink_query(n.older);
    pass(20s);
    EXPECT_THAT(upstream(), testing::Each(older_report()));
}

TEST_P(ProxyTest, a_proxy_does_not_take_reports_from_the_uplink)
{
    give(wire::join(n.family, n.older, n.group), kUplink);
    EXPECT_EQ(group_state(29), "-");
    EXPECT_EQ(dropped(n.family, DropReason::kUplinkReport), 1u);
}

TEST_P(ProxyTest, entering_proxy_mode_reports_the_groups_that_are_there)
{
    engine_.set_mode(n.family, Mode::kSnooping);
    join();
    library_.forget();
    engine_.set_mode(n.family, Mode::kProxy);
    EXPECT_THAT(upstream(), ElementsAre(report("TO_EX")));
}

TEST_P(ProxyTest, an_aggregate_with_too_many_sources_asks_for_all)
{
    const auto many = [](int first) {
        std::vector<int> out;
        for (int i = 0; i < 40; ++i)
            out.push_back(first + i);
        return out;
    };
    give(record(wire::kIsIn, many(1)), 0);
    pass(5s);
    upstream();
    give(record(wire::kIsIn, many(100)), 1);
    EXPECT_THAT(upstream(), ElementsAre(report("TO_EX")));
}

FOR_BOTH_FAMILIES(ProxyTest);

class IgmpProxy : public EngineTest {};

TEST_F(IgmpProxy, a_version_1_querier_gets_version_1_reports_and_no_leave)
{
    engine_.set_mode(Family::kIgmp, Mode::kProxy);
    pass(1s);
    give(wire::query(Family::kIgmp, {1, ""}), kUplink);
    library_.forget();
    give(wire::join(Family::kIgmp, 2, "239.1.2.3"));
    EXPECT_THAT(library_.sent,
                ElementsAre("port 65535 vlan 100: IGMPv1 report 239.1.2.3 from 10.25.14.20 to 239.1.2.3"));
    pass(15s);
    library_.forget();
    give(wire::leave(Family::kIgmp, "239.1.2.3"));
    pass(5s);
    EXPECT_THAT(library_.sent, testing::Each(testing::HasSubstr("query")));
}

TEST_F(IgmpProxy, a_static_group_wants_what_a_listener_beside_it_excludes)
{
    engine_.set_mode(Family::kIgmp, Mode::kProxy);
    give(wire::report(Family::kIgmp, {{wire::kIsEx, "239.1.2.3", {"10.9.0.1"}}}));
    pass(5s);
    library_.forget();
    engine_.add_static(0, 100, wire::ipv4_value("239.1.2.3"), 0);
    EXPECT_THAT(library_.sent, ElementsAre("port 65535 vlan 100: IGMPv3 report ALLOW 239.1.2.3 {10.9.0.1} from "
                                           "10.25.14.20 to 224.0.0.22"));
}

TEST_F(IgmpProxy, reports_are_of_no_later_version_than_the_one_set)
{
    engine_.set_version(2);
    engine_.set_mode(Family::kIgmp, Mode::kProxy);
    pass(0s);
    library_.forget();
    give(wire::join(Family::kIgmp, 2, "239.1.2.3"));
    EXPECT_THAT(library_.sent,
                ElementsAre("port 65535 vlan 100: IGMPv2 report 239.1.2.3 from 10.25.14.20 to 239.1.2.3"));
}

TEST_F(IgmpProxy, a_static_group_is_asked_for_upstream)
{
    engine_.set_mode(Family::kIgmp, Mode::kProxy);
    engine_.add_static(0, 100, wire::ipv4_value("239.1.2.3"), 0);
    EXPECT_THAT(
        library_.sent,
        testing::Contains("port 65535 vlan 100: IGMPv3 report TO_EX 239.1.2.3 {} from 10.25.14.20 to 224.0.0.22"));
    pass(5s);
    library_.forget();
    engine_.remove_static(0, 100, wire::ipv4_value("239.1.2.3"), 0);
    EXPECT_THAT(
        library_.sent,
        testing::Contains("port 65535 vlan 100: IGMPv3 report TO_IN 239.1.2.3 {} from 10.25.14.20 to 224.0.0.22"));
}

TEST_F(IgmpProxy, a_long_answer_is_spread_over_several_reports)
{
    engine_.set_mode(Family::kIgmp, Mode::kProxy);
    for (int i = 0; i < 250; ++i)
        give(wire::join(Family::kIgmp, 2, "239.2.1." + std::to_string(i)));
    pass(20s);
    library_.forget();
    give(wire::query(Family::kIgmp, {3, ""}), kUplink);
    pass(10s);
    std::size_t records = 0, reports = 0;
    for (const std::string &line : library_.sent) {
        if (line.find("report") == std::string::npos)
            continue;
        ++reports;
        for (std::size_t at = 0; (at = line.find("IS_EX", at)) != std::string::npos; ++at)
            ++records;
    }
    EXPECT_EQ(records, 250u);
    EXPECT_EQ(reports, 2u); // 174 records of 8 bytes fit into 1400
}

} // namespace
} // namespace engine_test
