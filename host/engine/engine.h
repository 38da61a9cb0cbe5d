/**
 * @file
 * The reference IGMP/MLD engine of the unit on a PC.
 *
 * It keeps group membership per VLAN, group and port after RFC 9776 (IGMPv3), RFC 9777 (MLDv2) and the older versions
 * RFC 2236, RFC 2710 and RFC 1112; snoops after RFC 4541, proxies after RFC 4605, and treats source-specific groups
 * after RFC 4607. Both families are one design: one state machine, two wire formats.
 *
 * Modes, per family:
 * - snooping: learns; originates nothing but last-member queries, and those only where no other querier is heard;
 * - proxy: querier toward the user ports, one aggregated host toward the uplink, in the version heard there;
 * - control: reports change nothing; only control calls add and remove entries.
 *
 * Ports are switch ports 0 to 29; 29 and 0xFFFF are the uplink. What a subscriber sends concerns its own port only.
 *
 * Group values. Some calls name a group by a 32-bit value: an IPv4 group address in host byte order stands for itself;
 * a value below 65536 is a channel index, and stands for the channel base plus the value (`set_channel_base`).
 *
 * Settings that have one call only serve both families: the six timers, fast leave, VLAN learning, the group limit
 * (each family counts its own groups). Authorisation, bandwidth, static groups, the SSM words and the gathered status
 * know IPv4 groups only. All calls return 0, or a `Result` other than 0 that fits into 7 bits.
 *
 * The four interface counters of a port, in their order (those of a multicast subscriber monitor):
 *   0  bandwidth of the groups that the port listens to now, in the unit of the authorised ranges' fourth argument
 *   1  join messages received: IGMPv1 and IGMPv2 reports, and IGMPv3 records that ask for a group or source
 *   2  joins refused because of the bandwidth limit
 *   3  groups that the port listens to now
 *
 * Threads: every call takes the engine's one lock, which may be taken again by the same thread. The callbacks into the
 * library run inside; a callback may call the engine. The engine has no thread: somebody calls `run_timers`.
 */
#ifndef MCADAPT_HOST_ENGINE_ENGINE_H
#define MCADAPT_HOST_ENGINE_ENGINE_H

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "host/clock.h"
#include "host/engine/counters.h"
#include "host/engine/drop_reason.h"
#include "host/engine/limits.h"
#include "host/observer.h"
#include "mcadapt/engine_types.h"

namespace mcadapt::host {

/** What the calls of the engine answer; the library looks at "zero or not" only. */
enum class Result : int32_t {
    kOk = 0,
    kDropped = 1,     /**< The packet was not taken. */
    kInvalid = 2,     /**< An argument outside its range. */
    kUnknownPort = 3, /**< Not a switch port, or never declared. */
    kFull = 4,        /**< A list holds no more. */
    kNotFound = 5,    /**< Nothing there to remove. */
    kRefused = 6,     /**< Never a group to install. */
    kNoEngine = 7     /**< The C calls before `install`. */
};

enum class Mode : uint8_t { kSnooping = 1, kProxy = 2, kControl = 3 };

/** One membership, as it stands. */
struct GroupView {
    Membership membership;
    bool exclude;                      /**< Filter mode: EXCLUDE, else INCLUDE. */
    bool installed;                    /**< The add callback answered 0. */
    bool fixed;                        /**< Static group. */
    bool controlled;                   /**< Added by a control call. */
    uint8_t version;                   /**< Compatibility mode: 1, 2, 3 (IGMP); 1, 2 (MLD). */
    Time joined;                       /**< When the first listener came. */
    Time expires;                      /**< End of the group timer in EXCLUDE mode, else `kNever`. */
    std::vector<GroupAddress> wanted;  /**< Sources with a running timer. */
    std::vector<Time> wanted_until;    /**< Their ends, in the same order. */
    std::vector<GroupAddress> blocked; /**< Sources excluded. */
};

class EngineCore;

class Engine {
public:
    Engine(const Clock &clock, Observer &observer, Limits limits = {});
    ~Engine();
    Engine(const Engine &) = delete;
    Engine &operator=(const Engine &) = delete;

    // --- Time

    /** When `run_timers` has something to do: never later than that, at times earlier; `kNever` for nothing. */
    Time next_timer() const;
    /** Fires everything due at the clock's time, by due time, then by creation. */
    void run_timers();

    // --- The surroundings

    /** End of the frame whose packet comes next: nothing behind it is read. Null: trust the length, up to a frame's. */
    void set_frame_limit(const uint8_t *end);
    /** The unit's MAC address: MLD packets come from the link-local address made of it. */
    void set_mac(const uint8_t *mac);
    /** The group that channel index 0 stands for, host byte order; 239.1.1.0 at first. */
    Result set_channel_base(uint32_t group);
    /**
     * Keeps the shared status segment (key 82, layout of `grp_info`) up to date from now on; off at first.
     * @return Whether the segment could be had.
     */
    bool share_status(bool on);

    // --- A look inside

