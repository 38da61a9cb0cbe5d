/**
 * @file
 * What a switch sees in a frame: its VLAN, and whether it is multicast data, IGMP or MLD.
 */
#ifndef MCADAPT_HOST_SWITCH_FRAME_VIEW_H
#define MCADAPT_HOST_SWITCH_FRAME_VIEW_H

#include <cstdint>

#include "host/observer.h"

namespace mcadapt::host {

enum class FrameKind : uint8_t {
    kIgmp,      /**< IPv4 with protocol IGMP, wherever it is sent. */
    kMld,       /**< IPv6 with a message of MLD, wherever it is sent. */
    kIpv4Data,  /**< To an IPv4 group, or to a MAC address of one. */
    kIpv6Data,  /**< To an IPv6 group, or to a MAC address of one. */
    kLinkLocal, /**< Multicast that never leaves a link: 224.0.0.0/24, ff02::/16, and of other protocols than IP. */
    kUnicast,   /**< Not multicast at all; broadcast included. */
    kTruncated  /**< Ends within a header that it claims to have. */
};

/** The name of a kind, as the tables show it. */
const char *kind_name(FrameKind kind);

struct FrameView {
    FrameKind kind;
    bool tagged;
    uint16_t vlan;      /**< VLAN id of the first tag; 0 without one, and of a tag that gives a priority only. */
    uint16_t ip_offset; /**< Of the IPv4 or IPv6 header; 0 without one. */
    uint32_t ip_end;    /**< Where the IP packet says that it ends, beyond the frame's end or not; 0 without one. */
};

/** Reads the headers of a frame, never beyond its end. */
FrameView view_frame(Bytes frame);

} // namespace mcadapt::host

#endif
