/**
 * @file
 * Comparing, printing and building the records in tests.
 *
 *     put_rules(0, {rule(0).up(100, 200).down(200, 100).data(200, 100).modes(2)});
 *     EXPECT_EQ(PortVlanCfg[0][1], empty_rule());
 */
#ifndef MCADAPT_TESTS_MATCHERS_H
#define MCADAPT_TESTS_MATCHERS_H

#include <gmock/gmock.h>

#include <cstdint>
#include <ostream>
#include <vector>

#include "mcadapt/records.h"

// In the records' own namespace, where GoogleTest looks for them.
bool operator==(const vlanCfgNode &a, const vlanCfgNode &b);
bool operator==(const portParm &a, const portParm &b);
bool operator==(const portStateNode &a, const portStateNode &b);
bool operator==(const staticGroupEntry &a, const staticGroupEntry &b);
bool operator==(const mldTagRecord &a, const mldTagRecord &b);
bool operator==(const mldAuthGroup &a, const mldAuthGroup &b);
bool operator==(const grpRecord &a, const grpRecord &b);
bool operator==(const ifStatus &a, const ifStatus &b);
void PrintTo(const vlanCfgNode &rule, std::ostream *out);
void PrintTo(const portParm &port, std::ostream *out);
void PrintTo(const portStateNode &port, std::ostream *out);
void PrintTo(const staticGroupEntry &entry, std::ostream *out);
void PrintTo(const mldTagRecord &tag, std::ostream *out);
void PrintTo(const mldAuthGroup &group, std::ostream *out);
void PrintTo(const grpRecord &group, std::ostream *out);
void PrintTo(const ifStatus &status, std::ostream *out);

namespace mcadapt::test {

/** A cleared rule: port 0xFF, tag modes 4, every VLAN 0xFFFF, flag 0. */
vlanCfgNode empty_rule();

/** A rule by its named fields; what is not named is as in a cleared rule. */
class RuleBuilder {
public:
    RuleBuilder() : rule_(empty_rule()) {}

    RuleBuilder &port(uint8_t value) { return set(rule_.portNO, value); }
    RuleBuilder &up_mode(uint8_t value) { return set(rule_.prouptagmode, value); }
    RuleBuilder &in_up(uint16_t value) { return set(rule_.in_up_vlan, value); }
    RuleBuilder &out_up(uint16_t value) { return set(rule_.out_up_vlan, value); }
    RuleBuilder &down_mode(uint8_t value) { return set(rule_.prodntagmode, value); }
    RuleBuilder &in_down(uint16_t value) { return set(rule_.in_dn_vlan, value); }
    RuleBuilder &out_down(uint16_t value) { return set(rule_.out_dn_vlan, value); }
    RuleBuilder &data_mode(uint8_t value) { return set(rule_.datedntagmode, value); }
    RuleBuilder &in_data(uint16_t value) { return set(rule_.in_data_vlan, value); }
    RuleBuilder &out_data(uint16_t value) { return set(rule_.out_data_vlan, value); }
    RuleBuilder &flag(uint8_t value) { return set(rule_.ruleFlag, value); }

    RuleBuilder &up(uint16_t in, uint16_t out) { return in_up(in).out_up(out); }
    RuleBuilder &down(uint16_t in, uint16_t out) { return in_down(in).out_down(out); }
    RuleBuilder &data(uint16_t in, uint16_t out) { return in_data(in).out_data(out); }
    RuleBuilder &modes(uint8_t all) { return modes(all, all, all); }
    RuleBuilder &modes(uint8_t up, uint8_t down, uint8_t data) { return up_mode(up).down_mode(down).data_mode(data); }

    operator vlanCfgNode() const { return rule_; }

private:
    template <class Field> RuleBuilder &set(Field &field, Field value)
    {
        field = value;
        return *this;
    }

    vlanCfgNode rule_;
};

/** A cleared rule, to be filled by name; with a switch port if one is given. */
inline RuleBuilder rule() { return RuleBuilder(); }
inline RuleBuilder rule(uint8_t port) { return RuleBuilder().port(port); }

/** A rule by all its fields but the flag, in their order. */
vlanCfgNode rule(uint8_t port, uint8_t up_mode, uint16_t in_up, uint16_t out_up, uint8_t down_mode, uint16_t in_down,
                 uint16_t out_down, uint8_t data_mode, uint16_t in_data, uint16_t out_data);

/** Fills a logic port's row: these rules at the front, cleared ones behind, and the count. */
void put_rules(int logic_port, const std::vector<vlanCfgNode> &rules);
void put_mld_rules(int logic_port, const std::vector<vlanCfgNode> &rules);

/** Fills `PortVlan`, `TemplateVlan` and the count. */
void put_template_vlans(const std::vector<uint16_t> &vlans);

/** Fills `mldTemplateVlan`, `mldVlanList` and their count. */
void put_mld_template_vlans(const std::vector<uint16_t> &vlans);

/** The live rules of a logic port, and the VLANs that the lists count. */
std::vector<vlanCfgNode> live_rules(int logic_port);
std::vector<vlanCfgNode> live_mld_rules(int logic_port);
std::vector<uint16_t> template_vlans();
std::vector<uint32_t> mld_vlans();

MATCHER(IsEmptyRule, negation ? "holds something" : "is a cleared rule") { return arg == empty_rule(); }

} // namespace mcadapt::test

#endif
