#include "host/program/timeline.h"

#include <gmock/gmock.h>

#include <memory>

#include "tests/host/program/program_fixture.h"

namespace mcadapt::host::test {
namespace {

using std::chrono::milliseconds;

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

const GroupAddress kGroup = {Family::kIgmp, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 2, 1, 239}};
const uint8_t kMac[6] = {0x01, 0x00, 0x5E, 0x01, 0x02, 0x03};

class TimelineTest : public ::testing::Test {
protected:
    void at(int millis) { clock.advance_to(std::chrono::seconds(1700000000) + milliseconds(millis)); }
    static Bytes bytes(const std::string &frame)
    {
        return {reinterpret_cast<const uint8_t *>(frame.data()), frame.size()};
    }
    void arrive(uint32_t port, const std::string &frame, SwitchAction action, const char *reason = "")
    {
        timeline.frame_arrived(++frames, port, bytes(frame));
        timeline.switch_decided(action, reason);
    }
    void data(int millis, bool forwarded, const std::string &group = "239.1.2.3")
    {
        at(millis);
        const std::string frame = data_frame(group);
        arrive(29, frame, forwarded ? SwitchAction::kForwarded : SwitchAction::kDropped,
               forwarded ? "" : "no forwarding entry");
        if (forwarded)
            timeline.frame_left(0, bytes(frame), false);
        timeline.frame_handled();
    }
    std::string text()
    {
        printed = timeline.finish();
        std::string all(static_cast<std::size_t>(std::ftell(out.get())), '\0');
        std::rewind(out.get());
        EXPECT_EQ(std::fread(all.data(), 1, all.size(), out.get()), all.size());
        return all;
    }

    std::unique_ptr<std::FILE, CloseFile> out{std::tmpfile()};
    ReplayClock clock;
    Timeline timeline{clock, out.get()};
    uint64_t frames = 0;
    bool printed = false;
};

TEST_F(TimelineTest, tells_a_join_from_the_frame_to_what_leaves)
{
    at(0);
    timeline.operation_called("mldPrint", "done");
    arrive(0, join_frame("239.1.2.3"), SwitchAction::kTrapped);
    timeline.packet_received(Family::kIgmp, 0, 200, {nullptr, 32});
    timeline.packet_accepted(Family::kIgmp, "IGMPv2 report for 239.1.2.3");
    timeline.membership_changed({kGroup, 200, 0}, true, "a host asked for the group");
    timeline.entry_changed(0, kMac, 200, true);
    timeline.frame_left(29, bytes(join_frame("239.1.2.3", 200)), true);
    timeline.frame_handled();
    at(2500);
    timeline.membership_changed({kGroup, 200, 0}, false, "nobody answered in time");
    timeline.entry_changed(0, kMac, 200, false);
    EXPECT_EQ(text(), "       start  operation mldPrint = done\n"
                      "    0.000000  frame 1: IGMP from port 0, 60 bytes, VLAN 100\n"
                      "                to the engine, as from port 0 in VLAN 200\n"
                      "                engine takes IGMPv2 report for 239.1.2.3\n"
                      "                joined 239.1.2.3 in VLAN 200 on port 0 (a host asked for the group)\n"
                      "                entry added: 01:00:5e:01:02:03 in VLAN 200 to port 0\n"
                      "                sent to the uplink, 60 bytes, VLAN 200\n"
                      "    2.500000  left 239.1.2.3 in VLAN 200 on port 0 (nobody answered in time)\n"
                      "                entry removed: 01:00:5e:01:02:03 in VLAN 200 to port 0\n");
    EXPECT_TRUE(printed);
}

TEST_F(TimelineTest, tells_of_a_stream_what_changes)
{
    data(0, false);
    data(10, false);
    data(15, false, "239.9.9.9");
    data(20, false);
    data(30, true);
    data(40, true);
    data(50, false);
    EXPECT_EQ(text(), "    0.000000  frame 1: IPv4 multicast data to 01:00:5e:01:02:03 from the uplink, VLAN 200: "
                      "dropped, no forwarding entry\n"
                      "    0.015000  frame 3: IPv4 multicast data to 01:00:5e:09:09:09 from the uplink, VLAN 200: "
                      "dropped, no forwarding entry\n"
                      "    0.030000  frame 5: IPv4 multicast data to 01:00:5e:01:02:03 from the uplink, VLAN 200: "
                      "forwarded to port 0 (3 before: dropped, no forwarding entry)\n"
                      "    0.050000  frame 7: IPv4 multicast data to 01:00:5e:01:02:03 from the uplink, VLAN 200: "
                      "dropped, no forwarding entry (2 before: forwarded to port 0)\n");
}

TEST_F(TimelineTest, tells_of_a_frame_that_the_library_dropped)
{
    at(0);
    arrive(0, join_frame("239.1.2.3"), SwitchAction::kTrapped);
    timeline.library_wrote("\r\n[MC_DBG_ERR]: \n port(30) is invalid!");
    timeline.frame_handled();
    EXPECT_EQ(text(), "    0.000000  frame 1: IGMP from port 0, 60 bytes, VLAN 100\n"
                      "                | [MC_DBG_ERR]: \n"
                      "                |  port(30) is invalid!\n"
                      "                dropped by the library; 'mcadapt explain' tells why\n");
}

TEST_F(TimelineTest, tells_what_the_engine_and_the_switch_dropped)
{
    at(0);
    arrive(0, join_frame("239.1.2.3"), SwitchAction::kTrapped);
    timeline.packet_received(Family::kIgmp, 0, 200, {nullptr, 32});
    timeline.packet_dropped(Family::kIgmp, "ttl", "every message has TTL 1");
    timeline.group_refused({kGroup, 200, 0}, "group-limit", "");
    timeline.packet_sent(Family::kIgmp, 0, 200, "IGMP general query");
    timeline.frame_handled();
    at(1);
    arrive(0, join_frame("239.1.2.3"), SwitchAction::kDropped, "cut by the capture");
    timeline.frame_handled();
    EXPECT_EQ(text(), "    0.000000  frame 1: IGMP from port 0, 60 bytes, VLAN 100\n"
                      "                to the engine, as from port 0 in VLAN 200\n"
                      "                dropped by the engine: ttl (every message has TTL 1)\n"
                      "                refused: 239.1.2.3 in VLAN 200 on port 0: group-limit\n"
                      "                engine sends IGMP general query to port 0 in VLAN 200\n"
                      "    0.001000  frame 2: IGMP from port 0, 60 bytes, VLAN 100\n"
                      "                dropped by the switch: cut by the capture\n");
}

TEST_F(TimelineTest, names_frames_that_are_no_ip)
{
    at(0);
    arrive(0, std::string("\x01\x02\x03\x04", 4), SwitchAction::kDropped, "frame ends within a header");
    timeline.frame_handled();
    EXPECT_EQ(text(),
              "    0.000000  frame 1: truncated frame from port 0, untagged: dropped, frame ends within a header\n");
}

TEST_F(TimelineTest, of_nothing_is_empty)
{
    EXPECT_EQ(text(), "");
    EXPECT_FALSE(printed);
}

} // namespace
} // namespace mcadapt::host::test
