#include "host/switch/capture_reader.h"

#include <pcap/pcap.h>

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>
#include <system_error>
#include <utility>

#include "host/switch/switch.h"

namespace mcadapt::host {

namespace {

constexpr std::size_t kBufferBytes = std::size_t{1} << 18;

struct CloseStream {
    void operator()(std::FILE *stream) const
    {
        if (stream != stdin)
            std::fclose(stream);
    }
};
struct CloseCapture {
    void operator()(pcap_t *capture) const { pcap_close(capture); }
};
using Stream = std::unique_ptr<std::FILE, CloseStream>;
using Capture = std::unique_ptr<pcap_t, CloseCapture>;

// A pcap file, and so the output, holds seconds in 32 bits without a sign; libpcap reads them with one.
int64_t seconds_of(const timeval &stamp)
{
    const int64_t seconds = stamp.tv_sec;
    return seconds < 0 && seconds >= INT32_MIN ? seconds + (int64_t{1} << 32) : seconds;
}

Time time_of(const timeval &stamp)
{
    // Opened with nanosecond precision: tv_usec holds nanoseconds, in a damaged file any number of them.
    return std::chrono::seconds(seconds_of(stamp)) + std::chrono::nanoseconds(stamp.tv_usec);
}

bool is_time(const timeval &stamp)
{
    constexpr Time kEnd = std::chrono::seconds(int64_t{1} << 32);
    const int64_t seconds = seconds_of(stamp);
    if (seconds < 0 || seconds > UINT32_MAX)
        return false; // beyond what can be counted in nanoseconds
    const Time at = time_of(stamp);
    return at >= Time{0} && at < kEnd;
}

} // namespace

/** One file with the frame that it gives next. */
class CaptureReader::File {
public:
    File(std::string name, uint32_t port) : name_(std::move(name)), port_(port), buffer_(kBufferBytes)
    {
        open();
        const int link = pcap_datalink(capture_.get());
        if (link == DLT_EN10MB)
            return;
        const char *link_name = pcap_datalink_val_to_name(link);
        fail("holds frames of link type " + (link_name == nullptr ? std::to_string(link) : std::string(link_name)) +
             ", not Ethernet");
    }

    ~File()
    {
        if (filtered_)
            pcap_freecode(&uplink_);
    }
    File(const File &) = delete;
    File &operator=(const File &) = delete;

    void set_uplink_filter(const std::string &expression)
    {
        if (pcap_compile(capture_.get(), &uplink_, expression.c_str(), 1, PCAP_NETMASK_UNKNOWN) != 0)
            fail("filter '" + expression + "': " + pcap_geterr(capture_.get()));
        filtered_ = true;
    }

    // Reads the next frame; at the end of the file there is none.
    void advance()
    {
        pcap_pkthdr *header = nullptr;
        const u_char *bytes = nullptr;
        const int got = pcap_next_ex(capture_.get(), &header, &bytes);
        has_frame_ = false;
        if (got == PCAP_ERROR)
            fail("frame " + std::to_string(frames_ + 1) + ": " + pcap_geterr(capture_.get()));
        if (got != 1)
            return;
        ++frames_;
        if (!is_time(header->ts))
            fail("frame " + std::to_string(frames_) + ": its time is not between 1970 and 2106");
        has_frame_ = true;
        const bool uplink = filtered_ && pcap_offline_filter(&uplink_, header, bytes) != 0;
        frame_ = {time_of(header->ts), uplink ? kUplinkPort : port_, {bytes, header->caplen}, header->len};
    }

    bool has_frame() const { return has_frame_; }
    const CapturedFrame &frame() const { return frame_; }
    uint64_t size() const { return size_; }

    uint64_t position() const
    {
        const off_t at = ftello(pcap_file(capture_.get()));
        return at < 0 ? size_ : static_cast<uint64_t>(at);
    }

private:
    void open()
    {
        Stream stream(name_ == "-" ? stdin : std::fopen(name_.c_str(), "rb"));
        if (stream == nullptr)
            fail(std::generic_category().message(errno));
        measure(stream.get());
        if (stream.get() != stdin) // which outlives the buffer
            std::setvbuf(stream.get(), buffer_.data(), _IOFBF, buffer_.size());
        char why[PCAP_ERRBUF_SIZE] = "";
        capture_.reset(pcap_fopen_offline_with_tstamp_precision(stream.get(), PCAP_TSTAMP_PRECISION_NANO, why));
        if (capture_ == nullptr)
            fail(why);
        static_cast<void>(stream.release()); // libpcap's from now on
    }

    void measure(std::FILE *stream)
    {
        struct stat status = {};
        if (fstat(fileno(stream), &status) != 0 || !S_ISREG(status.st_mode))
            return;
        if (status.st_size == 0)
            fail("is empty: expected a pcap or pcapng file");
        size_ = static_cast<uint64_t>(status.st_size);
    }

    [[noreturn]] void fail(const std::string &why) const { throw CaptureError(name_ + ": " + why); }

    std::string name_;
    uint32_t port_;
    std::vector<char> buffer_; // outlives the stream
    Capture capture_;
    bpf_program uplink_{};
    bool filtered_ = false;
    bool has_frame_ = false;
    uint64_t frames_ = 0;
    CapturedFrame frame_;
    uint64_t size_ = 0;
};

CaptureReader::CaptureReader() = default;
CaptureReader::~CaptureReader() = default;

void CaptureReader::add(const std::string &file, uint32_t port)
{
    auto one_side = std::make_unique<File>(file, port);
    one_side->advance();
    files_.push_back(std::move(one_side));
}

void CaptureReader::add_both_sides(const std::string &file, uint32_t port, const std::string &uplink_filter)
{
    auto both = std::make_unique<File>(file, port);
    both->set_uplink_filter(uplink_filter);
    both->advance();
    files_.push_back(std::move(both));
}

bool CaptureReader::next(CapturedFrame &frame)
{
    // The frame given last is done with only now: its bytes live in its file's buffer.
    File *const given = std::exchange(current_, nullptr);
    if (given != nullptr)
        given->advance();
    for (const std::unique_ptr<File> &file : files_)
        if (file->has_frame() && (current_ == nullptr || file->frame().at < current_->frame().at))
            current_ = file.get();
    if (current_ == nullptr)
        return false;
    frame = current_->frame();
    return true;
}

uint64_t CaptureReader::total_bytes() const
{
    uint64_t total = 0;
    for (const std::unique_ptr<File> &file : files_)
        total += file->size();
    return total;
}

uint64_t CaptureReader::read_bytes() const
{
    uint64_t read = 0;
    for (const std::unique_ptr<File> &file : files_)
        read += file->position();
    return read;
}

} // namespace mcadapt::host
