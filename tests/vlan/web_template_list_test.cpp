/** What the web entry makes of the template list. */
#include <algorithm>

#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

constexpr uint16_t kNone = 0xFFFF;

int32_t set(uint8_t port, uint16_t data_vlan)
{
    vlanCfgNode record = rule(port).down_mode(2).down(60, 50).data_mode(2).data(data_vlan, 80);
    return std_omci_web_set_vlan(&record);
}

/** A first rule of this multicast VLAN, or none. */
void put_first_rule(int logic_port, uint16_t data_vlan)
{
    if (data_vlan != kNone)
        put_rules(logic_port, {rule(logic_port == 0 ? 0 : 29).modes(2).up(10, 20).down(20, 10).data(data_vlan, 10)});
}

struct DropCase {
    const char *name;
    std::vector<uint16_t> list;
    uint16_t first_of_port_0;
    uint16_t first_of_port_1;
    std::vector<uint16_t> left; /**< The counted entries when 500 has been set. */
};

const DropCase kDropCases[] = {
    {"an_empty_list_only_grows", {}, 300, 400, {500}},
    {"entry_0_goes_with_the_first_rule_of_port_0", {300, 400}, 300, kNone, {400, 500}},
    {"entry_1_goes_with_the_first_rule_of_port_1", {300, 400}, kNone, 400, {300, 500}},
    {"the_first_equality_ends_the_search", {300, 400}, 300, 400, {400, 500}},
    {"entry_0_stays_for_the_rule_of_port_1", {300}, kNone, 300, {300, 500}},
    {"entry_1_stays_for_the_rule_of_port_0", {300, 400}, 400, 300, {300, 400, 500}},
    {"of_two_equal_entries_one_goes", {300, 300}, 300, 300, {300, 500}},
    {"entries_from_index_2_on_always_stay", {300, 400, 600, 600}, 600, 600, {300, 400, 600, 600, 500}},
    {"all_sixteen_bits_are_compared", {0x112C, 0x1190}, 300, 400, {0x112C, 0x1190, 500}},
    {"a_cleared_rule_drops_an_unset_vlan", {0xFFFF, 400}, kNone, kNone, {400, 500}},
    {"zeros_go_but_stay_counted", {0, 300, 0, 400}, kNone, kNone, {300, 400, 0, 0, 500}},
    {"a_zero_is_dropped_like_any_vlan", {0, 300, 0, 400}, 0, kNone, {300, 400, 0, 500}},
};

void PrintTo(const DropCase &drop, std::ostream *out) { *out << drop.name; }

class WebTemplateList : public LibraryTest {};
class WebTemplateListDrop : public LibraryTest, public ::testing::WithParamInterface<DropCase> {};

std::vector<uint16_t> filled_up(std::vector<uint16_t> list)
{
    list.resize(MC_TEMPLATE_VLANS, 0);
    return list;
}

void expect_list(const std::vector<uint16_t> &counted)
{
    EXPECT_EQ(setVlanNumber, static_cast<int32_t>(counted.size()));
    EXPECT_THAT(PortVlan, ElementsAreArray(filled_up(counted)));
    EXPECT_THAT(globle_parm.TemplateVlan, ElementsAreArray(filled_up(counted)));
}

// intended: entry j is compared with the first rule of logic port j, whatever port is being set
TEST_P(WebTemplateListDrop, is_the_same_whatever_port_is_set)
{
    for (const uint8_t port : {uint8_t{0}, uint8_t{29}}) {
        SCOPED_TRACE(port);
        LibraryTest::SetUp();
        put_template_vlans(GetParam().list);
        put_first_rule(0, GetParam().first_of_port_0);
        put_first_rule(1, GetParam().first_of_port_1);

        EXPECT_EQ(set(port, 500), 0);

        expect_list(GetParam().left);
    }
}

INSTANTIATE_TEST_SUITE_P(Lists, WebTemplateListDrop, ::testing::ValuesIn(kDropCases),
                         [](const auto &test) { return std::string(test.param.name); });

