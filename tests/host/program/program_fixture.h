/**
 * @file
 * The built program, run over captures and configurations that a test writes.
 */
#ifndef MCADAPT_TESTS_HOST_PROGRAM_PROGRAM_FIXTURE_H
#define MCADAPT_TESTS_HOST_PROGRAM_PROGRAM_FIXTURE_H

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/host/engine/wire.h"
#include "tests/host/switch/capture_files.h"

namespace mcadapt::host::test {

/** User VLAN 100, multicast VLAN 200, on port 0. */
extern const char *const kTranslatingRule;

/** A frame of a capture: its tags, outermost first. */
std::string frame_of(wire::Bytes packet, const std::vector<uint16_t> &vlans);

/** Frames of the user VLAN and of the multicast VLAN. */
std::string join_frame(const std::string &group, uint16_t vlan = 100);
std::string leave_frame(const std::string &group, uint16_t vlan = 100);
std::string data_frame(const std::string &group, uint16_t vlan = 200);
std::string query_frame(uint16_t vlan = 200);

struct TimedFrame {
    double at;
    std::string bytes;
};

class ProgramTest : public CaptureTest {
protected:
    struct Outcome {
        int code;
        std::string out;
        std::string err;
    };

    /** @param arguments  As a shell takes them. */
    Outcome run(const std::string &arguments) const;

    /** Writes a capture with these times after 2023-11-14 22:13:20. @return Its path. */
    std::string capture(const std::string &name, const std::vector<TimedFrame> &frames) const;
    std::string unit(const std::string &text) const { return write("unit.conf", text); }

    /** A join, data before and after it, and a leave. @return Arguments for its replay. */
    std::string join_and_leave() const;
};

} // namespace mcadapt::host::test

#endif
