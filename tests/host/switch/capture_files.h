/**
 * @file
 * Capture files for tests, written byte by byte so that they can be wrong.
 */
#ifndef MCADAPT_TESTS_HOST_SWITCH_CAPTURE_FILES_H
#define MCADAPT_TESTS_HOST_SWITCH_CAPTURE_FILES_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace mcadapt::host::test {

/** Bytes of a capture in the making, little-endian. */
class CaptureBytes {
public:
    static constexpr uint32_t kMicroseconds = 0xA1B2C3D4;
    static constexpr uint32_t kNanoseconds = 0xA1B23C4D;

    CaptureBytes &u16(uint32_t value)
    {
        bytes_ += static_cast<char>(value);
        bytes_ += static_cast<char>(value >> 8);
        return *this;
    }
    CaptureBytes &u32(uint32_t value) { return u16(value).u16(value >> 16); }
    CaptureBytes &raw(const std::string &bytes)
    {
        bytes_ += bytes;
        return *this;
    }

    CaptureBytes &pcap_header(uint32_t magic, uint32_t link_type = 1)
    {
        return u32(magic).u16(2).u16(4).u32(0).u32(0).u32(65535).u32(link_type);
    }
    CaptureBytes &pcap_frame(uint32_t seconds, uint32_t fraction, const std::string &frame, uint32_t more_on_wire = 0)
    {
        const auto size = static_cast<uint32_t>(frame.size());
        return u32(seconds).u32(fraction).u32(size).u32(size + more_on_wire).raw(frame);
    }

    CaptureBytes &pcapng_header()
    {
        return u32(0x0A0D0D0A).u32(28).u32(0x1A2B3C4D).u16(1).u16(0).u32(~0u).u32(~0u).u32(28);
    }
    /** An interface whose times count 10^-digits of a second. */
    CaptureBytes &pcapng_interface(uint32_t link_type, uint32_t digits)
    {
        return u32(1).u32(32).u16(link_type).u16(0).u32(65535).u16(9).u16(1).u32(digits).u16(0).u16(0).u32(32);
    }
    CaptureBytes &pcapng_frame(uint64_t time, const std::string &frame)
    {
        const auto size = static_cast<uint32_t>(frame.size());
        const uint32_t padding = (4 - size % 4) % 4;
        const uint32_t block = 32 + size + padding;
        u32(6).u32(block).u32(0).u32(static_cast<uint32_t>(time >> 32)).u32(static_cast<uint32_t>(time));
        return u32(size).u32(size).raw(frame).raw(std::string(padding, '\0')).u32(block);
    }

    const std::string &bytes() const { return bytes_; }

private:
    std::string bytes_;
};

/** A directory of its own for each test. */
class CaptureTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::string name = (std::filesystem::temp_directory_path() / "mcadapt-captures-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        directory = name;
    }
    void TearDown() override { std::filesystem::remove_all(directory); }

    std::string path(const std::string &name) const { return (directory / name).string(); }

    std::string write(const std::string &name, const std::string &bytes) const
    {
        std::ofstream(path(name), std::ios::binary) << bytes;
        return path(name);
    }
    std::string write(const std::string &name, const CaptureBytes &capture) const
    {
        return write(name, capture.bytes());
    }

    std::string read(const std::string &name) const
    {
        std::ifstream input(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(input), {}};
    }

    std::filesystem::path directory;
};

} // namespace mcadapt::host::test

#endif
