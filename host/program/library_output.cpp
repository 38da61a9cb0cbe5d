#include "host/program/library_output.h"

#include <new>
#include <utility>

namespace mcadapt::host {

namespace {

ssize_t append(void *text, const char *bytes, std::size_t size)
{
    static_cast<std::string *>(text)->append(bytes, size);
    return static_cast<ssize_t>(size);
}

} // namespace

LibraryOutput::LibraryOutput() : real_(stdout)
{
    cookie_io_functions_t functions = {};
    functions.write = append;
    collecting_ = fopencookie(&text_, "w", functions);
    if (collecting_ == nullptr)
        throw std::bad_alloc();
    std::fflush(real_);
    stdout = collecting_; // glibc lets the standard streams be assigned
}

LibraryOutput::~LibraryOutput()
{
    stdout = real_;
    std::fclose(collecting_);
}

std::string LibraryOutput::take()
{
    std::fflush(collecting_);
    return std::exchange(text_, std::string());
}

} // namespace mcadapt::host
