#include "host/program/explanation.h"
#include "tests/host/program/program_fixture.h"

namespace mcadapt::host::test {
namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

using Explain = ProgramTest;

TEST_F(Explain, tells_a_join_in_order_and_what_flowed_afterwards)
{
    const Outcome outcome = run("explain 3 " + join_and_leave());
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.out,
              "Frame 3 at 1.000000 s: IGMP, 60 bytes, VLAN 100, arrived on port 0\n"
              "  1. It goes from 02:00:00:00:00:10 to 01:00:5e:01:02:03.\n"
              "  2. It is a protocol frame and trapping is on: the switch hands it to the library.\n"
              "  3. The IGMP intake takes the frame from port 0.\n"
              "  4. Port, length and source address are in order; it counts as from port 0.\n"
              "  5. Its VLAN id is 100 (0 without a tag). The multicast VLAN is looked for.\n"
              "  6. A rule with upstream VLAN 100 is compared with the frame's VLAN 100: it matches.\n"
              "  7. VLAN 200 is looked up among the template VLANs.\n"
              "  8. Template VLAN 200 is the one.\n"
              "  9. The multicast VLAN of the frame is 200. It is from the template VLANs.\n"
              " 10. The IP packet claims 32 bytes.\n"
              " 11. Its IPv4 protocol is 2 (2 is IGMP).\n"
              " 12. The IGMP mode is snooping.\n"
              " 13. The engine is given the packet of 32 bytes, as from port 0 in VLAN 200.\n"
              " 14. The engine takes it: IGMPv2 report for 239.1.2.3.\n"
              " 15. First listener of 239.1.2.3 in VLAN 200 on port 0: a host asked for the group.\n"
              " 16. An entry for port 0 in VLAN 200 is asked of the switch.\n"
              " 17. Forwarding entry added: 01:00:5e:01:02:03 in VLAN 200 to port 0.\n"
              " 18. It goes on to the snooping handler.\n"
              " 19. Port 0 is a user port.\n"
              " 20. A rule with upstream VLAN 100 is compared with the frame's VLAN 100: it matches.\n"
              " 21. The tag to send with is VLAN 200.\n"
              " 22. The library sends 60 bytes to port 29.\n"
              " 23. It leaves through the uplink, sent by the library: 60 bytes, VLAN 200.\n"
              "Afterwards\n"
              "  +5.000000 s Last listener gone of 239.1.2.3 in VLAN 200 on port 0: nobody answered in time.\n"
              "  2 data frames to 01:00:5e:01:02:03 from the uplink, VLAN 200: forwarded to port 0, first at "
              "+0.250000 s\n"
              "  1 data frame to 01:00:5e:01:02:03 from the uplink, VLAN 200: dropped, no forwarding entry, first at "
              "+6.000000 s\n");
    EXPECT_EQ(run("replay --frame 3 " + join_and_leave()).out, outcome.out);
}

// "The join arrives, why does nothing flow?": the stream comes in a VLAN that no rule gives.
TEST_F(Explain, shows_a_stream_that_comes_in_another_vlan)
{
    const std::string captures =
        "--port0 " + capture("user.pcap", {{0, join_frame("239.1.2.3")}}) + " --uplink " +
        capture("net.pcap", {{1, data_frame("239.1.2.3", 201)}, {2, data_frame("239.1.2.3", 201)}}) + " --unit " +
        unit(kTranslatingRule);
    EXPECT_THAT(run("explain 1 " + captures).out,
                EndsWith("Afterwards\n  2 data frames to 01:00:5e:01:02:03 from the uplink, VLAN 201: dropped, no "
                         "forwarding entry, first at +1.000000 s\n"));
    EXPECT_THAT(run("explain 2 " + captures).out,
                EndsWith("  2. The switch drops it: no forwarding entry.\n"
                         "  3. There is an entry for 01:00:5e:01:02:03, but in VLAN 200, to port 0.\n"));
}

TEST_F(Explain, says_when_nobody_asked_for_a_stream)
{
    EXPECT_THAT(run("explain 5 " + join_and_leave()).out,
                EndsWith("  3. No port listens to 01:00:5e:09:09:09 at that time, in any VLAN.\n"));
}

TEST_F(Explain, tells_a_join_whose_vlan_no_rule_has)
{
    const std::string out = run("explain 1 --port0 " + capture("user.pcap", {{0, join_frame("239.1.2.3", 101)}}) +
                                " --unit " + unit(kTranslatingRule))
                                .out;
    EXPECT_THAT(out, HasSubstr("A rule with upstream VLAN 100 is compared with the frame's VLAN 101: no match."));
    EXPECT_THAT(out, HasSubstr("The multicast VLAN of the frame is 200. It is from the port's first rule."));
    EXPECT_THAT(out, EndsWith("Afterwards\n  No data frame of its group arrived after it.\n"));
}

