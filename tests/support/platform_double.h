/**
 * @file
 * The recording stand-in of the platform.
 *
 * It defines every call of `platform/` and libc's `sleep`, `shmget` and `shmat`, writes each call down in order as one
 * line of text, and answers as a test has told it to. There is one stand-in per process, `platform()`; the fixture
 * clears it before each test.
 */
#ifndef MCADAPT_TESTS_PLATFORM_DOUBLE_H
#define MCADAPT_TESTS_PLATFORM_DOUBLE_H

#include <array>
#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mcadapt/records.h"
#include "support/call_text.h"
#include "support/hex.h"

namespace mcadapt::test {

/** One call of `L2_multicast_send_msg`. */
struct SentFrame {
    ByteVector bytes;
    uint32_t ifindex;
    uint32_t srcPort;
    uint32_t ponVlan;
};

/** One call of `igmp_pkt_recv` or `mld_pkt_recv`. */
struct EnginePacket {
    bool mld;
    const uint8_t *start; /**< As given: compare it with the frame's buffer. */
    uint32_t length;
    uint32_t port;
    uint32_t vlan;
    uint32_t last; /**< `options`, or the value that `scratch` points to. */
};

/** One active group, as the engine tells it. */
struct GatheredGroup {
    uint16_t vlanId;
    uint32_t infoB;
    uint32_t groupAddress;
    uint32_t infoD;
    uint32_t infoE;
    uint32_t infoF;
    uint16_t infoG;
    uint8_t userPort;
};

class PlatformDouble {
public:
    // --- What the platform answers; unless told otherwise every call succeeds with 0

    /** Every later call of `call` returns `result`. Throws on a name that is not a platform call. */
    void answer(std::string_view call, int32_t result) { answers(call, {result}); }

    /** Later calls of `call` return these results in turn; the last one repeats. */
    void answers(std::string_view call, std::vector<int32_t> results);

    /** Runs `action` inside every later call of `call`, once the call is recorded and before it answers. */
    void on(std::string_view call, std::function<void()> action);

    /**
     * Queues a frame for `L2_multicast_read_msg`, which answers 1 when none is left.
     * @param length  What the driver tells as the length; the size of the frame when left out.
     */
    void deliver(ByteVector frame, uint8_t port);
    void deliver(ByteVector frame, uint8_t port, uint32_t length);

    /** Lets `igmp_gather_grp_info` answer with these groups (see `gathered_groups`). */
    void gather(const std::vector<GatheredGroup> &groups);

    /** Lets `igmp_gather_grp_info` claim `count` groups whatever number it writes. */
    void gather(const std::vector<GatheredGroup> &groups, uint32_t count);

    uint8_t onu_id = 7;                                         /**< `vx_ploam_onuid_get` */
    uint32_t uplink_mode = 1;                                   /**< `vx_hal_nni_upmode_get`: 0 EPON, else GPON */
    MacAddress unit_mac = {0x02, 0x19, 0xc6, 0x01, 0x02, 0x03}; /**< `get_mac_addr` */

    /**
     * What `igmp_gather_grp_info` writes, as far as it fits. While it is empty the call gives no answer (0); when it
     * is not, the call returns its size unless `answer` says otherwise.
     */
    ByteVector gathered_groups;

    /** What `igmp_if_gather_if_status` writes; as `gathered_groups`. */
    std::vector<uint32_t> gathered_counters;

    /** The shared status segment. `shmget` gives `kSegmentId`, `shmat` this; answer -1 to either to let it fail. */
    grp_info segment{};
    static constexpr int32_t kSegmentId = 5;

    /** From now on `shmget` and `shmat` are recorded and then handed to libc. */
    void use_real_shared_memory() { real_shared_memory_ = true; }

    /** The next `calloc` gives null. */
    void fail_next_calloc() { fail_next_calloc_ = true; }

    // --- What the engine was given at start-up

    /** The callbacks registered with one half of the engine; null until then. */
    struct Callbacks {
        mcSendPacketCallback send = nullptr;
        mcForwardingCallback add = nullptr;
        mcForwardingCallback remove = nullptr;
    };
    Callbacks igmp_callbacks;
    Callbacks mld_callbacks;

    // --- What was called

    /** All calls since the test began, for example `igmp_vlan_add(100)`. */
    const std::vector<std::string> &calls() const { return calls_; }

    /** How often `call` was made since the test began. */
    std::size_t count(std::string_view call) const;

    std::vector<SentFrame> sent;
    std::vector<EnginePacket> engine_packets;

    /** Where `igmp_ssm_map_change` was last told to read its words. */
    const uint32_t *ssm_map = nullptr;

    /** Content of the buffers that are promised to be zeroed, as they were handed over. */
    ByteVector time_record;
    ByteVector gather_buffer;

    /** Forgets the calls and everything else that was written down; what was scripted stays. */
    void forget_calls();

    // --- For the doubles themselves

    /** Records a call, runs the action set for it and gives the result that was scripted, or `unscripted`. */
    template <class... Args> int32_t called_or(int32_t unscripted, const char *name, const Args &...args)
    {
        record(name, call_line(name, args...));
        run_action(name);
        leave_if_due(name);
        return next_result(name, unscripted);
    }

    template <class... Args> int32_t called(const char *name, const Args &...args)
    {
        return called_or(0, name, args...);
    }

    int32_t read_message(uint8_t *frame, uint8_t *port, uint32_t *length);
    bool real_shared_memory() const { return real_shared_memory_; }
    bool take_calloc_failure() { return std::exchange(fail_next_calloc_, false); }
    bool frames_left() const { return !frames_.empty(); }

    /** Jumps to `target` inside the first call for which `due` holds; asked once for every call. */
    void leave_at(std::jmp_buf *target, std::function<bool(std::string_view call)> due);

private:
    struct Script {
        std::vector<int32_t> results;
        std::size_t next = 0;
        std::function<void()> action;
    };
    struct QueuedFrame {
        ByteVector bytes;
        uint8_t port;
        uint32_t length;
    };

    Script &script(std::string_view call);
    void record(const char *name, std::string line);
    void run_action(const char *name);
    void leave_if_due(const char *name);
    int32_t next_result(const char *name, int32_t unscripted);

    std::vector<std::string> calls_;
    std::map<std::string, std::size_t, std::less<>> counts_;
    std::map<std::string, Script, std::less<>> scripts_;
    std::deque<QueuedFrame> frames_;
    bool real_shared_memory_ = false;
    bool fail_next_calloc_ = false;

    std::jmp_buf *exit_ = nullptr;
    std::function<bool(std::string_view)> exit_due_;
};

/** The stand-in of this process. */
PlatformDouble &platform();

/**
 * Runs an operation that does not return by itself, until it makes the `count`-th further call of `call`. That call
 * is recorded; the operation is left in the middle of it. The operation's frames must hold nothing to destroy.
 * @return Whether the call was made; false when the operation returned first.
 */
bool run_until(std::string_view call, int count, const std::function<void()> &operation);

/** Runs the receive task until it goes to sleep with no frame left to read. @return As `run_until`. */
bool run_receive_task();

/** Whether an intake has taken its first frame in this process; from then on neither reads the clock again. */
bool engine_clock_was_read();

} // namespace mcadapt::test

#endif
