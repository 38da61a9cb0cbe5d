/** The MLD rule removal, second half: what becomes of the two VLAN lists after a release. */
#include <algorithm>

#include "vlan/rule_sides.h"

namespace mcadapt::test {
namespace {

/** One rule of multicast VLAN 105: its removal releases the VLAN. */
class MldRuleRemovalLists : public RuleTest<MldRules> {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        put_mld_rules(0, {plain_rule()});
    }

    static void put_mld_list(std::vector<uint32_t> values)
    {
        values.resize(16);
        std::copy(values.begin(), values.end(), mldInitParams.mldVlanList);
    }
};

TEST_F(MldRuleRemovalLists, the_32_bit_list_is_packed_as_16_bit_halves)
{
    // intended: non-zero halves of entries 0 to 7, low half first, become entries 0 to 7; entries 8 to 15 become 0
    struct Row {
        std::vector<uint32_t> before, after;
    };
    const std::vector<Row> rows = {
        {{105}, {}},
        {{105, 1}, {1}},
        {{105, 1, 2}, {0x00020001}},
        {{1, 105, 2, 3}, {0x00020001, 3}},
        {{9, 105, 3, 7, 5}, {0x00030009, 0x00050007}},
        {{105, 1, 2, 3, 4, 5, 6, 7}, {0x00020001, 0x00040003, 0x00060005, 7}},
        {{1, 2, 3, 4, 5, 6, 7, 105, 8, 9}, {0x00020001, 0x00040003, 0x00060005, 7}},
        {{1, 2, 3, 4, 5, 6, 7, 8, 105, 9}, {0x00020001, 0x00040003, 0x00060005, 0x00080007}},
        {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 105}, {0x00020001, 0x00040003, 0x00060005, 0x00080007}},
        {{105, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}, {0x00020001, 0x00040003, 0x00060005, 7}},
        {{0x00020001, 3, 0, 105}, {0x00020001, 3}}, // what an earlier packing left
        {{0xABCD0000, 105, 0x00010069}, {0x0069ABCD, 1}},
        {{0x00690000, 0x10001069}, {0x10690069, 0x1000}},
        {{0, 0, 105, 0, 0x00070000}, {7}},
        {{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF},
         {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.before));
        SetUp();
        put_mld_list(row.before);
        mldInitParams.setVlanNumber = 16;

        remove(plain_rule());

        const bool found = std::find(row.before.begin(), row.before.end(), 105u) != row.before.end();
        expect_lists(row.after, {}, found ? 15 : 16); // the 16-bit list held nothing
    }
}

TEST_F(MldRuleRemovalLists, the_16_bit_list_beside_it_loses_the_same_index_and_closes_up)
{
    put_mld_template_vlans({7, 105, 8});
    mldInitParams.mldTemplateVlan[0] = 105;
    mldInitParams.mldTemplateVlan[1] = 77;
    mldInitParams.mldTemplateVlan[15] = 9;
    remove(plain_rule());
    expect_lists({0x00080007}, {105, 8, 9}, 2);
}

TEST_F(MldRuleRemovalLists, only_the_first_entry_of_the_vlan_is_dropped)
{
    put_mld_template_vlans({105, 105, 1});
    remove(plain_rule());
    expect_lists({0x00010069}, {105, 1}, 2);
}

TEST_F(MldRuleRemovalLists, both_lists_close_up_even_when_the_vlan_was_not_found_or_nothing_is_counted)
{
    for (const int32_t count : {0, 1, 3, 16}) {
        SCOPED_TRACE(count);
        SetUp();
        put_mld_template_vlans({0, 7, 0, 8});
        mldInitParams.mldVlanList[12] = 9;
        mldInitParams.setVlanNumber = count;
        remove(plain_rule());
        expect_lists({0x00080007}, {7, 8}, count);
    }
}

TEST_F(MldRuleRemovalLists, entries_behind_the_count_are_not_dropped)
{
    put_mld_template_vlans({7, 105});
    mldInitParams.setVlanNumber = 1;
    remove(plain_rule());
    expect_lists({0x00690007}, {7, 105}, 1);
}

} // namespace
} // namespace mcadapt::test
