#include "tests/host/endurance/replayed_unit.h"

#include "host/engine/engine_binding.h"
#include "host/program/system_calls.h"
#include "host/switch/switch_binding.h"
#include "host/unit/unit_binding.h"
#include "mcadapt/startup.h"

namespace mcadapt::host::test {

ReplayedUnit::ReplayedUnit() : switch_(clock_, observer_, sink_, {kUserPort, kUplinkPort})
{
    own_system_calls();
    install(&engine_);
    install(&switch_, this);
    install(&settings_, Tasks::kStored);
    engine_.set_mac(settings_.mac.data());
    mc_igmp_init(settings_.priority, 0);
}

ReplayedUnit::~ReplayedUnit()
{
    install(nullptr, Tasks::kStored);
    install(nullptr, nullptr);
    install(static_cast<Engine *>(nullptr));
}

// The task never returns by itself; its frames hold nothing to destroy, and neither do those between.
void ReplayedUnit::run(const std::function<bool(const ArrivingFrame *&frame)> &step)
{
    step_ = &step;
    const palTaskEntry task = stored_task();
    if (setjmp(leave_task_) == 0)
        task();
}

void ReplayedUnit::pass(Duration time)
{
    const Time end = clock_.now() + time;
    for (Time timer = engine_.next_timer(); timer <= end; timer = engine_.next_timer()) {
        clock_.advance_to(timer);
        engine_.run_timers();
    }
    clock_.advance_to(end);
}

bool ReplayedUnit::next(TrappedFrame &frame)
{
    for (;;) {
        const ArrivingFrame *arriving = nullptr;
        if (!(*step_)(arriving))
            std::longjmp(leave_task_, 1);
        if (arriving == nullptr)
            continue;
        const Bytes bytes = {arriving->bytes.data(), arriving->bytes.size()};
        if (!switch_.arrive(arriving->port, bytes, bytes.size))
            continue;
        frame = {bytes, static_cast<uint8_t>(arriving->port)};
        return true;
    }
}

} // namespace mcadapt::host::test
