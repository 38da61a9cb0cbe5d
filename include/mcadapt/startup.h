/**
 * @file
 * Start-up of the library, called by the management process.
 *
 * One call, `mc_igmp_init`, brings everything up; the others are its stages, exported for callers that need one of
 * them alone. All run on the caller's thread. There is no stop operation.
 */
#ifndef MCADAPT_STARTUP_H
#define MCADAPT_STARTUP_H

#include <stdint.h>

#include "mcadapt/api.h"

MCADAPT_BEGIN_DECLS

/**
 * Starts the engine, puts every record into its start state, registers the callbacks, opens the switch driver and
 * creates the receive task.
 *
 * Not guarded against a second call, which redoes every step and takes a second status block.
 *
 * @param priority   Priority of the engine's tasks; the receive task gets `priority` + 1.
 * @param engineArg  Handed to `igmp_task_init` untouched.
 * @return 0, whatever failed; failures are printed.
 */
MCADAPT_API int32_t mc_igmp_init(int32_t priority, int32_t engineArg);

/**
 * Kept for callers that expect it; MLD is started by `mc_igmp_init`.
 * @return 0; nothing is changed.
 */
MCADAPT_API int32_t mc_mld_init(void);

/**
 * Initialises the records, registers both families with the engine and opens the switch driver.
 *
 * @return The switch driver's code when opening it or setting its filter method fails (the later steps are then not
 *         done), else the low byte, sign-extended, of the engine's answer to the proxy address; 0 on success.
 */
MCADAPT_API int32_t adapt_init(void);

/**
 * Registers the IGMP callbacks with the engine and declares the ports. Failures are printed and passed over.
 * @return 0.
 */
MCADAPT_API int32_t igmp_adapt_init(void);

/**
 * Declares the logic ports to the IGMP engine: the uplink as the wildcard 0xFFFF, the others by port number.
 * @retval 0   Both were declared.
 * @retval -1  The engine refused one; the later ones were not declared.
 */
MCADAPT_API int32_t igmp_adapt_port_conf_set(void);

/**
 * MLD twin of `igmp_adapt_init`; also pushes the MLD mode.
 * @return The engine's answer to the mode; 0 on success.
 */
MCADAPT_API int32_t mld_adapt_init(void);

/**
 * Declares the logic ports whose type is not 0 to the MLD engine, each by its port number.
 * @retval 0   All were declared.
 * @retval -1  The engine refused one; the later ones were not declared.
 */
MCADAPT_API int32_t mld_adapt_port_conf_set(void);

/**
 * Puts `globle_parm`, the static groups and a new status block into their start state and pushes the IGMP
 * parameters and the protocol mode into the engine. The previous status block is not freed.
 */
MCADAPT_API void initIgmpGlobleParmeter(void);

/**
 * Puts the MLD parameters of `mldInitParams` into their start state. The port table, the rules and their counts,
 * `mldVlanList` and the tag records keep what they hold; nothing is pushed into the engine.
 */
MCADAPT_API void initmldGlobleParmeter(void);

/** Sets the MLD port table to port 0, user, and port 29, uplink. */
MCADAPT_API void mldinitPortStateNode(void);

/** Clears every MLD rule and both rule counts. */
MCADAPT_API void mldinitVlancfgNode(void);

/**
 * Creates the receive task `tMCPktRecv` with a stack of 51200 bytes.
 * @param priority  Priority of the task.
 * @retval 0   Created.
 * @retval -1  The unit refused.
 */
MCADAPT_API int32_t igmp_adapt_task_init(int32_t priority);

MCADAPT_END_DECLS

#endif
