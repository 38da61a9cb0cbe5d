#include "host/engine/context.h"

namespace mcadapt::host {
namespace {

// The low bits that the MAC address of a group keeps: 23 of IPv4 (RFC 1112 section 6.4), 32 of IPv6 (RFC 2464).
uint64_t entry_key(Family family, const GroupKey &key)
{
    const uint64_t tail = key.group.low & (family == Family::kIgmp ? 0x7FFFFFu : 0xFFFFFFFFu);
    return 1ull << 63 | uint64_t{key.port} << 44 | uint64_t{key.vlan} << 32 | tail;
}

} // namespace

mcGroupRecord Outlet::record(const GroupKey &key) const
{
    mcGroupRecord record{};
    if (family_ == Family::kIgmp)
        record.ipv4Group = static_cast<uint32_t>(key.group.low);
    else
        store32(record.ipv6GroupTail, static_cast<uint32_t>(key.group.low));
    record.vlan = key.vlan;
    record.port = key.port;
    return record;
}

bool Outlet::add_entry(const GroupKey &key)
{
    const mcGroupRecord entry = record(key);
    entries_.add(entry_key(family_, key)); // first: the callback may take the group away again
    if (!add || add(&entry) != 0) {
        entries_.remove(entry_key(family_, key));
        ++counters.entries_refused;
        return false;
    }
    ++counters.entries_added;
    return true;
}

void Outlet::remove_entry(const GroupKey &key)
{
    // Several groups can have one MAC address: the last of them takes the entry away.
    if (entries_.remove(entry_key(family_, key)) > 0 || !remove)
        return;
    ++counters.entries_removed;
    const mcGroupRecord entry = record(key);
    remove(&entry);
}

void Outlet::send(uint32_t port, uint16_t vlan, Packet &packet, const std::string &what)
{
    context_.observer.packet_sent(family_, port, vlan, what);
    if (!send_packet)
        return;
    mcTagDescriptor tag{0x8100, vlan, 0};
    const bool wildcard = family_ == Family::kIgmp && port == kUplinkPort;
    send_packet(packet.bytes.data(), wildcard ? kUplinkWildcard : port, &tag, static_cast<uint32_t>(packet.size));
}

std::string Outlet::text(const char *what, const Address &group) const
{
    if (!context_.observer.wants_texts())
        return {};
    std::string line = family_ == Family::kIgmp ? "IGMP " : "MLD ";
    line += what;
    return group == kUnspecified ? line : line + ' ' + to_text(family_, group);
}

void Outlet::send_query(uint32_t port, uint16_t vlan, const QueryFields &query)
{
    Packet packet;
    build_query(family_, query, packet);
    ++counters.queries_sent;
    const char *what = query.group == kUnspecified ? "general query"
                       : query.sources.empty()     ? "group-specific query for"
                                                   : "group-and-source-specific query for";
    send(port, vlan, packet, text(what, query.group));
}

void Outlet::send_join(uint16_t vlan, uint8_t version, const Address &group)
{
    Packet packet;
    build_join(family_, version, source(), group, packet);
    ++counters.reports_sent;
    send(kUplinkPort, vlan, packet, text("report in an older version for", group));
}

void Outlet::send_leave(uint16_t vlan, const Address &group)
{
    Packet packet;
    build_leave(family_, source(), group, packet);
    ++counters.leaves_sent;
    send(kUplinkPort, vlan, packet, text(family_ == Family::kIgmp ? "leave of" : "done of", group));
}

void Outlet::send_reports(uint16_t vlan, const std::vector<ReportRecord> &records)
{
    for (std::size_t first = 0; first < records.size();) {
        Packet packet;
        const std::size_t next = build_report(family_, source(), records, first, packet);
        ++counters.reports_sent;
        const bool single = next == first + 1;
        send(kUplinkPort, vlan, packet,
             text(single ? "report for" : "report", single ? records[first].group : kUnspecified));
        first = next;
    }
}

} // namespace mcadapt::host
