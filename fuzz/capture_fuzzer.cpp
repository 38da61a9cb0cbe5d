// The reader of captures, and what looks at a captured frame first: the switch and the texts of the timeline.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/expect.h"
#include "fuzz/fuzzer.h"
#include "fuzz/input.h"
#include "host/program/named_groups.h"
#include "host/program/text.h"
#include "host/switch/capture_reader.h"
#include "host/switch/switch.h"

using namespace mcadapt::fuzz;
using namespace mcadapt::host;

namespace {

/** A file in memory, with a name of its own as long as it exists. */
class MemoryFile {
public:
    explicit MemoryFile(const std::vector<uint8_t> &bytes) : file_(memfd_create("capture", 0))
    {
        FUZZ_EXPECT(file_ >= 0, "there is memory for a capture");
        for (std::size_t at = 0; at < bytes.size();) {
            const ssize_t written = write(file_, bytes.data() + at, bytes.size() - at);
            FUZZ_EXPECT(written > 0, "a capture can be written");
            at += static_cast<std::size_t>(written);
        }
    }
    ~MemoryFile() { close(file_); }
    MemoryFile(const MemoryFile &) = delete;
    MemoryFile &operator=(const MemoryFile &) = delete;

    std::string name() const { return "/proc/self/fd/" + std::to_string(file_); }

private:
    int file_;
};

/** Takes what leaves the switch: all of it is there, and it is the frame that arrived. */
class Sink final : public FrameSink {
public:
    void leave(uint32_t port, Bytes frame, std::size_t wire_size) override
    {
        FUZZ_EXPECT(port <= kHighestPort && wire_size >= frame.size, "a frame leaves through a port");
        digest.number(port);
        digest.bytes(frame.data, frame.size);
    }

    Digest digest;
};

struct Unit {
    ReplayClock clock;
    Observer observer;
    Sink sink;
    Switch the_switch{clock, observer, sink, {0, 1, 29}};
};

// Of packets that are cut short, and of any that the engine takes.
void name_groups(Bytes frame, const FrameView &view)
{
    if (view.ip_offset == 0 || view.ip_offset > frame.size)
        return;
    const Bytes packet = {frame.data + view.ip_offset, frame.size - view.ip_offset};
    std::vector<NamedGroup> groups;
    for (const Family family : {Family::kIgmp, Family::kMld}) {
        find_named_groups(family, packet, groups);
        FUZZ_EXPECT(groups.size() <= packet.size / 8, "each group that is named stands in the packet");
        for (const NamedGroup &group : groups)
            static_cast<void>(group_text(group.group));
    }
}

void look_at(const CapturedFrame &captured, Unit &unit)
{
    // A copy of just its size: the capture's own buffer goes on behind it.
    const auto bytes = std::make_unique<uint8_t[]>(captured.bytes.size);
    if (captured.bytes.size > 0)
        std::memcpy(bytes.get(), captured.bytes.data, captured.bytes.size);
    const Bytes frame = {bytes.get(), captured.bytes.size};
    const FrameView view = view_frame(frame);
    FUZZ_EXPECT(view.vlan <= 0x0FFF, "a VLAN id has 12 bits");
    FUZZ_EXPECT(view.kind == FrameKind::kTruncated || view.ip_offset <= frame.size, "a header lies in its frame");
    name_groups(frame, view);
    unit.sink.digest.text(tags_text(frame));
    unit.sink.digest.text(seconds_text(captured.at));
    unit.clock.advance_to(captured.at);
    if (unit.the_switch.arrive(captured.port, frame, captured.wire_size))
        FUZZ_EXPECT(frame.size <= kDriverBufferBytes && view.ip_end <= frame.size, "what is trapped is whole");
}

void add_entries(Unit &unit, Input &input)
{
    for (unsigned i = input.byte() % 4u; i > 0; --i) {
        const std::vector<uint8_t> mac = input.bytes(6);
        const auto port = static_cast<int32_t>(input.byte() % 32u) - 1;
        unit.the_switch.add_entry(port, mac.data(), input.word());
    }
}

struct Result {
    uint64_t frames = 0;
    std::string end; // of an error, if there was one
    uint64_t digest = 0;
};

void read_all(CaptureReader &reader, Unit &unit, std::size_t bytes, Result &result)
{
    CapturedFrame frame;
    while (reader.next(frame)) {
        FUZZ_EXPECT(++result.frames <= bytes, "a capture has an end");
        FUZZ_EXPECT(frame.port <= kHighestPort, "a frame arrived on a port");
        FUZZ_EXPECT(frame.at >= Time{0} && frame.at < std::chrono::seconds(int64_t{1} << 32), "a time is one");
        look_at(frame, unit);
    }
    FUZZ_EXPECT(reader.read_bytes() <= reader.total_bytes(), "no more is read than there is");
}

// The input: how the files are to be read, the entries of the switch, the length of the first file, the files.
Result read_captures(const uint8_t *data, size_t size)
{
    static const char *const kFilters[] = {"ether src 02:00:00:00:00:02", "vlan 200", "greater 100", "igmp or icmp6"};
    Input input(data, size);
    const unsigned how = input.byte();
    Unit unit;
    unit.the_switch.set_trap(0, how & 1);
    unit.the_switch.set_trap(1, how & 1);
    unit.the_switch.set_flood(0, how >> 1 & 1);
    add_entries(unit, input);
    const std::size_t first_size = (how & 4) != 0 ? input.raw32() : input.left();
    const MemoryFile first(input.bytes(std::min(first_size, input.left())));
    const MemoryFile second(input.bytes(input.left()));
    Result result;
    try {
        CaptureReader reader;
        if ((how & 8) != 0)
            reader.add_both_sides(first.name(), 0, kFilters[how >> 6]);
        else
            reader.add(first.name(), 0);
        if ((how & 4) != 0)
            reader.add(second.name(), 29);
        read_all(reader, unit, size, result);
    } catch (const CaptureError &error) {
        result.end = error.what();
        FUZZ_EXPECT(result.end.rfind("/proc/self/fd/", 0) == 0, "a refusal names the file");
    }
    result.digest = unit.sink.digest.value();
    return result;
}

} // namespace

int LLVMFuzzerInitialize(int *, char ***) { return 0; }

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const Result first = read_captures(data, size);
    const Result second = read_captures(data, size);
    FUZZ_EXPECT(first.frames == second.frames && first.digest == second.digest, "equal inputs do the same");
    return 0;
}
