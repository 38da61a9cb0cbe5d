// A unit that lives for years: a million operations with frames and timers between them. MCADAPT_ENDURANCE_STEPS and
// MCADAPT_ENDURANCE_SEED choose another length and another sequence.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <list>
#include <map>
#include <memory>

#include "mcadapt/records.h"
#include "tests/host/endurance/platform_watch.h"
#include "tests/host/endurance/replayed_unit.h"
#include "tests/host/whole_unit/random_operations.h"
#include "tests/host/whole_unit/silence.h"
#include "tests/host/whole_unit/table_invariants.h"

namespace mcadapt::host::test {
namespace {

// The heap's own word and its rounding come on top of the 14392 bytes of a status block.
constexpr uint64_t kStatusBlockChunk = 14400;
constexpr std::size_t kFrames = 4096;
constexpr uint32_t kCheckpoints = 10;
constexpr uint64_t kOwnNotes = 4096; // what the test itself writes down on the way

#ifdef NDEBUG
constexpr uint64_t kSteps = 1000000;
#else
constexpr uint64_t kSteps = 50000;
#endif

uint64_t number_from(const char *variable, uint64_t otherwise)
{
    const char *text = std::getenv(variable);
    return text != nullptr ? std::strtoull(text, nullptr, 0) : otherwise;
}

// The heap counts small blocks that it keeps for the next call as used, unless it is told to keep none.
bool heap_counts_exactly()
{
    const char *tunables = std::getenv("GLIBC_TUNABLES");
    return heap_of_others() != 0 && tunables != nullptr &&
           std::string(tunables).find("glibc.malloc.tcache_count=0") != std::string::npos;
}

/** Heap in use, without what the test and the unit around the library hold, and without one chunk for each block. */
uint64_t heap_beside_blocks()
{
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd - heap_of_others() - platform_watch().blocks * kStatusBlockChunk;
}

uint64_t resident_bytes()
{
    uint64_t size = 0;
    uint64_t resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
}

/** Draws operations by what they do: most of them modes, installs, removals, resets and queries. */
class Plan {
public:
    Plan()
    {
        for (const Choice &choice : all_choices())
            by_deed_[choice.deed].push_back(&*choices_.insert(choices_.end(), choice));
    }

    /** Rules by mode turn the normalisation of others off for good, so they come in the second half. */
    const Choice &draw(Dice &dice, bool by_mode) const
    {
        for (;;) {
            const std::vector<const Choice *> &choices = by_deed_.at(draw_deed(dice));
            const Choice &choice = *choices[dice.below(static_cast<uint32_t>(choices.size()))];
            const std::string name = choice.operation->name;
            if (!by_mode && (name == "igmp_port_vlan_and_mode_set" || name == "igmp_service_remove_port_config"))
                continue;
            if (seldom(name) && !dice.percent(1))
                continue;
            return choice;
        }
    }

private:
    static Deed draw_deed(Dice &dice)
    {
        constexpr Deed kDeeds[] = {Deed::kMode,   Deed::kInstall, Deed::kInstall, Deed::kInstall, Deed::kRemove,
                                   Deed::kRemove, Deed::kRemove,  Deed::kReset,   Deed::kQuery,   Deed::kOther};
        return dice.one_of(kDeeds);
    }

    // The whole reset leaves a status block behind each time; dumps and log masks make long texts.
    static bool seldom(const std::string &name)
    {
        return name == "omci_clear_igmp_all_parmeter" || name == "debugPrint" || name == "mldPrint" ||
               name == "mc_set_debug" || name == "mld_adapt_set_debug";
    }

    std::list<Choice> choices_;
    std::map<Deed, std::vector<const Choice *>> by_deed_;
};

class Endurance : public ::testing::Test {
protected:
    const uint64_t steps_ = number_from("MCADAPT_ENDURANCE_STEPS", kSteps);
    const uint64_t seed_ = number_from("MCADAPT_ENDURANCE_SEED", 1);
    const Plan plan_;
    Dice dice_{seed_};
    const std::vector<ArrivingFrame> traffic_ = make_traffic(dice_, kFrames);
    std::map<Deed, uint64_t> deeds_;
    uint64_t number_ = 0; // of steps done; operations that only make way for others are none
    uint64_t frames_ = 0;
    uint64_t expected_blocks_ = 0;
    uint64_t expected_attachments_ = 0;
    std::string last_;  // operation
    std::string wrong_; // what was found; ends the run

