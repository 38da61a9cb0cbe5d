#include "host/unit/timer_thread.h"

#include <utility>

namespace mcadapt::host {

TimerThread::TimerThread(std::function<void()> run, std::chrono::milliseconds tick)
    : run_(std::move(run)), tick_(tick), thread_([this] { loop(); })
{
}

TimerThread::~TimerThread()
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    stop_.notify_one();
    thread_.join();
}

void TimerThread::loop()
{
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stop_.wait_for(lock, tick_, [this] { return stopping_; })) {
        lock.unlock(); // what runs may take its time
        run_();
        lock.lock();
    }
}

} // namespace mcadapt::host
