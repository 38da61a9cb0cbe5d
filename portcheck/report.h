/**
 * @file
 * What the check tells: calls before they are made, faults, notes, and the summary.
 */
#ifndef MCADAPT_PORTCHECK_REPORT_H
#define MCADAPT_PORTCHECK_REPORT_H

#include <cstdint>

#include "mcadapt/portcheck.h"
#include "portcheck/platform_calls.h"

namespace mcadapt::portcheck {

/** Starts a report; defaults are filled in. */
void open_report(const mcPortcheckOptions &options);
const mcPortcheckOptions &options();

/** One line, left out when the report is quiet. */
[[gnu::format(printf, 1, 2)]] void tell(const char *format, ...);
/** One sentence: the call, what was seen, what the library needs, and why. The same one is told once. */
[[gnu::format(printf, 1, 2)]] void fault(const char *format, ...);
/** Something to know that is no fault; the same one is told once. */
[[gnu::format(printf, 1, 2)]] void note(const char *format, ...);

/** A call is about to be made; the first time tells it, with what it changes. */
void tell_call(Call call);
/** The effect of a call was seen, and was right. */
void saw_effect(Call call);
/** Judges a result as the library does. @return Whether it is a success. */
bool judge(Call call, int32_t result);

/** Notes the refusal of something that a unit may lack. @return Whether the call was a success. */
bool judge_allowed(Call call, int32_t result, const char *what);

/** Lists what cannot be told, and the summary. @return The result of the check. */
int32_t close_report(bool stopped);

} // namespace mcadapt::portcheck

#endif
