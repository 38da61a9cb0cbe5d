/**
 * @file
 * The C calls of `platform/unit_services.h`, answered from a unit's settings.
 */
#ifndef MCADAPT_HOST_UNIT_UNIT_BINDING_H
#define MCADAPT_HOST_UNIT_UNIT_BINDING_H

#include "host/unit/unit_settings.h"
#include "platform/unit_services.h"

namespace mcadapt::host {

/** Whether a task that the library creates runs at once, or when somebody calls its entry. */
enum class Tasks : uint8_t {
    kThreads, /**< Live: each is a thread of its own, until it calls `leave_task` or the process ends. */
    kStored   /**< Replay: the entry is kept for `stored_task`. */
};

/**
 * What the C calls answer from; null for none, and then each call is refused. Not to be called, nor the settings to be
 * changed, while a task runs.
 */
void install(const UnitSettings *settings, Tasks tasks);

/** The entry of the task created last; null when there is none. */
palTaskEntry stored_task();

/**
 * Ends the task on whose thread it is called, from inside one of the task's calls: the library's tasks never return.
 * Frames between here and the task's start must hold nothing to destroy, and no lock.
 */
[[noreturn]] void leave_task();

/** Waits until every task that runs has left; to be called on the thread that created them. */
void join_tasks();

} // namespace mcadapt::host

#endif
