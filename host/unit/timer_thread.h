/**
 * @file
 * The thread that lets the engine's timers run in a live unit.
 */
#ifndef MCADAPT_HOST_UNIT_TIMER_THREAD_H
#define MCADAPT_HOST_UNIT_TIMER_THREAD_H

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace mcadapt::host {

/** Calls something again and again, from its construction to its end. */
class TimerThread {
public:
    /**
     * @param run   Fires what is due: `Engine::run_timers`. It is asked at every tick, because a packet can set a timer
     *              earlier than those that run.
     * @param tick  A tenth of the protocols' shortest time, or less.
     */
    explicit TimerThread(std::function<void()> run, std::chrono::milliseconds tick = std::chrono::milliseconds(10));
    /** Waits for a call that is under way; there is none afterwards. */
    ~TimerThread();
    TimerThread(const TimerThread &) = delete;
    TimerThread &operator=(const TimerThread &) = delete;

private:
    void loop();

    const std::function<void()> run_;
    const std::chrono::milliseconds tick_;
    std::mutex mutex_;
    std::condition_variable stop_;
    bool stopping_ = false;
    std::thread thread_; // last: it uses all of the above
};

} // namespace mcadapt::host

#endif
