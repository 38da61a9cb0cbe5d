/**
 * @file
 * System calls of the library that a replay answers itself: `sleep`, and the shared status segment.
 *
 * The program's own definitions come before those of libc. An operation that pauses keeps its agent waiting, not the
 * unit: in a replay no time passes. The segment belongs to this process alone: neither what ran before nor what runs
 * beside changes a result.
 */
#ifndef MCADAPT_HOST_PROGRAM_SYSTEM_CALLS_H
#define MCADAPT_HOST_PROGRAM_SYSTEM_CALLS_H

namespace mcadapt::host {

/** Empties the segment; to be called once, as it also makes the linker take the definitions from here. */
void own_system_calls();

} // namespace mcadapt::host

#endif
