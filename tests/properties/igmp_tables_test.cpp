#include "properties/table_sequence.h"
#include "support/library_test.h"

namespace mcadapt::test {
namespace {

// Order of the weights: install, remove, both by mode, web, default VLAN, reset all, reset port, three of the static
// groups, install and remove of MLD alone, its two start states, change of parameters.
constexpr Mix kStandard = {{40, 25, 0, 0, 6, 5, 1, 4, 4, 4, 2, 0, 0, 0, 0, 2}, 6, 4, 0, false};
constexpr Mix kByMode = {{15, 10, 25, 20, 5, 5, 1, 4, 4, 4, 2, 0, 0, 0, 0, 2}, 6, 4, 10, false};
constexpr Mix kRefusing = {{30, 20, 10, 8, 8, 6, 3, 4, 6, 6, 3, 0, 0, 0, 0, 2}, 5, 4, 60, false};
constexpr Mix kIgmpCrowded = {{80, 6, 10, 2, 1, 2, 0, 1, 12, 2, 0, 0, 0, 0, 0, 1}, 40, 12, 10, false};
constexpr Mix kRagged = {{40, 30, 10, 8, 20, 5, 1, 2, 4, 4, 2, 0, 0, 0, 0, 1}, 4, 2, 20, true};

const Scenario kIgmpScenarios[] = {
    {"standard_operations", kStandard},
    {"by_mode_after_a_while", kByMode, {0, 29}, false, Rows::kPacked, 200},
    {"two_user_ports", kRefusing, {0, 1}, false, Rows::kPacked, 300},
    {"user_ports_the_other_way_round", kRefusing, {1, 0}, false, Rows::kPacked, 300},
    {"many_vlans_and_few_removals", kIgmpCrowded, {0, 1}, false, Rows::kPacked, 300},
    {"everything_logged", kRefusing, {0, 1}, true, Rows::kPacked, 200},
    {"rules_without_upstream_vlan", kRagged, {0, 29}, false, Rows::kUnsetRules, 200},
    {"a_port_that_compaction_refuses", kRagged, {40, 1}, false, Rows::kHoles, 200},
};

class IgmpTables : public LibraryTest, public ::testing::WithParamInterface<Scenario> {};

TEST_P(IgmpTables, follow_the_model_through_any_sequence)
{
    // Logging every step costs far more than the step.
    const uint32_t steps = sequence_steps(GetParam().logged ? 2000 : 14000);

    const std::string wrong = TableSequence(GetParam(), sequence_seed()).run(steps);

    EXPECT_TRUE(wrong.empty()) << wrong;
}

INSTANTIATE_TEST_SUITE_P(Sequences, IgmpTables, ::testing::ValuesIn(kIgmpScenarios),
                         [](const auto &test) { return std::string(test.param.name); });

class IgmpTablesCrowded : public LibraryTest {};

TEST_F(IgmpTablesCrowded, sequences_of_many_installs_fill_every_table)
{
    const Scenario crowded = {"crowded", kIgmpCrowded, {0, 1}};
    TableSequence sequence(crowded, 1);

    const std::string wrong = sequence.run(4000);

    EXPECT_TRUE(wrong.empty()) << wrong;
    EXPECT_EQ(sequence.most().rules, MC_RULES_PER_PORT);
    EXPECT_EQ(sequence.most().vlans, MC_TEMPLATE_VLANS);
    EXPECT_EQ(sequence.most().static_groups, MC_STATIC_GROUPS_PER_PORT);
}

} // namespace
} // namespace mcadapt::test
