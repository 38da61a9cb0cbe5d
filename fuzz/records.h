/**
 * @file
 * The library's records between runs, and what must hold for its tables.
 */
#ifndef MCADAPT_FUZZ_RECORDS_H
#define MCADAPT_FUZZ_RECORDS_H

#include <string>

#include "fuzz/expect.h"

namespace mcadapt::fuzz {

/** Puts every exported record back to what it held when the process was loaded. */
void restore_records();

/** Adds every exported record, and the status block, to a digest. */
void add_records(Digest &digest);

/**
 * What is known about the tables of a run, besides what their operations guarantee. Each of these is given up for the
 * rest of a run once something outside the operations, or an operation that does not promise it, may have broken it.
 */
struct Trust {
    bool counts = true;     /**< Counts are within their tables. */
    bool mld_counts = true; /**< The same for MLD. */
    bool lists = true;      /**< The two IGMP template lists are equal, and 0 behind their count. */
    bool unique = true;     /**< No VLAN stands twice in a template list. */
    bool rows = true;       /**< IGMP rules: the counted ones are set, all others are cleared. */
    bool mld_rows = true;   /**< MLD rules. */

    void nothing() { counts = mld_counts = lists = unique = rows = mld_rows = false; }
};

/** Ends the process when a table is not as it must be; gives up what the rules that are there do not promise. */
void check_records(Trust &trust);

} // namespace mcadapt::fuzz

#endif
