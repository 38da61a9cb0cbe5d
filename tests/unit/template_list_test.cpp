/** The IGMP template VLAN list: `PortVlan` and its mirror change together. */
#include "vlan/template_list.h"

#include <algorithm>

#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

class TemplateList : public LibraryTest {
protected:
    static void expect_lists(std::vector<uint16_t> port_vlan, std::vector<uint16_t> mirror)
    {
        port_vlan.resize(MC_TEMPLATE_VLANS);
        mirror.resize(MC_TEMPLATE_VLANS);
        EXPECT_THAT(PortVlan, ElementsAreArray(port_vlan));
        EXPECT_THAT(globle_parm.TemplateVlan, ElementsAreArray(mirror));
    }
};

TEST_F(TemplateList, is_full_with_16_vlans_and_with_a_count_outside_it)
{
    struct Row {
        int32_t count;
        bool full;
    };
    for (const Row &row : {Row{0, false}, Row{1, false}, Row{15, false}, Row{16, true}, Row{17, true}, Row{-1, true}}) {
        SCOPED_TRACE(row.count);
        setVlanNumber = row.count;
        const auto seen = observe([] { return append_template_vlan(9); });
        EXPECT_EQ(seen.result, !row.full);
        EXPECT_EQ(seen.changed.empty(), row.full);
        EXPECT_EQ(setVlanNumber, row.full ? row.count : row.count + 1);
    }
}

TEST_F(TemplateList, a_vlan_is_appended_to_both_lists_whole)
{
    put_template_vlans({7});
    const auto seen = observe([] { append_template_vlan(0xF069); });
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.TemplateVlan[1]", "PortVlan[1]", "setVlanNumber"));
    EXPECT_EQ(seen.trace, "");
    expect_lists({7, 0xF069}, {7, 0xF069});
    EXPECT_EQ(setVlanNumber, 2);
}

TEST_F(TemplateList, the_last_place_can_be_filled)
{
    setVlanNumber = 15;
    append_template_vlan(9);
    EXPECT_EQ(PortVlan[15], 9);
    EXPECT_EQ(globle_parm.TemplateVlan[15], 9);
    EXPECT_FALSE(append_template_vlan(10));
}

TEST_F(TemplateList, a_dropped_entry_becomes_0_in_its_place_in_both_lists)
{
    for (const int32_t index : {0, 1, 2}) {
        SCOPED_TRACE(index);
        put_template_vlans({7, 8, 9});
        globle_parm.TemplateVlan[1] = 77; // out of step
        std::vector<uint16_t> port_vlan = {7, 8, 9};
        std::vector<uint16_t> mirror = {7, 77, 9};
        port_vlan[static_cast<std::size_t>(index)] = 0;
        mirror[static_cast<std::size_t>(index)] = 0;

        drop_template_entry(index);

        expect_lists(port_vlan, mirror);
        EXPECT_EQ(setVlanNumber, 2);
    }
}

TEST_F(TemplateList, each_list_closes_up_by_itself_and_the_count_stays)
{
    struct Row {
        std::vector<uint16_t> port_vlan, mirror, packed_port_vlan, packed_mirror;
    };
    const std::vector<Row> rows = {
        {{}, {}, {}, {}},
        {{9, 3, 7}, {9, 3, 7}, {9, 3, 7}, {9, 3, 7}},
        {{0, 9, 0, 3}, {5, 0, 0, 6}, {9, 3}, {5, 6}},
        {{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 4}, {1}, {4}, {1}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.port_vlan));
        put_template_vlans(row.mirror);
        std::fill(std::begin(PortVlan), std::end(PortVlan), uint16_t{0});
        std::copy(row.port_vlan.begin(), row.port_vlan.end(), PortVlan);
        setVlanNumber = 5;

        compact_template_lists();

        expect_lists(row.packed_port_vlan, row.packed_mirror);
        EXPECT_EQ(setVlanNumber, 5);
    }
}

TEST_F(TemplateList, closing_up_changes_nothing_else)
{
    put_template_vlans({0, 8});
    const auto seen = observe([] { compact_template_lists(); });
    EXPECT_THAT(seen.changed, ElementsAre("globle_parm.TemplateVlan[0]", "globle_parm.TemplateVlan[1]", "PortVlan[0]",
                                          "PortVlan[1]"));
    EXPECT_THAT(seen.calls, IsEmpty());
    EXPECT_EQ(seen.output, "");
}

} // namespace
} // namespace mcadapt::test
