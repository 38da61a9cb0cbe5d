#include "properties/table_sequence.h"
#include "support/library_test.h"

namespace mcadapt::test {
namespace {

// Order of the weights as for the IGMP tables; here the MLD operations are called directly too.
constexpr Mix kAlone = {{0, 0, 0, 0, 0, 3, 0, 0, 0, 0, 0, 50, 35, 1, 1, 0}, 6, 4, 30, false};
constexpr Mix kAlongside = {{15, 10, 6, 5, 2, 4, 1, 0, 0, 0, 0, 30, 25, 1, 1, 0}, 6, 4, 30, false};
constexpr Mix kMldCrowded = {{2, 0, 2, 0, 0, 1, 0, 0, 0, 0, 0, 90, 12, 0, 1, 0}, 40, 12, 10, false};

const Scenario kMldScenarios[] = {
    {"mld_operations_alone", kAlone},
    {"alongside_igmp", kAlongside, {0, 29}, false, Rows::kPacked, 200},
    {"two_user_ports", kAlongside, {1, 0}, false, Rows::kPacked, 200},
    {"many_vlans_and_few_removals", kMldCrowded, {0, 29}, false, Rows::kPacked, 300},
    {"everything_logged", kAlongside, {0, 1}, true, Rows::kPacked, 200},
    {"a_port_that_compaction_refuses", kAlongside, {40, 29}, false, Rows::kHoles, 200},
};

class MldTables : public LibraryTest, public ::testing::WithParamInterface<Scenario> {};

TEST_P(MldTables, follow_the_model_through_any_sequence)
{
    const uint32_t steps = sequence_steps(GetParam().logged ? 2000 : 14000);

    const std::string wrong = TableSequence(GetParam(), sequence_seed()).run(steps);

    EXPECT_TRUE(wrong.empty()) << wrong;
}

INSTANTIATE_TEST_SUITE_P(Sequences, MldTables, ::testing::ValuesIn(kMldScenarios),
                         [](const auto &test) { return std::string(test.param.name); });

class MldTablesCrowded : public LibraryTest {};

TEST_F(MldTablesCrowded, sequences_of_many_installs_fill_every_table)
{
    const Scenario crowded = {"crowded", kMldCrowded, {0, 1}};
    TableSequence sequence(crowded, 1);

    const std::string wrong = sequence.run(4000);

    EXPECT_TRUE(wrong.empty()) << wrong;
    EXPECT_EQ(sequence.most().mld_rules, MC_RULES_PER_PORT);
    EXPECT_EQ(sequence.most().mld_vlans, MC_TEMPLATE_VLANS);
}

} // namespace
} // namespace mcadapt::test
