#include "portcheck/packets.h"

#include <cstring>

namespace mcadapt::portcheck {

namespace {

constexpr uint8_t kHostMac[6] = {0x02, 0x00, 0x00, 0x00, 0x0A, 0x01};
constexpr uint32_t kIpv4HeaderBytes = 24;  // with the router alert
constexpr uint32_t kIpv6HeadersBytes = 48; // with the hop-by-hop options
constexpr uint32_t kIgmpBytes = 8;
constexpr uint32_t kMldBytes = 24;

void put16(uint8_t *at, uint32_t value)
{
    at[0] = static_cast<uint8_t>(value >> 8);
    at[1] = static_cast<uint8_t>(value);
}

void put32(uint8_t *at, uint32_t value)
{
    put16(at, value >> 16);
    put16(at + 2, value & 0xFFFF);
}

uint32_t sum16(const uint8_t *bytes, uint32_t length)
{
    uint32_t sum = 0;
    for (uint32_t i = 0; i + 1 < length; i += 2)
        sum += static_cast<uint32_t>(bytes[i] << 8 | bytes[i + 1]);
    return sum;
}

uint32_t checksum(uint32_t sum)
{
    while (sum > 0xFFFF)
        sum = (sum & 0xFFFF) + (sum >> 16);
    return ~sum & 0xFFFF;
}

void put_ethernet(uint8_t *frame, const uint8_t *to, uint16_t type)
{
    memcpy(frame, to, 6);
    memcpy(frame + 6, kHostMac, 6);
    put16(frame + 12, 0x8100);
    put16(frame + 14, kVlan);
    put16(frame + 16, type);
}

void put_ipv4(uint8_t *ip, uint32_t total_length, uint32_t to)
{
    static constexpr uint8_t kHead[] = {0x46, 0xC0, 0, 0, 0, 0, 0, 0, 1,    2, 0, 0,
                                        10,   0,    0, 2, 0, 0, 0, 0, 0x94, 4, 0, 0};
    memcpy(ip, kHead, sizeof(kHead));
    put16(ip + 2, total_length);
    put32(ip + 16, to);
    put16(ip + 10, checksum(sum16(ip, kIpv4HeaderBytes)));
}

Frame igmp_frame(bool report)
{
    Frame frame = {};
    static constexpr uint8_t kAllRouters[6] = {0x01, 0x00, 0x5E, 0x00, 0x00, 0x02};
    put_ethernet(frame.bytes, report ? kGroupMac : kAllRouters, 0x0800);
    uint8_t *ip = frame.bytes + Frame::kIpOffset;
    put_ipv4(ip, kIpv4HeaderBytes + kIgmpBytes, report ? kGroup : 0xE0000002);
    uint8_t *igmp = ip + kIpv4HeaderBytes;
    igmp[0] = report ? 0x16 : 0x17;
    put32(igmp + 4, kGroup);
    put16(igmp + 2, checksum(sum16(igmp, kIgmpBytes)));
    frame.length = Frame::kIpOffset + kIpv4HeaderBytes + kIgmpBytes;
    return frame;
}

Frame mld_frame(bool report)
{
    static constexpr uint8_t kGroupAddress[16] = {0xFF, 0x1E, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xEF, 1, 2, 3};
    static constexpr uint8_t kAllRouters[16] = {0xFF, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2};
    static constexpr uint8_t kHost[16] = {0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x0A, 1};
    static constexpr uint8_t kHopByHop[8] = {58, 0, 5, 2, 0, 0, 1, 0};

    Frame frame = {};
    const uint8_t *to = report ? kGroupAddress : kAllRouters;
    const uint8_t to_mac[6] = {0x33, 0x33, to[12], to[13], to[14], to[15]};
    put_ethernet(frame.bytes, to_mac, 0x86DD);
    uint8_t *ip = frame.bytes + Frame::kIpOffset;
    ip[0] = 0x60;
    put16(ip + 4, sizeof(kHopByHop) + kMldBytes);
    ip[7] = 1; // the hop limit; the next header, 0, is that of the options
    memcpy(ip + 8, kHost, sizeof(kHost));
    memcpy(ip + 24, to, 16);
    memcpy(ip + 40, kHopByHop, sizeof(kHopByHop));
    uint8_t *mld = ip + kIpv6HeadersBytes;
    mld[0] = report ? 131 : 132;
    memcpy(mld + 8, kGroupAddress, sizeof(kGroupAddress));
    put16(mld + 2, checksum(sum16(ip + 8, 32) + kMldBytes + 58 + sum16(mld, kMldBytes)));
    frame.length = Frame::kIpOffset + kIpv6HeadersBytes + kMldBytes;
    return frame;
}

} // namespace

Frame frame_of(Message message)
{
    switch (message) {
    case Message::kIgmpReport:
        return igmp_frame(true);
    case Message::kIgmpLeave:
        return igmp_frame(false);
    case Message::kMldReport:
        return mld_frame(true);
    case Message::kMldDone:
        break;
    }
    return mld_frame(false);
}

void fill_long_frame(uint8_t *frame, uint32_t length)
{
    const Frame report = igmp_frame(true);
    memset(frame, 0, length);
    memcpy(frame, report.bytes, report.length);
    put_ipv4(frame + Frame::kIpOffset, length - Frame::kIpOffset, kGroup);
}

} // namespace mcadapt::portcheck
