/**
 * @file
 * How the handlers' searches compare VLANs, upstream and downstream alike.
 */
#ifndef MCADAPT_TESTS_RULE_MATCHING_H
#define MCADAPT_TESTS_RULE_MATCHING_H

#include <cstdint>
#include <ostream>

namespace mcadapt::test {

/** The VLAN of a rule, the one with which a frame came, and whether they are the same to the search. */
struct ComparedVlan {
    uint16_t in;
    uint32_t vlan;
    bool matches;
};

/** Of the rule's VLAN the low 12 bits count, of the other one all bits. */
inline constexpr ComparedVlan kComparedVlans[] = {
    {100, 100, true},  {0xF064, 100, true},  {100, 101, false},    {0, 0, true},
    {0xF000, 0, true}, {0xFFFF, 4095, true}, {0xFFFF, 100, false}, {100, 0x1064, false},
};

inline std::ostream &operator<<(std::ostream &out, const ComparedVlan &row) { return out << row.in << ' ' << row.vlan; }

} // namespace mcadapt::test

#endif
