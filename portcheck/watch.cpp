#include "portcheck/watch.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <ctime>
#include <pthread.h>
#include <unistd.h>

#include "portcheck/lent_memory.h"

namespace mcadapt::portcheck {

namespace {

constexpr int kThreads = 32;
constexpr int kDepth = 8;
constexpr int kNoCall = -1;

/** The calls under way on one thread, the innermost last. */
struct Track {
    std::atomic<const char *> where;
    std::atomic<uint32_t> round; // of a thread of the check; 0 for one of the port
    std::atomic<int> depth;
    std::atomic<int> call[kDepth];
    std::atomic<uint32_t> since[kDepth]; // no 64 bits: some processors lack such atomics
};

Track tracks[kThreads];
std::atomic<int> tracks_used{0};
thread_local Track *own_track;

std::atomic<bool> stopped{false};
std::atomic<uint32_t> current_round{0}; // one for each check of the process
std::atomic<bool> before_registration{false};

/** What the signal handler leaves for the watch. */
struct Crash {
    std::atomic<int> signal;
    std::atomic<const void *> address;
    std::atomic<Track *> track;
};
Crash crash;

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT};
constexpr int kSignalCount = sizeof(kSignals) / sizeof(kSignals[0]);
struct sigaction former[kSignalCount];

Track *track()
{
    if (own_track == nullptr) {
        const int place = tracks_used.fetch_add(1);
        own_track = &tracks[place % kThreads];
        own_track->where = "on a thread of the port";
        own_track->round = 0;
        own_track->depth = 0;
    }
    return own_track;
}

// A thread of a check that was stopped does nothing more, whenever its call returns.
void park_if_left_behind()
{
    const uint32_t round = track()->round;
    if (stopped || (round != 0 && round != current_round))
        park();
}

void push(int call)
{
    Track &mine = *track();
    const int depth = mine.depth;
    if (depth < kDepth) {
        mine.call[depth] = call;
        mine.since[depth] = now_ms();
    }
    mine.depth = depth + 1;
}

void pop() { --track()->depth; }

int innermost(const Track &thread)
{
    const int depth = thread.depth;
    return depth > 0 && depth <= kDepth ? thread.call[depth - 1].load() : kNoCall;
}

// The call inside which the engine called back, for the innermost call of a thread.
int around_callback(const Track &thread)
{
    const int depth = thread.depth;
    if (depth < 2 || depth > kDepth || thread.call[depth - 2] != kNoCall)
        return kNoCall;
    return depth >= 3 ? thread.call[depth - 3].load() : kNoCall;
}

bool is_in_callback(const Track &thread)
{
    const int depth = thread.depth;
    return depth >= 2 && depth <= kDepth && thread.call[depth - 2] == kNoCall;
}

void on_signal(int number, siginfo_t *information, void *)
{
    const bool access = number == SIGSEGV || number == SIGBUS;
    if (access && open_lent_memory(information->si_addr))
        return;
    if (crash.signal == 0) {
        crash.address = access ? information->si_addr : nullptr;
        crash.track = own_track;
        crash.signal = number;
    }
    park();
}

const char *signal_name(int number)
{
    switch (number) {
    case SIGSEGV:
        return "SIGSEGV";
    case SIGBUS:
        return "SIGBUS";
    case SIGILL:
        return "SIGILL";
    case SIGFPE:
        return "SIGFPE";
    default:
        return "SIGABRT";
    }
}

void tell_crash()
{
    const Track *thread = crash.track;
    const int call = thread == nullptr ? kNoCall : innermost(*thread);
    const char *signal = signal_name(crash.signal);
    if (before_registration)
        fault("%s crashed (%s) before any callback was registered; the library needs an engine that calls none before, "
              "because it starts the engine's tasks first and nothing orders the two.",
              call == kNoCall ? "The engine, started by igmp_task_init and mld_task_init," : name(Call(call)), signal);
    else if (call != kNoCall)
        fault("%s crashed (%s), %s; the library needs every call to return, because the process that it runs in dies "
              "with it.",
              name(Call(call)), signal, thread->where.load());
    else
        fault("The port crashed (%s), on a thread of its own; the library needs its calls to keep going, because the "
              "process that it runs in dies with them.",
              signal);
}

void tell_blocked(const Track &thread, int call)
{
    const uint32_t limit = options().limitMs;
    const int outer = around_callback(thread);
    if (!is_in_callback(thread))
        fault(
            "%s did not return within %u ms, %s; the library needs every call to return, because it sets no time limit "
            "and does nothing else on that thread.",
            name(Call(call)), limit, thread.where.load());
    else if (outer != kNoCall)
        fault("%s did not return within %u ms, called by a callback inside %s; the library needs it to return there "
              "too, because its callbacks make this call on the thread that is inside the engine: no lock may be held "
              "that both need.",
              name(Call(call)), limit, name(Call(outer)));
    else
        fault("%s did not return within %u ms, called by a callback on a thread of the engine; the library needs it to "
              "return there too, because its callbacks make this call: no lock may be held that both need.",
              name(Call(call)), limit);
}

bool is_blocked(const Track &thread)
{
    const int depth = thread.depth;
    if (depth < 1 || depth > kDepth)
        return false;
    const int call = thread.call[depth - 1];
    const uint32_t since = thread.since[depth - 1];
    if (call == kNoCall || now_ms() - since <= options().limitMs)
        return false;
    tell_blocked(thread, call);
    return true;
}

} // namespace

void start_watch()
{
    // Threads of an earlier check, parked for ever, keep their tracks.
    for (Track &each : tracks)
        each.depth = 0;
    own_track = nullptr;
    ++current_round;
    stopped = false;
    before_registration = false;
    crash.signal = 0;
    struct sigaction action = {};
    action.sa_sigaction = on_signal;
    action.sa_flags = SA_SIGINFO | SA_NODEFER;
    for (int i = 0; i < kSignalCount; ++i)
        sigaction(kSignals[i], &action, &former[i]);
}

void end_watch()
{
    for (int i = 0; i < kSignalCount; ++i)
        sigaction(kSignals[i], &former[i], nullptr);
}

void name_thread(const char *where)
{
    track()->where = where;
    track()->round = current_round.load();
}

void begin_call(Call call)
{
    park_if_left_behind();
    tell_call(call);
    push(static_cast<int>(call));
}

void end_call()
{
    park_if_left_behind();
    pop();
}

InCallback::InCallback() { push(kNoCall); }
InCallback::~InCallback() { pop(); }

bool is_stuck()
{
    if (crash.signal != 0) {
        stopped = true;
        tell_crash();
        return true;
    }
    for (const Track &thread : tracks) {
        if (is_blocked(thread)) {
            stopped = true;
            return true;
        }
    }
    return false;
}

void park()
{
    for (;;)
        pause();
}

void pause_ms(uint32_t ms)
{
    timespec left = {static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000};
    while (nanosleep(&left, &left) != 0) {
    }
}

uint32_t now_ms()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint32_t>(now.tv_sec) * 1000 + static_cast<uint32_t>(now.tv_nsec / 1000000);
}

void set_before_registration(bool before) { before_registration = before; }

} // namespace mcadapt::portcheck
