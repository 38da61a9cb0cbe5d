/**
 * @file
 * The receive task: created by the port, and given work by the thread that checks.
 */
#ifndef MCADAPT_PORTCHECK_TASK_H
#define MCADAPT_PORTCHECK_TASK_H

#include <cstdint>

namespace mcadapt::portcheck {

/** Forgets the task of an earlier check. */
void start_tasks();

/** Lets the port create the task, and looks at what became of it. A task that is not fit for use is replaced. */
void create_receive_task(int32_t priority);

/** Runs something on the receive task, and waits for its end. */
void on_receive_task(void (*work)());

/** The same without waiting; `wait_for_receive_task` does. */
void start_on_receive_task(void (*work)());
void wait_for_receive_task();

/** Tells a task whose entry ran more than once. */
void check_single_task();

} // namespace mcadapt::portcheck

#endif
