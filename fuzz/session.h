/**
 * @file
 * A run of the library: steps that an input tells, one behind the other, with the tables checked after each.
 */
#ifndef MCADAPT_FUZZ_SESSION_H
#define MCADAPT_FUZZ_SESSION_H

#include "fuzz/input.h"
#include "fuzz/operations.h"
#include "fuzz/platform.h"
#include "fuzz/records.h"

namespace mcadapt::fuzz {

class Session {
public:
    explicit Session(Input input) : input_(input) {}

    /** Starts the unit, or leaves it as it was loaded; modes, log masks and ports, as the input says. */
    void start();
    bool more() const { return input_.more(); }
    uint8_t choose(uint8_t choices) { return static_cast<uint8_t>(input_.byte() % choices); }

    void frame();
    /** One operation, of the table of all. */
    void operation(std::size_t index);
    void any_operation() { operation(input_.byte()); }
    /** An operation that another thread runs while a later one, or a frame, is under way. */
    void operation_meanwhile();
    /** A count gets a value that has nothing to do with its table, as a stray write would leave it. */
    void poke_count();
    void poke_ports();
    void poke_mode();
    void refusals() { platform().refuse(input_.byte()); }
    void unit();
    void gathered();
    void segment();
    void no_memory() { platform().fail_next_calloc(); }

    /** To be called behind each step. */
    void check() { check_records(trust_); }

private:
    void run(std::size_t index, Input &input);

    Input input_;
    Trust trust_;
};

/**
 * Runs an input twice from the records as they were loaded, and expects the same of both: calls, their arguments and
 * bytes, output, results and records.
 */
void run_twice(const uint8_t *data, std::size_t size, void (*steps)(Session &session));

} // namespace mcadapt::fuzz

#endif
