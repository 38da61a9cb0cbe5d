/**
 * @file
 * The names that the stand-in of the platform answers to.
 */
#ifndef MCADAPT_TESTS_PLATFORM_NAMES_H
#define MCADAPT_TESTS_PLATFORM_NAMES_H

#include <string_view>

namespace mcadapt::test {

/** Whether `name` is a platform call, or one of libc's that the stand-in takes over. */
bool is_platform_call(std::string_view name);

} // namespace mcadapt::test

#endif
