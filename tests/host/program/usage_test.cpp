#include <sys/wait.h>

#include "tests/host/program/program_fixture.h"

namespace mcadapt::host::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

using Usage = ProgramTest;

TEST_F(Usage, that_is_wrong_ends_with_2_and_says_why)
{
    const std::string user = capture("user.pcap", {});
    struct Row {
        std::string arguments;
        const char *error;
    };
    const Row rows[] = {
        {"", "A subcommand is required"},
        {"fly", "required"},
        {"replay", "no capture given: expected --port0, --uplink or --both"},
        {"replay --port0", "--port0"},
        {"replay --port0 " + user + " --speed", "--speed"},
        {"replay --port0 " + user + " --frame 0", "--frame"},
        {"replay --port0 " + user + " --frame x", "--frame"},
        {"replay --port0 " + user + " --tail -1", "--tail"},
        {"replay --port0 " + user + " --frame 1 --json", "--frame excludes --json"},
        {"replay --port0 " + user + " --frame 1 --quiet", "--frame excludes --quiet"},
        {"replay --port0 " + user + " --quiet --trace", "--quiet excludes --trace"},
        {"replay --both " + user, "--uplink-filter"},
        {"replay --port0 " + user + " --uplink-filter 'vlan 200'", "--both"},
        {"explain --port0 " + user, "frame is required"},
        {"explain 1", "no capture given"},
        {"check", "unit is required"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.arguments);
        const Outcome outcome = run(row.arguments);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_THAT(outcome.err, HasSubstr(row.error));
        EXPECT_THAT(outcome.out, IsEmpty());
    }
}

TEST_F(Usage, help_and_version_end_with_0)
{
    EXPECT_THAT(run("--version").out, MatchesRegex("mcadapt [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    for (const std::string command : {"", "replay ", "explain ", "check ", "ops "}) {
        const Outcome outcome = run(command + "--help");
        EXPECT_EQ(outcome.code, 0) << command;
        EXPECT_THAT(outcome.out, HasSubstr("Usage: mcadapt"));
        EXPECT_THAT(outcome.err, IsEmpty());
    }
    EXPECT_THAT(run("--help").out, HasSubstr("Exit codes: 0 done; 1"));
}

TEST_F(Usage, inputs_that_cannot_be_used_end_with_1_and_are_named)
{
    const std::string user = capture("user.pcap", {{1, join_frame("239.1.2.3")}});
    const std::string no_capture = write("text.pcap", std::string("this is no capture at all"));
    struct Row {
        std::string arguments;
        std::string error;
    };
    const Row rows[] = {
        {"replay --port0 " + path("none.pcap"), "none.pcap: "},
        {"replay --port0 " + no_capture, "text.pcap: "},
        {"replay --both " + user + " --uplink-filter 'no such word'", "user.pcap: filter 'no such word': "},
        {"replay --port0 " + user + " --unit " + path("none.conf"), "none.conf: cannot be read"},
        {"replay --port0 " + user + " --unit " + unit("uplink dsl\n"), "unit.conf:1: 'dsl': expected 'epon' or 'gpon'"},
        {"replay --port0 " + user + " --out " + user, "user.pcap"},
        {"replay --port0 " + user + " --out /proc/self", "/proc/self/port0.pcap: cannot be written"},
        {"explain 2 --port0 " + user, "frame 2: the captures hold 1 frame"},
        {"check " + path("none.conf"), "none.conf: cannot be read"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.arguments);
        const Outcome outcome = run(row.arguments);
        EXPECT_EQ(outcome.code, 1);
        EXPECT_EQ(outcome.err.rfind("mcadapt: ", 0), 0u) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(row.error));
    }
}

// More than the output's buffer too: it then fails while the library runs.
TEST_F(Usage, an_output_that_cannot_be_written_ends_with_1)
{
    const std::string user = capture("user.pcap", std::vector<TimedFrame>(500, TimedFrame{1, join_frame("239.1.2.3")}));
    for (const std::string mode : {"", "--json", "--quiet", "--trace", "--frame 1"}) {
        SCOPED_TRACE(mode);
        const std::string command = "'" MCADAPT_PROGRAM "' replay " + mode + " --port0 " + user;
        const int status = std::system((command + " >/dev/full 2>" + path("err.txt")).c_str());
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 1);
        EXPECT_EQ(read("err.txt"), "mcadapt: standard output: cannot be written\n");
    }
}

TEST_F(Usage, a_file_option_takes_one_file_and_may_be_given_again)
{
    const std::string user = capture("user.pcap", {{1, join_frame("239.1.2.3")}});
    const std::string more = capture("more.pcap", {{0, query_frame()}});
    EXPECT_THAT(run("explain --port0 " + user + " 1").out, HasSubstr("Frame 1 at 0.000000 s: IGMP"));
    EXPECT_THAT(run("replay --quiet --port0 " + user + " --port0 " + more).out, HasSubstr("Frames: 2 arrived"));
}

TEST_F(Usage, ops_lists_the_operations_with_their_arguments)
{
    const Outcome outcome = run("ops");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.out, HasSubstr("omci_set_multicast_mode\n    Sets the protocol mode.\n    mode  "));
    EXPECT_THAT(outcome.out, HasSubstr("a number from 0 to 65535; 0xFFFF when left out"));
}

} // namespace
} // namespace mcadapt::host::test
