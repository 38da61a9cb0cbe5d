/**
 * @file
 * What the tests of both intakes share: frame layouts, logs as lists of gated lines, and a fixture for each family.
 */
#ifndef MCADAPT_TESTS_INTAKE_KIT_H
#define MCADAPT_TESTS_INTAKE_KIT_H

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "support/frames.h"
#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {

/** A layout in which frames arrive. */
struct Layout {
    const char *name;
    FrameBuilder (*wrap)(FrameBuilder frame);
    uint32_t vlan;            /**< The frame VLAN that the tags below give. */
    std::ptrdiff_t ip_offset; /**< Of the IP header. */
    uint32_t least;           /**< Bytes that a frame must have. */
    const char *too_short;    /**< What is said of a shorter one, up to its length. */
    mldTagRecord tag;         /**< What the MLD intake remembers. */
};

// Intended: two tags need no more bytes than one, and a single tag leaves its control field in the record's tpid.
inline const Layout kLayouts[] = {
    {"untagged",
     [](FrameBuilder frame) { return frame; },
     0,
     14,
     14,
     "Ethernet Frame too short ,abord!<*_*>",
     {0x8100, 0, 0}},
    {"one_tag",
     [](FrameBuilder frame) { return frame.tag(0x6064); },
     100,
     18,
     18,
     "Too short frame,abord!",
     {0x6064, 0x064, 0}},
    {"two_tags",
     [](FrameBuilder frame) { return frame.tag(0x6064).tag(0xA0C8); },
     200,
     22,
     18,
     "Too short frame,abord!",
     {0x8100, 0x0C8, 0}},
    {"pppoe_in_tag",
     [](FrameBuilder frame) { return frame.pppoe_in_tag(); },
     0x864,
     22,
     22,
     "Frame PPPoE header and vlan tag,but too short ,abord!<*_*>",
     {0x8864, 0x864, 0}},
    {"pppoe",
     [](FrameBuilder frame) { return frame.pppoe(); },
     0,
     22,
     22,
     "Frame PPPoE header,but too short ,abord!<*_*>",
     {0x8100, 0, 0}},
};

inline std::string layout_name(const ::testing::TestParamInfo<Layout> &info) { return info.param.name; }
inline void PrintTo(const Layout &layout, std::ostream *out) { *out << layout.name; }

/** A line of a log and the mask bit that lets it through; 0 for what is always there. */
struct LogLine {
    uint32_t gate;
    std::string text;
};
using Log = std::vector<LogLine>;

/** What a log shows under a mask. */
inline std::string shown(const Log &log, uint32_t mask)
{
    std::string text;
    for (const LogLine &line : log)
        if (line.gate == 0 || (line.gate & mask) != 0)
            text += line.text;
    return text;
}

/** A platform call, as it stands in a trace. */
inline LogLine called(const std::string &call) { return {0, "<" + call + ">\n"}; }

inline std::string number(int64_t value) { return std::to_string(value); }

/** A frame as both dumps print it. */
inline std::string dumped(const ByteVector &frame)
{
    static const std::string kRule = "\r\n++++++++++++++++++++++++++++++++++++++++++++++++\r\n";
    std::string text = kRule;
    for (std::size_t i = 0; i < frame.size(); ++i) {
        text += (i != 0 && i % 16 == 0 ? "\r\n" : "") + hex(&frame[i], 1) + " ";
    }
    return text + kRule;
}

/** The part of an output from the first text up to the second, without the latter; the rest when that is missing. */
inline std::string part(const std::string &output, const std::string &from, const std::string &to)
{
    const std::size_t begin = output.find(from);
    if (begin == std::string::npos)
        return "(nothing from \"" + from + "\" on)";
    const std::size_t end = output.find(to, begin);
    return output.substr(begin, end == std::string::npos ? end : end - begin);
}

/** Frames given straight to one intake, user port 0 and uplink 29, in a mode without a handler unless a test sets one.
 */
class OneIntake : public IntakeTest {
protected:
    using Intake = int32_t (*)(uint8_t *frame, uint32_t length, uint32_t port);

