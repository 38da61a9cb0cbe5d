/**
 * @file
 * An operation run under one log mask after the other.
 *
 *     expect_under_every_mask({cfg("is in!"), called("igmp_vlan_add(100)")}, [] { operation(); });
 */
#ifndef MCADAPT_TESTS_VLAN_UNDER_EVERY_MASK_H
#define MCADAPT_TESTS_VLAN_UNDER_EVERY_MASK_H

#include <cstdint>
#include <functional>
#include <string>

#include "support/library_test.h"
#include "vlan/expected_log.h"

namespace mcadapt::test {

/** For operations that log on the IGMP side only. */
class UnderEveryMaskTest : public LibraryTest {
protected:
    /** Runs `operation` from the state that `prepare` makes, once under each mask, and compares its trace. */
    void expect_under_every_mask(
        const Log &expected, const std::function<void()> &operation, const std::function<void()> &prepare = [] {})
    {
        for (const uint32_t mask : {0x00u, 0x01u, 0x04u, 0x20u, 0x25u, ~0x25u, 0xFFFFFFFFu}) {
            SCOPED_TRACE("mask " + std::to_string(mask));
            LibraryTest::SetUp();
            prepare();
            mc_debug = mask;
            mld_debug = ~mask; // the other family's mask opens nothing
            EXPECT_EQ(observe(operation).trace, log_of(expected));
        }
    }
};

} // namespace mcadapt::test

#endif
