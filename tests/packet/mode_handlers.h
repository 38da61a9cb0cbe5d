/**
 * @file
 * What the tests of the snooping and the control handlers share: calling a handler, and how its lines and the frames
 * that it sends read.
 */
#ifndef MCADAPT_TESTS_MODE_HANDLERS_H
#define MCADAPT_TESTS_MODE_HANDLERS_H

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "support/call_text.h"
#include "support/frames.h"
#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {

inline constexpr uint32_t kUserPort = 0;
inline constexpr uint32_t kUplink = 29;

// Different for each family, so that a frame sent by the wrong one is seen.
inline constexpr uint8_t kIgmpSource = 11;
inline constexpr uint8_t kMldSource = 12;
inline constexpr uint32_t kPonVlan = 4000;

/** Frame lengths to loop over. */
using Lengths = std::initializer_list<std::size_t>;

using Handler = void (*)(uint8_t *frame, uint32_t rxPort, uint32_t length, uint32_t vlanId);

/** What a handler did, and the received frame as the handler left it. */
struct Handled : Observation {
    ByteVector frame;
};

/**
 * Hands a frame to a handler; nothing of its buffer but the four bytes of a tag may change.
 * @param length  The length told to the handler; what lies behind it in `frame` is what an earlier frame left.
 */
inline Handled handle(Handler handler, const ByteVector &frame, uint32_t port, uint32_t vlan, std::size_t length)
{
    constexpr uint8_t kBehindFrame = 0xEE;
    FrameBuffer buffer(frame, kBehindFrame);
    const ByteVector before(buffer.data(), buffer.data() + FrameBuffer::kSize);
    Handled seen;
    static_cast<Observation &>(seen) =
        observe([&] { handler(buffer.data(), port, static_cast<uint32_t>(length), vlan); });
    seen.frame = buffer.frame();
    EXPECT_TRUE(std::equal(before.begin(), before.begin() + 12, buffer.data()));
    EXPECT_TRUE(std::equal(before.begin() + 16, before.end(), buffer.data() + 16));
    return seen;
}

inline Handled handle(Handler handler, const ByteVector &frame, uint32_t port, uint32_t vlan)
{
    return handle(handler, frame, port, vlan, frame.size());
}

class ModeHandlerTest : public IntakeTest {
protected:
    void SetUp() override
    {
        IntakeTest::SetUp();
        srcPortNum = kIgmpSource;
        mldInitParams.mldSrcPortNum = kMldSource;
        ponVlan = kPonVlan;
    }

    static void put_ports(const portStateNode &first, const portStateNode &second)
    {
        put_igmp_ports(first, second);
        put_mld_ports(first, second);
    }

    static void put_igmp_ports(const portStateNode &first, const portStateNode &second)
    {
        portState[0] = first;
        portState[1] = second;
    }

    static void put_mld_ports(const portStateNode &first, const portStateNode &second)
    {
        mldInitParams.mldPortState[0] = first;
        mldInitParams.mldPortState[1] = second;
    }

    /**
     * Makes the second logic port a user port while the copy for the first one is sent. A handler only serves both
     * when this happens under way: before, a frame from the uplink needs one of the two to be the uplink.
     */
    static void second_user_port_appears(uint32_t port)
    {
        platform().on("L2_multicast_send_msg", [port] {
            portState[1] = {port, MC_PORT_TYPE_USER};
            mldInitParams.mldPortState[1] = {port, MC_PORT_TYPE_USER};
        });
    }
};

/** A frame sent, as `Observation::calls` shows it. */
inline std::string sent_call(const ByteVector &frame, uint32_t ifindex, uint8_t source)
{
    return call_line("L2_multicast_send_msg", HexBytes{frame.data(), frame.size()}, ifindex, frame.size(), source,
                     kPonVlan);
}
inline std::string igmp_sent(const ByteVector &frame, uint32_t ifindex)
{
    return sent_call(frame, ifindex, kIgmpSource);
}
inline std::string mld_sent(const ByteVector &frame, uint32_t ifindex) { return sent_call(frame, ifindex, kMldSource); }

