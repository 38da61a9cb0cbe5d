// How the multicast VLAN of a frame is found, as far as both families agree.
#include "intake_vlan_search.h"

namespace mcadapt::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

template <class Side> class IntakeVlanSearch : public VlanSearchTest<Side> {
};
TYPED_TEST_SUITE(IntakeVlanSearch, IntakeSides, IntakeSideName);

// --- The search key, by the rules

TYPED_TEST(IntakeVlanSearch, the_first_rule_of_the_frames_vlan_gives_its_data_vlan)
{
    TypeParam::put_searched_row(0, {rule(0).in_up(99).in_data(300), rule(0).in_up(0x3064).in_data(0xF191),
                                    rule(0).in_up(100).in_data(402), rule(0).in_up(101).in_data(403)});
    EXPECT_EQ(
        this->search_log(this->report(100)),
        this->lines({this->searched(100, 0), "recieve paket from downlink,vlan(100) config search!,cfgvlan(99)\r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(100)\r\n",
                     "in searchVlan vlan = 401\r\n"},
                    TypeParam::first_rule_lines("300")));
}

TYPED_TEST(IntakeVlanSearch, no_rule_of_the_frames_vlan_gives_key_0)
{
    TypeParam::put_searched_row(0, {rule(0).in_up(99).in_data(300), rule(0).in_up(98).in_data(301)});
    TypeParam::put_row(1, {rule(0).in_up(100).in_data(302)});
    EXPECT_EQ(
        this->search_log(this->report(100)),
        this->lines({this->searched(100, 0), "recieve paket from downlink,vlan(100) config search!,cfgvlan(99)\r\n",
                     "recieve paket from downlink,vlan(100) config search!,cfgvlan(98)\r\n",
                     "in searchVlan vlan = 0\r\n"},
                    TypeParam::first_rule_lines("300")));
}

TYPED_TEST(IntakeVlanSearch, only_counted_rules_are_walked)
{
    TypeParam::put_searched_row(0, {rule(0).in_up(99).in_data(300), rule(0).in_up(100).in_data(301)});
    TypeParam::rule_counts()[0] = 1;
    EXPECT_EQ(
        this->search_log(this->report(100)),
        this->lines({this->searched(100, 0), "recieve paket from downlink,vlan(100) config search!,cfgvlan(99)\r\n",
                     "in searchVlan vlan = 0\r\n"},
                    TypeParam::first_rule_lines("300")));
    TypeParam::rule_counts()[0] = 0;
    EXPECT_THAT(this->search_log(this->report(99)), Not(HasSubstr("config search!,cfgvlan")));
}

TYPED_TEST(IntakeVlanSearch, all_sixteen_rules_of_a_row_are_walked_and_no_more)
{
    TypeParam::put_searched_row(0, std::vector<vlanCfgNode>(16, rule(0).in_up(99).in_data(300)));
    TypeParam::rules()[0][15] = rule(0).in_up(100).in_data(301);
    TypeParam::put_templates({301, 302});
    EXPECT_EQ(this->vlan_of(this->report(100)), 301u);

    // The row behind is not reached, whatever the count says.
    TypeParam::put_row(1, {rule(0).in_up(101).in_data(302)});
    TypeParam::rule_counts()[0] = 17;
    EXPECT_EQ(this->vlan_of(this->report(101)), 300u);
}

TYPED_TEST(IntakeVlanSearch, a_port_that_two_logic_ports_share_is_the_first_ones)
{
    TypeParam::ports()[0] = {5, MC_PORT_TYPE_USER};
    TypeParam::ports()[1] = {5, MC_PORT_TYPE_UPLINK};
    TypeParam::put_searched_row(0, {rule(5).in_up(100).in_data(300)});
    EXPECT_THAT(this->search_log(this->report(100), 5), HasSubstr("config search!,cfgvlan(100)"));
}

TYPED_TEST(IntakeVlanSearch, the_uplink_searches_with_the_frames_own_vlan)
{
    TypeParam::put_searched_row(0, {rule(29).in_up(100).in_data(300)});
    TypeParam::put_searched_row(1, {rule(29).in_up(100).in_data(300)});
    TypeParam::put_templates({100});
    EXPECT_EQ(this->search_log(this->report(100), 29),
              this->lines({this->searched(100, 29), "recieve paket from uplink,no need vlan config search!\r\n",
                           "in searchVlan vlan = 100\r\n"},
                          TypeParam::template_lines("100", "100")));
    EXPECT_THAT(this->search_log(this->report(4095), 29), HasSubstr("in searchVlan vlan = 4095\r\n"));
}

TYPED_TEST(IntakeVlanSearch, the_uplink_is_told_by_type_1_in_the_familys_own_port_table)
{
    TypeParam::Other::ports()[0].portType = MC_PORT_TYPE_UPLINK;
    for (const uint32_t type : {0u, 1u, 2u, 3u}) {
        SCOPED_TRACE(type);
        TypeParam::ports()[0].portType = type;
        const std::string log = this->search_log(this->report(100));
        if (type == 1)
            EXPECT_THAT(log, HasSubstr("recieve paket from uplink,no need vlan config search!\r\n"));
        else
            EXPECT_THAT(log, Not(HasSubstr("uplink")));
    }
}

