// No frame of any length and content, in any mode and with any rules, makes the packet path read or write outside the
// 2048 bytes of the receive buffer or outside a record.
#include <climits>
#include <cstring>
#include <random>

#include "mode_handlers.h"
#include "support/guarded_buffer.h"

namespace mcadapt::test {
namespace {

using ::testing::AnyOf;
using ::testing::Each;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using Guard = GuardedBuffer::Guard;

constexpr uint32_t kLongestAccepted = 2000;
constexpr uint32_t kBufferBytes = FrameBuffer::kSize;

class GuardedBufferDeathTest : public ::testing::TestWithParam<Guard> {};

TEST_P(GuardedBufferDeathTest, ends_a_process_that_reads_or_writes_beside_it)
{
    GuardedBuffer buffer(counting_frame(kBufferBytes), GetParam());
    volatile uint8_t *const beside = buffer.data() + (GetParam() == Guard::kBehind ? std::ptrdiff_t{2048} : -1);
    EXPECT_DEATH(*buffer.data() = *beside, ""); // stored, or valgrind leaves the read out
    EXPECT_DEATH(*beside = 1, "");
    EXPECT_TRUE(buffer.surroundings_intact());
    buffer.data()[GetParam() == Guard::kBehind ? std::ptrdiff_t{-1} : std::ptrdiff_t{2048}] = 1;
    EXPECT_FALSE(buffer.surroundings_intact());
}

INSTANTIATE_TEST_SUITE_P(, GuardedBufferDeathTest, ::testing::Values(Guard::kBehind, Guard::kBefore));

// --- Ways into the packet path

struct Entry {
    const char *name;
    bool mld;
    uint8_t mode;
    Handler handler; // null: by way of the intake
};

const Entry kEntries[] = {
    {"IGMP snooping", false, 1, nullptr},
    {"IGMP proxy", false, 2, nullptr},
    {"IGMP control", false, 3, nullptr},
    {"MLD snooping", true, 2, nullptr},
    {"MLD without forwarding", true, 1, nullptr},
    {"MLD control", true, 3, nullptr},
    {"IGMP snooping handler", false, 1, igmp_adapt_snoop_handle},
    {"IGMP control handler", false, 3, igmp_adapt_control_handle},
    {"MLD snooping handler", true, 2, mld_adapt_snoop_handle},
    {"MLD control handler", true, 3, mld_adapt_control_handle},
};

/** Hands what lies in the buffer to the packet path. @return Of the intake; 0 of a handler. */
int32_t enter(const Entry &entry, uint8_t *frame, uint32_t length, uint32_t port, uint32_t vlan)
{
    if (entry.handler != nullptr) {
        entry.handler(frame, port, length, vlan);
        return 0;
    }
    if (entry.mld)
        mldInitParams.multiMode = entry.mode;
    else
        proxy_adapt_mode = entry.mode;
    return (entry.mld ? mldL2PktProc : igmpL2PktProc)(frame, length, port);
}

// --- Buffers full of plausible headers: what a frame is too short for was left by one before

constexpr int kLayouts = 5;

struct Layout {
    ByteVector behind_addresses;
    uint16_t vlan;
};

const Layout &layout_of(int index)
{
    static const Layout layouts[kLayouts] = {
        {{}, 0},
        {{0x81, 0x00, 0xA0, 0x64}, 100},
        {{0x81, 0x00, 0xA0, 0x64, 0x81, 0x00, 0x60, 0x65}, 101},
        {{0x88, 0x64, 0x11, 0x00, 0x00, 0x01, 0x00, 0x22}, 0},
        {{0x81, 0x00, 0x88, 0x64, 0x11, 0x00, 0x00, 0x01}, 0x864},
    };
    return layouts[index];
}

ByteVector build_content(int layout, bool mld)
{
    ByteVector bytes = from_hex("01005e010203 001b21aabbcc");
    const ByteVector packet = mld ? mld_report("ff1e::1").packet() : igmp_report("225.1.2.3").packet();
    bytes =
        bytes + layout_of(layout).behind_addresses + (mld ? ByteVector{0x86, 0xDD} : ByteVector{0x08, 0x00}) + packet;
    const ByteVector tail = counting_frame(kBufferBytes);
    bytes.insert(bytes.end(), tail.begin() + static_cast<std::ptrdiff_t>(bytes.size()), tail.end());
    return bytes;
}

const ByteVector &buffer_content(int layout, bool mld)
{
    static const std::vector<ByteVector> contents = [] {
        std::vector<ByteVector> all;
        for (int i = 0; i < 2 * kLayouts; ++i)
            all.push_back(build_content(i % kLayouts, i >= kLayouts));
        return all;
    }();
    return contents[static_cast<std::size_t>(layout + (mld ? kLayouts : 0))];
}

// --- Shapes of the rules

struct Shape {
    const char *name;
    std::vector<uint16_t> tags; // of the rules that match
    uint8_t mode;               // for frames that nothing matches
    uint16_t override_vlan;
    bool second_port;
    int32_t count_told; // 0: as many as there are
};

const Shape kShapes[] = {
    {"no rules", {}, 4, 0xFFFF, false, 0},
    {"stripped by tag mode", {}, 1, 0xFFFF, true, 0},
    {"as they are", {}, 0, 0xFFFF, true, 0},
    {"a tag", {0x2064}, 4, 0xFFFF, false, 0},
    {"stripped", {0}, 4, 0xFFFF, false, 0},
    {"all kinds", {0, 0x2064, 0, 0xFFFF, 0x1000, 0}, 4, 0xFFFF, true, 0},
    {"all rules", {5, 0, 6, 0, 7, 8, 0, 9, 0xFFFF, 1, 2, 3, 0, 4, 5, 0}, 4, 0xFFFF, true, 0},
    {"a count outside the table", {7}, 0, 0xFFFF, true, INT_MAX},
    {"a count below zero", {7}, 1, 0xFFFF, true, INT_MIN},
    {"stripped by override", {5}, 4, 0, true, 0},
    {"tagged by override", {0}, 4, 0x3064, true, 0},
};

class HostileFrames : public ModeHandlerTest {
protected:
    static void put_shape(const Shape &shape, uint16_t vlan)
    {
        std::vector<vlanCfgNode> rules;
        for (const uint16_t tag : shape.tags)
            rules.push_back(rule(0).down_mode(shape.mode).up(vlan, tag).down(vlan, tag).data(300, 300));
        if (rules.empty() && shape.mode != 4)
            rules.push_back(rule(0).down_mode(shape.mode).up(999, 1).down(999, 1));
        for (int logic_port = 0; logic_port < MC_LOGIC_PORTS; ++logic_port) {
            put_rules(logic_port, rules);
            put_mld_rules(logic_port, rules);
            if (shape.count_told != 0)
                setVlanCfgNumber[logic_port] = mldInitParams.mldSetVlanCfgNumber[logic_port] = shape.count_told;
            globle_parm.port[logic_port].cvlan = shape.override_vlan;
            globle_parm.port[logic_port].svlan = shape.override_vlan;
        }
        if (shape.second_port)
            second_user_port_appears(3);
        else
            platform().on("L2_multicast_send_msg", nullptr);
    }