TEST_F(WebTemplateList, an_entry_behind_the_count_is_not_compared)
{
    put_template_vlans({300, 400});
    setVlanNumber = 1;
    put_first_rule(1, 400);

    set(0, 500);

    EXPECT_EQ(setVlanNumber, 2);
    EXPECT_THAT(template_vlans(), ElementsAre(300, 500));
}

TEST_F(WebTemplateList, an_empty_list_is_not_compacted)
{
    put_template_vlans({0, 0, 600});
    setVlanNumber = 0;

    set(0, 500);

    EXPECT_EQ(setVlanNumber, 1);
    EXPECT_THAT(PortVlan, ElementsAreArray(filled_up({500, 0, 600})));
}

TEST_F(WebTemplateList, both_lists_lose_the_entry_of_the_first_and_are_compacted_each_by_itself)
{
    put_template_vlans({300, 400, 600});
    const uint16_t mirror[] = {7, 0, 8, 9};
    std::copy(std::begin(mirror), std::end(mirror), globle_parm.TemplateVlan);
    put_first_rule(0, 300);

    set(0, 500);

    EXPECT_EQ(setVlanNumber, 3);
    EXPECT_THAT(PortVlan, ElementsAreArray(filled_up({400, 600, 500})));
    EXPECT_THAT(globle_parm.TemplateVlan, ElementsAreArray(filled_up({8, 9, 500})));
}

TEST_F(WebTemplateList, an_unknown_port_drops_an_entry_and_lists_nothing)
{
    put_template_vlans({300, 400});
    put_first_rule(0, 300);

    EXPECT_EQ(observe([] { return set(7, 500); }).result, -1);

    expect_list({400});
}

TEST_F(WebTemplateList, the_same_vlan_set_twice_is_listed_once_for_port_0)
{
    set(0, 100);
    set(0, 100);

    expect_list({100});
    EXPECT_THAT(platform().calls(),
                ElementsAre("igmp_vlan_learning_set(1)", "igmp_vlan_del(4095)", "igmp_vlan_add(100)",
                            "igmp_vlan_learning_set(1)", "igmp_vlan_del(100)", "igmp_vlan_add(100)"));
}

// intended: nothing looks for the VLAN in the list, and entry 0 is never compared with the rule of logic port 1
TEST_F(WebTemplateList, the_same_vlan_set_twice_is_listed_twice_for_the_uplink)
{
    set(29, 100);
    set(29, 100);

    expect_list({100, 100});
}

TEST_F(WebTemplateList, the_same_vlan_set_on_both_ports_is_listed_for_each)
{
    set(0, 100);
    set(29, 100);

    // The second call compared entry 0 with the rule of port 0, which carries the VLAN as well.
    expect_list({100});
    EXPECT_EQ(setVlanCfgNumber[0], 1);
    EXPECT_EQ(setVlanCfgNumber[1], 1);
}

std::vector<uint16_t> sixteen_vlans_from(uint16_t first)
{
    std::vector<uint16_t> list;
    for (uint16_t i = 0; i < 16; ++i)
        list.push_back(static_cast<uint16_t>(first + i));
    return list;
}

TEST_F(WebTemplateList, a_full_list_takes_no_seventeenth_vlan_but_the_engine_does)
{
    put_template_vlans(sixteen_vlans_from(600));
    platform().answer("igmp_vlan_add", 5);

    const auto seen = observe([] { return set(0, 500); });

    EXPECT_EQ(seen.result, 5);
    EXPECT_EQ(seen.calls.back(), "igmp_vlan_add(500)");
    EXPECT_EQ(seen.output, "");
    EXPECT_THAT(records_of(seen.changed), ElementsAre("globle_parm", "PortVlanCfg", "setVlanCfgNumber"));
    expect_list(sixteen_vlans_from(600));
    EXPECT_EQ(PortVlanCfg[0][0].in_data_vlan, 500);
}

TEST_F(WebTemplateList, a_full_list_that_loses_an_entry_takes_the_new_vlan)
{
    put_template_vlans(sixteen_vlans_from(600));
    put_first_rule(0, 600);

    set(0, 500);

    std::vector<uint16_t> expected = sixteen_vlans_from(601);
    expected.back() = 500;
    expect_list(expected);
}

} // namespace
} // namespace mcadapt::test
