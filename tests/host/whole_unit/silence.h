/**
 * @file
 * Standard output thrown away, for tests in which the library may print without end.
 */
#ifndef MCADAPT_TESTS_HOST_WHOLE_UNIT_SILENCE_H
#define MCADAPT_TESTS_HOST_WHOLE_UNIT_SILENCE_H

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace mcadapt::host::test {

/** Nothing that is printed comes out while it exists. */
class Silence {
public:
    Silence() : outer_((std::fflush(stdout), dup(STDOUT_FILENO)))
    {
        const int nothing = open("/dev/null", O_WRONLY);
        dup2(nothing, STDOUT_FILENO);
        close(nothing);
    }
    ~Silence()
    {
        std::fflush(stdout);
        dup2(outer_, STDOUT_FILENO);
        close(outer_);
    }
    Silence(const Silence &) = delete;
    Silence &operator=(const Silence &) = delete;

private:
    const int outer_;
};

} // namespace mcadapt::host::test

#endif
