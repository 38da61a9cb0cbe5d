// The tables under the memberships, against the standard ones.
#include "host/engine/membership.h"

#include <map>
#include <random>

#include <gtest/gtest.h>

namespace mcadapt::host {
namespace {

GroupKey key_of(uint32_t number)
{
    return {ipv4(0xEF000000u + number % 97), static_cast<uint16_t>(100 + number % 3),
            static_cast<uint16_t>(number % 5)};
}

TEST(GroupTable, agrees_with_a_standard_map_whatever_is_added_and_removed)
{
    std::mt19937 random(3);
    GroupTable table;
    std::map<GroupKey, PortGroup *> expected;
    for (int step = 0; step < 30000; ++step) {
        const GroupKey key = key_of(static_cast<uint32_t>(random() % 1500));
        PortGroup *found = table.find(key);
        ASSERT_EQ(found, expected.count(key) > 0 ? expected[key] : nullptr) << step;
        if (found) {
            table.remove(*found);
            expected.erase(key);
        } else {
            expected[key] = &table.add(key); // and there it stays
        }
        ASSERT_EQ(table.size(), expected.size());
    }
    for (const auto &[key, group] : expected) {
        EXPECT_EQ(table.find(key), group);
        EXPECT_TRUE(group->used);
    }
}

TEST(GroupTable, places_of_removed_groups_are_used_again)
{
    GroupTable table;
    for (uint32_t i = 0; i < 90; ++i)
        table.add(key_of(i));
    const std::size_t places = table.places();
    for (int round = 0; round < 10; ++round) {
        for (uint32_t i = 0; i < 90; ++i)
            table.remove(*table.find(key_of(i)));
        for (uint32_t i = 0; i < 90; ++i)
            table.add(key_of(i));
    }
    EXPECT_EQ(table.places(), places);
}

TEST(EntryCounts, agree_with_a_standard_map)
{
    std::mt19937 random(4);
    EntryCounts counts;
    std::map<uint64_t, uint32_t> expected;
    for (int step = 0; step < 30000; ++step) {
        const uint64_t key = 1ull << 63 | random() % 200;
        if (random() % 2 == 0) {
            ASSERT_EQ(counts.add(key), ++expected[key]);
        } else {
            const uint32_t left = expected[key] > 0 ? --expected[key] : 0;
            ASSERT_EQ(counts.remove(key), left);
        }
    }
}

TEST(EntryCounts, nothing_is_there_at_first) { EXPECT_EQ(EntryCounts().remove(1ull << 63), 0u); }

} // namespace
} // namespace mcadapt::host
