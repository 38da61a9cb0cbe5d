#include <thread>
#include <vector>

#include "tests/host/switch/switch_fixture.h"

namespace mcadapt::host::test {
namespace {

class SwitchThreads : public SwitchTest {};

// The library sends and sets entries on its receive task and on the engine's threads.
TEST_F(SwitchThreads, can_use_the_switch_at_the_same_time)
{
    constexpr uint32_t kRounds = 2000;
    constexpr uint32_t kThreads = 4;
    filter();
    const Packet packet = data_in_vlan(5);
    const auto use = [&](uint32_t thread) {
        const Mac mac = {{0x01, 0x00, 0x5E, 0x01, 0x02, static_cast<uint8_t>(thread)}};
        for (uint32_t i = 0; i < kRounds; ++i) {
            EXPECT_EQ(unit.add_entry(0, mac.data(), i), 0);
            EXPECT_EQ(unit.send(bytes_of(packet), kUplinkPort), 0);
            unit.arrive(kUplinkPort, bytes_of(packet), packet.size());
            EXPECT_EQ(unit.remove_entry(0, mac.data(), i), 0);
        }
    };
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < kThreads; ++thread)
        threads.emplace_back(use, thread);
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(record.left_by.size(), kThreads * kRounds);
    EXPECT_EQ(drops(SwitchDrop::kNoEntry), kThreads * kRounds);
    EXPECT_TRUE(unit.entries().empty());
}

} // namespace
} // namespace mcadapt::host::test
