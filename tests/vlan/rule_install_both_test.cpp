/** The rule install as far as both families agree: what is stored and where, when a VLAN is listed and registered. */
#include "vlan/rule_sides.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;

/** As after a rule set by mode: nothing is derived, and the IGMP install leaves MLD alone. */
template <class Side> class RuleInstallBoth : public RuleTest<Side> {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        Side::by_mode() = 1;
    }

    static Observed<int32_t> install(const vlanCfgNode &given)
    {
        return RuleTest<Side>::without_uplink_question(RuleTest<Side>::install(given));
    }
};
TYPED_TEST_SUITE(RuleInstallBoth, RuleSides, RuleSideName);

// --- The rule as stored

TYPED_TEST(RuleInstallBoth, once_rules_are_set_by_mode_nothing_is_derived_but_the_zeroing_stays)
{
    for (const uint32_t version : {1u, 2u, 0x100u})
        this->for_each_traced(kNotDerived, [&](const Normalisation &row) {
            TypeParam::by_mode() = version;
            vlanCfgNode record = row.given();

            const auto seen = this->install_in_place(record);

            EXPECT_EQ(seen.trace, log_of(TypeParam::install_head(0, 0) + Log{called(TypeParam::registers(105))}));
            EXPECT_THAT(TypeParam::live(0), ElementsAre(row.kept()));
            EXPECT_EQ(record, TypeParam::kNormalisesInPlace ? row.kept() : row.given());
            EXPECT_THAT(TypeParam::Other::live(0), IsEmpty());
        });
}

TYPED_TEST(RuleInstallBoth, the_flag_of_the_position_is_kept) // intended: the flag is nobody's to write
{
    TypeParam::table()[0][0].ruleFlag = 9;
    vlanCfgNode record = rule(0).modes(1).up(101, 102).down(103, 104).data(105, 106).flag(7);
    this->install_in_place(record);
    EXPECT_EQ(TypeParam::table()[0][0].ruleFlag, 9);
    EXPECT_EQ(record.ruleFlag, 7);
}

TYPED_TEST(RuleInstallBoth, the_rule_goes_to_the_row_of_its_port_and_keeps_the_port_number)
{
    struct Row {
        uint32_t first_port, second_port;
        uint8_t given;
        int logic_port;
    };
    // The second of two equal ports is never found; a port above 29 is found like any other.
    for (const Row &row : {Row{0, 29, 0, 0}, Row{0, 29, 29, 1}, Row{5, 5, 5, 0}, Row{29, 0, 0, 1}, Row{0, 40, 40, 1}}) {
        SCOPED_TRACE(+row.given);
        this->SetUp();
        this->traces_logged();
        TypeParam::Other::ports()[0].portNo = 77;
        TypeParam::Other::ports()[1].portNo = 78;
        TypeParam::ports()[0].portNo = row.first_port;
        TypeParam::ports()[1].portNo = row.second_port;

        const auto seen = this->install(plain_rule(row.given));

        EXPECT_EQ(seen.trace,
                  log_of(TypeParam::install_head(row.given, row.logic_port) + Log{called(TypeParam::registers(105))}));
        EXPECT_THAT(TypeParam::live(row.logic_port), ElementsAre(plain_rule(row.given)));
        EXPECT_THAT(TypeParam::live(1 - row.logic_port), IsEmpty());
    }
}

TYPED_TEST(RuleInstallBoth, the_sixteenth_rule_still_has_a_place)
{
    TypeParam::put_table_row(0, std::vector<vlanCfgNode>(15, plain_rule()));
    EXPECT_EQ(this->install(plain_rule()).result, 0);
    EXPECT_EQ(TypeParam::rule_counts()[0], 16);
    EXPECT_EQ(TypeParam::table()[0][15], plain_rule());
    EXPECT_THAT(TypeParam::table()[1][0], IsEmptyRule());
}

