/**
 * @file
 * What happens inside a unit on a PC, told as it happens: timeline, tables and explanations are built from this.
 *
 * The switch, the engine and the program each tell their part; whoever is interested overrides what it needs. All
 * calls come in order, on the thread on which the thing happens (in a replay there is only one).
 */
#ifndef MCADAPT_HOST_OBSERVER_H
#define MCADAPT_HOST_OBSERVER_H

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "host/clock.h"

namespace mcadapt::host {

/** Some bytes that belong to somebody else. */
struct Bytes {
    const uint8_t *data;
    std::size_t size;
};

enum class Family : uint8_t { kIgmp, kMld };

/** A group address: the last four bytes are an IPv4 address as a number of the host, or all are IPv6 in network order.
 */
struct GroupAddress {
    Family family;
    uint8_t bytes[16];
};

/** What the switch did with a frame that arrived. */
enum class SwitchAction : uint8_t {
    kTrapped,   /**< Handed up to the library. */
    kForwarded, /**< Multicast data, sent to the ports of its forwarding entries, and to the uplink from the user side.
                 */
    kFlooded,   /**< Sent to every other port. */
    kDropped    /**< See the reason. */
};

/** One membership of the engine. */
struct Membership {
    GroupAddress group;
    uint16_t vlan;
    uint32_t port;
};

class Observer {
public:
    virtual ~Observer() = default;

    /** Whether texts made for the observer are wanted; when not, callers pass empty ones and save the making. */
    virtual bool wants_texts() const { return false; }

    // --- The switch

    /** A frame arrived. `number` counts all frames of a run from 1. */
    virtual void frame_arrived(uint64_t /*number*/, uint32_t /*port*/, Bytes /*frame*/) {}
    /**
     * The switch decided; `reason` is a fixed name when it dropped the frame, or forwarded it to the uplink alone
     * without an entry, else empty.
     */
    virtual void switch_decided(SwitchAction /*action*/, std::string_view /*reason*/) {}
    /** A frame left through a port: sent by the library, or forwarded by the switch itself. */
    virtual void frame_left(uint32_t /*port*/, Bytes /*frame*/, bool /*by_library*/) {}
    /** All that the frame that arrived last caused at once has been told; what timers do later has not. */
    virtual void frame_handled() {}
    /** An entry of the forwarding table was added or removed. */
    virtual void entry_changed(uint32_t /*port*/, const uint8_t * /*mac*/, uint16_t /*vlan*/, bool /*added*/) {}

    // --- The engine

    /** The library handed a packet to the engine. */
    virtual void packet_received(Family /*family*/, uint32_t /*port*/, uint16_t /*vlan*/, Bytes /*packet*/) {}
    /** The engine dropped it. `reason` is a fixed name, `why` says which rule of which standard or setting did. */
    virtual void packet_dropped(Family /*family*/, std::string_view /*reason*/, std::string_view /*why*/) {}
    /** The engine took it, and what it says: "IGMPv3 report, 2 records". */
    virtual void packet_accepted(Family /*family*/, std::string_view /*what*/) {}
    /** One group of a packet was refused while the rest was taken. */
    virtual void group_refused(const Membership & /*membership*/, std::string_view /*reason*/, std::string_view /*why*/)
    {
    }
    /** First listener of a group on a port, or the last one gone; `why` in plain words. */
    virtual void membership_changed(const Membership & /*membership*/, bool /*joined*/, std::string_view /*why*/) {}
    /** The engine sends a packet; `what` in plain words. */
    virtual void packet_sent(Family /*family*/, uint32_t /*port*/, uint16_t /*vlan*/, std::string_view /*what*/) {}

    // --- The agents and the library

    /** A management operation was called; its text as in the configuration, and what it returned. */
    virtual void operation_called(std::string_view /*text*/, std::string_view /*result*/) {}
    /** The library wrote this to its standard output. */
    virtual void library_wrote(std::string_view /*text*/) {}
};

} // namespace mcadapt::host

#endif
