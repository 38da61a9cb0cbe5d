/**
 * @file
 * The library's standard output, taken while it runs.
 */
#ifndef MCADAPT_HOST_PROGRAM_LIBRARY_OUTPUT_H
#define MCADAPT_HOST_PROGRAM_LIBRARY_OUTPUT_H

#include <cstdio>
#include <string>

namespace mcadapt::host {

/** From construction to destruction what is printed to `stdout` is collected here instead. */
class LibraryOutput {
public:
    LibraryOutput();
    ~LibraryOutput();
    LibraryOutput(const LibraryOutput &) = delete;
    LibraryOutput &operator=(const LibraryOutput &) = delete;

    /** What was printed since the last call. */
    std::string take();

private:
    std::FILE *real_;
    std::FILE *collecting_;
    std::string text_;
};

} // namespace mcadapt::host

#endif
