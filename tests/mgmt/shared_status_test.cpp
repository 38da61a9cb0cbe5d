/** Queries that answer from the shared status segment, with a stand-in of it and with a real one. */
#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/shm.h>

#include <cerrno>
#include <cstring>

#include "mgmt/management_test.h"

namespace mcadapt::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kShmgetFailed = "omci_get_multicast_ip_port shmget error!\n";
const std::string kCountShmatFailed = "omci_get_multicast_ip_port shmat error!\n";
const std::string kStateShmatFailed = "mc_oam_get_onu_fast_leave_state shmat error!\n";
const std::string kCounterRefreshFailed = "\r\n[MC_DBG_ERR]: \n ERROR!igmp_hal_sync_if_status Fail";

/** The four outputs of the counter query, never written yet. */
struct Counters {
    uint32_t out[4] = {0xA5A5A5A5, 0xA5A5A5A5, 0xA5A5A5A5, 0xA5A5A5A5};
    int32_t query(uint32_t port) { return std_omci_get_port_igmp_count(port, &out[0], &out[1], &out[2], &out[3]); }
};

/** What a segment looks like whose every word behind the groups is known. */
void fill_segment(grp_info &segment)
{
    segment.interfaceStatus[0] = {{1, 2, 3, 0xFFFFFFFF}};
    segment.interfaceStatus[1] = {{5, 6, 7, 8}};
    segment.spare = 9;
    segment.oamFastLeave = 1;
    segment.statusGroupLimit[0] = 11;
    segment.statusGroupLimit[1] = 12;
    segment.statusMode = 13;
}

struct CounterRow {
    uint32_t port;
    std::vector<uint32_t> counters;
};

// intended: the port is an index as it is; 2 and 3 read what lies behind the two counters, beyond the end all is 0
const CounterRow kCounterRows[] = {
    {0, {1, 2, 3, 0xFFFFFFFF}}, {1, {5, 6, 7, 8}},          {2, {9, 1, 11, 12}},
    {3, {13, 0, 0, 0}},         {4, {0, 0, 0, 0}},          {29, {0, 0, 0, 0}},
    {0x0FFFFFFF, {0, 0, 0, 0}}, {0x10000000, {0, 0, 0, 0}}, {0xFFFFFFFF, {0, 0, 0, 0}},
};

void expect_every_counter_row()
{
    for (const CounterRow &row : kCounterRows) {
        SCOPED_TRACE(row.port);
        Counters counters;
        EXPECT_EQ(counters.query(row.port), 0);
        EXPECT_THAT(counters.out, ::testing::ElementsAreArray(row.counters));
    }
}

// --- Counters of a port

class PortCounters : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        fill_segment(platform().segment);
        platform().gathered_counters = {71, 72, 73, 74};
    }
    Counters counters;
};

