/**
 * @file
 * Captures as input: pcap and pcapng files, merged by time.
 */
#ifndef MCADAPT_HOST_SWITCH_CAPTURE_READER_H
#define MCADAPT_HOST_SWITCH_CAPTURE_READER_H

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/clock.h"
#include "host/observer.h"

namespace mcadapt::host {

/** A capture that cannot be used; the text names the file and the reason. */
class CaptureError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** One frame of a capture. */
struct CapturedFrame {
    Time at{0};
    uint32_t port = 0;
    Bytes bytes{nullptr, 0}; /**< Valid until the next frame is read. */
    std::size_t wire_size = 0;
};

/**
 * Some captures read as one, in the order of time; of frames of the same time, the file given first comes first. The
 * frames of one file stay in its order, even where its times go back. "-" is the standard input.
 */
class CaptureReader {
public:
    CaptureReader();
    ~CaptureReader();
    CaptureReader(const CaptureReader &) = delete;
    CaptureReader &operator=(const CaptureReader &) = delete;

    /** A file whose frames all arrived on one port. Throws `CaptureError`, also for other frames than of Ethernet. */
    void add(const std::string &file, uint32_t port);

    /**
     * A file of both sides: frames that the filter expression matches arrived on the uplink, all others on `port`.
     * Throws `CaptureError`, also for an expression that libpcap does not take.
     */
    void add_both_sides(const std::string &file, uint32_t port, const std::string &uplink_filter);

    /**
     * @return False at the end of all files. Throws `CaptureError`, once all whole frames before it were given, for a
     *         file that ends in the middle of a frame; the next call goes on with the other files.
     */
    bool next(CapturedFrame &frame);

    /** Bytes of all files, and how many of them have been read: for a progress bar. */
    uint64_t total_bytes() const;
    uint64_t read_bytes() const;

private:
    class File;
    std::vector<std::unique_ptr<File>> files_;
    File *current_ = nullptr;
};

} // namespace mcadapt::host

#endif