    static void put_start_ports() { put_ports({kUserPort, MC_PORT_TYPE_USER}, {kUplink, MC_PORT_TYPE_UPLINK}); }

    /** Each frame that was sent is as long as tags make it, and nothing was sent that the frame has no bytes for. */
    static void expect_plausible(const ByteVector &received, uint32_t length)
    {
        for (const SentFrame &sent : platform().sent) {
            const auto size = static_cast<uint32_t>(sent.bytes.size());
            ASSERT_THAT(size, AnyOf(length, length - 4, length + 4, length + 8));
            ASSERT_LE(size, kBufferBytes + 2 * 4) << "a whole buffer and two tags";
            ASSERT_TRUE(size == length || length >= (size < length ? 16u : 12u));
            const auto addresses = static_cast<std::ptrdiff_t>(std::min(size, 12u));
            ASSERT_TRUE(std::equal(sent.bytes.begin(), sent.bytes.begin() + addresses, received.begin()));
        }
    }

    static void expect_only_tag_written(GuardedBuffer &buffer, const ByteVector &received)
    {
        ASSERT_EQ(std::memcmp(received.data(), buffer.data(), 12), 0);
        ASSERT_EQ(std::memcmp(received.data() + 16, buffer.data() + 16, kBufferBytes - 16), 0);
        ASSERT_TRUE(buffer.surroundings_intact());
    }

