#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "host/engine/engine.h"
#include "host/ports.h"
#include "tests/host/engine/wire.h"

namespace mcadapt::host {
namespace {

using namespace std::chrono_literals;

/** A clock that one thread moves while others read it. */
class SharedClock final : public Clock {
public:
    Time now() const override { return Time(now_.load()); }
    void advance(Duration by) { now_ += by.count(); }

private:
    std::atomic<Time::rep> now_{0};
};

/** The library's side. Nothing but the engine's lock guards it: all callbacks run inside. */
struct Callbacks {
    Engine *engine = nullptr;
    std::thread::id running_on;
    int depth = 0;
    int overlapped = 0;
    int64_t entries = 0;
    uint64_t added = 0;
    uint64_t sent = 0;
};
Callbacks callbacks;

/** One callback, from its begin to its end. */
class Inside {
public:
    Inside()
    {
        if (callbacks.depth++ > 0 && callbacks.running_on != std::this_thread::get_id())
            ++callbacks.overlapped;
        callbacks.running_on = std::this_thread::get_id();
        callbacks.engine->group_count(Family::kIgmp); // the lock may be taken again
    }
    ~Inside() { --callbacks.depth; }
    Inside(const Inside &) = delete;
    Inside &operator=(const Inside &) = delete;
};

int32_t add(const mcGroupRecord *)
{
    const Inside inside;
    ++callbacks.entries;
    ++callbacks.added;
    return 0;
}

int32_t remove(const mcGroupRecord *)
{
    const Inside inside;
    --callbacks.entries;
    return 0;
}

int32_t send(const uint8_t *, uint32_t, mcTagDescriptor *, uint32_t)
{
    const Inside inside;
    ++callbacks.sent;
    return 0;
}

class EngineThreads : public ::testing::Test {
protected:
    static constexpr int kRounds = 1500;
    static constexpr uint32_t kVlan = 100;
    SharedClock clock_;
    Observer observer_;
    Engine engine_{clock_, observer_};

    void SetUp() override
    {
        callbacks = {};
        callbacks.engine = &engine_;
        for (const Family family : {Family::kIgmp, Family::kMld}) {
            engine_.reset(family);
            engine_.register_add(family, add);
            engine_.register_remove(family, remove);
            engine_.register_send(family, send);
            engine_.declare_port(family, kUserPort);
            engine_.declare_port(family, kUplinkPort);
            engine_.add_vlan(family, kVlan);
        }
    }

    void send_packets();
    void operate();
    void run_timers(const std::atomic<int> &workers);
};

// Groups with forwarding entries of their own: no two share a MAC address.
void EngineThreads::send_packets()
{
    const struct {
        Family family;
        wire::Bytes packet;
    } packets[] = {{Family::kIgmp, wire::join(Family::kIgmp, 2, "239.1.1.1")},
                   {Family::kMld, wire::report(Family::kMld, {{wire::kToEx, "ff1e::1"}})},
                   {Family::kIgmp, wire::report(Family::kIgmp, {{wire::kAllow, "232.1.1.2", {"10.9.0.1"}}})},
                   {Family::kIgmp, wire::leave(Family::kIgmp, "239.1.1.1")},
                   {Family::kMld, wire::join(Family::kMld, 1, "ff1e::2")},
                   {Family::kMld, wire::leave(Family::kMld, "ff1e::2")}};
    for (int round = 0; round < kRounds; ++round)
        for (const auto &p : packets)
            engine_.receive(p.family, p.packet.data(), static_cast<uint32_t>(p.packet.size()), kUserPort, kVlan);
}

// As management agents do, and as somebody who looks at the engine from outside.
void EngineThreads::operate()
{
    uint8_t buffer[MC_ENGINE_GROUP_BUFFER_BYTES];
    for (int round = 0; round < kRounds; ++round) {
        engine_.set_mode(Family::kIgmp, round % 3 == 0 ? Mode::kProxy : Mode::kSnooping);
        engine_.set_mode(Family::kMld, round % 5 == 0 ? Mode::kProxy : Mode::kSnooping);
        engine_.set_port_fast_leave(kUserPort, round & 1);
        engine_.add_static(kUserPort, kVlan, 7, 0);
        engine_.gather_groups(kAnyPort, sizeof buffer, buffer);
        const Counters counters = engine_.counters(Family::kIgmp);
        EXPECT_LE(counters.accepted, counters.received);
        EXPECT_LE(engine_.groups(Family::kMld).size(), 2u);
        EXPECT_GE(engine_.next_timer(), Time(0));
        engine_.remove_static(kUserPort, kVlan, 7, 0);
        if (round % 50 == 0)
            engine_.remove_all_groups(true);
    }
}

// Until the others are done, and then until every membership has run out.
void EngineThreads::run_timers(const std::atomic<int> &workers)
{
    const auto step = [this] {
        clock_.advance(100ms);
        engine_.run_timers();
    };
    while (workers > 0)
        step();
    for (Duration passed{0}; passed < 300s; passed += 100ms)
        step();
}

TEST_F(EngineThreads, packets_operations_and_timers_share_the_engine)
{
    std::atomic<int> workers{2};
    std::thread timers([&] { run_timers(workers); });
    std::thread packets([&] {
        send_packets();
        --workers;
    });
    operate();
    --workers;
    packets.join();
    timers.join();

    EXPECT_GT(callbacks.added, 0u);
    EXPECT_GT(callbacks.sent, 0u) << "last-member queries, if nothing else";
    EXPECT_EQ(callbacks.overlapped, 0);
    EXPECT_EQ(callbacks.depth, 0);
    EXPECT_EQ(callbacks.entries, 0) << "each entry went with its last membership";
    EXPECT_EQ(engine_.group_count(Family::kIgmp) + engine_.group_count(Family::kMld), 0u);
}

} // namespace
} // namespace mcadapt::host