    OneIntake(Intake intake, uint32_t &mask, uint32_t &other_mask, const char *prefix)
        : intake_(intake), mask_(mask), other_mask_(other_mask), prefix_(prefix)
    {
    }

    void SetUp() override
    {
        IntakeTest::SetUp();
        std::copy_n(platform().unit_mac.begin(), 6, sys_mac);
        proxy_adapt_mode = 2;
        mldInitParams.multiMode = 1;
    }

    LogLine trace(const std::string &text) const { return {MC_DEBUG_TRACE, prefix_ + "DBG]: " + text}; }
    LogLine error(const std::string &text) const { return {MC_DEBUG_ERROR, prefix_ + "ERR]: " + text}; }
    LogLine config(const std::string &text) const { return {MC_DEBUG_CONFIG, prefix_ + "CFG]: " + text}; }

    /** Gives a frame to the intake; `length` is what the intake is told, in front of bytes that are all there. */
    Observed<int32_t> take(const ByteVector &frame, uint32_t port, uint32_t length)
    {
        buffer.emplace(frame, 0xEE);
        return observe([&] { return intake_(buffer->data(), length, port); });
    }
    Observed<int32_t> take(const ByteVector &frame, uint32_t port = 0)
    {
        return take(frame, port, static_cast<uint32_t>(frame.size()));
    }

    /**
     * Takes the frame once under each bit of the mask alone, under none and under all, and expects of the log what the
     * mask lets through. The other family's mask holds the other bits, and must not matter.
     */
    void expect_log(const ByteVector &frame, uint32_t port, uint32_t length, const Log &log)
    {
        for (const uint32_t mask : {0x00u, 0x01u, 0x04u, 0x08u, 0x10u, 0x20u, 0xFFFFFFC2u, 0xFFFFFFFFu}) {
            SCOPED_TRACE("mask " + std::to_string(mask));
            mask_ = mask;
            other_mask_ = ~mask;
            EXPECT_EQ(take(frame, port, length).trace, shown(log, mask));
        }
        log_mask(0);
    }
    void expect_log(const ByteVector &frame, uint32_t port, const Log &log)
    {
        expect_log(frame, port, static_cast<uint32_t>(frame.size()), log);
    }

    /** Where in the frame the packet began that the engine got last. */
    std::ptrdiff_t engine_offset() const { return buffer->offset_of(platform().engine_packets.back().start); }

    /** The last frame given. */
    std::optional<FrameBuffer> buffer;

private:
    Intake intake_;
    uint32_t &mask_;
    uint32_t &other_mask_;
    std::string prefix_;
};

class IgmpIntake : public OneIntake {
protected:
    IgmpIntake() : OneIntake(igmpL2PktProc, mc_debug, mld_debug, "\r\n[MC_DBG_") {}

    static LogLine received(const ByteVector &frame, uint32_t port)
    {
        return {MC_DEBUG_RX_DUMP, "[igmpL2PktProc]: Pkt recv from port " + number(port) + ", len " +
                                      std::to_string(frame.size()) + ".\r\n" + dumped(frame)};
    }
    static LogLine sent(const ByteVector &frame, uint32_t port)
    {
        return {MC_DEBUG_TX_DUMP, "[l2_igmp_send_pkt]: Pkt Send to port " + number(port) + ", len " +
                                      std::to_string(frame.size()) + ".\r\n" + dumped(frame)};
    }
};

class MldIntake : public OneIntake {
protected:
    MldIntake() : OneIntake(mldL2PktProc, mld_debug, mc_debug, "\r\n[MC_MLD_DBG_") {}

    // Intended: the MLD side's dumps have no heading.
    static LogLine received(const ByteVector &frame) { return {MC_DEBUG_RX_DUMP, dumped(frame)}; }
    static LogLine sent(const ByteVector &frame) { return {MC_DEBUG_TX_DUMP, dumped(frame)}; }
};

} // namespace mcadapt::test

#endif
