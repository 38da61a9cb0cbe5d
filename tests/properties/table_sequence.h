/**
 * @file
 * A random sequence of operations on the rule tables, checked after every step.
 *
 * Each step runs one operation on the library and on the models with the same answers of the platform, then compares
 * results, platform calls, output and records, and checks what must hold for the tables whatever was done to them.
 */
#ifndef MCADAPT_TESTS_TABLE_SEQUENCE_H
#define MCADAPT_TESTS_TABLE_SEQUENCE_H

#include <cstdint>
#include <deque>
#include <memory>
#include <ostream>
#include <string>

#include "properties/igmp_model.h"
#include "properties/mld_model.h"
#include "properties/operations.h"
#include "properties/random.h"

namespace mcadapt::test {

/** What the operations of a sequence can leave in the rule tables. */
enum class Rows : uint8_t {
    kPacked,     /**< Counted rules are live, all others cleared. */
    kUnsetRules, /**< Counted rules may lack an upstream VLAN; compaction takes such a rule for a cleared one. */
    kHoles,      /**< Rules are not packed when others are removed, and may stand behind their count. */
};

/** One kind of sequence. */
struct Scenario {
    const char *name;
    Mix mix;
    uint32_t port_numbers[2] = {0, 29}; /**< Switch ports of logic ports 0 and 1. */
    bool logged = false;                /**< All log classes and traces open; the output is then not compared. */
    Rows rows = Rows::kPacked;
    uint32_t operations_before_first_by_mode = 0;
};

inline void PrintTo(const Scenario &scenario, std::ostream *out) { *out << scenario.name; }

/** Length and seed, from MCADAPT_PROPERTY_STEPS and MCADAPT_PROPERTY_SEED if they are set. */
uint32_t sequence_steps(uint32_t default_steps);
uint64_t sequence_seed();

/** Runs one sequence, as many episodes as the steps need; each begins with the records as at load time. */
class TableSequence {
public:
    TableSequence(const Scenario &scenario, uint64_t seed);
    ~TableSequence();
    TableSequence(const TableSequence &) = delete;
    TableSequence &operator=(const TableSequence &) = delete;

    /** @return Nothing, or what was wrong after the first step that was not right, with seed, step and operations. */
    std::string run(uint32_t steps);

    /** The most entries that each kind of table has held. */
    struct Most {
        int32_t rules = 0;
        int32_t vlans = 0;
        int32_t static_groups = 0;
        int32_t mld_rules = 0;
        int32_t mld_vlans = 0;
    };
    const Most &most() const { return most_; }

private:
    class Capture;

    void begin_episode();
    void load_models();
    void note_counts();
    std::string step(const Operation &operation);
    std::string report(uint32_t step, const std::string &wrong) const;
    Operation next_operation(uint32_t step_of_episode);

    const Scenario &scenario_;
    const uint64_t seed_;
    Random random_;
    EngineAnswers library_answers_{0, 0};
    ModelEngine engine_;
    MldModel mld_{engine_};
    IgmpModel igmp_{engine_, mld_};
    std::unique_ptr<Capture> capture_;
    std::unique_ptr<grp_info> first_status_;
    std::deque<Operation> last_operations_;
    Most most_;
};

} // namespace mcadapt::test

#endif
