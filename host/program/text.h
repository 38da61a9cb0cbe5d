/**
 * @file
 * Addresses, tags and times as people read them.
 */
#ifndef MCADAPT_HOST_PROGRAM_TEXT_H
#define MCADAPT_HOST_PROGRAM_TEXT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/clock.h"
#include "host/observer.h"

namespace mcadapt::host {

std::string group_text(const GroupAddress &group);
std::string mac_text(const uint8_t *mac);

/** "the uplink" or "port 2". */
std::string port_text(uint32_t port);

/**
 * The tags of a frame: "untagged", "VLAN 100", "VLAN 5, then VLAN 1 priority 3". The EtherType behind them is named
 * when it is not that of IPv4 or IPv6: "VLAN 100, EtherType 0x8864".
 */
std::string tags_text(Bytes frame);

/** What the library printed as lines; empty ones, of which it prints many, are left out. */
std::vector<std::string> lines_of(std::string_view text);

/** Seconds with six decimals. */
std::string seconds_text(Duration duration);

/** 1234567 as "1,234,567". */
std::string count_text(uint64_t count);

} // namespace mcadapt::host

#endif
