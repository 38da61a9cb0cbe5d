/**
 * @file
 * VLAN learning, which a rule turns on in the engine.
 */
#ifndef MCADAPT_VLAN_LEARNING_H
#define MCADAPT_VLAN_LEARNING_H

#include "core/counts.h"
#include "core/log.h"
#include "platform/protocol_engine.h"

namespace mcadapt {

/** Stores that learning is on and tells the engine. @return The engine's status. */
inline int32_t enable_vlan_learning()
{
    globle_parm.learningMode = 1;
    const int32_t status = byte_status(igmp_vlan_learning_set(1));
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_adapt_vlan_learning Fail");
    return status;
}

} // namespace mcadapt

#endif
