/**
 * @file
 * Log masks, configuration dumps and the accessors of the records.
 *
 * Called on any management thread. The dumps read the records while other threads may change them.
 */
#ifndef MCADAPT_DIAGNOSTICS_H
#define MCADAPT_DIAGNOSTICS_H

#include <stdint.h>

#include "mcadapt/api.h"
#include "mcadapt/records.h"

MCADAPT_BEGIN_DECLS

/** Bits of `mc_debug` and `mld_debug`. */
#define MC_DEBUG_TRACE 0x01u   /**< Traces of frames and of some operations. */
#define MC_DEBUG_ERROR 0x04u   /**< Errors. */
#define MC_DEBUG_TX_DUMP 0x08u /**< Hex dump of every frame sent. */
#define MC_DEBUG_RX_DUMP 0x10u /**< Hex dump of every frame received. */
#define MC_DEBUG_CONFIG 0x20u  /**< Entry traces of configuration and query operations. */

/**
 * Changes bits of `mc_debug` and prints the new mask.
 * @param mask  The bits.
 * @param on    0 clears them. Otherwise they are toggled together: all cleared if any of them is set, else all set.
 * @return The new mask.
 */
MCADAPT_API uint32_t mc_set_debug(uint32_t mask, uint32_t on);

/** Changes bits of `mld_debug` and prints nothing; arguments and result as `mc_set_debug`. */
MCADAPT_API uint32_t mld_adapt_set_debug(uint32_t mask, uint32_t on);

/** Prints the whole IGMP configuration to standard output, whatever the masks hold. */
MCADAPT_API void debugPrint(void);

/** Prints the whole MLD configuration to standard output, whatever the masks hold. */
MCADAPT_API void mldPrint(void);

/** Gives the IGMP parameters. @return The address of `globle_parm`. */
MCADAPT_API igmpGlobleParm *getIgmpGlobleParmeter(void);

/** Gives the IGMP rule counts. @return The address of the two counts `setVlanCfgNumber`. */
MCADAPT_API int32_t *getPortVlanConfigNumber(void);

/** Counts the IGMP template VLANs. @return `setVlanNumber`, 0 to 16. */
MCADAPT_API int32_t getTemplateVlanNumber(void);

/** Counts the MLD template VLANs. @return `setVlanNumber` of `mldInitParams`, 0 to 16. */
MCADAPT_API int32_t getmldTemplateVlanNumber(void);

/** Gives the MLD rule counts. @return The address of the two counts `mldSetVlanCfgNumber`. */
MCADAPT_API int32_t *mldgetPortVlanConfigNumber(void);

MCADAPT_END_DECLS

#endif
