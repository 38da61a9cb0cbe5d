/**
 * @file
 * What the parts of the engine share, and its way out to the library.
 */
#ifndef MCADAPT_HOST_ENGINE_CONTEXT_H
#define MCADAPT_HOST_ENGINE_CONTEXT_H

#include <string>

#include "host/engine/authorisation.h"
#include "host/engine/counters.h"
#include "host/engine/membership.h"
#include "host/engine/packet_builder.h"
#include "host/engine/settings.h"
#include "host/engine/timers.h"
#include "host/observer.h"
#include "mcadapt/engine_types.h"

namespace mcadapt::host {

/** State of the whole engine that is no family's own. */
struct Context {
    const Clock &clock;
    Observer &observer;
    const Limits limits;
    Settings settings{};
    PortTable ports{};
    Authorisation authorisation{};
    TimerQueue timers{};
    bool status_changed = false;

    Time now() const { return clock.now(); }
};

/** The callbacks of one family, with its counters. */
class Outlet {
public:
    Outlet(Context &context, Family family) : context_(context), family_(family) {}

    mcSendPacketCallback send_packet = nullptr;
    mcForwardingCallback add = nullptr;
    mcForwardingCallback remove = nullptr;
    Counters counters;

    void send_query(uint32_t port, uint16_t vlan, const QueryFields &query);
    void send_join(uint16_t vlan, uint8_t version, const Address &group);
    void send_leave(uint16_t vlan, const Address &group);
    void send_reports(uint16_t vlan, const std::vector<ReportRecord> &records);

    /** Asks for the entry of the group. @return Whether it was installed. */
    bool add_entry(const GroupKey &key);
    /** Gives an installed entry back; the switch is asked when no other group shares it. */
    void remove_entry(const GroupKey &key);

    /** The source of what the unit itself says. */
    const Address &source() const
    {
        return family_ == Family::kIgmp ? context_.settings.igmp_source : context_.settings.mld_source;
    }
    std::size_t memory_bytes() const { return entries_.memory_bytes(); }

private:
    void send(uint32_t port, uint16_t vlan, Packet &packet, const std::string &what);
    std::string text(const char *what, const Address &group) const;
    mcGroupRecord record(const GroupKey &key) const;

    Context &context_;
    Family family_;
    EntryCounts entries_;
};

/** Versions of both families on one scale, that of IGMP: MLDv1 does what IGMPv2 does, MLDv2 what IGMPv3 does. */
constexpr uint8_t to_level(Family family, uint8_t version)
{
    return static_cast<uint8_t>(family == Family::kMld ? version + 1 : version);
}
constexpr uint8_t to_version(Family family, uint8_t level)
{
    return static_cast<uint8_t>(family == Family::kMld ? (level < 2 ? 1 : level - 1) : level);
}

} // namespace mcadapt::host

#endif
