/**
 * @file
 * What the tests of both intakes share: frame layouts, and logs as lists of gated lines.
 */
#ifndef MCADAPT_TESTS_INTAKE_KIT_H
#define MCADAPT_TESTS_INTAKE_KIT_H

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "support/frames.h"
#include "support/library_test.h"
#include "support/matchers.h"

namespace mcadapt::test {

/** A layout in which frames arrive. */
struct FrameLayout {
    const char *name;
    FrameBuilder (*wrap)(FrameBuilder frame);
    uint32_t vlan;            /**< The frame VLAN that the tags below give. */
    std::ptrdiff_t ip_offset; /**< Of the IP header. */
    uint32_t least;           /**< Bytes that a frame must have. */
    const char *too_short;    /**< What is said of a shorter one, up to its length. */
    mldTagRecord tag;         /**< What the MLD intake remembers. */
};

// Intended: two tags need no more bytes than one, and a single tag leaves its control field in the record's tpid.
inline const FrameLayout kLayouts[] = {
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

inline std::string layout_name(const ::testing::TestParamInfo<FrameLayout> &info) { return info.param.name; }
inline void PrintTo(const FrameLayout &layout, std::ostream *out) { *out << layout.name; }

/** Frames go to the engine alone, and the unit knows its address. */
inline void give_frames_to_the_engine_alone()
{
    std::copy_n(platform().unit_mac.begin(), 6, sys_mac);
    proxy_adapt_mode = 2;
    mldInitParams.multiMode = 1;
}

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

} // namespace mcadapt::test

#endif
