/**
 * @file
 * What the snooping and the control handler share: the port check, the downstream rule search, and the sending of a
 * frame with its tag rewritten.
 */
#ifndef MCADAPT_PACKET_DOWNSTREAM_H
#define MCADAPT_PACKET_DOWNSTREAM_H

#include <cstdint>

#include "core/counts.h"
#include "core/log.h"
#include "core/ports.h"
#include "packet/frame.h"

namespace mcadapt {

/** State of a port that is not configured. */
constexpr int32_t kNoPortState = -1;

/** `portType` of a logic port as the handlers print it, or `kNoPortState`. */
template <class F> inline int32_t port_state(int logic_port)
{
    return logic_port == kNoLogicPort ? kNoPortState : static_cast<int32_t>(F::ports()[logic_port].portType);
}

/** Finds the logic port of a received frame's port for a handler, with its lines. */
template <class F> inline int find_handler_port(uint32_t port)
{
    if (port > kUplinkPort) {
        LOG_ERROR(F, "\n port(%d) is invalid!", port);
        return kNoLogicPort;
    }
    const int logic_port = find_logic_port<F>(port);
    if (logic_port == kNoLogicPort)
        LOG_TRACE(F, "\n [checkPortState]port(%d) is not find!", port);
    return logic_port;
}

/** The rules that a downstream frame matched, in rule order. */
struct DownstreamMatches {
    uint16_t count = 0;
    bool strips = false; /**< One of them takes the tag out. */
    uint16_t out_vlan[MC_RULES_PER_PORT];
};

/**
 * Searches the rules of one logic port for those whose `in_dn_vlan` is the frame's VLAN.
 * @return What was found, until the next search of the family.
 */
template <class F> const DownstreamMatches &search_downstream(int logic_port, uint32_t vlan_id);

/**
 * Sends a frame with a tag in the place of its own, or inserted; MLD remembers the tag.
 *
 * A tagged frame is changed in place, so that what is sent later starts from it.
 */
template <class F> void send_tagged(uint8_t *frame, uint32_t length, uint16_t tag_control, uint16_t port);

/**
 * Sends a frame to a user port once per match.
 * @param stripped_length  Length with which a frame is sent whose tag was taken out.
 */
template <class F>
void send_matches(const DownstreamMatches &matches, uint8_t *frame, uint32_t length, uint32_t stripped_length,
                  uint16_t port);

/** Stores a tag, field by field. */
inline void set_tag(mldTagRecord &tag, uint16_t vid, unsigned priority)
{
    tag.tpid = kTpid;
    tag.vid = vid;
    tag.pri = static_cast<uint8_t>(priority);
}

inline bool is_user_port(int logic_port) { return portState[logic_port].portType == MC_PORT_TYPE_USER; }

/** Frame lengths and port numbers are cut to 16 bits where the send routines take them. */
inline uint16_t low16(uint32_t value) { return static_cast<uint16_t>(value); }

} // namespace mcadapt

#endif
