#include "support/library_test.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "support/frames.h"

namespace mcadapt::test {

void LibraryTest::SetUp()
{
    restore_load_image();
    status_block = grp_info{};
    status_block.statusMode = 1;
    mc_status_global = &status_block;
    platform() = PlatformDouble();
}

void IntakeTest::SetUp()
{
    static bool primed = false;
    LibraryTest::SetUp();
    if (primed)
        return;
    primed = true;
    // From the address of the unit, which is still all zero: refused, but only once it has been counted.
    FrameBuffer own(ByteVector(14, 0));
    igmpL2PktProc(own.data(), own.length(), 0);
    mldL2PktProc(own.data(), own.length(), 0);
    LibraryTest::SetUp();
}

namespace {

[[noreturn]] void run_child(const std::function<void()> &body)
{
    body();
    std::fflush(stdout);
    std::exit(::testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
}

} // namespace

void in_fresh_process(const std::function<void()> &body)
{
    ASSERT_FALSE(engine_clock_was_read()) << "an intake has already taken a frame in this process";
    ASSERT_FALSE(::testing::Test::HasFailure()) << "the test failed before its child was started";
    std::fflush(stdout);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
        run_child(body);
    int ended = 0;
    ASSERT_EQ(waitpid(child, &ended, 0), child);
    EXPECT_TRUE(WIFEXITED(ended) && WEXITSTATUS(ended) == EXIT_SUCCESS) << "failed in the fresh process, see above";
}

} // namespace mcadapt::test
