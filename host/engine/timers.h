/**
 * @file
 * One queue of all timers, ordered by due time, then by the order in which they were set.
 */
#ifndef MCADAPT_HOST_ENGINE_TIMERS_H
#define MCADAPT_HOST_ENGINE_TIMERS_H

#include <cstdint>
#include <vector>

#include "host/clock.h"

namespace mcadapt::host {

enum class TimerKind : uint8_t { kPortGroup, kInterface, kUpstreamVlan, kUpstreamGroup };

/** A thing that can be due; part of its owner, which does not move while the timer is set. */
struct Timer {
    static constexpr uint32_t kIdle = UINT32_MAX;

    explicit Timer(TimerKind k) : kind(k) {}
    bool running() const { return place != kIdle; }

    uint32_t place = kIdle; /**< In the queue's heap. */
    TimerKind kind;
    bool mld = false;
};

class TimerQueue {
public:
    /** Due time of the first timer, or `kNever`. */
    Time next() const { return heap_.empty() ? kNever : heap_.front().due; }
    /** When a running timer is due. */
    Time due(const Timer &timer) const { return heap_[timer.place].due; }
    /** Starts a timer, or sets it anew. */
    void set(Timer &timer, Time due);
    /** As `set`, unless it is running and due before. */
    void set_not_later(Timer &timer, Time due);
    void cancel(Timer &timer);
    /** Takes the first timer that is due; null for none. */
    Timer *take_due(Time now);
    std::size_t memory_bytes() const { return heap_.capacity() * sizeof(Slot); }

private:
    struct Slot {
        Time due;
        uint64_t order;
        Timer *timer;
    };
    static bool before(const Slot &a, const Slot &b) { return a.due != b.due ? a.due < b.due : a.order < b.order; }
    void put(std::size_t place, const Slot &slot);
    void sift_up(std::size_t place, const Slot &slot);
    void sift_down(std::size_t place, const Slot &slot);
    void sift(std::size_t place, const Slot &slot);

    std::vector<Slot> heap_;
    uint64_t order_ = 0;
};

/** `now` plus `interval`, `kNever` when the interval is endless. */
constexpr Time later(Time now, Duration interval) { return interval == kNever ? kNever : now + interval; }

} // namespace mcadapt::host

#endif
