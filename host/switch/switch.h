/**
 * @file
 * The virtual switch of the unit on a PC: what a switch driver of `platform/switch_driver.h` stands for.
 *
 * Port 0 is the user port and port 29 the uplink that the library knows; further user ports only take part in
 * forwarding. Protocol frames of a family whose trap is on go up to the library. Multicast data goes to the ports of
 * its forwarding entries; without an entry it is flooded or dropped, as the family's flood setting says. The uplink is
 * the port where the routers are: data from a user port always leaves through it, as RFC 4541 section 2.1.2 asks.
 * What is not multicast is no matter of this switch.
 *
 * Every member may be called on any thread. Observer and sink are told while the switch is locked: they do not call it.
 */
#ifndef MCADAPT_HOST_SWITCH_SWITCH_H
#define MCADAPT_HOST_SWITCH_SWITCH_H

#include <array>
#include <cstdint>
#include <mutex>
#include <string_view>
#include <vector>

#include "host/clock.h"
#include "host/observer.h"
#include "host/ports.h"
#include "host/switch/forwarding_table.h"
#include "host/switch/frame_view.h"

namespace mcadapt::host {

/** What the library offers as room for a frame. */
constexpr std::size_t kDriverBufferBytes = 2048;

/** `L2_multicast_set_filter_method`: by VLAN and multicast MAC address, the only way this switch can. */
constexpr uint32_t kFilterByVlanAndMac = 2;

/** Why the switch drops a frame; `drop_name` names each. */
enum class SwitchDrop : uint8_t {
    kNone,
    kTruncated,   /**< Ends within a header, or a protocol frame within its IP packet. */
    kCut,         /**< The same, but because the capture holds less than was on the wire. */
    kTooLong,     /**< A protocol frame beyond the driver's buffer. */
    kNotTrapped,  /**< A protocol frame while trapping and flooding are off. */
    kNoEntry,     /**< Multicast data that no port asked for. */
    kNoMember,    /**< Its only entries are those of the port on which it arrived. */
    kReserved,    /**< To an address that no bridge forwards, as those of spanning tree and LACP. */
    kUnknownPort, /**< Arrived on a port that the unit does not have. */
    kNotMulticast
};
constexpr std::size_t kSwitchDrops = 10;
std::string_view drop_name(SwitchDrop drop);

/** The reason told with data that leaves through the uplink alone. */
constexpr std::string_view kToRoutersOnly = "from the user side, no other port listens: to the uplink alone";

/** Where frames leave the unit. */
class FrameSink {
public:
    virtual ~FrameSink() = default;
    /** @param wire_size  Bytes of the frame on the wire; more than are at hand when a capture cut it. */
    virtual void leave(uint32_t port, Bytes frame, std::size_t wire_size) = 0;
};

/** Frames and their bytes on the wire. */
struct PortCounters {
    uint64_t frames_in = 0;
    uint64_t bytes_in = 0;
    uint64_t frames_out = 0;
    uint64_t bytes_out = 0;
};

struct SwitchCounters {
    std::array<uint64_t, 7> by_kind{}; /**< Frames that arrived, by `FrameKind`. */
    std::array<uint64_t, kSwitchDrops> by_drop{};
    uint64_t trapped = 0;
    uint64_t forwarded = 0;
    uint64_t flooded = 0;
};

class Switch {
public:
    /**
     * @param ports  Ports of the unit; what is sent to others is refused. Throws `std::out_of_range` for one above
     *               `kHighestPort`.
     */
    Switch(const Clock &clock, Observer &observer, FrameSink &sink, std::vector<uint32_t> ports);

    // --- The network side

    /**
     * A frame arrives on a port. Data is forwarded at once.
     * @param wire_size  Bytes that were on the wire; more than the frame has when the capture cut it.
     * @return Whether it is to be handed to the library.
     */
    bool arrive(uint32_t port, Bytes frame, std::size_t wire_size);

    /** VLAN in which a frame without a VLAN of its own is forwarded; 4088 at first. */
    void set_untagged_vlan(uint16_t vlan);

    // --- The driver's side; each returns 0, or -1 for an argument that it does not take

    int32_t open() { return 0; }
    int32_t set_filter_method(uint32_t method);
    int32_t set_trap(uint32_t selector, uint32_t enable);
    int32_t set_flood(uint32_t selector, uint32_t enable);
    /** Port -1 is the uplink's wildcard. Adding what is there already changes nothing and succeeds. */
    int32_t add_entry(int32_t port, const uint8_t *mac, uint32_t vlan);
    /** An entry that is not there is refused. */
    int32_t remove_entry(int32_t port, const uint8_t *mac, uint32_t vlan);
    int32_t send(Bytes frame, uint32_t port);

    // --- A look inside

    bool has_port(uint32_t port) const;
    SwitchCounters counters() const;
    /** Throws `std::out_of_range` for a port above `kHighestPort`. */
    PortCounters port_counters(uint32_t port) const;
    /** By VLAN, MAC address and port. */
    std::vector<ForwardingEntry> entries() const;
    bool traps(Family family) const;
    bool floods(Family family) const;
    /** The method that the driver's caller chose; 0 before. */
    uint32_t filter_method() const;

private:
    /** A frame on its way through. */
    struct Arrival {
        uint32_t port;
        Bytes frame;
        std::size_t wire_size;
        FrameView view;
    };

    static std::size_t index(Family family) { return family == Family::kMld ? 1 : 0; }
    bool entry_port(int32_t port, uint32_t &entry_port) const;
    bool drop(SwitchDrop reason);
    bool drop_incomplete(const Arrival &arrival);
    bool decide(const Arrival &arrival);
    bool decide_protocol(Family family, const Arrival &arrival);
    bool forward_data(Family family, const Arrival &arrival);
    bool forward_to(ForwardingTable::Listeners *listeners, const Arrival &arrival);
    bool flood_frame(const Arrival &arrival);
    void leave(uint32_t port, Bytes frame, std::size_t wire_size, bool by_library);

    const Clock &clock_;
    Observer &observer_;
    FrameSink &sink_;
    std::vector<uint32_t> ports_;
    mutable std::mutex mutex_; // of all below; taken last, held while the observer and the sink are told
    std::array<bool, 2> trap_{};
    std::array<bool, 2> flood_{{true, true}};
    uint32_t filter_method_ = 0;
    uint16_t untagged_vlan_ = 4088;
    ForwardingTable table_;
    SwitchCounters counters_;
    std::array<PortCounters, kHighestPort + 1> port_counters_{};
};

} // namespace mcadapt::host

#endif
