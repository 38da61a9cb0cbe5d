/**
 * @file
 * The exported management operations by name: one table for the configuration, for `mcadapt ops` and for its checks.
 */
#ifndef MCADAPT_HOST_PROGRAM_OPERATIONS_H
#define MCADAPT_HOST_PROGRAM_OPERATIONS_H

#include <string>
#include <string_view>
#include <vector>

#include "host/program/arguments.h"

namespace mcadapt::host {

struct Operation {
    const char *name;
    const char *help;
    std::vector<Argument> arguments;
    /** Calls it; tells its result and what it put out, as text. */
    std::string (*call)(const Values &values);
    /** Tells what is wrong with values that are right one by one; null: nothing can be. */
    std::string (*refuse)(const Values &values) = nullptr;
};

/** All of them, by agent family. */
const std::vector<Operation> &operations();

/** Null when there is none of that name. */
const Operation *find_operation(std::string_view name);

} // namespace mcadapt::host

#endif
