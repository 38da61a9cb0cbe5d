/**
 * @file
 * The callbacks that the check registers with the engine: each looks at what the engine hands over, and makes the
 * driver's call that the library would make there.
 */
#ifndef MCADAPT_PORTCHECK_CALLBACKS_H
#define MCADAPT_PORTCHECK_CALLBACKS_H

#include <cstdint>

#include "mcadapt/engine_types.h"

namespace mcadapt::portcheck {

enum class Callback { kIgmpSend, kIgmpAdd, kIgmpRemove, kMldSend, kMldAdd, kMldRemove };

int32_t send_igmp(const uint8_t *packet, uint32_t port, mcTagDescriptor *tag, uint32_t length);
int32_t send_mld(const uint8_t *packet, uint32_t port, mcTagDescriptor *tag, uint32_t length);
int32_t add_igmp(const mcGroupRecord *group);
int32_t remove_igmp(const mcGroupRecord *group);
int32_t add_mld(const mcGroupRecord *group);
int32_t remove_mld(const mcGroupRecord *group);

/** How often a callback was called. */
uint32_t times_called(Callback callback);

/** Waits until a callback was called more often than that, as long as the engine is given. @return Whether it was. */
bool wait_for(Callback callback, uint32_t times);

/** From now on a callback must not come: nothing is registered. */
void start_callbacks();

} // namespace mcadapt::portcheck

#endif
