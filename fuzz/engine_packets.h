/**
 * @file
 * Packets for the engine, made from the input of a fuzzer: right but for what the input wants to be wrong.
 */
#ifndef MCADAPT_FUZZ_ENGINE_PACKETS_H
#define MCADAPT_FUZZ_ENGINE_PACKETS_H

#include <cstdint>
#include <vector>

#include "fuzz/input.h"
#include "host/observer.h"

namespace mcadapt::fuzz {

/** One packet of the family: of the input's own bytes, or built with correct headers around the message it tells. */
std::vector<uint8_t> take_packet(Input &input, host::Family family);

} // namespace mcadapt::fuzz

#endif
