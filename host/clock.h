/**
 * @file
 * Time in the unit on a PC: one clock, handed in.
 */
#ifndef MCADAPT_HOST_CLOCK_H
#define MCADAPT_HOST_CLOCK_H

#include <chrono>
#include <cstdint>

namespace mcadapt::host {

/** A point in time: nanoseconds since the epoch in a replay, since an unknown start otherwise. */
using Time = std::chrono::nanoseconds;
using Duration = std::chrono::nanoseconds;

/** Later than every timer. */
constexpr Time kNever = Time::max();

/** Tells the time; every part of a unit is given the same one. */
class Clock {
public:
    virtual ~Clock() = default;
    virtual Time now() const = 0;
};

/** A replay's clock: stands at the time of the frame that is handled, and never goes back. */
class ReplayClock final : public Clock {
public:
    Time now() const override { return now_; }
    void advance_to(Time at)
    {
        if (at > now_)
            now_ = at;
    }

private:
    Time now_{0};
};

/** The steady clock of the machine, for a live unit. */
class SteadyClock final : public Clock {
public:
    Time now() const override { return std::chrono::steady_clock::now().time_since_epoch(); }
};

} // namespace mcadapt::host

#endif
