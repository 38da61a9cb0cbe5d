/** The rule removal as far as both families agree: when the multicast VLAN is released, and when it is kept. */
#include "vlan/rule_sides.h"

namespace mcadapt::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

/** As after a rule set by mode, with one rule of upstream VLAN 101 and multicast VLAN 105 on port 0. */
template <class Side> class RuleRemovalBoth : public RuleTest<Side> {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        Side::by_mode() = 1;
        Side::put_table_row(0, {plain_rule()});
        Side::put_lists({105});
    }
};
TYPED_TEST_SUITE(RuleRemovalBoth, RuleSides, RuleSideName);

TYPED_TEST(RuleRemovalBoth, once_rules_are_set_by_mode_nothing_is_derived_but_the_zeroing_stays)
{
    for (const uint32_t version : {1u, 2u, 0x100u})
        this->for_each_traced(kNotDerived, [&](const Normalisation &row) {
            TypeParam::by_mode() = version;
            TypeParam::put_table_row(0, {rule_of(row.kept_in_up, 105)});
            TypeParam::Other::put_table_row(0, {rule_of(row.kept_in_up, 105)});
            vlanCfgNode record = row.given();

            const auto seen = this->remove_in_place(record);

            EXPECT_EQ(seen.trace, log_of(TypeParam::removal_head(0, 0) + Log{called(TypeParam::releases(105))}));
            EXPECT_THAT(TypeParam::live(0), IsEmpty());
            EXPECT_EQ(record, TypeParam::kNormalisesInPlace ? row.kept() : row.given());
            EXPECT_EQ(TypeParam::Other::live(0).size(), 1u) << "left alone";
        });
}

// --- When the VLAN is released

TYPED_TEST(RuleRemovalBoth, a_vlan_is_kept_while_a_rule_of_either_port_uses_it)
{
    struct Row {
        const char *what;
        std::vector<vlanCfgNode> user, uplink;
        bool released;
    };
    std::vector<vlanCfgNode> full_row(15, rule_of(8, 2, 29));
    full_row.push_back(rule_of(7, 105, 29));
    const std::vector<Row> rows = {
        {"no other rule", {}, {}, true},
        {"a rule of the port", {rule_of(7, 105)}, {}, false},
        {"a rule of the other port", {}, {rule_of(7, 105, 29)}, false},
        {"the last of many rules", {rule_of(7, 1), rule_of(8, 2)}, {rule_of(9, 3, 29), rule_of(7, 105, 29)}, false},
        {"the last rule of a full row", {}, full_row, false},
        {"rules of other VLANs", {rule_of(7, 104)}, {rule_of(7, 106, 29)}, true},
        {"a rule that differs above bit 11", {}, {rule_of(7, 0x1069, 29)}, false}, // intended: low 12 bits
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.what);
        this->SetUp();
        this->traces_logged();
        std::vector<vlanCfgNode> user = row.user;
        user.push_back(plain_rule());
        TypeParam::put_table_row(0, user);
        TypeParam::put_table_row(1, row.uplink);
        TypeParam::Other::put_table_row(1, {rule_of(7, 105, 29)}); // the other family's rules do not matter
        platform().answer(TypeParam::kReleasingCall, 77);

        const auto seen = this->remove(plain_rule());

        const LogPart last = row.released ? called(TypeParam::releases(105)) : TypeParam::still_used();
        EXPECT_EQ(seen.trace, log_of(TypeParam::removal_head(0, 0) + Log{last}));
        EXPECT_EQ(seen.result, row.released ? TypeParam::removal_result(77) : 0);
        EXPECT_EQ(TypeParam::list_count(), row.released ? 0 : 1);
    }
}

TYPED_TEST(RuleRemovalBoth, rules_behind_the_count_do_not_keep_the_vlan)
{
    TypeParam::table()[1][0] = rule_of(7, 105, 29);
    EXPECT_THAT(this->remove(plain_rule()).calls, ElementsAre(TypeParam::releases(105)));
}

TYPED_TEST(RuleRemovalBoth, a_vlan_above_12_bits_is_released_although_the_other_port_still_uses_it)
{
    // intended: 12 bits of the rules against 16 of the record
    TypeParam::put_table_row(0, {rule_of(101, 0x1069)});
    TypeParam::put_table_row(1, {rule_of(101, 0x1069, 29)});
    TypeParam::put_lists({105, 0x1069});
    EXPECT_THAT(this->remove(rule_of(101, 0x1069)).calls, ElementsAre(TypeParam::releases(105)));
    this->expect_lists({105}, {105}, 1);
}

TYPED_TEST(RuleRemovalBoth, the_default_vlan_is_never_released_and_stays_listed)
{
    struct Row {
        uint16_t vlan, default_of_family, default_elsewhere;
        bool released;
    };
    // The default VLAN that counts is the one of the family's parameters, with all its bits.
    for (const Row &row : {Row{105, 105, 0, false}, Row{105, 4088, 105, true}, Row{4088, 4088, 0, false},
                           Row{0x1069, 105, 0, true}, Row{105, 0x1069, 0, true}}) {
        SCOPED_TRACE(std::to_string(row.vlan) + " with default " + std::to_string(row.default_of_family));
        this->SetUp();
        TypeParam::put_table_row(0, {rule_of(101, row.vlan)});
        TypeParam::put_lists({row.vlan});
        TypeParam::default_vlan() = row.default_of_family;
        TypeParam::Other::default_vlan() = row.default_elsewhere;
        defaultVlan = row.default_elsewhere;

        const auto seen = this->remove(rule_of(101, row.vlan));

        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(seen.calls.size(), row.released ? 1u : 0u);
        EXPECT_EQ(TypeParam::list_count(), row.released ? 0 : 1);
        EXPECT_THAT(TypeParam::table()[0], Each(IsEmptyRule()));
    }
}

TYPED_TEST(RuleRemovalBoth, the_vlan_is_still_listed_when_the_engine_is_asked_but_the_rule_is_gone)
{
    std::vector<typename TypeParam::Vlan> listed;
    std::size_t rules = 9;
    platform().on(TypeParam::kReleasingCall, [&] {
        listed = TypeParam::listed();
        rules = TypeParam::live(0).size();
    });
    this->remove(plain_rule());
    EXPECT_THAT(listed, ElementsAre(105));
    EXPECT_EQ(rules, 0u);
}

TYPED_TEST(RuleRemovalBoth, without_a_release_the_lists_are_not_touched)
{
    TypeParam::put_lists({0, 105, 0, 8});
    TypeParam::default_vlan() = 105;
    EXPECT_THAT(this->remove(plain_rule()).changed, ElementsAreArray(TypeParam::rule_and_count("0", "0")));
}

} // namespace
} // namespace mcadapt::test
