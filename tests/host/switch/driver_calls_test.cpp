#include "host/switch/switch_binding.h"
#include "platform/switch_driver.h"
#include "tests/host/switch/switch_fixture.h"

namespace mcadapt::host::test {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::size_t kRoom = 2048;

/** Gives the frames that it was given. */
class Frames final : public FrameSource {
public:
    std::vector<std::pair<uint8_t, Packet>> waiting;
    const uint8_t *delivered_end = nullptr;

    bool next(TrappedFrame &trapped) override
    {
        if (given_ == waiting.size())
            return false;
        trapped = {bytes_of(waiting[given_].second), waiting[given_].first};
        ++given_;
        return true;
    }
    void delivered(const uint8_t *end) override { delivered_end = end; }

private:
    std::size_t given_ = 0;
};

class DriverCalls : public SwitchTest {
protected:
    Frames source;

    void SetUp() override { install(&unit, &source); }
    void TearDown() override { install(nullptr, nullptr); }
};

TEST_F(DriverCalls, open_the_switch_and_choose_its_filter)
{
    EXPECT_EQ(L2_multicast_init(), 0);
    EXPECT_EQ(unit.filter_method(), 0u);
    EXPECT_EQ(L2_multicast_set_filter_method(2), 0);
    EXPECT_EQ(unit.filter_method(), 2u);
}

TEST_F(DriverCalls, refuse_a_filter_method_that_the_switch_does_not_have)
{
    L2_multicast_set_filter_method(2);
    for (const uint32_t method : {0u, 1u, 3u, 0xFFFFFFFFu})
        EXPECT_EQ(L2_multicast_set_filter_method(method), -1) << method;
    EXPECT_EQ(unit.filter_method(), 2u);
}

TEST_F(DriverCalls, set_trapping_and_flooding)
{
    EXPECT_EQ(l2_multicast_set_trap(0, 1), 0);
    EXPECT_TRUE(unit.traps(Family::kIgmp));
    EXPECT_FALSE(unit.traps(Family::kMld));
    EXPECT_EQ(l2_multicast_set_trap(0, 0), 0);
    EXPECT_FALSE(unit.traps(Family::kIgmp));
    EXPECT_EQ(l2_multicast_set_flood(1, 0), 0);
    EXPECT_TRUE(unit.floods(Family::kIgmp));
    EXPECT_FALSE(unit.floods(Family::kMld));
}

TEST_F(DriverCalls, refuse_selectors_and_switches_that_do_not_exist)
{
    for (const auto call : {l2_multicast_set_trap, l2_multicast_set_flood}) {
        EXPECT_EQ(call(2, 1), -1);
        EXPECT_EQ(call(0, 2), -1);
        EXPECT_EQ(call(0xFFFFFFFF, 0), -1);
    }
    EXPECT_FALSE(unit.traps(Family::kIgmp));
    EXPECT_TRUE(unit.floods(Family::kIgmp));
}

TEST_F(DriverCalls, add_and_remove_entries)
{
    EXPECT_EQ(L2_multicast_set_port_iptv_entry(0, kGroupMac.data(), 200), 0);
    EXPECT_THAT(unit.entries(), SizeIs(1));
    EXPECT_EQ(unit.entries()[0].mac, kGroupMac);
    EXPECT_EQ(L2_multicast_remove_port_iptv_entry(0, kGroupMac.data(), 200), 0);
    EXPECT_THAT(unit.entries(), IsEmpty());
    EXPECT_EQ(L2_multicast_remove_port_iptv_entry(0, kGroupMac.data(), 200), -1);
}

TEST_F(DriverCalls, send_a_frame_through_its_port)
{
    const Packet packet = igmp_report();
    const auto length = static_cast<uint32_t>(packet.size());
    EXPECT_EQ(L2_multicast_send_msg(packet.data(), 29, length, 0, 200), 0);
    EXPECT_THAT(record.left_by, ElementsAre(kUplinkPort));
    EXPECT_THAT(record.by_library, ElementsAre(true));
    EXPECT_THAT(record.frames, ElementsAre(packet));
    EXPECT_THAT(record.wire_sizes, ElementsAre(packet.size()));
    EXPECT_EQ(unit.port_counters(29).frames_out, 1u);
    EXPECT_EQ(unit.port_counters(29).bytes_out, packet.size());
}

TEST_F(DriverCalls, send_nothing_through_a_port_that_does_not_exist)
{
    const Packet packet = igmp_report();
    for (const uint32_t port : {1u, 30u, 255u})
        EXPECT_EQ(L2_multicast_send_msg(packet.data(), port, static_cast<uint32_t>(packet.size()), 0, 200), -1);
    EXPECT_THAT(record.left_by, IsEmpty());
}

TEST_F(DriverCalls, read_one_waiting_frame_after_the_other)
{
    source.waiting = {{0, igmp_report()}, {29, mld_report()}};
    uint8_t room[kRoom] = {};
    for (const auto &[from, packet] : source.waiting) {
        uint8_t port = 77;
        uint32_t length = 0;
        EXPECT_EQ(L2_multicast_read_msg(room, &port, &length), 0);
        EXPECT_EQ(port, from);
        EXPECT_EQ(Packet(room, room + length), packet);
        EXPECT_EQ(source.delivered_end, room + length);
    }
    uint8_t port = 77;
    uint32_t length = 5;
    EXPECT_NE(L2_multicast_read_msg(room, &port, &length), 0);
    EXPECT_EQ(port, 77);
    EXPECT_EQ(length, 5u);
}

TEST_F(DriverCalls, never_write_beyond_the_room_for_a_frame)
{
    source.waiting = {{0, Packet(kRoom + 100, 0xAA)}};
    std::vector<uint8_t> room(kRoom + 100, 0);
    uint8_t port = 0;
    uint32_t length = 0;
    EXPECT_EQ(L2_multicast_read_msg(room.data(), &port, &length), 0);
    EXPECT_EQ(length, kRoom);
    EXPECT_THAT(Packet(room.begin() + kRoom, room.end()), Each(0));
}

TEST_F(DriverCalls, are_refused_without_a_switch)
{
    install(nullptr, nullptr);
    uint8_t room[kRoom] = {};
    uint8_t port = 0;
    uint32_t length = 0;
    EXPECT_EQ(L2_multicast_init(), -1);
    EXPECT_EQ(L2_multicast_set_filter_method(2), -1);
    EXPECT_NE(L2_multicast_read_msg(room, &port, &length), 0);
    EXPECT_EQ(L2_multicast_send_msg(room, 0, 60, 0, 0), -1);
    EXPECT_EQ(L2_multicast_set_port_iptv_entry(0, kGroupMac.data(), 5), -1);
    EXPECT_EQ(L2_multicast_remove_port_iptv_entry(0, kGroupMac.data(), 5), -1);
    EXPECT_EQ(l2_multicast_set_trap(0, 1), -1);
    EXPECT_EQ(l2_multicast_set_flood(0, 1), -1);
}

} // namespace
} // namespace mcadapt::host::test
