/**
 * @file
 * The steps of the check, in their order.
 */
#ifndef MCADAPT_PORTCHECK_STEPS_H
#define MCADAPT_PORTCHECK_STEPS_H

namespace mcadapt::portcheck {

/** What `mc_igmp_init` calls, in its order. */
void bring_up();
/** Frames in and out on the receive task, and what the engine makes of a host that joins and leaves. */
void pass_frames();
/** What the management operations call. */
void manage();
/** The receive task, a management thread and a sending one at the same time. */
void run_together();

/** The groups and counters, while the host listens. */
void gather_status();
/** A call whose result is a word: it must write all of it, and no more. */
void ask_uplink();

} // namespace mcadapt::portcheck

#endif
