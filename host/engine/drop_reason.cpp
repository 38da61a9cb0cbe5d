#include "host/engine/drop_reason.h"

#include <array>

namespace mcadapt::host {
namespace {

struct Entry {
    DropReason reason;
    std::string_view name;
    std::string_view rule;
};

constexpr std::array<Entry, kDropReasons> kTable{{
    {DropReason::kNone, "none", ""},

    {DropReason::kPortNotDeclared, "port-not-declared", "the port was never declared to this half of the engine"},
    {DropReason::kTruncated, "truncated",
     "the length field claims more bytes than the frame holds (RFC 791 section 3.1, RFC 8200 section 3)"},
    {DropReason::kIpHeader, "ip-header",
     "the IP version or header length is impossible (RFC 791 section 3.1, RFC 8200 section 3)"},
    {DropReason::kIpChecksum, "ip-checksum", "the IPv4 header checksum is wrong (RFC 1122 section 3.2.1.2)"},
    {DropReason::kFragment, "fragment",
     "a fragment is no whole message: its checksum and its records cannot be checked (RFC 9776 section 4)"},
    {DropReason::kOtherProtocol, "other-protocol", "the packet carries neither IGMP nor MLD"},
    {DropReason::kTtl, "ttl",
     "every message has TTL or hop limit 1: another came through a router (RFC 9776 section 4, RFC 9777 section 5)"},
    {DropReason::kHopByHop, "hop-by-hop",
     "the hop-by-hop options do not fit their length, or one of them forbids to go on (RFC 8200 section 4.2)"},
    {DropReason::kRouterAlert, "router-alert",
     "messages carry the Router Alert option, all but those of IGMPv1 (RFC 9776 section 9, RFC 9777 section 5)"},
    {DropReason::kIpSource, "ip-source",
     "the sender's address is none that a host can have; MLD wants a link-local one (RFC 1122 section 3.2.1.3, "
     "RFC 9777 sections 5.1.14 and 5.2.13)"},
    {DropReason::kDestination, "destination",
     "the message was sent to an address that its type is not sent to (RFC 9776 section 4, RFC 9777 section 5)"},
    {DropReason::kTooShort, "too-short",
     "the message is shorter than its fixed part (RFC 9776 section 4, RFC 9777 section 5)"},
    {DropReason::kChecksum, "checksum",
     "the checksum over the whole IP payload is wrong (RFC 9776 section 4.1.2, RFC 4443 section 2.3)"},
    {DropReason::kUnknownType, "unknown-type",
     "unrecognised message types are ignored (RFC 9776 section 4, RFC 9777 section 5)"},
    {DropReason::kQueryLength, "query-length",
     "a query of this length belongs to no version (RFC 9776 section 7.1, RFC 9777 section 8.1)"},
    {DropReason::kSourceCount, "source-count",
     "more sources are announced than the message holds (RFC 9776 section 4.1.8, RFC 9777 section 5.1.10)"},
    {DropReason::kRecordCount, "record-count",
     "the group records do not fit into the message (RFC 9776 section 4.2, RFC 9777 section 5.2)"},
    {DropReason::kNotAGroup, "not-a-group", "the group address is no multicast address (RFC 1112 section 4)"},
    {DropReason::kLinkLocalGroup, "link-local-group",
     "224.0.0.0/24 and the IPv6 scopes up to link-local are never installed (RFC 4541 section 2.1.2, RFC 4291 "
     "section 2.7)"},
    {DropReason::kVersion, "version",
     "the message is of a later IGMP version than the one set (RFC 9776 section 7.3.1)"},
    {DropReason::kVlan, "vlan", "the VLAN is not registered, not the default VLAN, and VLAN learning is off"},
    {DropReason::kUplinkReport, "report-from-uplink",
     "memberships are learned on user ports only (RFC 4605 section 4.1, RFC 4541 section 2.1.1)"},
    {DropReason::kOwnPacket, "own-packet", "the packet carries the unit's own source address: it came back"},

    {DropReason::kControlMode, "control-mode", "control mode: reports change nothing, only control calls do"},
    {DropReason::kRecordType, "record-type",
     "unrecognised record types are ignored (RFC 9776 section 4.2.12, RFC 9777 section 5.2.12)"},
    {DropReason::kRecordSource, "record-source", "a source address is not unicast (RFC 9776 section 4.2.10)"},
    {DropReason::kOlderHost, "older-host",
     "an older host is present: it cannot name sources, nor answer in time (RFC 9776 section 7.3.2, RFC 9777 "
     "section 8.3.2)"},
    {DropReason::kSsmRange, "ssm-range",
     "a source-specific group can only be joined by naming sources (RFC 4607 section 5, RFC 4604)"},
    {DropReason::kWhiteList, "white-list", "the group is in no range of the white list"},
    {DropReason::kPortRange, "port-range", "the group is in no authorised range of the port"},
    {DropReason::kPrivateList, "private-list", "the group is not in the private list"},
    {DropReason::kGroupLimit, "group-limit", "the port has as many groups as its limit allows"},
    {DropReason::kBandwidth, "bandwidth-limit", "the group would exceed the port's bandwidth limit"},
    {DropReason::kPortFull, "port-full", "the engine keeps no more groups for one port"},
    {DropReason::kSourcesFull, "sources-full", "the engine keeps no more sources for one group on one port"},
}};

constexpr bool in_order()
{
    for (std::size_t i = 0; i < kTable.size(); ++i)
        if (kTable[i].reason != static_cast<DropReason>(i))
            return false;
    return true;
}
static_assert(in_order());

} // namespace

std::string_view name(DropReason reason) { return kTable[static_cast<std::size_t>(reason)].name; }

std::string_view rule(DropReason reason) { return kTable[static_cast<std::size_t>(reason)].rule; }

} // namespace mcadapt::host
