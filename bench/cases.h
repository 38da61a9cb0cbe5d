/**
 * @file
 * What is measured.
 */
#ifndef MCADAPT_BENCH_CASES_H
#define MCADAPT_BENCH_CASES_H

#include <string>
#include <vector>

namespace mcadapt::bench {

/** Registers every case and its floor. @return The titles of the cases, in the order of the table. */
std::vector<std::string> register_cases();

} // namespace mcadapt::bench

#endif
