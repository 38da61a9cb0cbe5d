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
    kThreads, /**< Live: each is a thread of its own. */
    kStored   /**< Replay: the entry is kept for `stored_task`. */
};

/** What the C calls answer from; null for none, and then each call is refused. */
void install(const UnitSettings *settings, Tasks tasks);

/** The entry of the task created last; null when there is none. */
palTaskEntry stored_task();

} // namespace mcadapt::host

#endif