    void call(const Choice &choice);
    std::string look(const ReplayedUnit &unit) const;
    bool step(ReplayedUnit &unit);
    void tell(uint64_t resident) const;
};

void Endurance::call(const Choice &choice)
{
    const Operation &operation = *choice.operation;
    const std::vector<std::string> words = random_words(operation, Range::kUsual, dice_);
    last_ = operation.name;
    for (const std::string &word : words)
        last_ += " " + word;
    operation.call(Values(operation.arguments, words));
    ++deeds_[choice.deed];
    number_ += choice.deed != Deed::kOther;

    const std::string name = operation.name;
    expected_blocks_ += name == "omci_clear_igmp_all_parmeter";
    // Each of these attaches the shared segment anew and never detaches it.
    expected_attachments_ += name == "std_omci_get_port_igmp_count" || name == "mc_oam_get_onu_fast_leave_state";
}

std::string Endurance::look(const ReplayedUnit &unit) const
{
    std::string wrong = broken_tables() + broken_rows();
    if (unit.engine().vlans(Family::kIgmp) != platform_watch().igmp_vlans)
        wrong += "the engine has other IGMP VLANs than it was told\n";
    if (unit.engine().vlans(Family::kMld) != platform_watch().mld_vlans)
        wrong += "the engine has other MLD VLANs than it was told\n";
    if (static_cast<uint8_t>(unit.engine().mode(Family::kIgmp)) != proxy_adapt_mode)
        wrong += "the engine's mode is not the library's\n";
    if (platform_watch().blocks != expected_blocks_ || platform_watch().attachments != expected_attachments_)
        wrong += "memory was taken, or not, against expectation\n";
    return wrong;
}

bool Endurance::step(ReplayedUnit &unit)
{
    call(plan_.draw(dice_, number_ >= steps_ / 2));
    unit.pass(std::chrono::milliseconds(dice_.below(100)));
    wrong_ = look(unit);
    return wrong_.empty();
}

void Endurance::tell(uint64_t resident) const
{
    fmt::print("endurance: seed {}: {} mode changes, {} installs, {} removals, {} resets, {} queries, {} others, {} "
               "frames; {} status blocks, {} attachments, {} KiB more resident\n",
               seed_, deeds_.at(Deed::kMode), deeds_.at(Deed::kInstall), deeds_.at(Deed::kRemove),
               deeds_.at(Deed::kReset), deeds_.at(Deed::kQuery), deeds_.at(Deed::kOther), frames_,
               platform_watch().blocks, platform_watch().attachments, resident / 1024);
}

TEST_F(Endurance, a_million_operations_take_no_memory_but_status_blocks_and_attachments)
{
    platform_watch() = {};
    fmt::print("endurance: {} steps\n", steps_); // standard output takes its buffer now
    const uint64_t heap = heap_beside_blocks();
    const uint64_t resident = resident_bytes();
    const uint64_t others = heap_of_others();
    uint64_t most_by_others[2] = {}; // in either half of the run
    uint64_t entries = 0;
    {
        const Silence silence;
        ReplayedUnit unit;
        expected_blocks_ = 1;
        unit.run([&](const ArrivingFrame *&frame) {
            if (number_ % std::max<uint64_t>(steps_ / kCheckpoints, 1) == 0 && heap_counts_exactly()) {
                EXPECT_EQ(heap_beside_blocks(), heap) << "after step " << number_ << ", seed " << seed_;
            }
            uint64_t &highest = most_by_others[number_ < steps_ / 2 ? 0 : 1];
            highest = std::max(highest, heap_of_others());
            if (number_ == steps_ || !step(unit))
                return false;
            if (dice_.percent(50)) {
                frame = &traffic_[dice_.below(kFrames)];
                ++frames_;
            }
            return true;
        });
        entries = unit.engine().counters(Family::kIgmp).entries_added;
    }
    ASSERT_EQ(wrong_, "") << "at step " << number_ << ", seed " << seed_ << ": " << last_;
    tell(resident_bytes() - resident);
    EXPECT_EQ(platform_watch().block_bytes, expected_blocks_ * sizeof(grp_info));
    EXPECT_EQ(platform_watch().detachments, 0u);
    EXPECT_LE(heap_of_others(), others + kOwnNotes) << "the unit on a PC keeps memory when it is taken apart";
    EXPECT_LE(most_by_others[1], most_by_others[0] * 5 / 4) << "the unit on a PC grows";
    EXPECT_GT(entries, 0u) << "no host was ever served";
    for (const Deed deed : {Deed::kMode, Deed::kInstall, Deed::kRemove, Deed::kReset, Deed::kQuery})
        EXPECT_GT(deeds_[deed], steps_ / 20);
}

} // namespace
} // namespace mcadapt::host::test
