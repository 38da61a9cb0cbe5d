// Gathered status: packed records, interface counters, shared segment.
#include <cstring>
#include <sys/ipc.h>
#include <sys/shm.h>

#include "engine_fixture.h"
#include "mcadapt/records.h"

namespace engine_test {
namespace {

constexpr Family kIgmp = Family::kIgmp;

class Status : public EngineTest {
protected:
    static uint32_t value(const std::string &group) { return wire::ipv4_value(group); }
    void join(const std::string &group, uint32_t port = 0, const std::string &host = "10.1.0.7")
    {
        wire::Around around;
        around.source = host;
        give(wire::join(kIgmp, 2, group, around), port);
    }
    int32_t gather(uint32_t port = 255, uint32_t length = MC_ENGINE_GROUP_BUFFER_BYTES)
    {
        buffer_.assign(length, 0xEE);
        return engine_.gather_groups(port, length, buffer_.data());
    }
    template <class T> T at(std::size_t offset) const
    {
        T out;
        std::memcpy(&out, buffer_.data() + offset, sizeof out);
        return out;
    }
    uint32_t count() const { return at<uint32_t>(0); }

    std::vector<uint8_t> buffer_;
};

TEST_F(Status, no_group_is_an_answer_too)
{
    EXPECT_GT(gather(), 0);
    EXPECT_EQ(count(), 0u);
}

TEST_F(Status, a_record_is_packed_into_25_bytes)
{
    engine_.add_port_range(0, value("239.1.2.0"), value("239.1.2.9"), 700, 100);
    give(wire::report(kIgmp, {{wire::kIsIn, "239.1.2.3", {"10.9.0.5", "10.9.0.4"}}}));
    pass(42s);
    EXPECT_EQ(gather(), 4 + 25);
    EXPECT_EQ(count(), 1u);
    EXPECT_EQ(at<uint16_t>(4), 100);                 // VLAN
    EXPECT_EQ(at<uint32_t>(6), value("10.9.0.4"));   // first source
    EXPECT_EQ(at<uint32_t>(10), value("239.1.2.3")); // group
    EXPECT_EQ(at<uint32_t>(14), 700u);               // bandwidth
    EXPECT_EQ(at<uint32_t>(18), value("10.1.0.7"));  // host
    EXPECT_EQ(at<uint32_t>(22), 42u);                // seconds
    EXPECT_EQ(at<uint16_t>(26), 0);                  // nothing
    EXPECT_EQ(at<uint8_t>(28), 0);                   // port
    EXPECT_EQ(at<uint8_t>(29), 0xEE) << "nothing behind";
}

TEST_F(Status, records_come_by_vlan_group_and_port_and_of_the_port_asked_for)
{
    join("239.1.2.9");
    join("239.1.2.3", 1);
    join("239.1.2.3", 0);
    gather();
    EXPECT_EQ(count(), 3u);
    EXPECT_EQ(at<uint32_t>(10), value("239.1.2.3"));
    EXPECT_EQ(at<uint8_t>(28), 0);
    EXPECT_EQ(at<uint8_t>(28 + 25), 1);
    EXPECT_EQ(at<uint32_t>(10 + 50), value("239.1.2.9"));
    gather(1);
    EXPECT_EQ(count(), 1u);
    EXPECT_EQ(at<uint8_t>(28), 1);
    gather(29);
    EXPECT_EQ(count(), 0u);
}

TEST_F(Status, the_last_reporter_and_the_first_join_are_kept)
{
    join("239.1.2.3");
    pass(30s);
    join("239.1.2.3", 0, "10.1.0.9");
    gather();
    EXPECT_EQ(at<uint32_t>(18), value("10.1.0.9"));
    EXPECT_EQ(at<uint32_t>(22), 30u);
}

TEST_F(Status, no_more_than_fits_is_written_and_no_more_than_512)
{
    for (int i = 0; i < 600; ++i)
        join("239.3." + std::to_string(i / 200) + "." + std::to_string(i % 200));
    EXPECT_EQ(gather(), 12804);
    EXPECT_EQ(count(), 512u);
    EXPECT_EQ(gather(255, 4 + 25 * 3 + 24), 4 + 25 * 3);
    EXPECT_EQ(count(), 3u);
    EXPECT_EQ(gather(255, 20000), 12804);
    EXPECT_EQ(gather(255, 3), 0);
    EXPECT_EQ(engine_.gather_groups(255, 100, nullptr), 0);
}

TEST_F(Status, groups_by_order_are_gathered_and_mld_groups_are_not)
{
    engine_.add_static(0, 100, 7, 0);
    give(wire::join(Family::kMld, 1, "ff1e::3"));
    gather();
    EXPECT_EQ(count(), 1u);
    EXPECT_EQ(at<uint32_t>(18), 0u) << "nobody reported it";
}

TEST_F(Status, the_four_interface_counters)
{
    engine_.add_port_range(0, value("239.1.2.0"), value("239.1.2.9"), 700, 100);
    engine_.set_bandwidth_limit(0, 1, 1000, 100);
    join("239.1.2.3");
    join("239.1.2.4");
    join("239.9.0.1");
    give(wire::leave(kIgmp, "239.9.0.1"));
    give(wire::report(kIgmp, {{wire::kIsIn, "239.9.0.2", {"10.9.0.5"}}, {wire::kBlock, "239.9.0.1", {"10.9.0.5"}}}));
    uint32_t counters[4] = {9, 9, 9, 9};
    EXPECT_EQ(engine_.gather_interface(0, 16, counters), 16);
    EXPECT_EQ(counters[0], 700u);
    EXPECT_EQ(counters[1], 4u);
    EXPECT_EQ(counters[2], 1u);
    EXPECT_EQ(counters[3], 3u);
    EXPECT_EQ(engine_.gather_interface(0, 15, counters), 0);
    EXPECT_EQ(engine_.gather_interface(30, 16, counters), 0);
    EXPECT_EQ(engine_.gather_interface(0, 16, nullptr), 0);
    EXPECT_EQ(engine_.gather_interface(1, 16, counters), 16);
    EXPECT_EQ(counters[1] + counters[3], 0u);
}

TEST_F(Status, the_shared_segment_is_kept_up_to_date_once_asked_for)
{
    if (shmget(82, 0, 0) != -1 || !engine_.share_status(true))
        GTEST_SKIP() << "no shared memory here, or the segment is somebody else's";
    const int id = shmget(82, sizeof(grp_info), 0);
    ASSERT_NE(id, -1);
    const auto *status = static_cast<const grp_info *>(shmat(id, nullptr, SHM_RDONLY));
    ASSERT_NE(static_cast<const void *>(status), reinterpret_cast<void *>(-1));
    join("239.1.2.3");
    EXPECT_EQ(status->std_cnt, 1u);
    EXPECT_EQ(status->group[0].groupAddress, value("239.1.2.3"));
    EXPECT_EQ(status->group[0].vlanId, 100);
    EXPECT_EQ(status->interfaceStatus[0].counter[1], 1u);
    EXPECT_EQ(status->interfaceStatus[0].counter[3], 1u);
    EXPECT_EQ(status->statusMode, 1u);
    EXPECT_EQ(status->oamFastLeave, 1u);
    engine_.set_port_fast_leave(0, 1);
    engine_.set_group_limit(0, 77);
    EXPECT_EQ(status->oamFastLeave, 2u);
    EXPECT_EQ(status->statusGroupLimit[0], 77u);
    engine_.set_mode(kIgmp, Mode::kControl);
    EXPECT_EQ(status->statusMode, 3u);
    EXPECT_EQ(status->std_cnt, 0u);
    engine_.share_status(false);
    engine_.set_mode(kIgmp, Mode::kSnooping);
    EXPECT_EQ(status->statusMode, 3u) << "nobody asks any more";
    shmdt(status);
    shmctl(id, IPC_RMID, nullptr);
}

} // namespace
} // namespace engine_test
