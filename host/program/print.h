/**
 * @file
 * Formatted output that never throws: observers print from inside the library's calls, which no exception may cross.
 */
#ifndef MCADAPT_HOST_PROGRAM_PRINT_H
#define MCADAPT_HOST_PROGRAM_PRINT_H

#include <cstdio>
#include <string>
#include <utility>

#include <fmt/format.h>

namespace mcadapt::host {

/** Prints to a file; whether it could be written is asked of the file at the end. */
template <class... Arguments>
void print(std::FILE *out, fmt::format_string<Arguments...> format, Arguments &&...arguments)
{
    const std::string text = fmt::format(format, std::forward<Arguments>(arguments)...);
    std::fwrite(text.data(), 1, text.size(), out);
}

} // namespace mcadapt::host

#endif
