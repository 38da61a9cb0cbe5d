/**
 * @file
 * What is checked of the rule tables after every step. Each check gives nothing, or what is wrong.
 */
#ifndef MCADAPT_TESTS_TABLE_CHECKS_H
#define MCADAPT_TESTS_TABLE_CHECKS_H

#include <string>

#include "properties/igmp_model.h"
#include "properties/mld_model.h"

namespace mcadapt::test {

/** Every record of the library against the models. */
std::string differences(const IgmpModel &igmp, const MldModel &mld);

/** Every count stays inside its table. The checks below take that for granted. */
std::string broken_counts();

/** The two template lists are equal, and 0 behind their count. */
std::string broken_lists();

/** Every position behind the counted rules is cleared. */
std::string rules_left_behind();

/** Every counted rule is a live one. */
std::string counted_but_not_live();

/** Values that no operation on the tables may touch: set before a sequence, looked at after every step. */
void mark_bystanders();
std::string touched_bystanders();

} // namespace mcadapt::test

#endif
