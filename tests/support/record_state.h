/**
 * @file
 * All exported records at once: their load-time image, snapshots, and what changed between two snapshots.
 */
#ifndef MCADAPT_TESTS_RECORD_STATE_H
#define MCADAPT_TESTS_RECORD_STATE_H

#include <string>
#include <vector>

#include "mcadapt/records.h"

namespace mcadapt::test {

/** A copy of every exported record and of the block that `mc_status_global` points to. */
class RecordSnapshot {
public:
    static RecordSnapshot take();

private:
    friend std::vector<std::string> changed_fields(const RecordSnapshot &before, const RecordSnapshot &after);
    std::vector<std::vector<unsigned char>> images_; // one per record; empty for a status block that is not there
};

/**
 * The fields whose values differ, in the order of `mcadapt/records.h`, by their names in code:
 * `defaultVlan`, `globle_parm.port[0].leavemod`, `PortVlanCfg[0][2].in_up_vlan`, `setVlanCfgNumber[0]`,
 * `mldInitParams.mldVlanList[3]`, `mc_status_global->statusMode`, `sys_mac`. Padding is not compared.
 */
std::vector<std::string> changed_fields(const RecordSnapshot &before, const RecordSnapshot &after);

/** The fields in which two records differ, by their names within the record. For many comparisons at little cost. */
std::vector<std::string> differing_fields(const igmpGlobleParm &a, const igmpGlobleParm &b);
std::vector<std::string> differing_fields(const mldInitParm &a, const mldInitParm &b);

/** As `changed_fields`, cut to the record: `PortVlanCfg`, `globle_parm`, `mc_status_global->`; each named once. */
std::vector<std::string> changed_records(const RecordSnapshot &before, const RecordSnapshot &after);
std::vector<std::string> records_of(const std::vector<std::string> &fields);

/** Puts every exported record back to what it held when the process was loaded (`mc_status_global` too). */
void restore_load_image();

} // namespace mcadapt::test

#endif