    /** One frame through one entry; `received` is the content of the whole buffer. */
    static void pass(const Entry &entry, GuardedBuffer &buffer, const ByteVector &received, uint32_t length,
                     uint32_t port, uint32_t vlan)
    {
        put_start_ports();
        buffer.fill(received);
        enter(entry, buffer.data(), length, port, vlan);
        expect_only_tag_written(buffer, received);
        expect_plausible(received, length);
        platform().forget_calls();
    }

    /** The buffers in turn. */
    GuardedBuffer &next_buffer()
    {
        behind_is_next_ = !behind_is_next_;
        return behind_is_next_ ? behind_ : before_;
    }

    /** Expects that nothing but what the packet path may store has changed since. */
    static void expect_only_path_records_changed(const RecordSnapshot &before)
    {
        EXPECT_THAT(changed_fields(before, RecordSnapshot::take()),
                    Each(AnyOf(StartsWith("mldInitParams.outerTag."), StartsWith("mldInitParams.innerTag."),
                               "mldInitParams.mldSrcPortNum", "mldInitParams.multiMode", "srcPortNum", "ponVlan",
                               "proxy_adapt_mode")));
    }

    bool behind_is_next_ = false;
    GuardedBuffer behind_{counting_frame(kBufferBytes), Guard::kBehind};
    GuardedBuffer before_{counting_frame(kBufferBytes), Guard::kBefore};
};

TEST_F(HostileFrames, of_every_short_length_in_every_layout_with_all_rules_stay_inside)
{
    constexpr uint32_t kLongestHeaders = 40;
    for (int layout = 0; layout < kLayouts; ++layout) {
        const uint16_t vlan = layout_of(layout).vlan;
        for (const Shape &shape : kShapes) {
            SCOPED_TRACE("layout " + std::to_string(layout) + ", " + shape.name);
            put_shape(shape, vlan);
            put_start_ports();
            const auto before = RecordSnapshot::take();
            for (const Entry &entry : kEntries) {
                const ByteVector &content = buffer_content(layout, entry.mld);
                for (uint32_t length = 0; length <= kLongestHeaders && !HasFatalFailure(); ++length)
                    for (GuardedBuffer *buffer : {&behind_, &before_})
                        for (const uint32_t port : {kUserPort, kUplink})
                            pass(entry, *buffer, content, length, port, vlan);
            }
            put_start_ports();
            expect_only_path_records_changed(before);
        }
    }
}

TEST_F(HostileFrames, of_every_length_stay_inside)
{
    // Layout, rules, entry and port run through each other, so that every length sees something of each.
    const auto before = RecordSnapshot::take();
    std::size_t turn = 0;
    for (uint32_t length = 0; length <= kLongestAccepted && !HasFatalFailure(); ++length) {
        for (const Entry &entry : kEntries) {
            const auto layout = static_cast<int>(turn % kLayouts);
            const Shape &shape = kShapes[turn / 3 % std::size(kShapes)];
            SCOPED_TRACE(std::string(entry.name) + ", layout " + std::to_string(layout) + ", " + shape.name);
            put_shape(shape, layout_of(layout).vlan);
            const uint32_t port = turn / 7 % 2 == 0 ? kUserPort : kUplink;
            pass(entry, next_buffer(), buffer_content(layout, entry.mld), length, port, layout_of(layout).vlan);
            ++turn;
        }
    }
    put_shape(kShapes[0], 0);
    put_start_ports();
    put_rules(0, {});
    expect_only_path_records_changed(before);
}

TEST_F(HostileFrames, of_the_longest_lengths_stay_inside_in_every_layout_with_all_rules)
{
    for (const uint32_t length : {1518u, 1519u, kLongestAccepted - 1, kLongestAccepted}) {
        for (int layout = 0; layout < kLayouts && !HasFatalFailure(); ++layout) {
            for (const Shape &shape : kShapes) {
                SCOPED_TRACE("layout " + std::to_string(layout) + ", " + shape.name);
                put_shape(shape, layout_of(layout).vlan);
                for (const Entry &entry : kEntries)
                    for (const uint32_t port : {kUserPort, kUplink})
                        pass(entry, next_buffer(), buffer_content(layout, entry.mld), length, port,
                             layout_of(layout).vlan);
            }
        }
    }
}

TEST_F(HostileFrames, that_are_longer_than_intake_accepts_go_nowhere)
{
    for (const uint32_t length :
         {2001u, 2002u, 2047u, 2048u, 2049u, 4096u, 65535u, 65536u, 65596u, 0x80000000u, 0xFFFFFFFFu}) {
        for (const Entry &entry : kEntries) {
            if (entry.handler != nullptr)
                continue;
            SCOPED_TRACE(std::string(entry.name) + " " + std::to_string(length));
            put_shape(kShapes[3], 100);
            behind_.fill(buffer_content(1, entry.mld));
            for (const uint32_t port : {kUserPort, kUplink})
                EXPECT_EQ(enter(entry, behind_.data(), length, port, 100), 0);
            EXPECT_THAT(platform().calls(), IsEmpty());
        }
    }
}

TEST_F(HostileFrames, given_to_a_handler_longer_than_any_intake_gives_stay_inside)
{
    for (uint32_t length = kLongestAccepted + 1; length <= kBufferBytes && !HasFatalFailure(); ++length) {
        for (const Entry &entry : kEntries) {
            if (entry.handler == nullptr)
                continue;
            for (const Shape &shape : kShapes) {
                SCOPED_TRACE(std::string(entry.name) + ", " + shape.name);
                const auto layout = static_cast<int>(length % kLayouts);
                put_shape(shape, layout_of(layout).vlan);
                pass(entry, next_buffer(), buffer_content(layout, entry.mld), length,
                     length % 2 == 0 ? kUserPort : kUplink, layout_of(layout).vlan);
            }
        }
    }
}

// --- Pseudo-random frames and records

class Dice {
public:
    explicit Dice(uint32_t seed) : engine_(seed) {}

