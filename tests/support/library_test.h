/**
 * @file
 * The fixtures that every test of the library's operations starts from.
 */
#ifndef MCADAPT_TESTS_LIBRARY_TEST_H
#define MCADAPT_TESTS_LIBRARY_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "mcadapt/mcadapt.h"
#include "support/observe.h"
#include "support/platform_double.h"

namespace mcadapt::test {

/**
 * Starts each test from the records as they are at load time, a zeroed status block with `statusMode` 1, and a cleared
 * platform. The tables that the library keeps inside its functions stay as earlier tests left them.
 */
class LibraryTest : public ::testing::Test {
protected:
    void SetUp() override;

    /** The block that `mc_status_global` points to; a test may set the pointer to null. */
    grp_info status_block{};

    /** Opens the log classes, all but the dumps, of both families. */
    static void everything_logged() { log_mask(MC_DEBUG_TRACE | MC_DEBUG_ERROR | MC_DEBUG_CONFIG); }
    static void errors_logged() { log_mask(MC_DEBUG_ERROR); }
    static void traces_logged() { log_mask(MC_DEBUG_TRACE); }
    static void config_logged() { log_mask(MC_DEBUG_CONFIG); }

    static void log_mask(uint32_t mask)
    {
        mc_debug = mask;
        mld_debug = mask;
    }
};

/** For tests of frames: both intakes have taken their first frame, so that neither reads the engine's clock again. */
class IntakeTest : public LibraryTest {
protected:
    void SetUp() override;
};

/**
 * Runs `body` in a forked child in which no intake has taken a frame yet, and fails when an expectation in it failed.
 *
 * What `body` changes is lost with the child. The process must not have taken a frame before: derive the suite from
 * `LibraryTest` and end its name in `DeathTest`, which GoogleTest runs before all others.
 */
void in_fresh_process(const std::function<void()> &body);

} // namespace mcadapt::test

#endif