    Counters counters(Family family) const;
    InterfaceCounters interface_counters(uint32_t port) const;
    Mode mode(Family family) const;
    std::size_t group_count(Family family) const;
    /** The multicast VLANs that were added, by id; without those that were learned. */
    std::bitset<4096> vlans(Family family) const;
    /** All memberships by VLAN, group and port. */
    std::vector<GroupView> groups(Family family) const;
    /** Whether the port listens to this source of the group. */
    bool wants(const Membership &membership, const GroupAddress &source) const;
    /** Bytes of memory that the memberships take, free room included. */
    std::size_t memory_bytes() const;

    // --- Start-up

    /** Back to the start state: nothing learned, nothing set; callbacks and surroundings stay. */
    int32_t reset(Family family);
    /** Marks the half as started: `igmp_task_init`, `mld_task_init`. There is no task. */
    int32_t start(Family family);
    int32_t register_send(Family family, mcSendPacketCallback send);
    int32_t register_add(Family family, mcForwardingCallback add);
    int32_t register_remove(Family family, mcForwardingCallback remove);
    int32_t declare_port(Family family, uint32_t port);

    // --- Packets

    int32_t receive(Family family, const uint8_t *packet, uint32_t length, uint32_t port, uint32_t vlan);

    // --- Mode and parameters

    int32_t set_mode(Family family, Mode mode);
    int32_t set_proxy_source(uint32_t address);
    /** Seconds; all or nothing. `age` 0: memberships never time out. */
    int32_t set_timers(uint32_t robustness, uint32_t query_interval, uint32_t response_interval,
                       uint32_t last_member_interval, uint32_t last_member_count, uint32_t age);
    int32_t set_robustness(uint32_t value);
    int32_t set_query_interval(uint32_t seconds);
    int32_t set_response_interval(uint32_t seconds);
    int32_t set_last_member_interval(uint32_t seconds);
    int32_t set_last_member_count(uint32_t value);
    /** 1 to 3: packets of a later IGMP version are dropped, and queries are sent in this one. */
    int32_t set_version(uint32_t version);
    /** The source-specific range: network and mask; 0 and 0: 232.0.0.0/8. */
    int32_t set_ssm_range(uint32_t network, uint32_t mask);
    /**
     * IGMPv1 and IGMPv2 reports of these groups ask for the sources only.
     * @param words  Group, mask, first source, second source (0 none), 1 on or 0 off; host byte order.
     */
    int32_t set_ssm_map(const uint32_t *words);

    // --- VLANs

    int32_t set_default_vlan(Family family, uint32_t vlan);
    int32_t add_vlan(Family family, uint32_t vlan);
    /** Its learned groups go with it. */
    int32_t remove_vlan(Family family, uint32_t vlan);
    int32_t remove_all_vlans(Family family);
    int32_t set_vlan_learning(uint32_t enable);

    // --- Ports

    int32_t set_fast_leave(uint32_t enable);
    int32_t set_port_fast_leave(uint32_t port, uint32_t enable);
    int32_t set_group_limit(uint32_t port, int32_t limit);
    /** Sum of the bandwidths of the port's groups in the VLAN (0 or 65535: any). */
    int32_t set_bandwidth_limit(uint32_t port, uint32_t enable, uint32_t limit, uint32_t vlan);

    // --- Groups by order

    int32_t add_static(uint32_t port, uint32_t vlan, uint32_t group_value, uint32_t source);
    int32_t remove_static(uint32_t port, uint32_t vlan, uint32_t group_value, uint32_t source);
    /** Kind 1 adds, 0 removes, any other is refused. */
    int32_t control_channel(uint32_t port, uint32_t kind, uint32_t vlan, uint32_t group_value);
    /** Action 1 adds, 0 removes, any other is refused. The group is a MAC address of either family. */
    int32_t control_mac(uint32_t action, uint32_t port, uint32_t vlan, const uint8_t *mac);
    int32_t remove_all_groups(bool keep_static);

    // --- Authorisation

    int32_t set_white_list(uint32_t enable);
    /** Range of the whole unit, addresses in host byte order. */
    int32_t add_unit_range(uint32_t first, uint32_t last);
    int32_t add_port_range(uint32_t port, uint32_t first, uint32_t last, uint32_t bandwidth, uint32_t vlan);
    int32_t remove_port_range(uint32_t port, uint32_t first, uint32_t last, uint32_t vlan);
    /** Port 0 with VLAN 65535: every range of the unit and of its ports. */
    int32_t remove_ranges(uint32_t port, uint32_t vlan);
    /** Ends by itself when the port's last range is taken back, as no call turns it off. */
    int32_t set_range_authorisation(uint32_t port, uint32_t enable);
    /** Once the private list holds an entry, it restricts. */
    int32_t add_private(uint32_t group_value, uint32_t vlan);
    int32_t remove_private(uint32_t group_value, uint32_t vlan);
    int32_t clear_private();

    // --- Status

    /**
     * Packed records of 25 bytes: `infoB` first wanted source or 0, `infoD` bandwidth, `infoE` address of the host
     * that last reported, `infoF` seconds since the first listener came, `infoG` 0.
     * @return Bytes written, above 0; 0 when not even the count fits.
     */
    int32_t gather_groups(uint32_t port, uint32_t length, void *buffer) const;
    int32_t gather_interface(uint32_t port, uint32_t length, void *buffer) const;

private:
    std::unique_ptr<EngineCore> core_;
};

} // namespace mcadapt::host

#endif
