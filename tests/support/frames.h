/**
 * @file
 * Test frames: Ethernet, with no tag, 802.1Q tags or a PPPoE header, around IGMP and MLD packets.
 *
 *     const ByteVector frame = igmp_report("225.1.2.3").vlan(100).bytes();
 *     const ByteVector query = mld_query("ff1e::1").tag(0x6064).tag(0x0065).pad_to(64);
 */
#ifndef MCADAPT_TESTS_FRAMES_H
#define MCADAPT_TESTS_FRAMES_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "support/hex.h"

namespace mcadapt::test {

/** Where the frames below come from unless told otherwise; neither the unit's address nor all zero. */
inline constexpr char kHostMac[] = "00:1b:21:aa:bb:cc";

/** A frame under construction. Starts untagged, from `kHostMac`, as long as its content. */
class FrameBuilder {
public:
    FrameBuilder(const MacAddress &destination, uint16_t ethertype, ByteVector packet);

    FrameBuilder &to(std::string_view destination);
    FrameBuilder &from(std::string_view source);

    /** Adds an 802.1Q tag behind those already added: the whole tag control field, or VLAN id and priority. */
    FrameBuilder &tag(uint16_t control, uint16_t tpid = 0x8100);
    FrameBuilder &vlan(uint16_t vid, uint16_t priority = 0);

    /**
     * Puts a PPPoE session header in front of the packet. The protocol field is the EtherType of the packet, the one
     * value that the intakes take, unless another is given.
     */
    FrameBuilder &pppoe();
    FrameBuilder &pppoe(uint16_t protocol);

    /** A tag whose control field reads 0x8864, six bytes of PPPoE, and the packet at offset 22. */
    FrameBuilder &pppoe_in_tag();

    FrameBuilder &ethertype(uint16_t value);

    /** Overwrites one byte, or a 16-bit field in network order, of the IP packet. */
    FrameBuilder &packet_byte(std::size_t offset, uint8_t value);
    FrameBuilder &packet_word(std::size_t offset, uint16_t value);

    /** Fills up with zeros, or cuts off, to this many bytes. */
    FrameBuilder &pad_to(std::size_t length);
    FrameBuilder &cut_to(std::size_t length);

    ByteVector bytes() const;
    operator ByteVector() const { return bytes(); }

    /** Where the IP packet begins. */
    std::size_t packet_offset() const;
    const ByteVector &packet() const { return packet_; }

private:
    MacAddress destination_;
    MacAddress source_;
    ByteVector middle_; // tags or PPPoE header, without the last two bytes before the packet
    uint16_t type_;     // the two bytes before the packet
    ByteVector packet_;
    std::size_t least_ = 0;
    std::size_t most_ = SIZE_MAX;
};

/** IGMPv2 messages with the router alert option, from 10.0.0.9; addresses are dotted. */
FrameBuilder igmp_report(const std::string &group);
FrameBuilder igmp_leave(const std::string &group);

/** From 10.0.0.1; group 0.0.0.0 asks for all and goes to 224.0.0.1. */
FrameBuilder igmp_query(const std::string &group = "0.0.0.0");

/** An IGMPv3 report with one record, "change to exclude mode" without sources. */
FrameBuilder igmp_v3_report(const std::string &group);

/** MLDv1 messages behind a hop-by-hop header, from fe80::9. */
FrameBuilder mld_report(const std::string &group);
FrameBuilder mld_done(const std::string &group);

/** From fe80::1; group :: asks for all and goes to ff02::1. */
FrameBuilder mld_query(const std::string &group = "::");

/** An MLDv2 report with one record, "change to exclude mode" without sources. */
FrameBuilder mld_v2_report(const std::string &group);

/** The frame with a tag put in behind the addresses, with bytes 14-15 replaced, and without bytes 12-15. */
ByteVector with_tag(ByteVector frame, uint16_t control, uint16_t tpid = 0x8100);
ByteVector with_control(ByteVector frame, uint16_t control);
ByteVector without_tag(ByteVector frame);

/** A receive buffer: 2048 bytes on the heap, the frame at the front, `fill` behind it. */
class FrameBuffer {
public:
    static constexpr std::size_t kSize = 2048;

    explicit FrameBuffer(const ByteVector &frame, uint8_t fill = 0);

    uint8_t *data() { return bytes_.get(); }
    uint32_t length() const { return length_; }

    /** The frame as it stands now. */
    ByteVector frame() const { return {bytes_.get(), bytes_.get() + length_}; }

    /** Offset of a pointer into the buffer. */
    std::ptrdiff_t offset_of(const uint8_t *where) const { return where - bytes_.get(); }

private:
    std::unique_ptr<uint8_t[]> bytes_;
    uint32_t length_;
};

} // namespace mcadapt::test

#endif
