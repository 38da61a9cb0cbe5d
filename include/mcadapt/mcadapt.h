/**
 * @file
 * mcadapt: the multicast adaptation library of an optical network unit.
 *
 * This header includes the whole exported interface. The library is loaded into the unit's management process, which
 * must supply the calls declared under `platform/`: the protocol engine, the switch driver and the unit services.
 *
 * Threads: the operations of an agent run on that agent's thread; the library takes no lock. Single fields of the
 * records are written whole; operations that change rules, template VLANs or static groups must be called one at a
 * time.
 *
 * Results: 0 success; -1 refused by the library; otherwise the engine's code, whole or reduced to its low byte,
 * sign-extended, as each operation says. What an operation stores is stored before the engine is asked and stays
 * stored when the engine refuses.
 *
 * Messages go to standard output, gated by the masks of `diagnostics.h`.
 */
#ifndef MCADAPT_MCADAPT_H
#define MCADAPT_MCADAPT_H

#include "mcadapt/diagnostics.h"
#include "mcadapt/engine_callbacks.h"
#include "mcadapt/oam.h"
#include "mcadapt/omci.h"
#include "mcadapt/packet_path.h"
#include "mcadapt/records.h"
#include "mcadapt/startup.h"
#include "mcadapt/status.h"
#include "mcadapt/std_omci.h"
#include "mcadapt/vlan_tables.h"
#include "mcadapt/web.h"

#endif
