/**
 * @file
 * A light platform for the fuzzers of the library: it answers every platform call and looks at all that it is handed.
 *
 * Lengths and pointers must lie inside the receive buffer, all bytes handed over must be readable, and what is sent
 * must be made of the frame that was received. Everything goes into the digest of the run.
 */
#ifndef MCADAPT_FUZZ_PLATFORM_H
#define MCADAPT_FUZZ_PLATFORM_H

#include <array>
#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "fuzz/expect.h"
#include "mcadapt/mcadapt.h"

namespace mcadapt::fuzz {

constexpr uint32_t kReceiveBufferBytes = 2048;

using ByteVector = std::vector<uint8_t>;

/** A frame as the driver delivers it: `length` is what the driver tells. */
struct Delivery {
    ByteVector bytes; /**< At most `kReceiveBufferBytes`. */
    uint8_t port;
    uint32_t length;
};

class Platform {
public:
    /** A platform at the beginning of a run. Its answers until told otherwise: success. */
    void reset();

    // --- How it answers

    /** From now on about one call in eight answers with some code, as the seed says; 0: none. */
    void refuse(uint8_t seed) { refusals_ = seed; }
    /** Runs `action` once, inside the call that follows that many others: what another thread does meanwhile. */
    void interrupt(uint32_t calls, std::function<void()> action);
    void fail_next_calloc() { fail_calloc_ = true; }
    void set_unit(bool epon, uint8_t onu_id);
    /** What the engine gathers, and how much of it there is by the engine's account. */
    void set_gathered(ByteVector bytes, int32_t result);
    void set_segment(const ByteVector &bytes, bool attaches);

    // --- Frames

    /** Runs the receive task until it sleeps; it reads this frame, and once it is handled `then` runs. */
    void receive(Delivery delivery);
    /** Hands a frame to one function of the packet path, in a buffer of 2048 bytes. */
    void hand_over(const Delivery &delivery, const std::function<void(uint8_t *frame)> &path);
    /** While `call` runs, frames are those of the engine, not of the one that was received. */
    void as_engine(const std::function<void()> &call);

    Digest &digest() { return digest_; }

    // --- For the calls themselves

    int32_t called(const char *name);
    int32_t read_message(uint8_t *frame, uint8_t *port, uint32_t *length);
    void engine_packet(bool mld, const uint8_t *packet, uint32_t length, uint32_t port, uint32_t vlan);
    void sent(const uint8_t *frame, uint32_t ifindex, uint32_t length, uint32_t source, uint32_t vlan);
    void sleeps(uint32_t seconds);
    int32_t gather(uint32_t length, void *buffer, uint32_t expected);
    bool epon() const { return epon_; }
    uint8_t onu_id() const { return onu_id_; }
    const uint8_t *segment() const { return attaches_ ? segment_.get() : nullptr; }
    void *take_memory(std::size_t count, std::size_t size);
    /** Whether the library runs on this thread: then `calloc` and `sleep` are the platform's. */
    static bool runs_here() { return runs_here_; }
    static void set_runs_here(bool runs) { runs_here_ = runs; }

private:
    /** The frame that the packet path has at this moment. */
    struct Current {
        uint8_t *buffer = nullptr;
        ByteVector received; /**< The whole buffer, as it was handed over. */
        uint32_t length = 0;
        uint32_t port = 0;
        bool by_engine = false;
    };

    void begin_frame(uint8_t *buffer, uint32_t length, uint32_t port);
    void end_frame();
    void check_forwarded(const uint8_t *frame, uint32_t length) const;
    void run_interruption();

    Digest digest_;
    uint8_t refusals_ = 0;
    uint64_t calls_ = 0;
    uint32_t calls_to_interruption_ = 0;
    std::function<void()> interruption_;
    bool fail_calloc_ = false;
    bool epon_ = false;
    uint8_t onu_id_ = 1;
    ByteVector gathered_;
    int32_t gather_result_ = 0;
    std::unique_ptr<uint8_t[]> segment_;
    bool attaches_ = true;
    std::vector<std::unique_ptr<uint8_t[]>> blocks_; // of the library's calloc, which it never gives back
    Current current_;
    const Delivery *pending_ = nullptr;
    std::jmp_buf leave_task_;
    bool in_task_ = false;
    static thread_local bool runs_here_;
};

/** There is one library in a process, so there is one platform. */
Platform &platform();

/** Standard output goes into the digest of the run, as long as the process lives. */
void take_standard_output();

} // namespace mcadapt::fuzz

#endif
