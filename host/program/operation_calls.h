/**
 * @file
 * Calls of management operations that take or give more than numbers: what the table of operations names.
 */
#ifndef MCADAPT_HOST_PROGRAM_OPERATION_CALLS_H
#define MCADAPT_HOST_PROGRAM_OPERATION_CALLS_H

#include <cstdint>
#include <string>

#include "host/program/arguments.h"

namespace mcadapt::host {

/** The text of a status, and of an operation that has none. */
std::string status(int32_t result);
std::string done();

// Each calls the operation with the values of its table row; the text is its result and what it put out.
std::string add_static(const Values &values);
std::string remove_static(const Values &values);
std::string set_white_list(const Values &values);
std::string install_mld_rule(const Values &values);
std::string remove_mld_rule(const Values &values);
std::string install_rule(const Values &values);
std::string remove_rule(const Values &values);
std::string set_web_rule(const Values &values);
std::string set_ssm_map(const Values &values);
std::string set_oam_control(const Values &values);
std::string get_mode(const Values &values);
std::string get_group_limit(const Values &values);
std::string get_fast_leave_ability(const Values &values);
std::string get_fast_leave_state(const Values &values);
std::string get_interface_counters(const Values &values);
std::string get_status_para(const Values &values);
std::string get_oam_control(const Values &values);
std::string get_groups(const Values &values);
std::string get_std_groups(const Values &values);
std::string get_igmp_rule_counts(const Values &values);
std::string get_mld_rule_counts(const Values &values);
std::string get_template_count(const Values &values);
std::string get_mld_template_count(const Values &values);
std::string get_parameters(const Values &values);
std::string set_channels(const Values &values);

/** The channel list goes on for as long as its range is; empty for one that ends soon, else what was expected. */
std::string refuse_many_channels(const Values &values);

} // namespace mcadapt::host

#endif
