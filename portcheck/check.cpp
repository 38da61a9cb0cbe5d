#include <atomic>
#include <pthread.h>

#include "mcadapt/portcheck.h"
#include "portcheck/lent_memory.h"
#include "portcheck/report.h"
#include "portcheck/steps.h"
#include "portcheck/task.h"
#include "portcheck/watch.h"

namespace mcadapt::portcheck {

namespace {

constexpr uint32_t kLookMs = 5;
// What a port still does with memory that it kept, it does soon.
constexpr uint32_t kLongestSettleMs = 300;

std::atomic<bool> done{false};

void *check(void *)
{
    name_thread("on the thread of start-up and management");
    bring_up();
    pass_frames();
    manage();
    run_together();
    done = true;
    return nullptr;
}

// The calls are made on a thread of their own, so that one that never returns leaves somebody to tell it.
bool run_watched()
{
    pthread_t thread;
    if (pthread_create(&thread, nullptr, check, nullptr) != 0)
        return false;
    pthread_detach(thread);
    while (!done) {
        if (is_stuck())
            return false;
        pause_ms(kLookMs);
    }
    pause_ms(options().waitMs < kLongestSettleMs ? options().waitMs : kLongestSettleMs);
    return !is_stuck();
}

} // namespace

} // namespace mcadapt::portcheck

using namespace mcadapt::portcheck;

int32_t mc_portcheck(const mcPortcheckOptions *given)
{
    open_report(given == nullptr ? mcPortcheckOptions{} : *given);
    tell("Checking the port. It is changed: groups, VLANs, forwarding entries and settings of engine and switch are");
    tell("overwritten, and frames are sent. Each call is told before it is made for the first time.");
    done = false;
    start_lending();
    start_watch();
    start_tasks();
    const bool finished = run_watched();
    if (finished)
        check_single_task();
    tell_late_accesses();
    const int32_t result = close_report(!finished);
    end_watch();
    return result;
}