TEST_F(Explain, tells_that_only_the_default_vlan_is_left)
{
    const std::string out = run("explain 1 --port0 " + capture("user.pcap", {{0, join_frame("239.1.2.3")}})).out;
    EXPECT_THAT(out, HasSubstr("The multicast VLAN of the frame is 4088. It is the default VLAN, as neither a template "
                               "VLAN nor a rule gives one."));
}

TEST_F(Explain, names_the_rule_of_the_standard_that_dropped_a_packet)
{
    wire::Around around;
    around.ttl = 5;
    const std::string frame = frame_of(wire::join(wire::Family::kIgmp, 2, "239.1.2.3", around), {100});
    const std::string out = run("explain 1 --port0 " + capture("user.pcap", {{0, frame}})).out;
    EXPECT_THAT(out, HasSubstr("The engine drops it, reason ttl: every message has TTL or hop limit 1"));
    EXPECT_THAT(out, HasSubstr("RFC 9776 section 4"));
}

TEST_F(Explain, tells_the_records_of_a_report_and_the_group_that_is_refused)
{
    const std::string frame =
        frame_of(wire::report(wire::Family::kIgmp, {{wire::kToEx, "232.1.1.1"}, {wire::kToEx, "239.1.1.1"}}), {100});
    const std::string out =
        run("explain 1 --port0 " + capture("user.pcap", {{0, frame}}) + " --unit " + unit(kTranslatingRule)).out;
    EXPECT_THAT(out, HasSubstr("It holds CHANGE_TO_EXCLUDE_MODE of 232.1.1.1 with 0 sources."));
    EXPECT_THAT(out, HasSubstr("The engine refuses 232.1.1.1 in VLAN 200 on port 0, reason ssm-range: "));
    EXPECT_THAT(out, HasSubstr("First listener of 239.1.1.1 in VLAN 200 on port 0"));
}

TEST_F(Explain, says_that_frames_from_the_uplink_pass_the_engine_by)
{
    const std::string out =
        run("explain 1 --uplink " + capture("net.pcap", {{0, query_frame()}}) + " --unit " + unit(kTranslatingRule))
            .out;
    EXPECT_THAT(out, HasSubstr("It comes from the uplink, so in this mode the engine does not see it."));
    EXPECT_THAT(out, HasSubstr("It leaves through port 0, sent by the library: 60 bytes, VLAN 100."));
    EXPECT_THAT(out, EndsWith("The engine did not see it: no membership changes.\n"));
}

TEST_F(Explain, names_the_setting_that_switched_processing_off)
{
    const std::string out = run("explain 1 --port0 " + capture("user.pcap", {{0, join_frame("239.1.2.3")}}) +
                                " --unit " + unit("igmp_adapt_set_pkt_process_disable 1\n"))
                                .out;
    EXPECT_THAT(out, HasSubstr("igmp_adapt_set_pkt_process_disable has switched the processing of frames off."));
    EXPECT_THAT(out, EndsWith("Nothing leaves the unit because of it.\n"));
}

// The handlers report an unknown port up to three times.
TEST_F(Explain, says_a_thing_once_when_the_library_repeats_it)
{
    ReplayClock clock;
    std::FILE *file = std::tmpfile();
    Explanation explanation(1, clock, file);
    explanation.frame_arrived(1, 0, {nullptr, 0});
    const long begin = std::ftell(file);
    const std::string message = "\r\n[MC_DBG_ERR]: \n [checkPortState]port(7) is not find!";
    explanation.library_wrote(message + message);
    EXPECT_EQ(std::ftell(file) - begin,
              static_cast<long>(std::string("  1. Port 7 is none of the two configured ports.\n").size()));
    std::fclose(file);
}

TEST_F(Explain, tells_one_frame_only)
{
    const std::string out = run("explain 7 " + join_and_leave()).out;
    EXPECT_THAT(out, StartsWith("Frame 7 at 4.000000 s: IGMP"));
    EXPECT_THAT(out, AllOf(HasSubstr("IGMPv2 leave of 239.1.2.3"), Not(HasSubstr("IGMPv2 report"))));
    EXPECT_THAT(out, HasSubstr("  +2.000000 s Last listener gone of 239.1.2.3"));
}

} // namespace
} // namespace mcadapt::host::test
