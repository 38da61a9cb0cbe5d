/**
 * @file
 * Captures as output: one pcap file for each port, written as frames leave it.
 */
#ifndef MCADAPT_HOST_SWITCH_CAPTURE_WRITER_H
#define MCADAPT_HOST_SWITCH_CAPTURE_WRITER_H

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "host/clock.h"
#include "host/switch/switch.h"

namespace mcadapt::host {

/**
 * Writes `portN.pcap`, the uplink's `uplink.pcap`, into a directory; a port through which nothing leaves too.
 *
 * Times are in nanoseconds. A frame that its capture had cut is written as cut, with its length on the wire.
 */
class CaptureWriter final : public FrameSink {
public:
    /** Creates the files. Throws `CaptureError`, and `std::out_of_range` for a port above `kHighestPort`. */
    CaptureWriter(const Clock &clock, const std::string &directory, const std::vector<uint32_t> &ports);
    ~CaptureWriter() override;
    CaptureWriter(const CaptureWriter &) = delete;
    CaptureWriter &operator=(const CaptureWriter &) = delete;

    void leave(uint32_t port, Bytes frame, std::size_t wire_size) override;

    /** Writes what is still held back. Throws `CaptureError` when the disk does not take it. */
    void flush();

private:
    class File;
    const Clock &clock_;
    std::array<std::unique_ptr<File>, kHighestPort + 1> files_;
};

/** Writes nothing. */
class NoCapture final : public FrameSink {
public:
    void leave(uint32_t, Bytes, std::size_t) override {}
};

} // namespace mcadapt::host

#endif
