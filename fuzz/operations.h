/**
 * @file
 * Every exported operation, with arguments decoded from the input of a fuzzer.
 *
 * Buffers are as large as the headers demand and not a byte larger, at odd addresses where the headers allow any.
 */
#ifndef MCADAPT_FUZZ_OPERATIONS_H
#define MCADAPT_FUZZ_OPERATIONS_H

#include <cstddef>

#include "fuzz/input.h"
#include "fuzz/platform.h"
#include "fuzz/records.h"

namespace mcadapt::fuzz {

struct Operation {
    const char *name;
    /** Calls it; results and outputs go into the digest. */
    void (*call)(Input &input);
    /** Gives up what the operation does not promise of the tables; null: it keeps all promises. */
    void (*waive)(Trust &trust);
};

constexpr std::size_t kOperations = 106;
extern const Operation operations[kOperations];

/** A frame of the input; see make_seeds.py for how it is written. */
Delivery take_frame(Input &input);

vlanCfgNode take_rule(Input &input);

} // namespace mcadapt::fuzz

#endif
