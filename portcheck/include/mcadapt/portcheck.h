/**
 * @file
 * The check of a port: makes every platform call the way the library makes it, and tells in plain words what is wrong.
 *
 * Link it with the port and nothing else: `cc main.c port.c -lmcadapt-portcheck`. The library is not needed, and is not
 * called: the check stands in its place, with callbacks and a task entry of its own.
 */
#ifndef MCADAPT_PORTCHECK_H
#define MCADAPT_PORTCHECK_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Results of `mc_portcheck`. */
enum {
    MC_PORTCHECK_PASSED = 0, /**< Every call was made, and no fault found. */
    MC_PORTCHECK_FAILED = 1, /**< Every call was made; the faults are told. */
    MC_PORTCHECK_STOPPED = 2 /**< A call did not return or crashed; what comes behind it was not checked. */
};

/** How to check. All 0 is a good choice. */
typedef struct mcPortcheckOptions {
    /** Non-zero: faults and the summary only. */
    int32_t quiet;
    /** Milliseconds after which a call counts as one that never returns; 0: 5000. */
    uint32_t limitMs;
    /** Milliseconds that the engine has to call back, and the task to start; 0: 3000. */
    uint32_t waitMs;
    /** As given to `mc_igmp_init`. */
    int32_t priority;
    int32_t engineArg;
    /**
     * Lets a frame arrive on a switch port, so that the driver traps it; null when there is no way to do so.
     * @return 0 fed; other: cannot be fed.
     */
    int32_t (*feed)(void *context, const uint8_t *frame, uint32_t length, uint8_t port);
    /** Takes one line of the report, without its end; null: standard output. Called on several threads, in turn. */
    void (*print)(void *context, const char *line);
    /** Handed to `feed` and `print`. */
    void *context;
} mcPortcheckOptions;

/**
 * Checks the port that is linked into this process.
 *
 * It changes the unit: groups, VLANs, forwarding entries and settings of the engine and the switch are overwritten, and
 * frames are sent. Run it once in a process that does nothing else, on a unit that is not in service.
 *
 * @param options  Null: all 0.
 * @return One of the results above.
 */
int32_t mc_portcheck(const mcPortcheckOptions *options);

#ifdef __cplusplus
}
#endif

#endif
