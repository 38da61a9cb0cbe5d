/**
 * @file
 * An input of a fuzzer, read from its front to its end. What lies behind the end reads as 0.
 *
 * Seeds are written in the same terms by make_seeds.py.
 */
#ifndef MCADAPT_FUZZ_INPUT_H
#define MCADAPT_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <vector>

namespace mcadapt::fuzz {

class Input {
public:
    Input(const uint8_t *data, std::size_t size) : at_(data), end_(data + size) {}

    std::size_t left() const { return static_cast<std::size_t>(end_ - at_); }
    bool more() const { return at_ != end_; }

    uint8_t byte() { return more() ? *at_++ : uint8_t{0}; }
    bool flag() { return (byte() & 1) != 0; }
    /** Low byte first, as all longer numbers. */
    uint16_t word()
    {
        const unsigned low = byte();
        return static_cast<uint16_t>(low | static_cast<unsigned>(byte()) << 8);
    }
    uint32_t raw32()
    {
        const uint32_t low = word();
        return low | static_cast<uint32_t>(word()) << 16;
    }

    /** A number in one byte when it is small or one of those at which things change; 0xFF stands before any other. */
    uint32_t number()
    {
        static constexpr uint32_t kSpecial[] = {
            224,        255,        256,        999,        1024,       1518,       1519,       2000,
            2001,       2048,       4088,       4094,       4095,       4096,       0x64C8,     0x8100,
            0x8864,     0xA0C8,     0xFFFD,     0xFFFE,     0xFFFF,     0x10000,    0xE0000001, 0xE0000116,
            0xE8010203, 0xEF010101, 0xEF010203, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF};
        static_assert(std::size(kSpecial) == 0xFF - kFirstSpecial);
        const uint8_t first = byte();
        if (first < kFirstSpecial)
            return first;
        return first == 0xFF ? raw32() : kSpecial[first - kFirstSpecial];
    }
    uint16_t number16() { return static_cast<uint16_t>(number()); }
    uint8_t number8() { return static_cast<uint8_t>(number()); }

    /** `size` bytes in memory of just that size. */
    std::vector<uint8_t> bytes(std::size_t size)
    {
        std::vector<uint8_t> taken(size);
        const std::size_t there = std::min(size, left());
        if (there > 0)
            std::memcpy(taken.data(), at_, there);
        at_ += there;
        return taken;
    }

    /** The next bytes as an input of their own: as many as there are, at most `size`. */
    Input part(std::size_t size)
    {
        const Input taken(at_, std::min(size, left()));
        at_ += taken.left();
        return taken;
    }

private:
    static constexpr uint8_t kFirstSpecial = 0xE0;

    const uint8_t *at_;
    const uint8_t *end_;
};

} // namespace mcadapt::fuzz

#endif
