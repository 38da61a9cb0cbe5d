/**
 * @file
 * Queries that answer from the shared status segment, which a process outside this library keeps up to date.
 */
#include <cstddef>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include "core/families.h"
#include "core/log.h"
#include "mcadapt/oam.h"
#include "mcadapt/status.h"
#include "mcadapt/std_omci.h"

namespace mcadapt {

static constexpr key_t kSegmentKey = 82;
static constexpr std::size_t kSegmentBytes = sizeof(grp_info);
// Created when missing; the permission bits are deliberately 0.
static constexpr int kSegmentFlags = IPC_CREAT;

static constexpr unsigned kPublisherPauseSeconds = 2;

static constexpr uint32_t kSegmentFastLeaveOn = 1;
static constexpr uint32_t kFastLeaveOn = 1;
static constexpr uint32_t kFastLeaveOff = 2;

/** The attached segment; attached anew by each query and never detached. */
class SharedStatus {
public:
    explicit SharedStatus(const void *segment) : words_(static_cast<const MC_SHARED(uint32_t) *>(segment)) {}

    /** One word, by its byte offset, a multiple of 4; what lies beyond the segment reads as 0. */
    uint32_t word(uint64_t offset) const
    {
        return offset < kSegmentBytes ? uint32_t{words_[offset / sizeof(uint32_t)]} : 0;
    }

private:
    const MC_SHARED(uint32_t) *words_; // the publisher may be writing them
};

static int find_segment()
{
    const int id = shmget(kSegmentKey, kSegmentBytes, kSegmentFlags);
    if (id == -1)
        printf("omci_get_multicast_ip_port shmget error!\n"); // intended: another operation's name, for both queries
    return id;
}

// Null when it cannot be attached.
static const void *attach_segment(int id)
{
    const void *segment = shmat(id, nullptr, 0);
    return segment == reinterpret_cast<const void *>(-1) ? nullptr : segment;
}

} // namespace mcadapt

using namespace mcadapt;

int32_t std_omci_get_port_igmp_count(uint32_t port, uint32_t *out1, uint32_t *out2, uint32_t *out3, uint32_t *out4)
{
    LOG_CONFIG(Igmp, "\n [std_omci_get_port_igmp_count] portNo = %d", port);
    sleep(kPublisherPauseSeconds); // NOLINT(concurrency-mt-unsafe): nanosleep on Linux
    const int id = find_segment();
    if (id == -1)
        return -1;
    const void *segment = attach_segment(id);
    if (segment == nullptr) {
        printf("omci_get_multicast_ip_port shmat error!\n"); // intended: another operation's name
        return -1;
    }
    // intended: the refresh fills the library's own snapshot, the answer is what the segment holds
    if (igmp_hal_sync_if_status(port) != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_hal_sync_if_status Fail");

    // intended: indexed by the number given, not by its logic port
    const SharedStatus status(segment);
    const uint64_t counters = offsetof(grp_info, interfaceStatus) + uint64_t{port} * sizeof(ifStatus);
    *out1 = status.word(counters);
    *out2 = status.word(counters + 4);
    *out3 = status.word(counters + 8);
    *out4 = status.word(counters + 12);
    return 0;
}

int32_t mc_oam_get_onu_fast_leave_state(uint32_t *out)
{
    LOG_CONFIG(Igmp, "[mc_oam_get_onu_fast_leave_state]: .\r\n");
    const int id = find_segment();
    if (id == -1)
        return -1;
    const void *segment = attach_segment(id);
    if (segment == nullptr) {
        printf("mc_oam_get_onu_fast_leave_state shmat error!\n");
        return -1;
    }
    const bool fast_leave = SharedStatus(segment).word(offsetof(grp_info, oamFastLeave)) == kSegmentFastLeaveOn;
    *out = fast_leave ? kFastLeaveOn : kFastLeaveOff;
    return 0;
}
