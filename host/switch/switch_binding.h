/**
 * @file
 * The C calls of `platform/switch_driver.h`, made to one switch and one source of frames.
 */
#ifndef MCADAPT_HOST_SWITCH_SWITCH_BINDING_H
#define MCADAPT_HOST_SWITCH_SWITCH_BINDING_H

#include "host/switch/frame_source.h"
#include "host/switch/switch.h"

namespace mcadapt::host {

/** What the C calls go to; null for none, and then each call is refused. */
void install(Switch *unit_switch, FrameSource *source);

} // namespace mcadapt::host

#endif