/** A frame sent, as `Observation::trace` shows it. */
inline std::string in_trace(const std::string &call) { return "<" + call + ">\n"; }

/** Untagged bytes of any length, each different from its neighbours. */
inline ByteVector counting_frame(std::size_t length)
{
    ByteVector frame(length);
    for (std::size_t i = 0; i < length; ++i)
        frame[i] = static_cast<uint8_t>(i % 251 + 1);
    return frame;
}

/** As `counting_frame`, of at least 16 bytes, with a tag. */
inline ByteVector tagged_counting_frame(std::size_t length, uint16_t control)
{
    ByteVector frame = counting_frame(length);
    frame.at(12) = 0x81;
    frame.at(13) = 0x00;
    return with_control(std::move(frame), control);
}

/** The frame with these bytes behind it. */
inline ByteVector operator+(ByteVector frame, const ByteVector &tail)
{
    frame.insert(frame.end(), tail.begin(), tail.end());
    return frame;
}

inline ByteVector last_four(const ByteVector &frame) { return {frame.end() - 4, frame.end()}; }

// --- Lines

/** A line of output and the mask bit that it is printed under. */
struct Line {
    uint32_t bit;
    std::string text;
};

inline Line igmp_trace(const std::string &text) { return {MC_DEBUG_TRACE, "\r\n[MC_DBG_DBG]: " + text}; }
inline Line igmp_error(const std::string &text) { return {MC_DEBUG_ERROR, "\r\n[MC_DBG_ERR]: " + text}; }
inline Line igmp_config(const std::string &text) { return {MC_DEBUG_CONFIG, "\r\n[MC_DBG_CFG]: " + text}; }
inline Line mld_trace(const std::string &text) { return {MC_DEBUG_TRACE, "\r\n[MC_MLD_DBG_DBG]: " + text}; }
inline Line mld_error(const std::string &text) { return {MC_DEBUG_ERROR, "\r\n[MC_MLD_DBG_ERR]: " + text}; }

/** The line that the send routines trace. */
inline Line igmp_send_trace(uint32_t port, std::size_t length)
{
    return igmp_trace("l2_igmp_send_pkt  ifindex = " + std::to_string(port) + " len = " + std::to_string(length) +
                      " srcPortNum = 11 ponVlan = 4000\r\n");
}
inline Line mld_send_trace(uint32_t port, std::size_t length)
{
    return mld_trace("mld_l2_igmp_send_pkt  ifindex = " + std::to_string(port) + " len = " + std::to_string(length) +
                     " srcPortNum = 12 ponVlan = 4000\r\n");
}

inline std::string output_under(uint32_t mask, const std::vector<Line> &lines)
{
    std::string output;
    for (const Line &line : lines)
        if ((line.bit & mask) != 0)
            output += line.text;
    return output;
}

/**
 * Expects these lines from `operation`, each under its own bit of `mask` and under no other one. The mask of the
 * other family is all open the whole time, but for the dumps.
 */
template <class Operation> void expect_lines(uint32_t &mask, const std::vector<Line> &lines, const Operation &operation)
{
    constexpr uint32_t kDumps = MC_DEBUG_TX_DUMP | MC_DEBUG_RX_DUMP;
    constexpr uint32_t kUsed = MC_DEBUG_TRACE | MC_DEBUG_ERROR | MC_DEBUG_CONFIG;
    uint32_t &other = &mask == &mc_debug ? mld_debug : mc_debug;
    other = ~kDumps;
    for (const uint32_t value : {MC_DEBUG_TRACE, MC_DEBUG_ERROR, MC_DEBUG_CONFIG, kUsed, ~kDumps, ~kDumps & ~kUsed}) {
        SCOPED_TRACE("mask " + std::to_string(value));
        mask = value;
        const Observation seen = operation();
        EXPECT_EQ(seen.output, output_under(value, lines));
    }
}

} // namespace mcadapt::test

#endif
