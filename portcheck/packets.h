/**
 * @file
 * The frames of one host that joins and leaves a channel of each family.
 */
#ifndef MCADAPT_PORTCHECK_PACKETS_H
#define MCADAPT_PORTCHECK_PACKETS_H

#include <cstdint>

namespace mcadapt::portcheck {

constexpr uint32_t kUserPort = 0;
constexpr uint32_t kUplinkPort = 29;
constexpr uint32_t kVlan = 100;
constexpr uint32_t kReceiveBytes = 2048;

/** The channel of IGMP, 239.1.2.3 in host byte order, and its MAC address. */
constexpr uint32_t kGroup = 0xEF010203;
constexpr uint8_t kGroupMac[6] = {0x01, 0x00, 0x5E, 0x01, 0x02, 0x03};
/** The channel of MLD is ff1e::ef01:203: the last four bytes of its address. */
constexpr uint8_t kGroupTail[4] = {0xEF, 0x01, 0x02, 0x03};

enum class Message { kIgmpReport, kIgmpLeave, kMldReport, kMldDone };

/** A frame with a tag of VLAN 100, and where its IP header lies. */
struct Frame {
    static constexpr uint32_t kIpOffset = 18;
    uint8_t bytes[kReceiveBytes];
    uint32_t length;

    uint32_t ip_length() const { return length - kIpOffset; }
};

Frame frame_of(Message message);

/** An IGMP report whose packet fills a frame of the length given, which may be longer than the receive buffer. */
void fill_long_frame(uint8_t *frame, uint32_t length);

} // namespace mcadapt::portcheck

#endif
