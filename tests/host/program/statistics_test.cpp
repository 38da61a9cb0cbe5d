#include "host/program/statistics.h"

#include <gmock/gmock.h>

#include "tests/host/engine/wire.h"

namespace mcadapt::host {
namespace {

using std::chrono::seconds;

class StatisticsTest : public ::testing::Test {
protected:
    void at(int second) { clock.advance_to(seconds(second)); }
    void receive(const wire::Bytes &packet)
    {
        statistics.packet_received(Family::kIgmp, 0, 200, {packet.data(), packet.size()});
    }
    GroupAddress group(const std::string &text)
    {
        std::vector<NamedGroup> named;
        const wire::Bytes packet = wire::join(Family::kIgmp, 2, text);
        find_named_groups(Family::kIgmp, {packet.data(), packet.size()}, named);
        return named.at(0).group;
    }
    void membership(const std::string &text, bool joined)
    {
        statistics.membership_changed({group(text), 200, 0}, joined, "");
    }

    ReplayClock clock;
    Statistics statistics{clock};
};

TEST_F(StatisticsTest, leave_delay_runs_from_the_first_leave_of_the_group)
{
    at(1);
    membership("239.1.1.1", true);
    at(10);
    receive(wire::leave(Family::kIgmp, "239.1.1.1"));
    at(11);
    receive(wire::leave(Family::kIgmp, "239.1.1.1")); // repeated
    at(12);
    membership("239.1.1.1", false);
    EXPECT_EQ(statistics.leave_delays().count, 1u);
    EXPECT_EQ(statistics.leave_delays().longest, seconds(2));
    EXPECT_EQ(statistics.joins(), 1u);
    EXPECT_EQ(statistics.leaves(), 1u);
}

TEST_F(StatisticsTest, leave_that_is_taken_back_is_not_measured)
{
    at(10);
    receive(wire::leave(Family::kIgmp, "239.1.1.1"));
    at(11);
    receive(wire::join(Family::kIgmp, 2, "239.1.1.1")); // somebody else still listens
    at(270);
    membership("239.1.1.1", false);
    EXPECT_EQ(statistics.leave_delays().count, 0u);
}

TEST_F(StatisticsTest, leave_of_one_group_says_nothing_of_another)
{
    at(10);
    receive(wire::leave(Family::kIgmp, "239.1.1.1"));
    at(260);
    membership("239.1.1.2", false); // timed out
    EXPECT_EQ(statistics.leave_delays().count, 0u);
    EXPECT_EQ(statistics.leaves(), 1u);
}

TEST_F(StatisticsTest, join_delay_runs_from_the_entry_to_its_first_frame)
{
    const uint8_t frame[] = {0x01, 0x00, 0x5E, 0x01, 0x01, 0x01, 2, 0, 0, 0, 0, 1, 8, 0};
    at(1);
    statistics.entry_changed(0, frame, 200, true);
    at(2);
    statistics.frame_left(0, {frame, sizeof(frame)}, true); // not forwarded, but sent by the library
    statistics.frame_left(1, {frame, sizeof(frame)}, false);
    EXPECT_EQ(statistics.join_delays().count, 0u);
    at(4);
    statistics.frame_left(0, {frame, sizeof(frame)}, false);
    at(5);
    statistics.frame_left(0, {frame, sizeof(frame)}, false);
    EXPECT_EQ(statistics.join_delays().count, 1u);
    EXPECT_EQ(statistics.join_delays().shortest, seconds(3));
}

TEST_F(StatisticsTest, entry_that_is_removed_unused_is_not_measured)
{
    const uint8_t frame[] = {0x01, 0x00, 0x5E, 0x01, 0x01, 0x01, 2, 0, 0, 0, 0, 1, 8, 0};
    statistics.entry_changed(0, frame, 200, true);
    statistics.entry_changed(0, frame, 200, false);
    statistics.frame_left(0, {frame, sizeof(frame)}, false);
    EXPECT_EQ(statistics.join_delays().count, 0u);
}

} // namespace
} // namespace mcadapt::host