TEST_F(PortCounters, are_read_after_a_pause_and_a_refresh_that_serves_the_snapshot_only)
{
    const auto seen = observe([&] { return counters.query(0); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_THAT(seen.calls,
                ElementsAre("sleep(2)", "shmget(82, 14392, 512)", "shmat(5, 0, 0)", "igmp_if_gather_if_status(0, 16)"));
    EXPECT_THAT(counters.out, ElementsAre(1, 2, 3, 0xFFFFFFFF));
    EXPECT_EQ(status_block.interfaceStatus[0], (ifStatus{{71, 72, 73, 74}}));
    EXPECT_THAT(records_of(seen.changed), ElementsAre("mc_status_global->"));
}

TEST_F(PortCounters, are_indexed_by_the_number_given)
{
    expect_every_counter_row();
    portState[0].portNo = 1;
    portState[1].portNo = 0;
    expect_every_counter_row();
}

TEST_F(PortCounters, are_those_that_the_segment_holds_after_the_refresh)
{
    platform().on("igmp_if_gather_if_status", [] { platform().segment.interfaceStatus[0].counter[1] = 222; });
    counters.query(0);
    EXPECT_THAT(counters.out, ElementsAre(1, 222, 3, 0xFFFFFFFF));
}

TEST_F(PortCounters, are_told_also_when_the_refresh_fails)
{
    errors_logged();
    platform().answer("igmp_if_gather_if_status", 0);
    const auto failed = observe([&] { return counters.query(0); });
    EXPECT_EQ(failed.result, 0);
    EXPECT_EQ(failed.output, kCounterRefreshFailed);
    EXPECT_THAT(failed.changed, IsEmpty());
    EXPECT_THAT(counters.out, ElementsAre(1, 2, 3, 0xFFFFFFFF));

    const auto refused = observe([&] { return counters.query(1); });
    EXPECT_EQ(refused.result, 0);
    EXPECT_EQ(refused.output, not_configured(1).first_line + kCounterRefreshFailed);
    EXPECT_THAT(counters.out, ElementsAre(5, 6, 7, 8));
}

TEST_F(PortCounters, are_told_without_a_snapshot)
{
    mc_status_global = nullptr;
    errors_logged();
    const auto seen = observe([&] { return counters.query(0); });
    EXPECT_EQ(seen.result, 0);
    EXPECT_EQ(seen.output, kCounterRefreshFailed);
    EXPECT_THAT(counters.out, ElementsAre(1, 2, 3, 0xFFFFFFFF));
}

TEST_F(PortCounters, without_a_segment_are_not_told)
{
    platform().answer("shmget", -1);
    const auto no_segment = observe([&] { return counters.query(0); });
    EXPECT_EQ(no_segment.result, -1);
    EXPECT_THAT(no_segment.calls, ElementsAre("sleep(2)", "shmget(82, 14392, 512)"));

    platform().answer("shmget", 0); // an id like any other
    platform().answer("shmat", -1);
    const auto not_attached = observe([&] { return counters.query(0); });
    EXPECT_EQ(not_attached.result, -1);
    EXPECT_THAT(not_attached.calls, ElementsAre("sleep(2)", "shmget(82, 14392, 512)", "shmat(0, 0, 0)"));
    EXPECT_THAT(counters.out, ::testing::Each(0xA5A5A5A5));
}

TEST_F(PortCounters, print_their_entry_before_the_pause_and_failures_whatever_the_mask_holds)
{
    const Gated entry = config("\r\n[MC_DBG_CFG]: \n [std_omci_get_port_igmp_count] portNo = -1");
    const auto query = [&] { counters.query(0xFFFFFFFF); };
    expect_texts({config("\r\n[MC_DBG_CFG]: \n [std_omci_get_port_igmp_count] portNo = 0")},
                 [&] { counters.query(0); });
    expect_texts({entry, error(too_high(0xFFFFFFFF).first_line), error(kCounterRefreshFailed)}, query);
    // intended: both texts name another operation
    platform().answer("shmat", -1);
    expect_texts({entry, always(kCountShmatFailed)}, query);
    platform().answer("shmget", -1);
    expect_texts({entry, always(kShmgetFailed)}, query);
    config_logged();
    EXPECT_EQ(observe([&] { return counters.query(0xFFFFFFFF); }).trace,
              entry.text + "<sleep(2)>\n<shmget(82, 14392, 512)>\n" + kShmgetFailed);
}

// --- Fast-leave state

class FastLeaveState : public LibraryTest {
protected:
    uint32_t out = 0xA5A5A5A5;
    int32_t query() { return mc_oam_get_onu_fast_leave_state(&out); }
};

TEST_F(FastLeaveState, is_on_when_the_segment_says_1)
{
    struct Row {
        uint32_t segment, out;
    };
    for (const Row &row : {Row{1, 1}, Row{0, 2}, Row{2, 2}, Row{0x101, 2}, Row{0xFFFFFFFF, 2}}) {
        SCOPED_TRACE(row.segment);
        platform().segment.oamFastLeave = row.segment;
        const auto seen = observe([&] { return query(); });
        EXPECT_EQ(seen.result, 0);
        EXPECT_EQ(out, row.out);
        EXPECT_THAT(seen.calls, ElementsAre("shmget(82, 14392, 512)", "shmat(5, 0, 0)"));
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

TEST_F(FastLeaveState, is_not_what_was_set_last)
{
    mc_oam_set_onu_fast_leave(1);
    EXPECT_EQ(query(), 0);
    EXPECT_EQ(out, 2u); // intended: the setter writes the library's own record
    mc_status_global = nullptr;
    platform().segment.oamFastLeave = 1;
    EXPECT_EQ(query(), 0);
    EXPECT_EQ(out, 1u);
}

TEST_F(FastLeaveState, without_a_segment_is_not_told)
{
    platform().answer("shmat", -1);
    EXPECT_EQ(query(), -1);
    platform().answer("shmget", -1);
    const auto seen = observe([&] { return query(); });
    EXPECT_EQ(seen.result, -1);
    EXPECT_THAT(seen.calls, ElementsAre("shmget(82, 14392, 512)"));
    EXPECT_EQ(out, 0xA5A5A5A5);
}

TEST_F(FastLeaveState, prints_its_entry_and_failures_whatever_the_mask_holds)
{
    const Gated entry = config("\r\n[MC_DBG_CFG]: [mc_oam_get_onu_fast_leave_state]: .\r\n");
    expect_texts({entry}, [&] { query(); });
    platform().answer("shmat", -1);
    expect_texts({entry, always(kStateShmatFailed)}, [&] { query(); });
    platform().answer("shmget", -1);
    expect_texts({entry, always(kShmgetFailed)}, [&] { query(); }); // intended: names another operation
}

// --- A real segment

/**
 * Makes key 82 this process's own: in an IPC namespace that nobody else sees where the kernel grants one, else by a
 * lock, held to the end, that the other processes of this build respect.
 */
void claim_segment_key()
{
    static bool claimed = false;
    if (!claimed && unshare(CLONE_NEWIPC) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWIPC) != 0)
        flock(open("/proc/self/exe", O_RDONLY | O_CLOEXEC), LOCK_EX);
    claimed = true;
}

/** Starts with an empty segment that the test made as its publisher would. */
class RealSegment : public LibraryTest {
protected:
    static constexpr key_t kKey = 82;
    static constexpr std::size_t kBytes = 14392;

    void SetUp() override
    {
        LibraryTest::SetUp();
        claim_segment_key();
        platform().use_real_shared_memory();
        ours_ = create(kBytes);
        if (!ours_)
            GTEST_SKIP() << "no segment with key 82 from this kernel: " << std::strerror(errno);
    }

    void TearDown() override
    {
        if (ours_)
            remove();
    }

    static bool create(std::size_t bytes) { return shmget(kKey, bytes, IPC_CREAT | IPC_EXCL | 0600) != -1; }
    static int id() { return shmget(kKey, 0, 0); }
    static void remove() { shmctl(id(), IPC_RMID, nullptr); }
    static shmid_ds state()
    {
        shmid_ds state{};
        EXPECT_EQ(shmctl(id(), IPC_STAT, &state), 0);
        return state;
    }
    static grp_info &attach() { return *static_cast<grp_info *>(shmat(id(), nullptr, 0)); }

    Counters counters;
    uint32_t fast_leave = 0xA5A5A5A5;

private:
    bool ours_ = false;
};

TEST_F(RealSegment, is_read_as_its_publisher_writes_it)
{
    grp_info &publisher = attach();
    fill_segment(publisher);
    expect_every_counter_row();
    EXPECT_EQ(mc_oam_get_onu_fast_leave_state(&fast_leave), 0);
    EXPECT_EQ(fast_leave, 1u);
    publisher.oamFastLeave = 2;
    EXPECT_EQ(mc_oam_get_onu_fast_leave_state(&fast_leave), 0);
    EXPECT_EQ(fast_leave, 2u);
}

TEST_F(RealSegment, has_its_fields_at_fixed_offsets)
{
    auto *bytes = reinterpret_cast<uint8_t *>(&attach());
    const uint32_t counter = 0x42; // in host byte order, as the publisher is of the same machine
    const uint32_t on = 1;
    std::memcpy(bytes + 14340 + 16 + 4, &counter, 4);
    std::memcpy(bytes + 14376, &on, 4);
    EXPECT_EQ(counters.query(1), 0);
    EXPECT_THAT(counters.out, ElementsAre(0, 0x42, 0, 0));
    EXPECT_EQ(mc_oam_get_onu_fast_leave_state(&fast_leave), 0);
    EXPECT_EQ(fast_leave, 1u);
}

TEST_F(RealSegment, ends_behind_its_bytes_although_its_page_does_not)
{
    auto *bytes = reinterpret_cast<uint8_t *>(&attach());
    std::memset(bytes + 14388, 0x77, 4 + 16);
    EXPECT_EQ(counters.query(3), 0);
    EXPECT_THAT(counters.out, ElementsAre(0x77777777, 0, 0, 0));
    EXPECT_EQ(counters.query(4), 0);
    EXPECT_THAT(counters.out, ElementsAre(0, 0, 0, 0));
}

TEST_F(RealSegment, is_attached_anew_by_each_query_and_never_detached)
{
    mc_oam_get_onu_fast_leave_state(&fast_leave);
    mc_oam_get_onu_fast_leave_state(&fast_leave);
    EXPECT_EQ(state().shm_nattch, 2u);
    counters.query(0);
    EXPECT_EQ(state().shm_nattch, 3u); // intended
}

TEST_F(RealSegment, is_created_without_permissions_when_it_is_missing_and_reads_as_zero)
{
    remove();
    if (mc_oam_get_onu_fast_leave_state(&fast_leave) == -1 && errno == EACCES)
        GTEST_SKIP() << "to attach a segment without permission bits takes a privilege that this user lacks";
    EXPECT_EQ(fast_leave, 2u);
    EXPECT_EQ(counters.query(0), 0);
    EXPECT_THAT(counters.out, ElementsAre(0, 0, 0, 0));
    EXPECT_EQ(state().shm_perm.mode & 0777, 0);
    EXPECT_EQ(state().shm_segsz, kBytes);
}

TEST_F(RealSegment, that_is_too_short_cannot_be_had)
{
    remove();
    ASSERT_TRUE(create(kBytes - 1));
    EXPECT_EQ(observe([&] { return counters.query(0); }).output, kShmgetFailed);
    EXPECT_EQ(mc_oam_get_onu_fast_leave_state(&fast_leave), -1);
    EXPECT_EQ(fast_leave, 0xA5A5A5A5);
}

} // namespace
} // namespace mcadapt::test
