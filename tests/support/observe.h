/**
 * @file
 * What one operation did: its result, the platform calls it made, what it wrote, and which record fields it changed.
 */
#ifndef MCADAPT_TESTS_OBSERVE_H
#define MCADAPT_TESTS_OBSERVE_H

#include <cstddef>
#include <cstdio>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/record_state.h"

namespace mcadapt::test {

struct Observation {
    std::vector<std::string> calls;   /**< Platform calls in order. */
    std::string output;               /**< Standard output, byte for byte. */
    std::string trace;                /**< The output with every call as a line "<name(...)>" where it was made. */
    std::vector<std::string> changed; /**< Record fields that changed, as `changed_fields` names them. */
};

template <class Result> struct Observed : Observation {
    Result result;
};
template <> struct Observed<void> : Observation {
};

/** Watches from construction to `finish`; watches may be nested. */
class Watch {
public:
    Watch();
    ~Watch();
    Watch(const Watch &) = delete;
    Watch &operator=(const Watch &) = delete;
    Observation finish();

private:
    friend void note_call(const std::string &line);
    void end_capture();

    std::vector<std::string> calls_;
    std::vector<std::size_t> offsets_; // of the output when each call was made
    RecordSnapshot before_;
    Watch *outer_;
    std::FILE *outer_output_;
    std::FILE *capture_ = nullptr;
    char *text_ = nullptr;
    std::size_t length_ = 0;
};

/** Runs an operation and tells what it did: `const auto seen = observe([&] { return omci_set_multicast_mode(3); });` */
template <class Operation> Observed<std::invoke_result_t<Operation>> observe(Operation &&operation)
{
    using Result = std::invoke_result_t<Operation>;
    Watch watch;
    if constexpr (std::is_void_v<Result>) {
        std::forward<Operation>(operation)();
        return {watch.finish()};
    } else {
        Result result = std::forward<Operation>(operation)();
        return {watch.finish(), result};
    }
}

/** While it exists, output goes to the process's own standard output even inside `observe`. */
class RealOutput {
public:
    RealOutput();
    ~RealOutput();
    RealOutput(const RealOutput &) = delete;
    RealOutput &operator=(const RealOutput &) = delete;

private:
    std::FILE *captured_;
};

/** Called by the platform's stand-in for every call. */
void note_call(const std::string &line);

} // namespace mcadapt::test

#endif
