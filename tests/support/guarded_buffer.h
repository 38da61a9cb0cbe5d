/**
 * @file
 * Bytes next to an inaccessible page: whoever reads or writes on that side of them ends the process.
 */
#ifndef MCADAPT_TESTS_GUARDED_BUFFER_H
#define MCADAPT_TESTS_GUARDED_BUFFER_H

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "support/hex.h"

namespace mcadapt::test {

class GuardedBuffer {
public:
    /** Where the inaccessible page lies. */
    enum class Guard { kBehind, kBefore };

    explicit GuardedBuffer(const ByteVector &bytes, Guard guard = Guard::kBehind) : size_(bytes.size())
    {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        accessible_ = (size_ + page - 1) / page * page;
        mapped_ = accessible_ + page;
        map_ = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (map_ == MAP_FAILED)
            throw std::runtime_error("no memory for a guarded buffer");
        auto *start = static_cast<uint8_t *>(map_);
        const bool behind = guard == Guard::kBehind;
        if (mprotect(behind ? start + accessible_ : start, page, PROT_NONE) != 0)
            throw std::runtime_error("the page beside a buffer cannot be closed");
        open_ = behind ? start : start + page;
        std::fill(open_, open_ + accessible_, kSurroundings);
        data_ = behind ? open_ + (accessible_ - size_) : open_;
        std::copy(bytes.begin(), bytes.end(), data_);
    }
    ~GuardedBuffer() { munmap(map_, mapped_); }
    GuardedBuffer(const GuardedBuffer &) = delete;
    GuardedBuffer &operator=(const GuardedBuffer &) = delete;

    uint8_t *data() { return data_; }
    ByteVector bytes() const { return {data_, data_ + size_}; }

    /** Puts other bytes, as many as before, in. */
    void fill(const ByteVector &bytes) { std::copy_n(bytes.begin(), std::min(bytes.size(), size_), data_); }

    /** Whether nothing was written on the accessible side of the bytes. */
    bool surroundings_intact() const { return intact(open_, data_) && intact(data_ + size_, open_ + accessible_); }

private:
    static constexpr uint8_t kSurroundings = 0x5A;

    // Each byte is the one before it: quick in a build without optimisation, too.
    static bool intact(const uint8_t *from, const uint8_t *to)
    {
        if (from == to)
            return true;
        return *from == kSurroundings && std::memcmp(from, from + 1, static_cast<std::size_t>(to - from) - 1) == 0;
    }

    std::size_t size_;
    std::size_t accessible_ = 0;
    std::size_t mapped_ = 0;
    void *map_ = nullptr;
    uint8_t *open_ = nullptr;
    uint8_t *data_ = nullptr;
};

} // namespace mcadapt::test

#endif
