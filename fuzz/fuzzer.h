/**
 * @file
 * What a fuzzer is for those who run it: libFuzzer, or the program that runs files through it.
 */
#ifndef MCADAPT_FUZZ_FUZZER_H
#define MCADAPT_FUZZ_FUZZER_H

#include <cstddef>
#include <cstdint>

extern "C" {

/** Called once, before anything else. */
int LLVMFuzzerInitialize(int *argc, char ***argv);

/** Runs one input; ends the process when something does not hold. @return 0. */
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
}

#endif
