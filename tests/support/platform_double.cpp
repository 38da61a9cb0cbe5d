#include "support/platform_double.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "mcadapt/packet_path.h"
#include "support/observe.h"
#include "support/platform_names.h"

namespace mcadapt::test {

namespace {

template <class T> void append_host_order(ByteVector &bytes, T value)
{
    uint8_t raw[sizeof value];
    std::memcpy(raw, &value, sizeof value);
    bytes.insert(bytes.end(), raw, raw + sizeof value);
}

} // namespace

PlatformDouble &platform()
{
    static PlatformDouble instance;
    return instance;
}

PlatformDouble::Script &PlatformDouble::script(std::string_view call)
{
    if (!is_platform_call(call))
        throw std::invalid_argument("not a platform call: " + std::string(call));
    return scripts_[std::string(call)];
}

void PlatformDouble::answers(std::string_view call, std::vector<int32_t> results)
{
    Script &target = script(call);
    target.results = std::move(results);
    target.next = 0;
}

void PlatformDouble::on(std::string_view call, std::function<void()> action)
{
    script(call).action = std::move(action);
}

void PlatformDouble::deliver(ByteVector frame, uint8_t port)
{
    const auto length = static_cast<uint32_t>(frame.size());
    deliver(std::move(frame), port, length);
}

void PlatformDouble::deliver(ByteVector frame, uint8_t port, uint32_t length)
{
    frames_.push_back({std::move(frame), port, length});
}

void PlatformDouble::gather(const std::vector<GatheredGroup> &groups)
{
    gather(groups, static_cast<uint32_t>(groups.size()));
}

void PlatformDouble::gather(const std::vector<GatheredGroup> &groups, uint32_t count)
{
    gathered_groups.clear();
    append_host_order(gathered_groups, count);
    for (const GatheredGroup &group : groups) {
        append_host_order(gathered_groups, group.vlanId);
        append_host_order(gathered_groups, group.infoB);
        append_host_order(gathered_groups, group.groupAddress);
        append_host_order(gathered_groups, group.infoD);
        append_host_order(gathered_groups, group.infoE);
        append_host_order(gathered_groups, group.infoF);
        append_host_order(gathered_groups, group.infoG);
        append_host_order(gathered_groups, group.userPort);
    }
}

std::size_t PlatformDouble::count(std::string_view call) const
{
    if (!is_platform_call(call))
        throw std::invalid_argument("not a platform call: " + std::string(call));
    const auto found = counts_.find(call);
    return found == counts_.end() ? 0 : found->second;
}

void PlatformDouble::forget_calls()
{
    calls_.clear();
    counts_.clear();
    sent.clear();
    engine_packets.clear();
    time_record.clear();
    gather_buffer.clear();
}

int32_t PlatformDouble::read_message(uint8_t *frame, uint8_t *port, uint32_t *length)
{
    const int32_t result = called_or(0, "L2_multicast_read_msg");
    if (result != 0)
        return result;
    if (frames_.empty())
        return 1;
    const QueuedFrame &next = frames_.front();
    std::memcpy(frame, next.bytes.data(), std::min<std::size_t>(next.bytes.size(), 2048));
    *port = next.port;
    *length = next.length;
    frames_.pop_front();
    return 0;
}

void PlatformDouble::record(const char *name, std::string line)
{
    note_call(line);
    calls_.push_back(std::move(line));
    ++counts_[name];
}

void PlatformDouble::run_action(const char *name)
{
    const auto found = scripts_.find(name);
    if (found == scripts_.end() || !found->second.action)
        return;
    const std::function<void()> action = found->second.action; // a copy: the action may set another one
    action();
}

int32_t PlatformDouble::next_result(const char *name, int32_t unscripted)
{
    const auto found = scripts_.find(name);
    if (found == scripts_.end() || found->second.results.empty())
        return unscripted;
    Script &target = found->second;
    const int32_t result = target.results[target.next];
    if (target.next + 1 < target.results.size())
        ++target.next;
    return result;
}

void PlatformDouble::leave_at(std::jmp_buf *target, std::function<bool(std::string_view)> due)
{
    exit_ = target;
    exit_due_ = std::move(due);
}

void PlatformDouble::leave_if_due(const char *name)
{
    if (exit_ != nullptr && exit_due_(name))
        std::longjmp(*std::exchange(exit_, nullptr), 1);
}

namespace {

bool run_until_due(std::function<bool(std::string_view)> due, const std::function<void()> &operation)
{
    std::jmp_buf here;
    platform().leave_at(&here, std::move(due));
    if (setjmp(here) != 0)
        return true;
    operation();
    platform().leave_at(nullptr, nullptr);
    return false;
}

} // namespace

bool run_until(std::string_view call, int count, const std::function<void()> &operation)
{
    if (!is_platform_call(call))
        throw std::invalid_argument("not a platform call: " + std::string(call));
    int left = count;
    return run_until_due([&](std::string_view made) { return made == call && --left <= 0; }, operation);
}

bool run_receive_task()
{
    return run_until_due([](std::string_view made) { return made == "sleep" && !platform().frames_left(); },
                         igmp_adapt_pkt_recv_task);
}

} // namespace mcadapt::test
