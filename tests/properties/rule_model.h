/**
 * @file
 * What the models of both families hold to be true of a rule.
 */
#ifndef MCADAPT_TESTS_RULE_MODEL_H
#define MCADAPT_TESTS_RULE_MODEL_H

#include <cstdint>

#include "mcadapt/records.h"

namespace mcadapt::test {

inline constexpr int kNoPort = -1;
inline constexpr uint32_t kHighestPort = 29;

/** The logic port of a switch port: entry 0 is asked before entry 1. */
int model_logic_port(const portStateNode (&ports)[2], uint32_t port);

/** An upstream VLAN that is not given is taken from the downstream ones, by tag mode. */
void model_fill_upstream(vlanCfgNode &rule);

/** No upstream VLAN: the user side carries no VLAN at all. */
void model_zero_user_side(vlanCfgNode &rule);

/** The rule that stands for a mode and one or two VLANs. */
vlanCfgNode model_rule_of_mode(int32_t port, uint32_t mode, uint32_t vlan1, uint32_t vlan2);

/** Writes all fields of a rule but its flag. */
void model_store(vlanCfgNode &position, const vlanCfgNode &rule);

/** Moves the rules that have an upstream VLAN to the front and clears the positions behind them. */
void model_pack(vlanCfgNode (&row)[16]);

/** Moves the VLANs other than 0 to the front and fills up with 0. */
void model_pack(uint16_t (&vlans)[16]);

/** Whether a counted rule of either port carries the VLAN: its low 12 bits against all bits of `vlan`. */
bool model_in_use(const vlanCfgNode (&rules)[2][16], const int32_t (&counts)[2], uint16_t vlan);

} // namespace mcadapt::test

#endif
