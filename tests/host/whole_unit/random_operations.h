/**
 * @file
 * Management operations with random arguments: all that agents call, from the table that the configuration reads.
 */
#ifndef MCADAPT_TESTS_HOST_WHOLE_UNIT_RANDOM_OPERATIONS_H
#define MCADAPT_TESTS_HOST_WHOLE_UNIT_RANDOM_OPERATIONS_H

#include <cstdint>
#include <string>
#include <vector>

#include "host/program/operations.h"
#include "tests/host/whole_unit/dice.h"

namespace mcadapt::host::test {

/** What operations do, as far as tests treat them differently. */
enum class Deed : uint8_t { kMode, kInstall, kRemove, kReset, kQuery, kOther };

/** One operation of the table. */
struct Choice {
    const Operation *operation;
    Deed deed;
    bool changes_tables; /**< Changes rules, template VLANs or static groups: agents call these one at a time. */
};

/** All operations of the table, each once. */
std::vector<Choice> all_choices();

/** Draws operations: all of them at times, those that close the unit to frames or fill the output seldom. */
class Chooser {
public:
    Chooser();
    const std::vector<Choice> &all() const { return choices_; }
    /** Place of the drawn one in `all()`. */
    std::size_t draw(Dice &dice) const;

private:
    std::vector<Choice> choices_;
    std::vector<std::size_t> urn_;
};

enum class Range : uint8_t {
    kUsual, /**< Rules never hold the VLAN 0xFFFF, the mark of a free position. */
    kAny
};

/** Words for the arguments of an operation: mostly such as agents give, and some beyond every range. */
std::vector<std::string> random_words(const Operation &operation, Range range, Dice &dice);

} // namespace mcadapt::host::test

#endif
