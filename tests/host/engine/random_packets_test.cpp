// Random packets and orders with a fixed seed: nothing is read outside, nothing is left over, twice the same.
#include <random>

#include "engine_fixture.h"

namespace engine_test {
namespace {

class Chance {
public:
    explicit Chance(uint32_t seed) : random_(seed) {}
    uint32_t below(uint32_t n) { return static_cast<uint32_t>(random_() % n); }
    template <class T> const T &of(const std::vector<T> &list)
    {
        return list[below(static_cast<uint32_t>(list.size()))];
    }

private:
    std::mt19937 random_;
};

class RandomPackets : public testing::Test {
protected:
    struct Run : EngineTest {
        explicit Run(uint32_t seed) : EngineTest(Limits{6, 4}), chance(seed) { library_.want_texts = false; }
        void TestBody() override {}
        using EngineTest::give;
        using EngineTest::library_;

        std::string group(const Names &n) { return chance.below(2) == 0 ? n.group : n.other_group; }
        std::vector<std::string> sources(const Names &n)
        {
            std::vector<std::string> out(chance.below(5));
            for (std::string &source : out)
                source = n.source(static_cast<int>(1 + chance.below(6)));
            return out;
        }
        wire::Bytes packet(const Names &n)
        {
            wire::Around around;
            around.padding = chance.below(8) == 0 ? chance.below(20) : 0;
            switch (chance.below(4)) {
            case 0:
                return wire::join(n.family, n.older, group(n), around);
            case 1:
                return wire::leave(n.family, group(n), around);
            case 2:
                return wire::query(n.family, {n.newest, chance.below(2) == 0 ? "" : n.group, 10, chance.below(2) == 0},
                                   around);
            default:
                break;
            }
            std::vector<wire::Record> records(1 + chance.below(3));
            for (wire::Record &record : records)
                record = {static_cast<int>(1 + chance.below(6)), group(n), sources(n)};
            return wire::report(n.family, records, around);
        }
        void damage(wire::Bytes &bytes)
        {
            for (uint32_t i = chance.below(4); i > 0; --i)
                bytes[chance.below(static_cast<uint32_t>(bytes.size()))] = static_cast<uint8_t>(chance.below(256));
            if (chance.below(4) == 0)
                bytes.resize(8 + chance.below(static_cast<uint32_t>(bytes.size()) - 8));
        }
        void order(Family family)
        {
            switch (chance.below(12)) {
            case 0:
                engine_.set_mode(family, static_cast<Mode>(1 + chance.below(3)));
                break;
            case 1:
                engine_.set_fast_leave(chance.below(2));
                break;
            case 2:
                engine_.remove_vlan(family, 100);
                break;
            case 3:
                engine_.add_vlan(family, 100);
                break;
            case 4:
                engine_.add_static(chance.below(2), 100, wire::ipv4_value("239.1.2.3"), 0);
                break;
            case 5:
                engine_.remove_static(chance.below(2), 100, wire::ipv4_value("239.1.2.3"), 0);
                break;
            case 6:
                library_.add_answer = static_cast<int32_t>(chance.below(2));
                break;
            default:
                engine_.add_vlan(family, 100);
                break;
            }
        }
        void step()
        {
            const Names &n = chance.below(2) == 0 ? igmp_names() : mld_names();
            if (chance.below(40) == 0)
                order(n.family);
            wire::Bytes bytes = packet(n);
            if (chance.below(5) == 0)
                damage(bytes);
            give(n.family, bytes, chance.of<uint32_t>({0, 0, 0, 1, 1, 29, 0xFFFF, 7}));
            pass(Duration(chance.below(3000)) * 1000000);
            check();
        }
        // What is installed is what is there, and no more than what was allowed.
        void check()
        {
            for (const Family family : {Family::kIgmp, Family::kMld}) {
                const Counters &c = engine_.counters(family);
                std::size_t installed = 0;
                for (const GroupView &view : engine_.groups(family)) {
                    installed += view.installed ? 1 : 0;
                    ASSERT_LE(view.wanted.size() + view.blocked.size(), 4u);
                    ASSERT_TRUE(view.exclude || view.fixed || !view.wanted.empty());
                    ASSERT_TRUE(!view.exclude || view.expires > clock_.now());
                }
                ASSERT_EQ(c.entries_added - c.entries_removed, installed);
                uint64_t dropped = 0;
                for (const uint64_t count : c.dropped)
                    dropped += count;
                ASSERT_EQ(c.received, c.accepted + dropped);
            }
        }
        Chance chance;
    };

    static Lines trace(uint32_t seed)
    {
        Run run(seed);
        for (int i = 0; i < 3000 && !HasFatalFailure(); ++i)
            run.step();
        Lines all = run.library_.entries;
        all.insert(all.end(), run.library_.sent.begin(), run.library_.sent.end());
        return all;
    }
};

TEST_F(RandomPackets, keep_the_engine_consistent)
{
    for (uint32_t seed = 1; seed <= 6; ++seed) {
        SCOPED_TRACE(seed);
        EXPECT_GT(trace(seed).size(), 100u);
    }
}

TEST_F(RandomPackets, give_the_same_result_twice) { EXPECT_EQ(trace(77), trace(77)); }

TEST_F(RandomPackets, every_byte_of_a_report_may_be_anything)
{
    Run run(5);
    for (const Names *n : {&igmp_names(), &mld_names()}) {
        const wire::Bytes whole = wire::report(
            n->family, {{wire::kToEx, n->group, n->sources({1, 2})}, {wire::kIsIn, n->other_group, n->sources({3})}});
        for (std::size_t at = 0; at < whole.size(); ++at) {
            for (const int value : {0, 1, 0x7F, 0x80, 0xFF}) {
                wire::Bytes changed = whole;
                changed[at] = static_cast<uint8_t>(value);
                if (n->family == Family::kIgmp && at < 24)
                    wire::fix_ipv4_checksum(changed);
                run.give(n->family, changed);
            }
            run.give(n->family, wire::Bytes(whole.begin(),
                                            whole.begin() + static_cast<std::ptrdiff_t>(std::max<std::size_t>(at, 6))));
        }
    }
    run.check();
}

} // namespace
} // namespace engine_test
