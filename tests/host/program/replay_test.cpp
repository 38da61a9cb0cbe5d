#include <nlohmann/json.hpp>

#include "host/ports.h"
#include "host/program/text.h"
#include "host/switch/capture_reader.h"
#include "tests/host/program/program_fixture.h"

namespace mcadapt::host::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

class ReplayProgram : public ProgramTest {
protected:
    // "time port tags" of each frame of a capture, the time since the first frame of the run.
    std::vector<std::string> frames_in(const std::string &name) const
    {
        CaptureReader reader;
        reader.add(path(name), kUserPort);
        std::vector<std::string> frames;
        for (CapturedFrame frame; reader.next(frame);)
            frames.push_back(seconds_text(frame.at - std::chrono::seconds(1700000000)) + " " + tags_text(frame.bytes));
        return frames;
    }
};

const char *const kSummaryOfJoinAndLeave =
    "Frames: 8 arrived, 2 to the library, 2 forwarded by entry, 0 flooded\n"
    "Groups: 1 joins, 1 leaves; the engine sent 2 packets\n"
    "\n"
    "Frames by kind\n"
    "  IGMP                                                                2\n"
    "  IPv4 multicast data                                                 6\n"
    "\n"
    "Drops by reason\n"
    "  switch: no forwarding entry                                         4\n"
    "\n"
    "Groups per port at the end\n"
    "  none\n"
    "\n"
    "Forwarding entries at the end\n"
    "  none\n"
    "\n"
    "Delays\n"
    "  group join delay     0.250000 s shortest, 0.250000 s mean, 0.250000 s longest, of 1\n"
    "  group leave delay    2.000000 s shortest, 2.000000 s mean, 2.000000 s longest, of 1\n";

TEST_F(ReplayProgram, shows_a_channel_that_is_joined_and_left)
{
    const Outcome outcome = run("replay " + join_and_leave());
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.err, IsEmpty());
    const std::string data = "IPv4 multicast data to 01:00:5e:01:02:03 from the uplink, VLAN 200: ";
    std::string operation = kTranslatingRule;
    operation.pop_back();
    EXPECT_EQ(outcome.out,
              "       start  operation " + operation + " = 0\n" +                                         //
                  "    0.000000  frame 1: " + data + "dropped, no forwarding entry\n" +                   //
                  "    1.000000  frame 3: IGMP from port 0, 60 bytes, VLAN 100\n"                         //
                  "                to the engine, as from port 0 in VLAN 200\n"                           //
                  "                engine takes IGMPv2 report for 239.1.2.3\n"                            //
                  "                joined 239.1.2.3 in VLAN 200 on port 0 (a host asked for the group)\n" //
                  "                entry added: 01:00:5e:01:02:03 in VLAN 200 to port 0\n"                //
                  "                sent to the uplink, 60 bytes, VLAN 200\n"                              //
                  "    1.250000  frame 4: " +
                  data + "forwarded to port 0 (2 before: dropped, no forwarding entry)\n" +
                  "    1.500000  frame 5: IPv4 multicast data to 01:00:5e:09:09:09 from the uplink, VLAN 200: "
                  "dropped, no forwarding entry\n"                                //
                  "    4.000000  frame 7: IGMP from port 0, 60 bytes, VLAN 100\n" //
                  "                to the engine, as from port 0 in VLAN 200\n"   //
                  "                engine takes IGMPv2 leave of 239.1.2.3\n"      //
                  "                engine sends IGMP group-specific query for 239.1.2.3 to port 0 in VLAN 200\n"
                  "                sent to port 0, 54 bytes, VLAN 100\n"                                       //
                  "                sent to the uplink, 60 bytes, VLAN 200\n"                                   //
                  "    5.000000  engine sends IGMP group-specific query for 239.1.2.3 to port 0 in VLAN 200\n" //
                  "                sent to port 0, 54 bytes, VLAN 100\n"                                       //
                  "    6.000000  left 239.1.2.3 in VLAN 200 on port 0 (nobody answered in time)\n"             //
                  "                entry removed: 01:00:5e:01:02:03 in VLAN 200 to port 0\n"                   //
                  "    7.000000  frame 8: " +
                  data + "dropped, no forwarding entry (2 before: forwarded to port 0)\n\n" + kSummaryOfJoinAndLeave);
}

TEST_F(ReplayProgram, quietly_shows_the_summary_only)
{
    EXPECT_EQ(run("replay --quiet " + join_and_leave()).out, kSummaryOfJoinAndLeave);
}

TEST_F(ReplayProgram, of_the_same_input_is_the_same_to_the_byte)
{
    const std::string arguments = join_and_leave();
    for (const std::string mode : {"", "--json ", "--trace ", "--quiet ", "--frame 3 "}) {
        SCOPED_TRACE(mode);
        const Outcome first = run("replay " + mode + arguments + " --out " + path("first"));
        const Outcome second = run("replay " + mode + arguments + " --out " + path("second"));
        EXPECT_THAT(first.out, Not(IsEmpty()));
        EXPECT_EQ(first.out, second.out);
        EXPECT_EQ(read("first/port0.pcap"), read("second/port0.pcap"));
        EXPECT_EQ(read("first/uplink.pcap"), read("second/uplink.pcap"));
    }
}