TYPED_TEST(IntakeVlanSearch, an_effective_port_that_is_not_configured_searches_with_key_0)
{
    TypeParam::ports()[1].portNo = 5;
    TypeParam::test_uplink() = 0;
    TypeParam::put_searched_row(0, {rule(29).in_up(100).in_data(300)});
    TypeParam::put_templates({100, 0x3000});
    EXPECT_EQ(this->search_log(this->report(100), 0, MC_DEBUG_TRACE | MC_DEBUG_ERROR),
              this->lines({this->searched(100, 29), "\n [checkPortState]port(29) is not find!"}) +
                  this->error("\n [checkPortState]port(29) is not find!").text +
                  this->error("port number is invalid!\r\n").text +
                  this->lines({"in searchVlan vlan = 0\r\n"}, TypeParam::template_lines("12288", "0")));
    EXPECT_EQ(this->vlan_of(this->report(100)), 0u);
}

TYPED_TEST(IntakeVlanSearch, a_cleared_rule_is_of_vlan_4095)
{
    TypeParam::put_searched_row(0, {rule(0), rule(0).in_up(4095).in_data(300)});
    EXPECT_THAT(this->search_log(this->report(4095)), HasSubstr("in searchVlan vlan = 4095\r\n"));
}

// --- The template VLAN list

TYPED_TEST(IntakeVlanSearch, the_first_template_vlan_with_the_keys_low_12_bits_is_the_result)
{
    TypeParam::put_templates({101, 0x5064, 0x2064, 100});
    EXPECT_EQ(this->search_log(this->report(100), 29),
              this->lines({this->searched(100, 29), "recieve paket from uplink,no need vlan config search!\r\n",
                           "in searchVlan vlan = 100\r\n"},
                          TypeParam::template_lines("20580", "100")));
    EXPECT_EQ(this->vlan_of(this->report(100), 29), 100u);
}

TYPED_TEST(IntakeVlanSearch, key_0_finds_a_template_vlan_too)
{
    TypeParam::put_searched_row(0, {rule(0).in_up(99).in_data(300)});
    TypeParam::put_templates({7, 0x1000});
    EXPECT_EQ(this->vlan_of(this->report(100)), 0u);
}

TYPED_TEST(IntakeVlanSearch, only_counted_template_vlans_are_searched)
{
    TypeParam::put_templates({7, 100});
    EXPECT_EQ(this->vlan_of(this->report(100), 29), 100u);
    TypeParam::template_count() = 1;
    TypeParam::Other::template_count() = 16;
    EXPECT_EQ(this->vlan_of(this->report(100), 29), 4088u);
    TypeParam::template_count() = 0;
    EXPECT_EQ(this->search_log(this->report(7), 29),
              this->lines({this->searched(7, 29), "recieve paket from uplink,no need vlan config search!\r\n",
                           "in searchVlan vlan = 7\r\n"},
                          TypeParam::default_lines()));
}

TYPED_TEST(IntakeVlanSearch, all_sixteen_template_vlans_are_searched_and_no_more)
{
    TypeParam::put_templates({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 100});
    EXPECT_EQ(this->vlan_of(this->report(100), 29), 100u);
    for (const int32_t count : {17, 1000}) {
        SCOPED_TRACE(count);
        TypeParam::template_count() = count;
        EXPECT_EQ(this->vlan_of(this->report(17), 29), 4088u);
    }
}

// --- Fallbacks

TYPED_TEST(IntakeVlanSearch, falls_back_to_the_data_vlan_of_the_ports_first_rule)
{
    // The count of rules does not matter, nor the rule's port, nor the other family's rules.
    TypeParam::Other::put_row(0, {rule(7).in_data(600)});
    TypeParam::Other::put_row(1, {rule(7).in_data(601)});
    TypeParam::put_row(0, {rule(7).in_data(0x2190), rule(0).in_data(500)});
    TypeParam::put_row(1, {rule(7).in_data(0x31F4)});
    TypeParam::rule_counts()[0] = TypeParam::rule_counts()[1] = 0;
    EXPECT_EQ(this->vlan_of(this->report(100), 0), 400u);
    EXPECT_EQ(this->vlan_of(this->report(100), 29), 500u);
    TypeParam::rules()[0][0].in_data_vlan = 0;
    EXPECT_EQ(this->vlan_of(this->report(100), 0), 0u);
}

TYPED_TEST(IntakeVlanSearch, the_default_vlan_is_4088_at_start)
{
    EXPECT_EQ(this->vlan_of(TypeParam::report()), 4088u);
}

TYPED_TEST(IntakeVlanSearch, under_a_test_uplink_the_fallback_row_is_that_of_the_port_as_received)
{
    // The key, by contrast, is searched for as from the uplink.
    TypeParam::test_uplink() = 0;
    TypeParam::put_searched_row(0, {rule(0).in_up(100).in_data(300)});
    TypeParam::put_searched_row(1, {rule(29).in_up(100).in_data(400)});
    EXPECT_EQ(this->search_log(this->report(100), 0),
              this->lines({this->searched(100, 29), "recieve paket from uplink,no need vlan config search!\r\n",
                           "in searchVlan vlan = 100\r\n"},
                          TypeParam::first_rule_lines("300")));
}

} // namespace
} // namespace mcadapt::test