    uint32_t any() { return static_cast<uint32_t>(engine_()); }
    uint32_t below(uint32_t bound) { return any() % bound; }
    bool one_in(uint32_t times) { return below(times) == 0; }
    template <class T> T from(const std::vector<T> &values)
    {
        return values[below(static_cast<uint32_t>(values.size()))];
    }

private:
    std::mt19937 engine_; // its numbers are the same everywhere
};

class RandomFrames : public HostileFrames {
protected:
    uint16_t vlan()
    {
        return dice_.one_in(8) ? static_cast<uint16_t>(dice_.any())
                               : dice_.from<uint16_t>({0, 100, 101, 0x864, 0xFFFF, 0x2064, 0x1000});
    }

    uint8_t port_byte() { return dice_.from<uint8_t>({0, 0, 0, 0, 29, 3, 30, 0xFF}); }

    uint32_t port()
    {
        return dice_.one_in(16) ? dice_.any() : dice_.from<uint32_t>({0, 0, 0, 29, 29, 29, 29, 3, 30, 256});
    }

    int32_t count()
    {
        return dice_.one_in(8) ? dice_.from<int32_t>({-1, 17, 65536, INT_MAX, INT_MIN})
                               : static_cast<int32_t>(dice_.below(17));
    }

    void put_random_rule(vlanCfgNode &target)
    {
        target = rule(port_byte(), static_cast<uint8_t>(dice_.below(6)), vlan(), vlan(),
                      static_cast<uint8_t>(dice_.below(6)), vlan(), vlan(), static_cast<uint8_t>(dice_.below(6)),
                      vlan(), vlan());
    }

    portStateNode random_port()
    {
        return {dice_.from<uint32_t>({0, 0, 29, 3, 30, 0x1001D}), dice_.from<uint32_t>({1, 2, 2, 0, 0xFFFFFFFF})};
    }

    void put_random_records()
    {
        LibraryTest::SetUp();
        for (int logic_port = 0; logic_port < MC_LOGIC_PORTS; ++logic_port) {
            for (int r = 0; r < MC_RULES_PER_PORT; ++r) {
                put_random_rule(PortVlanCfg[logic_port][r]);
                put_random_rule(mldInitParams.mldPortVlanCfg[logic_port][r]);
            }
            setVlanCfgNumber[logic_port] = count();
            mldInitParams.mldSetVlanCfgNumber[logic_port] = count();
            globle_parm.port[logic_port].cvlan = dice_.one_in(3) ? vlan() : MC_NO_VLAN;
            globle_parm.port[logic_port].svlan = dice_.one_in(3) ? vlan() : MC_NO_VLAN;
            if (dice_.one_in(6)) {
                portState[logic_port] = random_port();
                mldInitParams.mldPortState[logic_port] = random_port();
            }
        }
        for (int i = 0; i < MC_TEMPLATE_VLANS; ++i) {
            PortVlan[i] = vlan();
            mldInitParams.mldVlanList[i] = vlan();
        }
        setVlanNumber = count();
        mldInitParams.setVlanNumber = count();
        if (dice_.one_in(4))
            testuplink = mldInitParams.mldTestUplink = port();
        platform().uplink_mode = dice_.below(2);
        platform().onu_id = static_cast<uint8_t>(dice_.any());
        if (dice_.one_in(4))
            second_user_port_appears(port());
        if (dice_.one_in(8))
            log_mask(dice_.any());
    }

