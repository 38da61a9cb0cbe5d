/**
 * @file
 * One half of the engine: IGMP or MLD. Both are this class; only the wire formats differ.
 */
#ifndef MCADAPT_HOST_ENGINE_HALF_H
#define MCADAPT_HOST_ENGINE_HALF_H

#include <array>
#include <bitset>
#include <map>
#include <string_view>
#include <vector>

#include "host/engine/context.h"
#include "host/engine/engine.h"
#include "host/engine/proxy.h"

namespace mcadapt::host {

class Half {
public:
    Half(Context &context, Family family)
        : context_(context), family_(family), outlet_(context, family), proxy_(context, outlet_, family)
    {
    }

    Outlet &outlet() { return outlet_; }
    const Counters &counters() const { return outlet_.counters; }
    const GroupTable &groups() const { return groups_; }
    Family family() const { return family_; }
    Mode mode() const { return mode_; }
    const std::bitset<4096> &vlans() const { return registered_; }
    std::size_t memory_bytes() const { return groups_.memory_bytes() + outlet_.memory_bytes(); }

    /** Back to the start state, with every entry given back. */
    void reset();
    Result receive(const uint8_t *packet, std::size_t available, std::size_t claimed, uint32_t port, uint16_t vlan);
    void fire(Timer &timer);

    // --- Mode, ports, VLANs

    void set_mode(Mode mode);
    void declare_port(uint32_t port);
    bool declared(uint32_t port) const { return port <= kMaxPort && declared_[port]; }
    void set_default_vlan(uint16_t vlan);
    void add_vlan(uint16_t vlan);
    void remove_vlan(uint16_t vlan);
    void remove_all_vlans();
    void forget_learned_vlans();

    // --- Groups by order

    void hold(const GroupKey &key, bool PortGroup::*order);
    void release(const GroupKey &key, bool PortGroup::*order);
    void remove_all_groups(bool keep_static);

private:
    /** Where and when a packet came in. */
    struct Arrival {
        Time now;
        uint16_t vlan;
        uint16_t port;
        Address host;
    };

    /** The link of a user port in a VLAN (the uplink's too, when snooping): who queries there. */
    struct Interface : Timer {
        Interface() : Timer(TimerKind::kInterface) {}
        uint16_t vlan = 0;
        uint16_t port = 0;
        Time other_until{0};        /**< Another querier is present until then. */
        uint8_t robustness = 0;     /**< What it told, 0 nothing. */
        Duration query_interval{0}; /**< What it told, 0 nothing. */
        uint32_t startup_left = 0;
    };

    // packets (half_packets.cpp)
    DropReason examine(const uint8_t *packet, std::size_t available, std::size_t claimed, uint32_t port, uint16_t vlan,
                       Message &message);
    bool take_vlan(uint16_t vlan);
    void count_kind(const Message &message);
    void drop(DropReason reason);
    void refuse(const GroupKey &key, DropReason reason);
    SourceSet decode_sources(const uint8_t *list, uint16_t count, bool &unicast);
    void on_report(const Message &message, const Arrival &arrival);
    void on_record(const Record &record, const Arrival &arrival);
    void on_single(const Message &message, const Arrival &arrival);
    bool is_ssm(const Address &group) const;
    SourceSet mapped_sources(const Address &group);
    void apply_record(RecordType type, const Address &group, SourceSet set, uint8_t level, const Arrival &arrival);
    PortGroup *admit(const GroupKey &key, bool asks);
    DropReason may_join(const GroupKey &key, uint32_t &bandwidth);
    DropReason older_host_rule(const PortGroup &group, RecordType type, SourceSet &set, Time now) const;
    Change start_queries(PortGroup &group, const Change &change, const Arrival &arrival);
    Duration member_interval(uint16_t vlan, uint16_t port, Time now) const;

    // entries (half_entries.cpp)
    PortGroup &create(const GroupKey &key);
    void settle(PortGroup &group, std::string_view why, bool retry);
    void announce(PortGroup &group, std::string_view why);
    void remove(PortGroup &group, std::string_view why);
    void install(PortGroup &group);
    void account(const PortGroup &group, bool joined);
    void tell_proxy(uint16_t vlan, const Address &group);
    template <class Which> void drop_learned(Which which, std::string_view why);

    // querier (half_querier.cpp)
    Interface &interface(uint16_t vlan, uint16_t port);
    const Interface *other_querier(uint16_t vlan, uint16_t port, Time now) const;
    void on_query(const Message &message, const Arrival &arrival);
    void elect(const Message &message, const Arrival &arrival);
    void lower_timers(const Message &message, const Arrival &arrival, SourceSet sources);
    bool serves(uint16_t vlan) const;
    void update_interfaces();
    void fire_interface(Interface &interface);
    void fire_group(PortGroup &group);
    QueryFields query_fields() const;
    void send_group_query(const GroupKey &key, bool suppress);
    void send_source_query(const GroupKey &key, bool suppress, std::vector<Address> sources);
    void send_round(const GroupKey &key, Time now);

    Context &context_;
    Family family_;
    Outlet outlet_;
    Proxy proxy_;
    Mode mode_ = Mode::kSnooping;
    std::array<bool, kMaxPort + 1> declared_{};
    std::array<uint32_t, kMaxPort + 1> joined_{}; /**< Groups that subscribers joined, by port. */
    std::bitset<4096> registered_;
    std::bitset<4096> learned_;
    uint16_t default_vlan_ = kStartDefaultVlan;
    GroupTable groups_;
    std::map<uint32_t, Interface> interfaces_; // by VLAN, then port
    std::vector<Address> sources_;             // of the record at hand
};

} // namespace mcadapt::host

#endif