TEST_F(ReplayProgram, writes_what_leaves_each_port_with_times_and_tags)
{
    EXPECT_EQ(run("replay --quiet " + join_and_leave() + " --out " + path("out")).code, 0);
    EXPECT_THAT(frames_in("out/port0.pcap"),
                ElementsAre("1.250000 VLAN 200", "2.000000 VLAN 200", "4.000000 VLAN 100", "5.000000 VLAN 100"));
    EXPECT_THAT(frames_in("out/uplink.pcap"), ElementsAre("1.000000 VLAN 200", "4.000000 VLAN 200"));
}

TEST_F(ReplayProgram, as_json_is_an_object_on_each_line_and_ends_with_the_summary)
{
    const Outcome outcome = run("replay --json --trace " + join_and_leave());
    EXPECT_EQ(outcome.code, 0);
    std::istringstream lines(outcome.out);
    std::vector<std::string> events;
    nlohmann::json last;
    for (std::string line; std::getline(lines, line);) {
        ASSERT_NO_THROW(last = nlohmann::json::parse(line)) << line;
        events.push_back(last.at("event"));
        if (last.at("event") == "summary")
            continue;
        EXPECT_TRUE(last.at("time").is_string());
        EXPECT_TRUE(last.at("frame").is_number());
    }
    for (const char *event : {"operation", "frame_in", "switch", "packet_accepted", "joined", "entry_added",
                              "frame_out", "engine_sent", "left", "entry_removed", "library_log", "summary"})
        EXPECT_THAT(events, testing::Contains(event));
    EXPECT_EQ(last.at("event"), "summary");
    EXPECT_EQ(last.at("frames"), 8);
    EXPECT_EQ(last.at("joins"), 1);
    EXPECT_EQ(last.at("group_leave_delay").at("mean_ns"), 2000000000);
    EXPECT_EQ(last.at("drops_by_reason").at("switch: no forwarding entry"), 4);
}

TEST_F(ReplayProgram, quietly_as_json_is_the_summary_only)
{
    const std::string out = run("replay --json --quiet " + join_and_leave()).out;
    EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 1);
    EXPECT_EQ(nlohmann::json::parse(out).at("event"), "summary");
}

TEST_F(ReplayProgram, with_a_trace_shows_the_library_log_in_its_place)
{
    const std::string out = run("replay --trace " + join_and_leave()).out;
    const std::size_t frame = out.find("frame 3: IGMP");
    const std::size_t intake = out.find("| [MC_DBG_DBG]: igmpL2PktProc is in! 0", frame);
    const std::size_t joined = out.find("joined 239.1.2.3");
    const std::size_t handler = out.find("| [MC_DBG_DBG]: IGMP MODE is Snooping");
    ASSERT_NE(intake, std::string::npos);
    EXPECT_LT(intake, joined);
    EXPECT_LT(joined, handler);
    EXPECT_EQ(out.find("igmpL2PktProc is in! 0", intake + 40), out.find("igmpL2PktProc is in! 0", out.find("frame 7:")))
        << "each message is printed once";
}

TEST_F(ReplayProgram, shows_the_log_that_the_configuration_itself_opens)
{
    const std::string user = capture("user.pcap", {{1, join_frame("239.1.2.3")}});
    const std::string out =
        run("replay --port0 " + user + " --unit " + unit(std::string(kTranslatingRule) + "mc_set_debug 1 1\n")).out;
    EXPECT_THAT(out, HasSubstr("operation mc_set_debug 1 1 = 0x1\n"));
    EXPECT_THAT(out, HasSubstr("frame 1: IGMP from port 0, 60 bytes, VLAN 100\n"
                               "                | [MC_DBG_DBG]: igmpL2PktProc is in! 0\n"));
}

TEST_F(ReplayProgram, of_an_empty_capture_is_an_empty_summary)
{
    const Outcome outcome = run("replay --port0 " + capture("empty.pcap", {}));
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.out, StartsWith("Frames: 0 arrived, 0 to the library"));
}

TEST_F(ReplayProgram, of_a_cut_capture_shows_what_there_was_and_then_the_error)
{
    const std::string whole = capture("whole.pcap", {{0, join_frame("239.1.2.3")}, {1, join_frame("239.1.2.4")}});
    std::string bytes = read("whole.pcap");
    bytes.resize(bytes.size() - 5);
    const Outcome outcome = run("replay --port0 " + write("cut.pcap", bytes) + " --out " + path("out"));
    EXPECT_EQ(outcome.code, 1);
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("joined 239.1.2.3"), Not(HasSubstr("239.1.2.4")),
                                   HasSubstr("Frames: 1 arrived, 1 to the library")));
    EXPECT_THAT(outcome.err, StartsWith("mcadapt: " + path("cut.pcap") + ": "));
    EXPECT_THAT(frames_in("out/uplink.pcap"), ElementsAre("0.000000 VLAN 100"));
}

