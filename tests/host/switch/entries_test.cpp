#include <tuple>

#include "tests/host/switch/switch_fixture.h"

namespace mcadapt::host::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Entries : public SwitchTest {
protected:
    using Line = std::tuple<uint16_t, uint8_t, uint32_t>; // VLAN, last byte of the address, port

    static Mac mac(uint8_t last) { return {{0x01, 0x00, 0x5E, 0x01, 0x01, last}}; }
    int32_t add(int32_t port, uint8_t last, uint32_t vlan) { return unit.add_entry(port, mac(last).data(), vlan); }
    int32_t remove(int32_t port, uint8_t last, uint32_t vlan)
    {
        return unit.remove_entry(port, mac(last).data(), vlan);
    }
    std::vector<Line> listed() const
    {
        std::vector<Line> lines;
        for (const ForwardingEntry &entry : unit.entries())
            lines.emplace_back(entry.vlan, entry.mac[5], entry.port);
        return lines;
    }
};

TEST_F(Entries, are_listed_by_vlan_address_and_port)
{
    add(29, 1, 300);
    add(0, 9, 200);
    add(3, 1, 300);
    add(0, 1, 300);
    add(0, 2, 200);
    EXPECT_THAT(listed(),
                ElementsAre(Line(200, 2, 0), Line(200, 9, 0), Line(300, 1, 0), Line(300, 1, 3), Line(300, 1, 29)));
}

TEST_F(Entries, are_told_when_they_come_and_go)
{
    EXPECT_EQ(add(0, 1, 300), 0);
    EXPECT_EQ(remove(0, 1, 300), 0);
    EXPECT_THAT(record.entries, ElementsAre("+0/1/300", "-0/1/300"));
    EXPECT_THAT(listed(), IsEmpty());
}

TEST_F(Entries, that_are_there_already_are_taken_and_change_nothing)
{
    add(0, 1, 300);
    clock.advance_to(std::chrono::seconds(1));
    EXPECT_EQ(add(0, 1, 300), 0);
    EXPECT_THAT(record.entries, ElementsAre("+0/1/300"));
    EXPECT_EQ(unit.entries()[0].added, Time{0});
    EXPECT_EQ(remove(0, 1, 300), 0);
    EXPECT_THAT(listed(), IsEmpty());
}

TEST_F(Entries, that_are_not_there_cannot_be_removed)
{
    add(0, 1, 300);
    EXPECT_EQ(remove(3, 1, 300), -1);
    EXPECT_EQ(remove(0, 2, 300), -1);
    EXPECT_EQ(remove(0, 1, 301), -1);
    EXPECT_THAT(listed(), ElementsAre(Line(300, 1, 0)));
    EXPECT_THAT(record.entries, ElementsAre("+0/1/300"));
}

TEST_F(Entries, of_one_port_leave_those_of_another_alone)
{
    add(0, 1, 300);
    add(3, 1, 300);
    EXPECT_EQ(remove(0, 1, 300), 0);
    EXPECT_THAT(listed(), ElementsAre(Line(300, 1, 3)));
}

TEST_F(Entries, for_the_wildcard_are_those_of_the_uplink)
{
    EXPECT_EQ(add(-1, 1, 300), 0);
    EXPECT_THAT(listed(), ElementsAre(Line(300, 1, kUplinkPort)));
    EXPECT_EQ(add(29, 1, 300), 0);
    EXPECT_EQ(remove(-1, 1, 300), 0);
    EXPECT_THAT(listed(), IsEmpty());
}

TEST_F(Entries, for_ports_that_do_not_exist_are_refused)
{
    for (const int32_t port : {1, 28, 30, 255, 32767, -2, -32768}) {
        EXPECT_EQ(add(port, 1, 300), -1) << port;
        EXPECT_EQ(remove(port, 1, 300), -1) << port;
    }
    EXPECT_THAT(record.entries, IsEmpty());
}

TEST_F(Entries, keep_all_sixteen_bits_of_their_vlan)
{
    EXPECT_EQ(add(0, 1, 0x1005), 0);
    EXPECT_EQ(add(0, 1, 0xFFFF), 0);
    EXPECT_EQ(add(0, 1, 0x10000), -1);
    EXPECT_EQ(remove(0, 1, 0x10000), -1);
    EXPECT_THAT(listed(), ElementsAre(Line(0x1005, 1, 0), Line(0xFFFF, 1, 0)));
    unit.set_flood(0, 0);
    arrive(kUplinkPort, data_in_vlan(5)); // no frame has such a VLAN
    EXPECT_THAT(record.left_by, IsEmpty());
}

TEST_F(Entries, can_be_many)
{
    constexpr uint32_t kMany = 5000;
    for (uint32_t i = 0; i < kMany; ++i)
        add(0, static_cast<uint8_t>(i), i / 256);
    EXPECT_EQ(listed().size(), kMany);
    for (uint32_t i = 0; i < kMany; ++i)
        EXPECT_EQ(remove(0, static_cast<uint8_t>(i), i / 256), 0);
    EXPECT_THAT(listed(), IsEmpty());
}

} // namespace
} // namespace mcadapt::host::test
