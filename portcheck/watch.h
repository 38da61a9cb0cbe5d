/**
 * @file
 * The watch over the calls that are under way: one that does not return, or crashes, is named.
 */
#ifndef MCADAPT_PORTCHECK_WATCH_H
#define MCADAPT_PORTCHECK_WATCH_H

#include <cstdint>

#include "portcheck/platform_calls.h"
#include "portcheck/report.h"

namespace mcadapt::portcheck {

/** Forgets an earlier check and watches for signals from now on. */
void start_watch();
/** Gives the signals back. */
void end_watch();

/** What the calling thread is called in a sentence: "on the receive task". */
void name_thread(const char *where);

/** A call starts and ends on this thread. Once the check has stopped, no call starts any more: the thread is parked. */
void begin_call(Call call);
void end_call();

/** A callback of the check runs on this thread, for as long as this exists; calls from there count as calls of it. */
class InCallback {
public:
    InCallback();
    ~InCallback();
    InCallback(const InCallback &) = delete;
    InCallback &operator=(const InCallback &) = delete;
};

/** Looks for a call that does not return and for a crash, and tells it. @return Whether the check is to stop. */
bool is_stuck();

/** Stops a thread for ever. */
[[noreturn]] void park();

void pause_ms(uint32_t ms);
/** A clock that wraps: only differences mean something. */
uint32_t now_ms();

/** Whether the check is between the engine's start and the registration of the callbacks. */
void set_before_registration(bool before);

/** A call of the port, to be made with its arguments. */
template <class... Parameters> class PortCall {
public:
    PortCall(Call call, int32_t (*function)(Parameters...)) : call_(call), function_(function) {}
    template <class... Arguments> int32_t operator()(Arguments... arguments) const
    {
        begin_call(call_);
        const int32_t result = function_(static_cast<Parameters>(arguments)...);
        end_call();
        return result;
    }

private:
    Call call_;
    int32_t (*function_)(Parameters...);
};

/** The same, with its result judged as the library does. */
template <class... Parameters> class JudgedCall {
public:
    JudgedCall(Call call, int32_t (*function)(Parameters...)) : call_(call), port_call_(call, function) {}
    template <class... Arguments> void operator()(Arguments... arguments) const
    {
        judge(call_, port_call_(arguments...));
    }

private:
    Call call_;
    PortCall<Parameters...> port_call_;
};

/** `CALL(igmp_vlan_add)(100)` makes the call, `CALL_JUDGED(igmp_vlan_add)(100)` judges the result too. */
#define CALL(name) PortCall(Call::name, ::name)
#define CALL_JUDGED(name) JudgedCall(Call::name, ::name)

} // namespace mcadapt::portcheck

#endif
