/**
 * @file
 * Frames of every kind that reaches a unit: reports, leaves, queries and data of both families and all their versions,
 * tagged in all ways, right and damaged.
 */
#ifndef MCADAPT_TESTS_HOST_WHOLE_UNIT_TRAFFIC_H
#define MCADAPT_TESTS_HOST_WHOLE_UNIT_TRAFFIC_H

#include <cstdint>
#include <vector>

#include "tests/host/whole_unit/dice.h"

namespace mcadapt::host::test {

struct ArrivingFrame {
    uint32_t port;
    std::vector<uint8_t> bytes;
};

/** VLANs that frames and rules share, so that some match. */
constexpr uint16_t kVlans[] = {100, 101, 102, 200, 201, 202, 4088};

std::vector<ArrivingFrame> make_traffic(Dice &dice, std::size_t frames);

} // namespace mcadapt::host::test

#endif
