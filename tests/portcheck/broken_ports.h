/**
 * @file
 * Ports with one fault each, and the sentence by which it is told.
 */
#ifndef MCADAPT_TESTS_PORTCHECK_BROKEN_PORTS_H
#define MCADAPT_TESTS_PORTCHECK_BROKEN_PORTS_H

#include <ostream>

#include "check_fixture.h"

namespace mcadapt::test {

struct BrokenPort {
    const char *name;
    void (*break_it)(Port &port);
    const char *sentence;
};

inline void PrintTo(const BrokenPort &broken, std::ostream *out) { *out << broken.name; }

inline std::string broken_name(const ::testing::TestParamInfo<BrokenPort> &info) { return info.param.name; }

/** A port with which the check runs to its end. */
class FaultTest : public CheckTest, public ::testing::WithParamInterface<BrokenPort> {
protected:
    void expect_found()
    {
        GetParam().break_it(port());
        const Told told = check();
        EXPECT_EQ(told.result, MC_PORTCHECK_FAILED);
        EXPECT_THAT(told.faults(), ::testing::ElementsAre(GetParam().sentence));
    }
};

} // namespace mcadapt::test

#endif
