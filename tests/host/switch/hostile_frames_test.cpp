#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "tests/host/switch/switch_fixture.h"

namespace mcadapt::host::test {
namespace {

class HostileFrames : public SwitchTest {
protected:
    // In memory of exactly its size, so that reading beyond its end shows under a sanitizer.
    bool arrive_exact(const uint8_t *bytes, std::size_t size)
    {
        const std::unique_ptr<uint8_t[]> copy(new uint8_t[size]);
        std::copy_n(bytes, size, copy.get());
        return unit.arrive(kUserPort, {copy.get(), size}, size);
    }

    void SetUp() override { filter(); }
};

TEST_F(HostileFrames, are_never_handed_up_when_they_end_before_their_packet_does)
{
    Packet with_options = hop_by_hop(60);
    append(with_options, {kIcmpv6, 0, 1, 4, 0, 0, 0, 0});
    append(with_options, mld_body(143));
    const Packet wholes[] = {igmp_report(), mld_report(),
                             in_vlan(5, kGroupMac, kIpv4, ipv4(kIgmp, kGroup, Packet(8, 0x16))),
                             frame(kGroupMac6, {{0x88A8, 5}, {0x8100, 6}}, kIpv6, ipv6(0, 2, with_options))};
    for (const Packet &whole : wholes) {
        EXPECT_TRUE(arrive_exact(whole.data(), whole.size()));
        const uint64_t dropped = drops(SwitchDrop::kTruncated);
        for (std::size_t size = 0; size < whole.size(); ++size) {
            SCOPED_TRACE(size);
            EXPECT_FALSE(arrive_exact(whole.data(), size));
        }
        EXPECT_EQ(drops(SwitchDrop::kTruncated) - dropped, whole.size());
    }
    EXPECT_EQ(unit.counters().trapped, std::size(wholes));
    EXPECT_TRUE(record.left_by.empty());
}

TEST_F(HostileFrames, of_data_are_dropped_only_when_they_end_within_a_header)
{
    struct {
        Packet whole;
        std::size_t headers;
    } const cases[] = {{untagged_data(), 34}, {data6_in_vlan(5), 58}};
    for (const auto &c : cases) {
        for (std::size_t size = 0; size <= c.whole.size(); ++size) {
            SCOPED_TRACE(size);
            record.left_by.clear();
            EXPECT_FALSE(arrive_exact(c.whole.data(), size));
            EXPECT_EQ(record.left_by.size(), size < c.headers ? 0u : 1u);
        }
    }
}

TEST_F(HostileFrames, may_end_within_a_pppoe_header)
{
    Packet session = {0x11, 0, 0, 1, 0, 2, 0x00, 0x21};
    append(session, ipv4(kIgmp, kGroup, Packet(8, 0x16)));
    const Packet whole = frame(kHostMac, {}, 0x8864, session);
    for (std::size_t size = 14; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_FALSE(arrive_exact(whole.data(), size));
    }
    EXPECT_EQ(drops(SwitchDrop::kTruncated), whole.size() - 14);
    EXPECT_TRUE(arrive_exact(whole.data(), whole.size()));
}

TEST_F(HostileFrames, may_chain_headers_and_tags_without_end)
{
    Packet extensions;
    for (int i = 0; i < 200; ++i)
        append(extensions, {0, 0, 1, 4, 0, 0, 0, 0});
    EXPECT_FALSE(arrive(kUplinkPort, in_vlan(5, kGroupMac6, kIpv6, ipv6(0, 8, extensions))));
    EXPECT_EQ(drops(SwitchDrop::kNoEntry), 1u);

    Packet tags(kGroupMac.begin(), kGroupMac.end());
    append(tags, {2, 0, 0, 0, 0, 9});
    for (int i = 0; i < 400; ++i)
        append(tags, {0x81, 0x00, 0x00, 0x05});
    EXPECT_FALSE(arrive(kUplinkPort, tags));
    EXPECT_EQ(drops(SwitchDrop::kNoEntry), 2u);
}

TEST_F(HostileFrames, of_random_bytes_do_no_harm_and_are_each_decided_once)
{
    std::mt19937 random(20);
    const Packet seeds[] = {igmp_report(), mld_report(), data_in_vlan(5), data6_in_vlan(5)};
    constexpr std::size_t kFrames = 20000;
    std::size_t trapped = 0;
    for (std::size_t i = 0; i < kFrames; ++i) {
        Packet packet = seeds[random() % 4];
        for (int flips = 0; flips < 4; ++flips)
            packet[random() % packet.size()] = static_cast<uint8_t>(random());
        if (arrive_exact(packet.data(), random() % (packet.size() + 1)))
            ++trapped;
    }
    const SwitchCounters &counters = unit.counters();
    uint64_t decided = counters.trapped + counters.forwarded + counters.flooded;
    for (const uint64_t count : counters.by_drop)
        decided += count;
    EXPECT_EQ(decided, kFrames);
    EXPECT_EQ(record.actions.size(), kFrames);
    EXPECT_EQ(counters.trapped, trapped);
    EXPECT_GT(trapped, 0u);
}

} // namespace
} // namespace mcadapt::host::test