TYPED_TEST(RuleInstallBoth, only_the_multicast_vlan_tells_whether_a_position_is_empty)
{
    TypeParam::table()[0][0] = rule(7, 1, 1, 1, 1, 1, 1, 1, 0xFFFF, 1);
    EXPECT_EQ(this->install(plain_rule()).result, 0);
    EXPECT_THAT(TypeParam::live(0), ElementsAre(plain_rule()));
}

// --- The VLAN list

TYPED_TEST(RuleInstallBoth, a_listed_vlan_is_told_only_while_rule_changes_are_traced)
{
    for (const uint32_t value : {0xFFFFFFFFu, 0u, 2u}) {
        SCOPED_TRACE(value);
        this->SetUp();
        this->everything_logged();
        TypeParam::set_change_traces(value);
        TypeParam::put_lists({105});
        EXPECT_EQ(this->install(plain_rule()).trace,
                  log_of(TypeParam::install_head(0, 0) + Log{TypeParam::scans(105)} + TypeParam::install_end()));
    }
}

TYPED_TEST(RuleInstallBoth, a_listed_vlan_is_told_under_the_trace_bit_alone)
{
    for (const uint32_t mask : {0x00u, 0x01u, 0x04u, 0x20u}) {
        SCOPED_TRACE(mask);
        this->SetUp();
        this->log_mask(mask);
        TypeParam::set_change_traces(1);
        TypeParam::put_lists({105});
        const std::string line = std::string(TypeParam::kTrace) + "\n PortVlan is  already exist!";
        EXPECT_EQ(this->install(plain_rule()).output.find(line) != std::string::npos, mask == 0x01);
    }
}

TYPED_TEST(RuleInstallBoth, vlans_that_differ_above_bit_11_are_listed_apart_and_registered_alike)
{
    for (const uint16_t vlan : {uint16_t{0x0069}, uint16_t{0x1069}, uint16_t{0xF069}}) {
        this->config_logged();
        const auto seen = this->install(rule_of(101, vlan));
        EXPECT_THAT(seen.calls, ElementsAre(TypeParam::registers(105)));
        EXPECT_THAT(seen.output, EndsWith(std::string(TypeParam::kConfig) + "temp_var = 105\n"));
    }
    EXPECT_THAT(TypeParam::listed(), ElementsAre(0x0069, 0x1069, 0xF069));
    EXPECT_THAT(this->install(rule_of(101, 0x1069)).calls, IsEmpty());
}

TYPED_TEST(RuleInstallBoth, entries_beyond_the_count_do_not_list_a_vlan)
{
    TypeParam::put_lists({200, 105});
    TypeParam::list_count() = 1;
    EXPECT_THAT(this->install(plain_rule()).calls, ElementsAre(TypeParam::registers(105)));
    EXPECT_THAT(TypeParam::listed(), ElementsAre(200, 105));
}

TYPED_TEST(RuleInstallBoth, vlan_0_is_listed_by_the_count_alone)
{
    EXPECT_THAT(this->install(rule_of(101, 0)).calls, ElementsAre(TypeParam::registers(0)));
    EXPECT_EQ(TypeParam::list_count(), 1);
}

TYPED_TEST(RuleInstallBoth, the_sixteenth_vlan_still_has_a_place)
{
    TypeParam::put_lists({201, 202, 203, 204, 205, 206, 207, 208, 209, 210, 211, 212, 213, 214, 215});
    EXPECT_EQ(this->install(plain_rule()).output, "");
    EXPECT_EQ(TypeParam::list_count(), 16);
    EXPECT_EQ(TypeParam::list()[15], 105u);
    EXPECT_EQ(TypeParam::list_beside()[15], 105);
}

TYPED_TEST(RuleInstallBoth, a_listed_vlan_needs_no_place_in_a_full_list)
{
    this->errors_logged();
    TypeParam::put_lists(sixteen_vlans());
    EXPECT_EQ(this->install(rule_of(101, 216)).output, log_of(TypeParam::install_end()));
    EXPECT_EQ(TypeParam::rule_counts()[0], 1);
}

} // namespace
} // namespace mcadapt::test
