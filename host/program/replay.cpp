#include "host/program/replay.h"

#include <algorithm>
#include <exception>

#include "host/engine/engine_binding.h"
#include "host/program/system_calls.h"
#include "host/switch/switch_binding.h"
#include "host/unit/unit_binding.h"
#include "mcadapt/mcadapt.h"

namespace mcadapt::host {

namespace {

constexpr uint32_t kAllMessages = MC_DEBUG_TRACE | MC_DEBUG_ERROR | MC_DEBUG_CONFIG;
constexpr uint64_t kFramesPerProgress = 1 << 14;

std::vector<uint32_t> ports_of(const UnitSettings &settings)
{
    std::vector<uint32_t> ports = settings.more_ports;
    ports.push_back(kUserPort);
    ports.push_back(kUplinkPort);
    return ports;
}

} // namespace

Replay::Replay(const UnitConfig &config, CaptureReader &captures, FrameSink &sink, ReplayClock &clock,
               Observer &observer, ReplayOptions options)
    : config_(config), captures_(captures), clock_(clock), observer_(observer), options_(std::move(options)),
      engine_(clock, events_), switch_(clock, events_, sink, ports_of(config.settings))
{
    events_.add(observer);
    events_.before_each([this] {
        if (log_open_ || (mc_debug | mld_debug) != 0)
            tell_library_output();
    });
    engine_.set_mac(config.settings.mac.data());
    switch_.set_untagged_vlan(config.settings.untagged_vlan);
    install(&engine_);
    install(&switch_, this);
    install(&config.settings, Tasks::kStored);
    own_system_calls();
}

Replay::~Replay()
{
    install(static_cast<Engine *>(nullptr));
    install(nullptr, nullptr);
    install(nullptr, Tasks::kStored);
}

void Replay::run()
{
    has_pending_ = captures_.next(pending_);
    start_ = has_pending_ ? pending_.at : Time{0};
    clock_.advance_to(start_);
    start_unit();
    run_receive_task();
    if (failure_ != nullptr)
        std::rethrow_exception(failure_);
}

void Replay::start_unit()
{
    open_log(options_.library_log);
    mc_igmp_init(config_.settings.priority, 0);
    tell_library_output();
    run_operations_at_start();
}

// The task never returns by itself: at the end of the input it is left from inside its call for the next frame. Its
// frames hold nothing to destroy, and neither does anything between here and there.
void Replay::run_receive_task()
{
    const palTaskEntry task = stored_task();
    if (setjmp(leave_task_) == 0)
        task();
}

bool Replay::next(TrappedFrame &frame)
{
    bool more = false;
    try {
        more = take_frame(frame);
    } catch (...) {
        failure_ = std::current_exception(); // no exception may cross the library
    }
    if (!more)
        std::longjmp(leave_task_, 1);
    return true;
}

bool Replay::take_frame(TrappedFrame &frame)
{
    end_frame();
    while (has_pending_) {
        run_until(pending_.at);
        const CapturedFrame captured = pending_;
        ++frames_;
        in_frame_ = true;
        open_log(options_.library_log || frames_ == options_.only_frame);
        events_.frame_arrived(frames_, captured.port, captured.bytes);
        const bool trapped = switch_.arrive(captured.port, captured.bytes, captured.wire_size);
        if (options_.progress && frames_ % kFramesPerProgress == 0)
            options_.progress(captures_.read_bytes(), captures_.total_bytes());
        if (trapped) {
            frame = {captured.bytes, static_cast<uint8_t>(captured.port)};
            return true;
        }
        end_frame();
    }
    run_until(end());
    return false;
}

// Operations planned for later than the last frame run too.
Time Replay::end() const
{
    const Time last_operation =
        next_operation_ == config_.operations.size() ? Time{0} : start_ + config_.operations.back().after;
    return std::max(clock_.now(), last_operation) + options_.tail;
}

// A frame is done with when the next one is asked for.
void Replay::end_frame()
{
    if (!in_frame_)
        return;
    in_frame_ = false;
    tell_library_output();
    events_.frame_handled();
    open_log(options_.library_log);
    if (has_pending_)
        has_pending_ = captures_.next(pending_);
}

void Replay::run_operations_at_start()
{
    const std::vector<PlannedOperation> &planned = config_.operations;
    while (next_operation_ < planned.size() && planned[next_operation_].at_start)
        call(planned[next_operation_++]);
}

Time Replay::next_operation() const
{
    if (next_operation_ == config_.operations.size())
        return kNever;
    return start_ + config_.operations[next_operation_].after;
}

// Timers and operations due until then, by their times; of the same time, timers first.
void Replay::run_until(Time at)
{
    for (;;) {
        const Time timer = engine_.next_timer();
        const Time operation = next_operation();
        if (std::min(timer, operation) > at)
            break;
        if (timer <= operation) {
            clock_.advance_to(timer);
            engine_.run_timers();
        } else {
            clock_.advance_to(operation);
            call(config_.operations[next_operation_++]);
        }
        tell_library_output();
    }
    clock_.advance_to(at);
}

void Replay::call(const PlannedOperation &operation)
{
    engine_.share_status(true); // for this operation only: nobody else reads the segment
    const std::string result = operation.operation->call(operation.values);
    engine_.share_status(false);
    tell_library_output();
    observer_.operation_called(operation.text, result);
}

void Replay::open_log(bool open)
{
    if (!options_.library_log && options_.only_frame == 0)
        return; // the masks are the configuration's own
    log_open_ = open;
    mc_debug = open ? kAllMessages : 0;
    mld_debug = open ? kAllMessages : 0;
}

void Replay::tell_library_output()
{
    const std::string text = output_.take();
    if (!text.empty())
        observer_.library_wrote(text);
}

} // namespace mcadapt::host
