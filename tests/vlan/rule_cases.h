/**
 * @file
 * What the tests of the rule operations share: the normalisation table, engine results, static groups, field lists.
 */
#ifndef MCADAPT_TESTS_VLAN_RULE_CASES_H
#define MCADAPT_TESTS_VLAN_RULE_CASES_H

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

#include "support/matchers.h"

namespace mcadapt::test {

/** A rule whose fields all differ, of port 0 and tag mode 1: nothing in it is normalised. */
inline vlanCfgNode plain_rule(uint8_t port = 0) { return rule(port, 1, 101, 102, 5, 103, 104, 6, 105, 106); }

/** As `plain_rule`, with these two VLANs. */
inline vlanCfgNode rule_of(uint16_t in_up, uint16_t data_vlan, uint8_t port = 0)
{
    return rule(port, 1, in_up, 102, 5, 103, 104, 6, data_vlan, 106);
}

/** A full template list without any VLAN that the tests install. */
inline std::vector<uint16_t> sixteen_vlans()
{
    return {201, 202, 203, 204, 205, 206, 207, 208, 209, 210, 211, 212, 213, 214, 215, 216};
}

/** One row of the normalisation: a rule as given, and what is left of it. Fields not named are those of `plain_rule`.
 */
struct Normalisation {
    uint8_t mode;
    uint16_t in_up, in_down, out_down;
    const char *mode_name;
    uint16_t kept_in_up, kept_out_up, kept_out_down, kept_out_data;

    vlanCfgNode given(uint8_t port = 0) const
    {
        return rule(port, mode, in_up, 102, 5, in_down, out_down, 6, 105, 106);
    }
    vlanCfgNode kept(uint8_t port = 0) const
    {
        return rule(port, mode, kept_in_up, kept_out_up, 5, in_down, kept_out_down, 6, 105, kept_out_data);
    }
};

inline std::ostream &operator<<(std::ostream &out, const Normalisation &row)
{
    return out << "mode " << +row.mode << ", in_up " << row.in_up << ", in_down " << row.in_down << ", out_down "
               << row.out_down;
}

/** While no rules were set by mode: the upstream VLANs are derived by tag mode, then an untagged user side is zeroed.
 */
constexpr Normalisation kNormalised[] = {
    // mode in_up in_down out_down            -> in_up out_up out_down out_data
    {0, 0xFFFF, 103, 104, "untag", 103, 104, 104, 106},
    {0, 0xFFFF, 0, 104, "untag", 0, 104, 0, 0},
    {0, 0xFFFF, 0xFFFF, 104, "untag", 0, 104, 0, 0},
    {0, 0xFFFF, 103, 0, "untag", 103, 0, 0, 106},
    {0, 101, 103, 104, "untag", 101, 102, 104, 106},
    {0, 0, 103, 104, "untag", 0, 102, 0, 0},
    {2, 0xFFFF, 103, 104, "translate", 104, 102, 104, 106},
    {2, 0xFFFF, 103, 0, "translate", 0, 102, 0, 0},
    {2, 0xFFFF, 103, 0xFFFF, "translate", 0, 102, 0, 0},
    {2, 101, 103, 104, "translate", 101, 102, 104, 106},
    {2, 0, 103, 104, "translate", 0, 102, 0, 0},
    {3, 0xFFFF, 103, 104, "translate", 104, 102, 104, 106},
    {3, 101, 103, 104, "translate", 101, 102, 104, 106},
    {1, 0xFFFF, 103, 104, "tag", 0, 102, 0, 0},
    {1, 0, 103, 104, "tag", 0, 102, 0, 0},
    {1, 101, 103, 104, "tag", 101, 102, 104, 106},
    {1, 1, 103, 104, "tag", 1, 102, 104, 106},
    {1, 0xFFFE, 103, 104, "tag", 0xFFFE, 102, 104, 106},
    {4, 0xFFFF, 103, 104, "tag", 0, 102, 0, 0},
    {255, 0xFFFF, 103, 104, "tag", 0, 102, 0, 0},
};

/** Once rules were set by mode: nothing is derived and no tag mode is logged; the zeroing stays. */
constexpr Normalisation kNotDerived[] = {
    {0, 0xFFFF, 103, 104, "", 0, 102, 0, 0},    {0, 101, 103, 104, "", 101, 102, 104, 106},
    {2, 0xFFFF, 103, 104, "", 0, 102, 0, 0},    {2, 0, 103, 104, "", 0, 102, 0, 0},
    {3, 0xFFFF, 103, 104, "", 0, 102, 0, 0},    {1, 0xFFFF, 103, 104, "", 0, 102, 0, 0},
    {1, 101, 103, 104, "", 101, 102, 104, 106},
};

/** What the engine answers, and the status that its low 8 bits stand for. */
struct ByteResult {
    int32_t answer;
    int32_t status;
};
constexpr ByteResult kByteResults[] = {{0, 0},   {5, 5},   {127, 127},    {128, -128}, {255, -1},
                                       {256, 0}, {-1, -1}, {0x180, -128}, {0x105, 5},  {-256, 0}};

/** Answers of which nothing is cut. */
constexpr int32_t kFullResults[] = {0, 5, 255, 256, -1, 0x180, -256};

/** Fills the front of a logic port's static list and its count. */
inline void put_static_groups(int logic_port, std::initializer_list<staticGroupEntry> groups)
{
    std::copy(groups.begin(), groups.end(), g_static_list[logic_port]);
    g_static_grp_num[logic_port] = static_cast<int32_t>(groups.size());
}

inline staticGroupEntry static_group(uint16_t vlan, uint32_t address) { return {vlan, 0, address}; }
inline staticGroupEntry free_static_group() { return {MC_NO_VLAN, 0, 0x0000FFFF}; }

/** As after a rule set by mode: the IGMP operations derive nothing and leave MLD alone. */
inline void serve_igmp_alone() { flag_omci_version = 1; }

/** The ten fields that storing or clearing a rule writes: all but `ruleFlag`. */
inline std::vector<std::string> rule_fields(const std::string &position)
{
    std::vector<std::string> fields;
    for (const char *field : {"portNO", "prouptagmode", "in_up_vlan", "out_up_vlan", "prodntagmode", "in_dn_vlan",
                              "out_dn_vlan", "datedntagmode", "in_data_vlan", "out_data_vlan"})
        fields.push_back(position + "." + field);
    return fields;
}

using Fields = std::vector<std::string>;

inline Fields operator+(Fields first, const Fields &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

} // namespace mcadapt::test

#endif
