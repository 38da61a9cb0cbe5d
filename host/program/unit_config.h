/**
 * @file
 * The configuration of a unit: plain text, a setting or an operation to a line.
 *
 *     # an EPON unit
 *     mac 02:19:c6:01:02:03
 *     uplink epon
 *     std_omci_set_multicast_vlan_onu portNO=0 prouptagmode=2 in_up_vlan=100 in_data_vlan=200
 *     at 12.5 omci_set_multicast_mode 3
 *
 * Operations without a time run after start-up; those with one that many seconds after the first captured frame.
 */
#ifndef MCADAPT_HOST_PROGRAM_UNIT_CONFIG_H
#define MCADAPT_HOST_PROGRAM_UNIT_CONFIG_H

#include <istream>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/clock.h"
#include "host/program/operations.h"
#include "host/unit/unit_settings.h"

namespace mcadapt::host {

/** A configuration that cannot be used; the text names file, line, word and what was expected, a line for each. */
class ConfigError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/** One operation of a configuration. */
struct PlannedOperation {
    bool at_start;    /**< Runs after start-up, whatever `after` holds. */
    Duration after;   /**< Since the first captured frame. */
    int line;         /**< Of the file, counted from 1. */
    std::string text; /**< As it stands in the file, without its time. */
    const Operation *operation;
    Values values;
};

struct UnitConfig {
    UnitSettings settings;
    std::vector<PlannedOperation> operations; /**< Those at start first, then by time; else in the order of the file. */
};

/** Throws `ConfigError`. */
UnitConfig parse_unit_config(std::istream &input, const std::string &file);
UnitConfig read_unit_config(const std::string &file);

} // namespace mcadapt::host

#endif