    uint32_t random_length()
    {
        switch (dice_.below(8)) {
        case 0:
            return dice_.below(kBufferBytes + 1);
        case 1:
            return dice_.from<uint32_t>({1518, 1519, 1999, 2000, 2001, 2048});
        default:
            return dice_.one_in(4) ? dice_.below(20) : 20 + dice_.below(60);
        }
    }

    /** A buffer with one of the layouts, of which a few bytes are not what they should be. */
    ByteVector random_content(bool mld)
    {
        const std::vector<uint8_t> telling = {0x00, 0x81, 0x88, 0x64, 0x08, 0x86, 0xDD, 0xFF};
        ByteVector bytes = buffer_content(static_cast<int>(dice_.below(kLayouts)), mld);
        for (uint32_t changes = dice_.below(4); changes > 0; --changes)
            bytes[dice_.below(64)] = dice_.one_in(2) ? dice_.from(telling) : static_cast<uint8_t>(dice_.any());
        if (dice_.one_in(16))
            std::fill(bytes.begin(), bytes.end(), dice_.from(telling));
        return bytes;
    }

    void send_random_frame()
    {
        const Entry &entry = kEntries[dice_.below(std::size(kEntries))];
        const ByteVector received = random_content(entry.mld);
        const uint32_t length = random_length();
        GuardedBuffer &buffer = dice_.one_in(2) ? behind_ : before_;
        buffer.fill(received);
        enter(entry, buffer.data(), length, port(), vlan() & 0xFFFu);
        expect_only_tag_written(buffer, received);
        expect_plausible(received, length);
        frames_sent_ += platform().sent.size();
        packets_handed_on_ += platform().engine_packets.size();
        platform().forget_calls();
    }

    Dice dice_{20180525};
    std::size_t frames_sent_ = 0;
    std::size_t packets_handed_on_ = 0;
};

TEST_F(RandomFrames, stay_inside_whatever_the_records_hold)
{
    constexpr int kRecordSets = 600;
    constexpr int kFramesPerSet = 50;
    for (int set = 0; set < kRecordSets && !HasFatalFailure(); ++set) {
        SCOPED_TRACE("set " + std::to_string(set));
        put_random_records();
        // What is written is of no interest, but it must not drown the report.
        const auto seen = observe([this] {
            for (int i = 0; i < kFramesPerSet && !HasFatalFailure(); ++i)
                send_random_frame();
        });
        EXPECT_THAT(seen.changed,
                    Each(AnyOf(StartsWith("mldInitParams.outerTag."), StartsWith("mldInitParams.innerTag."),
                               StartsWith("mldInitParams.mldPortState[1]"), StartsWith("portState[1]"),
                               "mldInitParams.mldSrcPortNum", "mldInitParams.multiMode", "srcPortNum", "ponVlan",
                               "proxy_adapt_mode")));
    }
    EXPECT_GT(frames_sent_, 10000u) << "most frames should get through";
    EXPECT_GT(packets_handed_on_, 1000u);
}

TEST_F(RandomFrames, reach_the_end_of_the_receive_task_whatever_the_driver_tells)
{
    put_random_records();
    portState[0] = mldInitParams.mldPortState[0] = {0, MC_PORT_TYPE_USER};
    portState[1] = mldInitParams.mldPortState[1] = {29, MC_PORT_TYPE_UPLINK};
    proxy_adapt_mode = 1;
    constexpr int kFrames = 400;
    for (int i = 0; i < kFrames; ++i) {
        ByteVector frame = random_content(dice_.one_in(2));
        const uint32_t length = dice_.one_in(4) ? dice_.any() : random_length();
        platform().deliver(std::move(frame), static_cast<uint8_t>(port()), length);
    }
    bool read_all = false;
    observe([&read_all] { read_all = run_receive_task(); });
    EXPECT_TRUE(read_all);
    EXPECT_FALSE(platform().frames_left());
    EXPECT_GT(platform().sent.size(), 50u);
}

} // namespace
} // namespace mcadapt::test