TEST_F(ReplayProgram, runs_operations_at_their_times_those_after_the_last_frame_too)
{
    const std::string user = capture("user.pcap", {{1, join_frame("239.1.2.3")}, {3, join_frame("239.1.2.3")}});
    const Outcome outcome = run("replay --port0 " + user + " --unit " +
                                unit("at 30 omci_get_multicast_mode\nat 0.5 omci_set_multicast_mode 3\n"
                                     "std_omci_get_port_igmp_count 0\n"));
    EXPECT_EQ(outcome.code, 0);
    const std::size_t first =
        outcome.out.find("       start  operation std_omci_get_port_igmp_count 0 = 0, counters 0");
    const std::size_t join = outcome.out.find("    0.000000  frame 1: IGMP");
    const std::size_t mode = outcome.out.find("    0.500000  operation omci_set_multicast_mode 3 = 0\n");
    const std::size_t refused = outcome.out.find("    2.000000  frame 2: IGMP");
    const std::size_t last = outcome.out.find("   30.000000  operation omci_get_multicast_mode = 0, mode 3\n");
    ASSERT_NE(last, std::string::npos) << outcome.out;
    EXPECT_LT(first, join);
    EXPECT_LT(join, mode);
    EXPECT_LT(mode, refused);
    EXPECT_LT(refused, last);
}

TEST_F(ReplayProgram, fires_timers_before_operations_of_the_same_time)
{
    const std::string user = capture("user.pcap", {{1, join_frame("239.1.2.3")}, {2, leave_frame("239.1.2.3")}});
    EXPECT_THAT(run("replay --port0 " + user + " --unit " + unit("at 3 omci_get_multicast_ip_port\n")).out,
                HasSubstr("operation omci_get_multicast_ip_port = 0, 0 groups\n"));
}

TEST_F(ReplayProgram, goes_on_after_the_last_frame_for_as_long_as_asked)
{
    const std::string user = capture("user.pcap", {{1, join_frame("239.1.2.3")}, {2, leave_frame("239.1.2.3")}});
    EXPECT_THAT(run("replay --quiet --tail 1.5 --port0 " + user).out, HasSubstr("Groups: 1 joins, 0 leaves"));
    EXPECT_THAT(run("replay --quiet --tail 2 --port0 " + user).out, HasSubstr("Groups: 1 joins, 1 leaves"));
}

TEST_F(ReplayProgram, counts_from_a_status_segment_of_its_own)
{
    const std::string user = capture("user.pcap", {{1, join_frame("239.1.2.3")}, {1.5, join_frame("239.1.2.4")}});
    const std::string out = run("replay --port0 " + user + " --unit " +
                                unit("at 1 std_omci_get_port_igmp_count 0\n"
                                     "at 1 omci_get_multicast_ip_port\n"
                                     "at 1 std_omci_get_multicast_ip_port\n"))
                                .out;
    // bandwidth, join messages, joins refused for bandwidth, groups
    EXPECT_THAT(out, HasSubstr("std_omci_get_port_igmp_count 0 = 0, counters 0 2 0 2\n"));
    EXPECT_THAT(out,
                HasSubstr("  operation omci_get_multicast_ip_port = 0, 2 groups: 239.1.2.3 on port 0, 239.1.2.4 on "
                          "port 0\n"));
    EXPECT_THAT(out, HasSubstr("  operation std_omci_get_multicast_ip_port = 0, 2 groups: 239.1.2.3, 239.1.2.4\n"));
}

TEST_F(ReplayProgram, takes_both_sides_from_one_file)
{
    const std::string both = capture(
        "both.pcap", {{0, data_frame("239.1.2.3")}, {1, join_frame("239.1.2.3")}, {2, data_frame("239.1.2.3")}});
    const std::string out =
        run("replay --both " + both + " --uplink-filter 'vlan 200' --unit " + unit(kTranslatingRule)).out;
    EXPECT_THAT(out, HasSubstr("frame 1: IPv4 multicast data to 01:00:5e:01:02:03 from the uplink"));
    EXPECT_THAT(out, HasSubstr("frame 2: IGMP from port 0"));
    EXPECT_THAT(out, HasSubstr("forwarded to port 0"));
}

// The real hosts of samples/epon-snooping: what a unit must do with them.
TEST_F(ReplayProgram, of_the_epon_sample_forwards_what_was_asked_for)
{
    const std::string sample = MCADAPT_SOURCE "/samples/epon-snooping/";
    const Outcome outcome =
        run("replay --port0 " + sample + "user.pcap --uplink " + sample + "net.pcap --unit " + sample + "unit.conf");
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("joined 239.1.1.1 in VLAN 200 on port 0"),
                                   HasSubstr("entry added: 01:00:5e:01:01:01 in VLAN 200 to port 0"),
                                   HasSubstr("forwarded to port 0"), HasSubstr("entry removed: 01:00:5e:01:01:01")));
    EXPECT_THAT(outcome.out,
                Not(HasSubstr("01:00:5e:01:01:09 from the uplink, VLAN 200: forwarded"))); // asked by nobody
}

} // namespace
} // namespace mcadapt::host::test
