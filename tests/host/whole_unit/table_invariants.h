/**
 * @file
 * What holds of the library's tables between any two operations.
 */
#ifndef MCADAPT_TESTS_HOST_WHOLE_UNIT_TABLE_INVARIANTS_H
#define MCADAPT_TESTS_HOST_WHOLE_UNIT_TABLE_INVARIANTS_H

#include <string>

namespace mcadapt::host::test {

/**
 * Counts are inside their tables, nothing is left behind them, and the two template lists are equal.
 * @return What is wrong, a line each; empty when all holds.
 */
std::string broken_tables();

/**
 * Every counted rule is a live one of its port: they stand at the front without a gap. Holds while no rule is installed
 * whose upstream or multicast VLAN is 0xFFFF, the mark of a free position.
 */
std::string broken_rows();

} // namespace mcadapt::host::test

#endif
