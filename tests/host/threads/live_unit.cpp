#include "tests/host/threads/live_unit.h"

#include "host/engine/engine_binding.h"
#include "host/program/system_calls.h"
#include "host/switch/switch_binding.h"
#include "host/unit/unit_binding.h"
#include "mcadapt/startup.h"

namespace mcadapt::host::test {

namespace {

constexpr uint32_t kSecondUserPort = 5;

} // namespace

bool &LiveCounts::on_timer_thread()
{
    thread_local bool here = false;
    return here;
}

void LiveCounts::entry_changed(uint32_t, const uint8_t *, uint16_t, bool added)
{
    entries_added += added;
    timer_calls += on_timer_thread();
}

void LiveCounts::frame_left(uint32_t, Bytes, bool by_library)
{
    frames_sent += by_library;
    timer_calls += by_library && on_timer_thread();
}

void LiveCounts::leave(uint32_t, Bytes frame, std::size_t)
{
    uint64_t sum = 0;
    for (std::size_t i = 0; i < frame.size; ++i)
        sum += frame.data[i];
    bytes_checksum += sum;
}

bool FrameQueue::put(uint32_t port, const std::vector<uint8_t> &frame)
{
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return closed_ || frames_.size() < kMostFrames; });
    if (closed_)
        return false;
    frames_.push_back({port, frame});
    changed_.notify_all();
    return true;
}

void FrameQueue::close()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    changed_.notify_all();
}

bool FrameQueue::take()
{
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return closed_ || !frames_.empty(); });
    if (frames_.empty())
        return false;
    current_ = std::move(frames_.front());
    frames_.pop_front();
    changed_.notify_all();
    return true;
}

// The frame before has been handled when the task asks for the next one.
bool FrameQueue::next(TrappedFrame &frame)
{
    if (!current_.bytes.empty())
        ++handled_;
    if (!take())
        leave_task();
    frame = {{current_.bytes.data(), current_.bytes.size()}, static_cast<uint8_t>(current_.port)};
    return true;
}

LiveUnit::LiveUnit() : switch_(clock_, counts_, counts_, {kUserPort, kSecondUserPort, kUplinkPort})
{
    own_system_calls();
    install(&engine_);
    install(&switch_, &queue_);
    install(&settings_, Tasks::kThreads);
    engine_.set_mac(settings_.mac.data());
    engine_.share_status(true);
    mc_igmp_init(settings_.priority, 0);
    timers_ = std::make_unique<TimerThread>(
        [this] {
            LiveCounts::on_timer_thread() = true;
            engine_.run_timers();
        },
        std::chrono::milliseconds(1));
}

void LiveUnit::end()
{
    timers_.reset();
    queue_.close();
    join_tasks();
    install(nullptr, Tasks::kThreads);
    install(nullptr, nullptr);
    install(static_cast<Engine *>(nullptr));
}

bool LiveUnit::arrive(const ArrivingFrame &frame)
{
    const bool trapped = switch_.arrive(frame.port, {frame.bytes.data(), frame.bytes.size()}, frame.bytes.size());
    return !trapped || queue_.put(frame.port, frame.bytes);
}

} // namespace mcadapt::host::test
