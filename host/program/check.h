/**
 * @file
 * `mcadapt check`: a configuration, applied to a unit that sees no frames.
 */
#ifndef MCADAPT_HOST_PROGRAM_CHECK_H
#define MCADAPT_HOST_PROGRAM_CHECK_H

#include <cstdio>
#include <string>

namespace mcadapt::host {

/**
 * Applies every operation, those with a time too, and prints the results and the rules as the library then holds
 * them. @return How many were refused. Throws `ConfigError`.
 */
int check_unit(const std::string &file, std::FILE *out);

} // namespace mcadapt::host

#endif
