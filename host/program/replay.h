/**
 * @file
 * A replay: captures and a configuration go through a whole unit, on one thread and on the captures' own time.
 *
 * The library's receive task runs as it does in a product. Whatever is due happens inside its calls for the next
 * frame: timers of the engine, planned operations, and captured frames, in the order of their times.
 */
#ifndef MCADAPT_HOST_PROGRAM_REPLAY_H
#define MCADAPT_HOST_PROGRAM_REPLAY_H

#include <csetjmp>
#include <cstdint>
#include <exception>
#include <functional>
#include <vector>

#include "host/clock.h"
#include "host/engine/engine.h"
#include "host/program/fanout.h"
#include "host/program/library_output.h"
#include "host/program/unit_config.h"
#include "host/switch/capture_reader.h"
#include "host/switch/frame_source.h"
#include "host/switch/switch.h"

namespace mcadapt::host {

struct ReplayOptions {
    Duration tail = std::chrono::seconds(5); /**< Time that goes on after the last frame or operation. */
    bool library_log = false;                /**< Opens the library's log masks for the whole run. */
    uint64_t only_frame = 0;                 /**< Opens them for this frame alone; 0 for none. */
    std::function<void(uint64_t read, uint64_t total)> progress; /**< Told now and then, if set. */
};

/** There is one library in a process, so there is one replay in its life. */
class Replay final : private FrameSource {
public:
    Replay(const UnitConfig &config, CaptureReader &captures, FrameSink &sink, ReplayClock &clock, Observer &observer,
           ReplayOptions options);
    ~Replay() override;

    /** Starts the unit and runs it to the end. Throws `CaptureError`. */
    void run();

    const Engine &engine() const { return engine_; }
    const Switch &unit_switch() const { return switch_; }
    uint64_t frames() const { return frames_; }
    Time first_frame() const { return start_; }

private:
    bool next(TrappedFrame &frame) override;
    void delivered(const uint8_t *end) override { engine_.set_frame_limit(end); }

    void start_unit();
    void run_receive_task();
    void call(const PlannedOperation &operation);
    void run_operations_at_start();
    Time next_operation() const;
    void run_until(Time at);
    bool take_frame(TrappedFrame &frame);
    void end_frame();
    Time end() const;
    void open_log(bool open);
    void tell_library_output();

    const UnitConfig &config_;
    CaptureReader &captures_;
    ReplayClock &clock_;
    Observer &observer_;
    Fanout events_; // to the observer, each behind what the library printed before it
    bool log_open_ = false;
    ReplayOptions options_;
    LibraryOutput output_;
    Engine engine_;
    Switch switch_;

    CapturedFrame pending_;
    bool has_pending_ = false;
    std::size_t next_operation_ = 0;
    uint64_t frames_ = 0;
    Time start_{0};
    bool in_frame_ = false;
    std::jmp_buf leave_task_;
    std::exception_ptr failure_;
};

} // namespace mcadapt::host

#endif
