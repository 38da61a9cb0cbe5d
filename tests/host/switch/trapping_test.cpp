#include "tests/host/switch/switch_fixture.h"

namespace mcadapt::host::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Trapping : public SwitchTest {};

TEST_F(Trapping, is_off_and_flooding_on_until_the_driver_says_otherwise)
{
    for (const Family family : {Family::kIgmp, Family::kMld}) {
        EXPECT_FALSE(unit.traps(family));
        EXPECT_TRUE(unit.floods(family));
    }
}

TEST_F(Trapping, hands_up_protocol_frames_and_sends_them_nowhere)
{
    filter();
    EXPECT_TRUE(arrive(kUserPort, igmp_report()));
    EXPECT_TRUE(arrive(kUplinkPort, mld_report()));
    EXPECT_TRUE(arrive(kSecondUserPort, igmp_report()));
    EXPECT_THAT(record.actions, ElementsAre(SwitchAction::kTrapped, SwitchAction::kTrapped, SwitchAction::kTrapped));
    EXPECT_THAT(record.reasons, ElementsAre("", "", ""));
    EXPECT_THAT(record.left_by, IsEmpty());
    EXPECT_EQ(unit.counters().trapped, 3u);
}

TEST_F(Trapping, is_set_for_each_family_by_itself)
{
    struct {
        uint32_t selector;
        bool igmp;
        bool mld;
    } const cases[] = {{0, true, false}, {1, false, true}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.selector);
        unit.set_trap(c.selector, 1);
        unit.set_trap(1 - c.selector, 0);
        EXPECT_EQ(unit.traps(Family::kIgmp), c.igmp);
        EXPECT_EQ(unit.traps(Family::kMld), c.mld);
        EXPECT_EQ(arrive(kUserPort, igmp_report()), c.igmp);
        EXPECT_EQ(arrive(kUserPort, mld_report()), c.mld);
    }
}

TEST_F(Trapping, takes_flooding_over_when_both_are_on)
{
    unit.set_trap(0, 1);
    EXPECT_TRUE(arrive(kUserPort, igmp_report()));
    EXPECT_THAT(record.left_by, IsEmpty());
}

TEST_F(Trapping, that_is_off_floods_protocol_frames_to_all_other_ports)
{
    EXPECT_FALSE(arrive(kUserPort, igmp_report()));
    EXPECT_THAT(record.actions, ElementsAre(SwitchAction::kFlooded));
    EXPECT_THAT(record.left_by, ElementsAre(kSecondUserPort, kUplinkPort));
    EXPECT_EQ(unit.counters().flooded, 1u);
}

TEST_F(Trapping, and_flooding_both_off_drop_protocol_frames)
{
    unit.set_flood(1, 0);
    EXPECT_FALSE(arrive(kUserPort, mld_report()));
    expect_dropped(SwitchDrop::kNotTrapped);
}

TEST_F(Trapping, hands_up_a_frame_as_long_as_the_driver_buffer_and_none_beyond)
{
    filter();
    Packet report = igmp_report();
    report.resize(2048); // padded
    EXPECT_TRUE(arrive(kUserPort, report));
    report.push_back(0);
    record = Record();
    EXPECT_FALSE(arrive(kUserPort, report));
    expect_dropped(SwitchDrop::kTooLong);
}

TEST_F(Trapping, accepts_a_frame_of_which_a_capture_cut_the_padding_only)
{
    filter();
    const Packet report = igmp_report();
    EXPECT_TRUE(unit.arrive(kUserPort, bytes_of(report), 64));
}

TEST_F(Trapping, drops_a_frame_whose_packet_a_capture_cut)
{
    filter();
    Packet report = igmp_report();
    const std::size_t whole = report.size();
    report.pop_back();
    EXPECT_FALSE(unit.arrive(kUserPort, bytes_of(report), whole));
    expect_dropped(SwitchDrop::kCut);
}

TEST_F(Trapping, drops_a_frame_whose_ip_length_lies)
{
    filter();
    Packet report = igmp_report();
    report[14 + 3] = static_cast<uint8_t>(report[14 + 3] + 1);
    EXPECT_FALSE(arrive(kUserPort, report));
    expect_dropped(SwitchDrop::kTruncated);
    EXPECT_EQ(unit.counters().by_kind[static_cast<std::size_t>(FrameKind::kIgmp)], 1u);
}

} // namespace
} // namespace mcadapt::host::test
