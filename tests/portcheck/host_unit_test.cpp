// The unit on a PC is a port like any other: live, with its engine, switch, unit services and timers.
#include <deque>
#include <mutex>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "host/engine/engine.h"
#include "host/engine/engine_binding.h"
#include "host/switch/switch_binding.h"
#include "host/unit/timer_thread.h"
#include "host/unit/unit_binding.h"
#include "mcadapt/portcheck.h"

namespace mcadapt::host {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

struct NoSink : FrameSink {
    void leave(uint32_t, Bytes, std::size_t) override {}
};

/** Frames that are fed to the unit, on their way through the switch to the library. */
class FedFrames : public FrameSource {
public:
    explicit FedFrames(Switch &unit_switch) : switch_(unit_switch) {}

    void feed(const uint8_t *frame, uint32_t length, uint8_t port)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (switch_.arrive(port, {frame, length}, length))
            waiting_.push_back({{frame, frame + length}, port});
    }
    bool next(TrappedFrame &frame) override
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (waiting_.empty())
            return false;
        current_ = waiting_.front();
        waiting_.pop_front();
        frame = {{current_.bytes.data(), current_.bytes.size()}, current_.port};
        return true;
    }

private:
    struct Waiting {
        std::vector<uint8_t> bytes;
        uint8_t port;
    };
    Switch &switch_;
    std::mutex mutex_;
    std::deque<Waiting> waiting_;
    Waiting current_ = {};
};

/** A whole unit; it stays until the process ends, as its tasks do. */
struct Unit {
    SteadyClock clock;
    Observer observer;
    NoSink sink;
    UnitSettings settings;
    Engine engine{clock, observer};
    Switch unit_switch{clock, observer, sink, {0, 29}};
    FedFrames frames{unit_switch};
    std::vector<std::string> told;
    TimerThread timers{[this] { engine.run_timers(); }};

    Unit()
    {
        engine.set_mac(settings.mac.data());
        install(&engine);
        install(&unit_switch, &frames);
        install(&settings, Tasks::kThreads);
    }
};

int32_t feed(void *unit, const uint8_t *frame, uint32_t length, uint8_t port)
{
    static_cast<Unit *>(unit)->frames.feed(frame, length, port);
    return 0;
}

void keep(void *unit, const char *line) { static_cast<Unit *>(unit)->told.emplace_back(line); }

TEST(TheUnitOnAPc, passes_the_port_check)
{
    auto &unit = *new Unit;
    mcPortcheckOptions options = {};
    options.quiet = 1;
    options.feed = feed;
    options.print = keep;
    options.context = &unit;
    EXPECT_EQ(mc_portcheck(&options), MC_PORTCHECK_PASSED);
    EXPECT_THAT(unit.told, ElementsAre(StartsWith("Port check passed: 66 of 66 calls made, no fault")));
}

} // namespace
} // namespace mcadapt::host
