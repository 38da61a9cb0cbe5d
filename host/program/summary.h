/**
 * @file
 * The tables at the end of a run.
 */
#ifndef MCADAPT_HOST_PROGRAM_SUMMARY_H
#define MCADAPT_HOST_PROGRAM_SUMMARY_H

#include <cstdio>

#include "host/program/replay.h"
#include "host/program/statistics.h"

namespace mcadapt::host {

/** Frames by kind, drops by reason, groups per port, forwarding entries, join and leave delays. */
void print_summary(const Replay &replay, const Statistics &statistics, std::FILE *out);

/** The same as one JSON object on a line, "event" is "summary". */
void print_json_summary(const Replay &replay, const Statistics &statistics, std::FILE *out);

} // namespace mcadapt::host

#endif
