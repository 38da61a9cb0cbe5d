/**
 * @file
 * Bytes that end at an inaccessible page: whoever reads or writes behind them ends the process.
 */
#ifndef MCADAPT_TESTS_GUARDED_BUFFER_H
#define MCADAPT_TESTS_GUARDED_BUFFER_H

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

#include "support/hex.h"

namespace mcadapt::test {

class GuardedBuffer {
public:
    explicit GuardedBuffer(const ByteVector &bytes) : size_(bytes.size())
    {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t accessible = (size_ + page - 1) / page * page;
        mapped_ = accessible + page;
        map_ = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (map_ == MAP_FAILED)
            throw std::runtime_error("no memory for a guarded buffer");
        auto *start = static_cast<uint8_t *>(map_);
        if (mprotect(start + accessible, page, PROT_NONE) != 0)
            throw std::runtime_error("the page behind a buffer cannot be closed");
        data_ = start + (accessible - size_);
        std::copy(bytes.begin(), bytes.end(), data_);
    }
    ~GuardedBuffer() { munmap(map_, mapped_); }
    GuardedBuffer(const GuardedBuffer &) = delete;
    GuardedBuffer &operator=(const GuardedBuffer &) = delete;

    uint8_t *data() { return data_; }
    ByteVector bytes() const { return {data_, data_ + size_}; }

private:
    std::size_t size_;
    std::size_t mapped_ = 0;
    void *map_ = nullptr;
    uint8_t *data_ = nullptr;
};

} // namespace mcadapt::test

#endif
