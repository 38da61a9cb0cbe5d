/**
 * @file
 * Ethernet frames: where the headers lie, and how tags are read, built, replaced and taken out.
 *
 * This is the one place that knows frame layouts. Frames come in a buffer of 2048 bytes, so reading a header is safe
 * wherever the frame's own fields say that it is; what is written is bounded here.
 */
#ifndef MCADAPT_PACKET_FRAME_H
#define MCADAPT_PACKET_FRAME_H

#include <cstdint>
#include <cstring>

namespace mcadapt {

constexpr uint32_t kReceiveBufferBytes = 2048;
/** The longest frame that the intakes accept. */
constexpr uint32_t kMaxFrameBytes = 2000;
constexpr uint32_t kMacsBytes = 12;
constexpr uint32_t kTagBytes = 4;

constexpr uint16_t kTpid = 0x8100;
constexpr uint16_t kPppoeSession = 0x8864;
constexpr uint16_t kTypeIpv4 = 0x0800;
constexpr uint16_t kTypeIpv6 = 0x86DD;

/** VLAN id of a tag control value. */
constexpr uint16_t kVidMask = 0x0FFF;
/** A tag control value without its bit 12. */
constexpr uint16_t kPriorityAndVid = 0xEFFF;
constexpr unsigned kPriorityShift = 13;

inline uint16_t read_be16(const uint8_t *at) { return static_cast<uint16_t>(at[0] << 8 | at[1]); }

inline void write_be16(uint8_t *at, uint16_t value)
{
    at[0] = static_cast<uint8_t>(value >> 8);
    at[1] = static_cast<uint8_t>(value);
}

enum class Layout : uint8_t { kUntagged, kTagged, kDoubleTagged, kTaggedPppoe, kPppoe };

/** Where a received frame carries what. */
struct FrameHeader {
    Layout layout;
    uint16_t tag_control; /**< Of the first tag; 0 without one. */
    uint16_t vlan;        /**< VLAN id of the innermost tag; 0 without one. */
    uint32_t ip_offset;
};

/** Finds the layout of a frame; lengths are not looked at. */
inline FrameHeader classify(const uint8_t *frame)
{
    const uint16_t type = read_be16(frame + 12);
    if (type == kPppoeSession)
        return {Layout::kPppoe, 0, 0, 22};
    if (type != kTpid)
        return {Layout::kUntagged, 0, 0, 14};

    const uint16_t control = read_be16(frame + 14);
    const auto vid = static_cast<uint16_t>(control & kVidMask);
    if (control == kPppoeSession)
        return {Layout::kTaggedPppoe, control, vid, 22};
    if (read_be16(frame + 16) != kTpid)
        return {Layout::kTagged, control, vid, 18};
    return {Layout::kDoubleTagged, control, static_cast<uint16_t>(read_be16(frame + 18) & kVidMask), 22};
}

/** Whether a frame carries an 802.1Q tag at this moment. */
inline bool is_tagged(const uint8_t *frame) { return frame[12] == 0x81 && frame[13] == 0x00; }

/** Writes the four bytes of a tag. */
inline void write_tag(uint8_t *at, uint16_t tag_control)
{
    write_be16(at, kTpid);
    write_be16(at + 2, tag_control);
}

/** Overwrites the four bytes behind the addresses of a frame with a tag, whatever they were. */
inline void replace_tag(uint8_t *frame, uint16_t tag_control) { write_tag(frame + kMacsBytes, tag_control); }

/** `memcpy` of a length known at run time only. */
void copy_bytes(uint8_t *to, const uint8_t *from, uint32_t length);

/**
 * A rewritten copy of a frame: room for a whole receive buffer and two tags.
 *
 * Each operation returns false, and writes nothing, for a frame that does not have the bytes it takes.
 */
class WorkBuffer {
public:
    const uint8_t *bytes() const { return bytes_; }

    /** The whole frame as it is. */
    bool copy(const uint8_t *frame, uint32_t length)
    {
        if (length > kReceiveBufferBytes)
            return false;
        copy_bytes(bytes_, frame, length);
        return true;
    }

    /** The frame with one tag behind its addresses. */
    bool insert_tag(const uint8_t *frame, uint32_t length, uint16_t tag_control)
    {
        if (!put_behind_tags(frame, length, kMacsBytes, 1))
            return false;
        write_tag(bytes_ + kMacsBytes, tag_control);
        return true;
    }

    /** The frame without the four bytes behind its addresses; what lies behind `length - 4` is left as it was. */
    bool strip_tag(const uint8_t *frame, uint32_t length)
    {
        return put_behind_tags(frame, length, kMacsBytes + kTagBytes, 0);
    }

    /** The frame with one tag in the place of its own first tag, if it has one. @return Length of the copy, or 0. */
    uint32_t mark(const uint8_t *frame, uint32_t length, uint16_t tag_control)
    {
        const uint32_t payload = payload_offset(frame);
        if (!put_behind_tags(frame, length, payload, 1))
            return 0;
        write_tag(bytes_ + kMacsBytes, tag_control);
        return length - payload + kMacsBytes + kTagBytes;
    }

    /** As `mark`, with two tags. */
    uint32_t mark_twice(const uint8_t *frame, uint32_t length, uint16_t outer_control, uint16_t inner_control)
    {
        const uint32_t payload = payload_offset(frame);
        if (!put_behind_tags(frame, length, payload, 2))
            return 0;
        write_tag(bytes_ + kMacsBytes, outer_control);
        write_tag(bytes_ + kMacsBytes + kTagBytes, inner_control);
        return length - payload + kMacsBytes + 2 * kTagBytes;
    }

private:
    static uint32_t payload_offset(const uint8_t *frame)
    {
        return is_tagged(frame) ? kMacsBytes + kTagBytes : kMacsBytes;
    }

    // The addresses, room for some tags, and the frame from `payload` on.
    bool put_behind_tags(const uint8_t *frame, uint32_t length, uint32_t payload, uint32_t tags)
    {
        if (length < payload || length > kReceiveBufferBytes)
            return false;
        memcpy(bytes_, frame, kMacsBytes);
        copy_bytes(bytes_ + kMacsBytes + tags * kTagBytes, frame + payload, length - payload);
        return true;
    }

    uint8_t bytes_[kReceiveBufferBytes + 2 * kTagBytes];
};

/** Prints a frame in hexadecimal, sixteen bytes to a line, between two lines of plus signs; a null one prints nothing.
 */
void dump_frame(const uint8_t *frame, uint32_t length);

} // namespace mcadapt

#endif
