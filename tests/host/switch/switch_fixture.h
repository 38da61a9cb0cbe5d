/**
 * @file
 * A switch with two user ports beside the uplink, and a record of what it told and sent.
 */
#ifndef MCADAPT_TESTS_HOST_SWITCH_SWITCH_FIXTURE_H
#define MCADAPT_TESTS_HOST_SWITCH_SWITCH_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/switch/switch.h"
#include "tests/host/switch/frames.h"

namespace mcadapt::host::test {

/** Observer and sink that keep what they are told. */
class Record final : public Observer, public FrameSink {
public:
    std::vector<SwitchAction> actions;
    std::vector<std::string> reasons;
    std::vector<uint32_t> left_by; // ports, in order
    std::vector<uint32_t> told_left_by;
    std::vector<bool> by_library;
    std::vector<Packet> frames;
    std::vector<std::size_t> wire_sizes;
    std::vector<std::string> entries;

    void switch_decided(SwitchAction action, std::string_view reason) override
    {
        actions.push_back(action);
        reasons.emplace_back(reason);
    }
    void frame_left(uint32_t port, Bytes, bool library) override
    {
        told_left_by.push_back(port);
        by_library.push_back(library);
    }
    void leave(uint32_t port, Bytes bytes, std::size_t wire_size) override
    {
        left_by.push_back(port);
        frames.emplace_back(bytes.data, bytes.data + bytes.size);
        wire_sizes.push_back(wire_size);
    }
    void entry_changed(uint32_t port, const uint8_t *mac, uint16_t vlan, bool added) override
    {
        entries.push_back((added ? "+" : "-") + std::to_string(port) + "/" + std::to_string(mac[5]) + "/" +
                          std::to_string(vlan));
    }
};

class SwitchTest : public ::testing::Test {
protected:
    static constexpr uint32_t kSecondUserPort = 3;

    ReplayClock clock;
    Record record;
    Switch unit{clock, record, record, {kUserPort, kUplinkPort, kSecondUserPort}};

    bool arrive(uint32_t port, const Packet &packet) { return unit.arrive(port, bytes_of(packet), packet.size()); }

    /** The mode of a unit that filters: traps on, floods off. */
    void filter()
    {
        for (const uint32_t selector : {0u, 1u}) {
            EXPECT_EQ(unit.set_trap(selector, 1), 0);
            EXPECT_EQ(unit.set_flood(selector, 0), 0);
        }
        EXPECT_EQ(unit.set_filter_method(2), 0);
    }

    uint64_t drops(SwitchDrop reason) const { return unit.counters().by_drop[static_cast<std::size_t>(reason)]; }

    /** The only thing that happened to the last frame is this drop. */
    void expect_dropped(SwitchDrop reason)
    {
        EXPECT_THAT(record.actions, ::testing::ElementsAre(SwitchAction::kDropped));
        EXPECT_THAT(record.reasons, ::testing::ElementsAre(std::string(drop_name(reason))));
        EXPECT_THAT(record.left_by, ::testing::IsEmpty());
        EXPECT_EQ(drops(reason), 1u);
    }
};

} // namespace mcadapt::host::test

#endif
