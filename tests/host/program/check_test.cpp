#include "tests/host/program/program_fixture.h"

namespace mcadapt::host::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using Check = ProgramTest;

TEST_F(Check, shows_results_rules_modes_and_vlans)
{
    const std::string file = unit(std::string("# a unit\n") + kTranslatingRule);
    const Outcome outcome = run("check " + file);
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.err, IsEmpty());
    const std::string rule =
        "       port   up mode     in up    out up down mode   in down  out down data mode   in data  out data\n"
        "          0         2       100       200         2       200       100         2       200       100\n";
    std::string operation = kTranslatingRule;
    operation.pop_back();
    EXPECT_EQ(outcome.out, file + ":2: " + operation + " = 0\n\nIGMP rules\n" + rule + "\nMLD rules\n" + rule +
                               "\n                 IGMP                     MLD\n"
                               "mode             snooping                 snooping\n"
                               "template VLANs   200                      200\n"
                               "default VLAN     4088                     4088\n");
}

TEST_F(Check, marks_what_the_library_refused_and_ends_with_1)
{
    const std::string file = unit("std_omci_set_multicast_mode 1\nomci_set_multicast_mode 3\n"
                                  "std_omci_set_multicast_vlan_onu portNO=5 in_data_vlan=200\nmc_set_debug 4 1\n");
    const Outcome outcome = run("check " + file);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.out, StartsWith(file + ":1: std_omci_set_multicast_mode 1 = -1  <- refused\n" + file +
                                        ":2: omci_set_multicast_mode 3 = 0\n" + file +
                                        ":3: std_omci_set_multicast_vlan_onu portNO=5 in_data_vlan=200 = -1  <- "
                                        "refused\n" +
                                        file + ":4: mc_set_debug 4 1 = 0x4\n"));
    EXPECT_THAT(outcome.out, HasSubstr("\nmode             control                  snooping\n"));
    EXPECT_THAT(outcome.out, HasSubstr("\nRefused: 2 of 4 operations\n"));
}

TEST_F(Check, applies_operations_with_a_time_too)
{
    const Outcome outcome = run("check " + unit("at 3600 omci_set_igmp_default_vlan 77\n"));
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.out, HasSubstr("default VLAN     77                       77\n"));
}

TEST_F(Check, shows_what_an_operation_prints)
{
    const Outcome outcome = run("check " + unit("mldPrint\n"));
    EXPECT_THAT(outcome.out, HasSubstr(":1: mldPrint = done\n    | "));
}

TEST_F(Check, names_every_bad_line_and_applies_nothing)
{
    const std::string file = unit("uplink dsl\nfly\n");
    const Outcome outcome = run("check " + file);
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.out, IsEmpty());
    EXPECT_THAT(outcome.err, HasSubstr(file + ":1: 'dsl': expected 'epon' or 'gpon'\n" + file + ":2: 'fly': expected"));
}

} // namespace
} // namespace mcadapt::host::test
