/**
 * @file
 * The C calls of `platform/protocol_engine.h`, made to one engine.
 */
#ifndef MCADAPT_HOST_ENGINE_ENGINE_BINDING_H
#define MCADAPT_HOST_ENGINE_ENGINE_BINDING_H

#include "host/engine/engine.h"

namespace mcadapt::host {

/** The engine that the C calls go to; null for none. */
void install(Engine *engine);
Engine *installed_engine();

} // namespace mcadapt::host

#endif
