#include "host/switch/capture_writer.h"

#include <pcap/pcap.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

#include "host/switch/capture_reader.h"

namespace mcadapt::host {

namespace {

constexpr int kSnapLength = 262144; // the longest frame that libpcap reads
constexpr std::size_t kBufferBytes = std::size_t{1} << 18;

struct CloseCapture {
    void operator()(pcap_t *capture) const { pcap_close(capture); }
};
struct CloseDumper {
    void operator()(pcap_dumper_t *dumper) const { pcap_dump_close(dumper); }
};

std::string file_name(const std::string &directory, uint32_t port)
{
    return directory + (port == kUplinkPort ? "/uplink.pcap" : "/port" + std::to_string(port) + ".pcap");
}

} // namespace

class CaptureWriter::File {
public:
    explicit File(std::string name) : name_(std::move(name)), buffer_(kBufferBytes)
    {
        capture_.reset(pcap_open_dead_with_tstamp_precision(DLT_EN10MB, kSnapLength, PCAP_TSTAMP_PRECISION_NANO));
        std::FILE *stream = std::fopen(name_.c_str(), "wb");
        if (stream == nullptr)
            fail(std::generic_category().message(errno));
        std::setvbuf(stream, buffer_.data(), _IOFBF, buffer_.size());
        dumper_.reset(pcap_dump_fopen(capture_.get(), stream));
        if (dumper_ == nullptr)
            fail(pcap_geterr(capture_.get()));
    }

    void write(Time at, Bytes frame, std::size_t wire_size)
    {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(at);
        pcap_pkthdr header = {};
        header.ts.tv_sec = seconds.count();
        header.ts.tv_usec = (at - seconds).count(); // nanoseconds, as the file says
        header.caplen = static_cast<bpf_u_int32>(frame.size);
        header.len = static_cast<bpf_u_int32>(wire_size);
        pcap_dump(reinterpret_cast<u_char *>(dumper_.get()), &header, frame.data);
    }

    void flush()
    {
        errno = 0;
        if (pcap_dump_flush(dumper_.get()) == 0 && std::ferror(pcap_dump_file(dumper_.get())) == 0)
            return;
        fail(errno == 0 ? "not every frame was taken" : std::generic_category().message(errno));
    }

private:
    [[noreturn]] void fail(const std::string &why) const { throw CaptureError(name_ + ": cannot be written: " + why); }

    std::string name_;
    std::vector<char> buffer_; // outlives the stream
    std::unique_ptr<pcap_t, CloseCapture> capture_;
    std::unique_ptr<pcap_dumper_t, CloseDumper> dumper_;
};

CaptureWriter::CaptureWriter(const Clock &clock, const std::string &directory, const std::vector<uint32_t> &ports)
    : clock_(clock)
{
    for (const uint32_t port : ports)
        files_.at(port) = std::make_unique<File>(file_name(directory, port));
}

CaptureWriter::~CaptureWriter() = default;

void CaptureWriter::leave(uint32_t port, Bytes frame, std::size_t wire_size)
{
    if (port < files_.size() && files_[port] != nullptr)
        files_[port]->write(clock_.now(), frame, wire_size);
}

void CaptureWriter::flush()
{
    for (const std::unique_ptr<File> &file : files_)
        if (file != nullptr)
            file->flush();
}

} // namespace mcadapt::host
