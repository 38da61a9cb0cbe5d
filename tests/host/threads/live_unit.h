/**
 * @file
 * A whole live unit off the target: the library's receive task and the engine's timers run on threads of their own,
 * while frames arrive and agents call on others.
 */
#ifndef MCADAPT_TESTS_HOST_THREADS_LIVE_UNIT_H
#define MCADAPT_TESTS_HOST_THREADS_LIVE_UNIT_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>

#include "host/engine/engine.h"
#include "host/switch/frame_source.h"
#include "host/switch/switch.h"
#include "host/unit/timer_thread.h"
#include "host/unit/unit_settings.h"
#include "tests/host/whole_unit/traffic.h"

namespace mcadapt::host::test {

/** The steady clock, some hundred times as fast: protocol timers run out within a test. */
class FastClock final : public Clock {
public:
    explicit FastClock(int factor) : factor_(factor), start_(SteadyClock().now()) {}
    Time now() const override { return (SteadyClock().now() - start_) * factor_; }

private:
    const int factor_;
    const Time start_;
};

/** What happened in the unit, counted on whatever thread it happens. */
class LiveCounts final : public Observer, public FrameSink {
public:
    std::atomic<uint64_t> frames_sent{0};    /**< By the library, to a port. */
    std::atomic<uint64_t> entries_added{0};  /**< By the library, in the switch. */
    std::atomic<uint64_t> joins{0};          /**< Of groups, in the engine. */
    std::atomic<uint64_t> packets{0};        /**< Handed to the engine by the library. */
    std::atomic<uint64_t> timer_calls{0};    /**< Calls of the library that the engine made on the timers' thread. */
    std::atomic<uint64_t> bytes_checksum{0}; /**< Of what left: every byte was read. */

    /** Whether the calling thread is that of the timers. */
    static bool &on_timer_thread();

    void entry_changed(uint32_t, const uint8_t *, uint16_t, bool added) override;
    void frame_left(uint32_t, Bytes, bool by_library) override;
    void membership_changed(const Membership &, bool joined, std::string_view) override { joins += joined; }
    void packet_received(Family, uint32_t, uint16_t, Bytes) override { ++packets; }
    void leave(uint32_t port, Bytes frame, std::size_t wire_size) override;
};

/** Trapped frames on their way from the switch to the receive task. */
class FrameQueue final : public FrameSource {
public:
    explicit FrameQueue(Engine &engine) : engine_(engine) {}

    /** Waits while the queue is full. @return False, and nothing is queued, when it is closed. */
    bool put(uint32_t port, const std::vector<uint8_t> &frame);
    /** The receive task leaves when it has read what is queued. */
    void close();
    uint64_t handled() const { return handled_; }

    bool next(TrappedFrame &frame) override;
    void delivered(const uint8_t *end) override { engine_.set_frame_limit(end); }

private:
    bool take();

    static constexpr std::size_t kMostFrames = 64;
    Engine &engine_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<ArrivingFrame> frames_;
    bool closed_ = false;
    ArrivingFrame current_{}; // the receive task's own
    std::atomic<uint64_t> handled_{0};
};

class LiveUnit {
public:
    /** Starts the unit, as a product does. */
    LiveUnit();
    ~LiveUnit() { end(); }
    LiveUnit(const LiveUnit &) = delete;
    LiveUnit &operator=(const LiveUnit &) = delete;

    /** A frame arrives at a port. @return False when it was trapped and the unit ends. */
    bool arrive(const ArrivingFrame &frame);

    const LiveCounts &counts() const { return counts_; }
    uint64_t frames_handled() const { return queue_.handled(); }
    const Engine &engine() const { return engine_; }
    /** Ends its threads, the receive task last; nobody may call the library meanwhile or afterwards. */
    void end();

private:
    static constexpr int kClockFactor = 200;
    FastClock clock_{kClockFactor};
    LiveCounts counts_;
    UnitSettings settings_;
    Engine engine_{clock_, counts_};
    Switch switch_;
    FrameQueue queue_{engine_};
    std::unique_ptr<TimerThread> timers_;
};

} // namespace mcadapt::host::test

#endif
