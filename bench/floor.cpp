#include "floor.h"

#include <cstring>

#include "mcadapt/records.h"
#include "platform/switch_driver.h"

namespace mcadapt::bench {
namespace {

constexpr uint32_t kBufferBytes = 2048;
constexpr uint32_t kMacsBytes = 12;
constexpr uint32_t kTagBytes = 4;
constexpr uint32_t kPacketOffset = 18;
constexpr uint32_t kUplink = 29;

using Send = int32_t (*)(const uint8_t *, uint32_t, uint32_t, uint32_t, uint32_t);
// Volatile: read at each call, so that the call is never bound when compiling.
Send volatile send = L2_multicast_send_msg;

// A value that is read and not used any further.
template <class T> inline void read(T value) { asm volatile("" : : "r"(value)); }

template <class T> inline void read_at(const uint8_t *at)
{
    T value;
    memcpy(&value, at, sizeof(value));
    read(value);
}

// Source address, tag, and the two types around it.
inline void read_ethernet_header(const uint8_t *frame)
{
    read_at<uint32_t>(frame + 6);
    read_at<uint16_t>(frame + 10);
    read_at<uint16_t>(frame + 12);
    read_at<uint16_t>(frame + 14);
    read_at<uint16_t>(frame + 16);
}

// Total length and protocol.
inline void read_ipv4_header(const uint8_t *ip_header)
{
    read_at<uint16_t>(ip_header + 2);
    read_at<uint8_t>(ip_header + 9);
}

// Payload length.
inline void read_ipv6_header(const uint8_t *ip_header) { read_at<uint16_t>(ip_header + 4); }

inline void send_times(const uint8_t *frame, uint32_t length, uint32_t sends)
{
    for (uint32_t i = 0; i < sends; ++i)
        send(frame, kUplink, length, 0, 100);
}

// As the library's own copies: addresses to the front, the rest behind the new tags or the gap of the old one.
inline void send_copied(const uint8_t *frame, uint32_t length, int32_t growth)
{
    uint8_t copy[kBufferBytes];
    const uint32_t offset = kMacsBytes + kTagBytes;
    memcpy(copy, frame, kMacsBytes);
    memcpy(copy + static_cast<int32_t>(offset) + growth, frame + offset, length - offset);
    send(copy, kUplink, length + static_cast<uint32_t>(growth), 0, 100);
}

// Tag, EtherType and packet behind the destination address that the caller wrote.
inline void send_packet(uint8_t *frame, const uint8_t *packet, uint32_t length)
{
    memcpy(frame + 6, sys_mac, 6);
    memset(frame + kMacsBytes, 0x81, kTagBytes + 2);
    memcpy(frame + kPacketOffset, packet, length);
    send(frame, kUplink, kPacketOffset + length, 0, 100);
}

} // namespace

void floor_igmp_in_place(const uint8_t *frame, uint32_t length, uint32_t sends)
{
    read_ethernet_header(frame);
    read_ipv4_header(frame + kPacketOffset);
    send_times(frame, length, sends);
}

void floor_mld_in_place(const uint8_t *frame, uint32_t length, uint32_t sends)
{
    read_ethernet_header(frame);
    read_ipv6_header(frame + kPacketOffset);
    send_times(frame, length, sends);
}

void floor_igmp_copied(const uint8_t *frame, uint32_t length, int32_t growth)
{
    read_ethernet_header(frame);
    read_ipv4_header(frame + kPacketOffset);
    send_copied(frame, length, growth);
}

void floor_mld_copied(const uint8_t *frame, uint32_t length, int32_t growth)
{
    read_ethernet_header(frame);
    read_ipv6_header(frame + kPacketOffset);
    send_copied(frame, length, growth);
}

void floor_igmp_packet(const uint8_t *packet, uint32_t length)
{
    uint8_t frame[kBufferBytes];
    frame[0] = 0x01;
    frame[1] = 0x00;
    frame[2] = 0x5E;
    frame[3] = packet[17] & 0x7F;
    memcpy(frame + 4, packet + 18, 2);
    send_packet(frame, packet, length);
}

void floor_mld_packet(const uint8_t *packet, uint32_t length)
{
    uint8_t frame[kBufferBytes];
    frame[0] = frame[1] = 0x33;
    memcpy(frame + 2, packet + 28, 4);
    send_packet(frame, packet, length);
}

} // namespace mcadapt::bench
