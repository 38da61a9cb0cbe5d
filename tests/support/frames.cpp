#include "support/frames.h"

#include <arpa/inet.h>

#include <algorithm>
#include <stdexcept>

namespace mcadapt::test {

namespace {

constexpr uint16_t kIpv4 = 0x0800;
constexpr uint16_t kIpv6 = 0x86DD;
constexpr uint16_t kVlanTpid = 0x8100;
constexpr uint16_t kPppoeSession = 0x8864;

void append(ByteVector &bytes, const ByteVector &more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

void append_word(ByteVector &bytes, std::size_t value)
{
    bytes.push_back(static_cast<uint8_t>(value >> 8));
    bytes.push_back(static_cast<uint8_t>(value));
}

void set_word(ByteVector &bytes, std::size_t offset, std::size_t value)
{
    bytes.at(offset) = static_cast<uint8_t>(value >> 8);
    bytes.at(offset + 1) = static_cast<uint8_t>(value);
}

ByteVector address(int family, const std::string &text)
{
    ByteVector bytes(family == AF_INET ? 4 : 16);
    if (inet_pton(family, text.c_str(), bytes.data()) != 1)
        throw std::invalid_argument("not an address: " + text);
    return bytes;
}

/** The checksum of the Internet protocols. */
uint16_t checksum(const ByteVector &bytes)
{
    uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i)
        sum += static_cast<uint32_t>(bytes[i]) << (i % 2 == 0 ? 8 : 0);
    while (sum >> 16 != 0)
        sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<uint16_t>(~sum);
}

MacAddress ipv4_group_mac(const ByteVector &group)
{
    return {0x01, 0x00, 0x5E, static_cast<uint8_t>(group[1] & 0x7F), group[2], group[3]};
}

MacAddress ipv6_group_mac(const ByteVector &group) { return {0x33, 0x33, group[12], group[13], group[14], group[15]}; }

FrameBuilder igmp_frame(const std::string &source, const std::string &destination, ByteVector message)
{
    set_word(message, 2, checksum(message));
    ByteVector packet = {0x46, 0xC0};
    append_word(packet, 24 + message.size());
    append(packet, {0x00, 0x00, 0x40, 0x00, 0x01, 0x02, 0x00, 0x00});
    append(packet, address(AF_INET, source));
    append(packet, address(AF_INET, destination));
    append(packet, {0x94, 0x04, 0x00, 0x00});
    set_word(packet, 10, checksum(packet));
    append(packet, message);
    return {ipv4_group_mac(address(AF_INET, destination)), kIpv4, std::move(packet)};
}

ByteVector igmp_message(uint8_t type, const std::string &group)
{
    ByteVector message = {type, 0x00, 0x00, 0x00};
    append(message, address(AF_INET, group));
    return message;
}

FrameBuilder mld_frame(const std::string &source, const std::string &destination, ByteVector message)
{
    static const ByteVector kHopByHop = {0x3A, 0x00, 0x05, 0x02, 0x00, 0x00, 0x01, 0x00};
    ByteVector addresses = address(AF_INET6, source);
    append(addresses, address(AF_INET6, destination));

    ByteVector summed = addresses;
    append(summed, {0x00, 0x00});
    append_word(summed, message.size());
    append(summed, {0x00, 0x00, 0x00, 0x3A});
    append(summed, message);
    set_word(message, 2, checksum(summed));

    ByteVector packet = {0x60, 0x00, 0x00, 0x00};
    append_word(packet, kHopByHop.size() + message.size());
    append(packet, {0x00, 0x01});
    append(packet, addresses);
    append(packet, kHopByHop);
    append(packet, message);
    return {ipv6_group_mac(address(AF_INET6, destination)), kIpv6, std::move(packet)};
}

ByteVector mld_message(uint8_t type, const std::string &group)
{
    ByteVector message = {type, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
    append(message, address(AF_INET6, group));
    return message;
}

/** The body of a report of the newer versions: one record, change to exclude mode, no sources. */
ByteVector record_message(uint8_t type, const ByteVector &group)
{
    ByteVector message = {type, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x04, 0x00, 0x00, 0x00};
    append(message, group);
    return message;
}

} // namespace

FrameBuilder::FrameBuilder(const MacAddress &destination, uint16_t ethertype, ByteVector packet)
    : destination_(destination), source_(mac(kHostMac)), type_(ethertype), packet_(std::move(packet))
{
}

FrameBuilder &FrameBuilder::to(std::string_view destination)
{
    destination_ = mac(destination);
    return *this;
}

FrameBuilder &FrameBuilder::from(std::string_view source)
{
    source_ = mac(source);
    return *this;
}

FrameBuilder &FrameBuilder::tag(uint16_t control, uint16_t tpid)
{
    append_word(middle_, tpid);
    append_word(middle_, control);
    return *this;
}

FrameBuilder &FrameBuilder::vlan(uint16_t vid, uint16_t priority)
{
    return tag(static_cast<uint16_t>(priority << 13 | vid));
}

FrameBuilder &FrameBuilder::pppoe() { return pppoe(type_); }

FrameBuilder &FrameBuilder::pppoe(uint16_t protocol)
{
    append_word(middle_, kPppoeSession);
    append(middle_, {0x11, 0x00, 0x00, 0x01});
    append_word(middle_, packet_.size() + 2);
    type_ = protocol;
    return *this;
}

FrameBuilder &FrameBuilder::pppoe_in_tag()
{
    append_word(middle_, kVlanTpid);
    append_word(middle_, kPppoeSession);
    append(middle_, {0x11, 0x00, 0x00, 0x01});
    return *this;
}

FrameBuilder &FrameBuilder::ethertype(uint16_t value)
{
    type_ = value;
    return *this;
}

FrameBuilder &FrameBuilder::packet_byte(std::size_t offset, uint8_t value)
{
    packet_.at(offset) = value;
    return *this;
}

FrameBuilder &FrameBuilder::packet_word(std::size_t offset, uint16_t value)
{
    set_word(packet_, offset, value);
    return *this;
}

FrameBuilder &FrameBuilder::pad_to(std::size_t length)
{
    least_ = length;
    return *this;
}

FrameBuilder &FrameBuilder::cut_to(std::size_t length)
{
    most_ = length;
    return *this;
}

std::size_t FrameBuilder::packet_offset() const { return 12 + middle_.size() + 2; }

ByteVector FrameBuilder::bytes() const
{
    ByteVector frame(destination_.begin(), destination_.end());
    frame.insert(frame.end(), source_.begin(), source_.end());
    append(frame, middle_);
    append_word(frame, type_);
    append(frame, packet_);
    if (frame.size() < least_)
        frame.resize(least_, 0);
    if (frame.size() > most_)
        frame.resize(most_);
    return frame;
}

FrameBuilder igmp_report(const std::string &group) { return igmp_frame("10.0.0.9", group, igmp_message(0x16, group)); }

FrameBuilder igmp_leave(const std::string &group)
{
    return igmp_frame("10.0.0.9", "224.0.0.2", igmp_message(0x17, group));
}

FrameBuilder igmp_query(const std::string &group)
{
    ByteVector message = igmp_message(0x11, group);
    message[1] = 100; // answer within ten seconds
    return igmp_frame("10.0.0.1", group == "0.0.0.0" ? "224.0.0.1" : group, std::move(message));
}

FrameBuilder igmp_v3_report(const std::string &group)
{
    return igmp_frame("10.0.0.9", "224.0.0.22", record_message(0x22, address(AF_INET, group)));
}

FrameBuilder mld_report(const std::string &group) { return mld_frame("fe80::9", group, mld_message(131, group)); }

FrameBuilder mld_done(const std::string &group) { return mld_frame("fe80::9", "ff02::2", mld_message(132, group)); }

FrameBuilder mld_query(const std::string &group)
{
    ByteVector message = mld_message(130, group);
    set_word(message, 4, 10000); // answer within ten seconds
    return mld_frame("fe80::1", group == "::" ? "ff02::1" : group, std::move(message));
}

FrameBuilder mld_v2_report(const std::string &group)
{
    return mld_frame("fe80::9", "ff02::16", record_message(143, address(AF_INET6, group)));
}

ByteVector with_tag(ByteVector frame, uint16_t control, uint16_t tpid)
{
    ByteVector tag;
    append_word(tag, tpid);
    append_word(tag, control);
    frame.insert(frame.begin() + 12, tag.begin(), tag.end());
    return frame;
}

ByteVector with_control(ByteVector frame, uint16_t control)
{
    set_word(frame, 14, control);
    return frame;
}

ByteVector without_tag(ByteVector frame)
{
    frame.erase(frame.begin() + 12, frame.begin() + 16);
    return frame;
}

FrameBuffer::FrameBuffer(const ByteVector &frame, uint8_t fill)
    : bytes_(new uint8_t[kSize]), length_(static_cast<uint32_t>(frame.size()))
{
    if (frame.size() > kSize)
        throw std::invalid_argument("longer than a receive buffer");
    std::fill_n(bytes_.get(), kSize, fill);
    std::copy(frame.begin(), frame.end(), bytes_.get());
}

} // namespace mcadapt::test
