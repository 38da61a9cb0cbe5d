/**
 * @file
 * The fixture of the tests that run start-up or a part of it.
 */
#ifndef MCADAPT_TESTS_CORE_START_FIXTURE_H
#define MCADAPT_TESTS_CORE_START_FIXTURE_H

#include <cstdlib>

#include "start_sequence.h"
#include "support/library_test.h"

namespace mcadapt::test::start_up {

/** Gives back the status blocks that start-up takes from the heap and keeps. */
class StartTest : public LibraryTest {
protected:
    void SetUp() override
    {
        LibraryTest::SetUp();
        fixture_block_ = mc_status_global;
    }

    void TearDown() override
    {
        if (mc_status_global != fixture_block_)
            std::free(mc_status_global);
        mc_status_global = fixture_block_;
    }

    /** As for a new test, with these masks. */
    void start_over(Masks masks)
    {
        TearDown();
        SetUp();
        mc_debug = masks.igmp;
        mld_debug = masks.mld;
    }

    grp_info *fixture_block_ = nullptr;
};

} // namespace mcadapt::test::start_up

#endif
