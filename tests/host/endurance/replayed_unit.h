/**
 * @file
 * A whole unit on one thread and a clock of its own, through which operations and frames are driven for a long time.
 */
#ifndef MCADAPT_TESTS_HOST_ENDURANCE_REPLAYED_UNIT_H
#define MCADAPT_TESTS_HOST_ENDURANCE_REPLAYED_UNIT_H

#include <csetjmp>
#include <cstdint>
#include <functional>

#include "host/engine/engine.h"
#include "host/switch/capture_writer.h"
#include "host/switch/frame_source.h"
#include "host/switch/switch.h"
#include "host/unit/unit_settings.h"
#include "tests/host/whole_unit/traffic.h"

namespace mcadapt::host::test {

class ReplayedUnit final : public FrameSource {
public:
    /** Starts the unit. */
    ReplayedUnit();
    ~ReplayedUnit() override;
    ReplayedUnit(const ReplayedUnit &) = delete;
    ReplayedUnit &operator=(const ReplayedUnit &) = delete;

    /**
     * Runs the receive task. Whenever it asks for a frame, `step` is called, and the frame that it gives arrives; null
     * for none. The task is left when `step` returns false.
     */
    void run(const std::function<bool(const ArrivingFrame *&frame)> &step);

    /** Time passes, and the timers that are due run. */
    void pass(Duration time);

    const Engine &engine() const { return engine_; }
    const Switch &unit_switch() const { return switch_; }

private:
    bool next(TrappedFrame &frame) override;
    void delivered(const uint8_t *end) override { engine_.set_frame_limit(end); }

    ReplayClock clock_;
    Observer observer_;
    NoCapture sink_;
    UnitSettings settings_;
    Engine engine_{clock_, observer_};
    Switch switch_;
    const std::function<bool(const ArrivingFrame *&frame)> *step_ = nullptr;
    std::jmp_buf leave_task_;
};

} // namespace mcadapt::host::test

#endif
