#include "host/program/text.h"

#include <gmock/gmock.h>

namespace mcadapt::host {
namespace {

using ::testing::ElementsAre;

std::string tags_of(const std::vector<uint8_t> &behind_addresses)
{
    std::vector<uint8_t> frame(12, 2);
    frame.insert(frame.end(), behind_addresses.begin(), behind_addresses.end());
    return tags_text({frame.data(), frame.size()});
}

TEST(Text, of_tags_names_vlans_priorities_and_what_is_not_ip)
{
    EXPECT_EQ(tags_of({0x08, 0x00}), "untagged");
    EXPECT_EQ(tags_of({0x86, 0xDD}), "untagged");
    EXPECT_EQ(tags_of({0x81, 0x00, 0x00, 0xC8, 0x08, 0x00}), "VLAN 200");
    EXPECT_EQ(tags_of({0x81, 0x00, 0xB0, 0xC8, 0x08, 0x00}), "VLAN 200 priority 5"); // bit 12 is no part of the id
    EXPECT_EQ(tags_of({0x88, 0xA8, 0x00, 0x05, 0x81, 0x00, 0x60, 0x01, 0x86, 0xDD}), "VLAN 5, then VLAN 1 priority 3");
    EXPECT_EQ(tags_of({0x00, 0x64, 0x00, 0xC8}), "untagged, EtherType 0x0064");
    EXPECT_EQ(tags_of({0x81, 0x00, 0x00, 0x64, 0x88, 0x64}), "VLAN 100, EtherType 0x8864");
    EXPECT_EQ(tags_of({}), "untagged");
}

TEST(Text, of_counts_times_and_ports)
{
    EXPECT_EQ(count_text(0), "0");
    EXPECT_EQ(count_text(999), "999");
    EXPECT_EQ(count_text(1234567), "1,234,567");
    EXPECT_EQ(seconds_text(std::chrono::microseconds(12500001)), "12.500001");
    EXPECT_EQ(port_text(29), "the uplink");
    EXPECT_EQ(port_text(2), "port 2");
}

TEST(Text, of_the_library_is_split_into_lines_without_empty_ones)
{
    EXPECT_THAT(lines_of("\r\n[A]: \n b\r\n\r\nc"), ElementsAre("[A]: ", " b", "c"));
}

} // namespace
} // namespace mcadapt::host
