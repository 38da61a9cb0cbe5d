/**
 * @file
 * One of the two protocol families, driven by words that both have, so that one scenario can be played on either.
 */
#ifndef MCADAPT_TESTS_SIDE_H
#define MCADAPT_TESTS_SIDE_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "support/frames.h"
#include "support/observe.h"

namespace mcadapt::test {

enum class Mode { kSnooping, kControl, kNoHandler };

/**
 * What a scenario did, line by line, without what cannot be the same: prefixes of the log, packets, and the name of the
 * side itself, for which a `*` stands. The other side's name, where a text holds it, stays.
 */
using Events = std::vector<std::string>;

class Side {
public:
    static const Side &igmp();
    static const Side &mld();

    /** A report of 72 bytes; but for the IP header both families' have the same bytes in the same places. */
    FrameBuilder report() const;
    ByteVector packet() const { return report().packet(); }

    void set_mode(Mode mode) const;
    void set_test_uplink(uint32_t port) const;
    void set_port(int logic_port, uint32_t port, uint32_t type) const;

    void take(const ByteVector &frame, uint32_t port) const { take(frame, port, frame.size()); }
    /** Gives a frame to the intake, which is told this length. */
    void take(const ByteVector &frame, uint32_t port, std::size_t length) const;

    /** Lets the engine send its packet with this tag. */
    void send(uint32_t port, uint16_t vid, uint8_t priority) const;
    void add_group(uint16_t port, uint16_t vlan) const;
    void delete_group(uint16_t port, uint16_t vlan) const;

    /** The name of an engine call, `pkt_recv`, on this side. */
    std::string engine_call(const std::string &name) const { return (mld_ ? "mld_" : "igmp_") + name; }

    /** What is left of an observation once prefixes and packets read alike. */
    Events events(const Observation &seen) const;

private:
    explicit Side(bool mld) : mld_(mld) {}

    bool mld_;
};

struct Scenario {
    const char *name;
    std::function<void(const Side &side)> given;
    std::function<void(const Side &side)> play;
};

} // namespace mcadapt::test

#endif
