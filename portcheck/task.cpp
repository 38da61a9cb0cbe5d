#include "portcheck/task.h"

#include <atomic>
#include <pthread.h>

#include "portcheck/lent_memory.h"
#include "portcheck/report.h"
#include "portcheck/watch.h"

namespace mcadapt::portcheck {

namespace {

constexpr uint32_t kStackBytes = 51200;

pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;
pthread_cond_t changed = PTHREAD_COND_INITIALIZER;
void (*pending)(); // guarded by the lock, as the next two
bool busy;
uint32_t round_number; // a task of an earlier check is left behind

pthread_t creator;
std::atomic<uint32_t> entered{0};
std::atomic<bool> ran_on_creator{false};
std::atomic<std::size_t> stack_bytes{0};

std::size_t own_stack_bytes()
{
    pthread_attr_t attributes;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0)
        return 0;
    void *lowest = nullptr;
    std::size_t bytes = 0;
    pthread_attr_getstack(&attributes, &lowest, &bytes);
    pthread_attr_destroy(&attributes);
    return bytes;
}

// Work is taken as long as the check lasts.
[[noreturn]] void serve()
{
    pthread_mutex_lock(&lock);
    const uint32_t own_round = round_number;
    for (;;) {
        while (pending == nullptr && own_round == round_number)
            pthread_cond_wait(&changed, &lock);
        if (own_round != round_number)
            break;
        void (*const work)() = pending;
        pending = nullptr;
        pthread_mutex_unlock(&lock);
        work();
        pthread_mutex_lock(&lock);
        busy = false;
        pthread_cond_broadcast(&changed);
    }
    pthread_mutex_unlock(&lock);
    park();
}

// The stack is measured in the task itself: what the port passed on, not what it was asked for.
void task_entry()
{
    if (pthread_equal(pthread_self(), creator)) {
        ran_on_creator = true;
        ++entered;
        return;
    }
    stack_bytes = own_stack_bytes();
    const bool fit = stack_bytes >= kStackBytes;
    const bool first = entered.fetch_add(1) == 0;
    if (!fit || !first)
        park();
    name_thread("on the receive task");
    serve();
}

void *replacement(void *)
{
    name_thread("in the place of the receive task");
    serve();
}

void replace_task()
{
    pthread_t thread;
    pthread_create(&thread, nullptr, replacement, nullptr);
    pthread_detach(thread);
}

bool is_entered()
{
    const uint32_t start = now_ms();
    while (entered == 0 && now_ms() - start < options().waitMs)
        pause_ms(2);
    return entered != 0;
}

// Whether the library could run its receive task in this one.
bool is_fit(int32_t result)
{
    if (ran_on_creator) {
        fault("pal_task_create ran the entry on the thread that called it; the library needs a thread of its own for "
              "it, because the entry never returns, and neither would mc_igmp_init.");
        return false;
    }
    if (result != 0) {
        fault("pal_task_create returned %d; the library needs 0 for a task that was created, because it takes anything "
              "else for a unit that receives no frames.",
              result);
        if (entered == 0)
            return false;
    }
    if (!is_entered()) {
        fault("pal_task_create returned 0, and the entry did not run within %u ms; the library needs the task to start "
              "with the entry given, because only that one reads frames.",
              options().waitMs);
        return false;
    }
    if (stack_bytes < kStackBytes) {
        fault(
            "pal_task_create made a task with a stack of %u bytes; the library needs the %u that it asks for, because "
            "the frame, its copies and the engine's own calls lie on it.",
            static_cast<uint32_t>(stack_bytes), kStackBytes);
        return false;
    }
    saw_effect(Call::pal_task_create);
    return true;
}

} // namespace

void start_tasks()
{
    pthread_mutex_lock(&lock);
    ++round_number;
    pending = nullptr;
    busy = false;
    pthread_cond_broadcast(&changed);
    pthread_mutex_unlock(&lock);
    creator = pthread_self();
    entered = 0;
    ran_on_creator = false;
    stack_bytes = 0;
}

void create_receive_task(int32_t priority)
{
    static constexpr char kName[] = "tMCPktRecv";
    creator = pthread_self();
    LentInput task_name(Call::pal_task_create, "name", kName, sizeof(kName));
    LentOutput task_id(Call::pal_task_create, "taskId", sizeof(uint32_t));
    const int32_t result =
        CALL(pal_task_create)(static_cast<uint32_t *>(task_id.memory()), static_cast<const char *>(task_name.memory()),
                              priority + 1, 0u, kStackBytes, task_entry);
    task_name.take_back();
    task_id.take_back();
    if (!is_fit(result))
        replace_task();
}

void start_on_receive_task(void (*work)())
{
    pthread_mutex_lock(&lock);
    pending = work;
    busy = true;
    pthread_cond_broadcast(&changed);
    pthread_mutex_unlock(&lock);
}

void wait_for_receive_task()
{
    pthread_mutex_lock(&lock);
    const uint32_t own_round = round_number;
    while (busy && own_round == round_number)
        pthread_cond_wait(&changed, &lock);
    const bool left_behind = own_round != round_number;
    pthread_mutex_unlock(&lock);
    if (left_behind)
        park();
}

void on_receive_task(void (*work)())
{
    start_on_receive_task(work);
    wait_for_receive_task();
}

void check_single_task()
{
    if (entered > 1)
        fault("pal_task_create ran the entry %u times; the library needs it run once, because each run reads frames of "
              "its own into the records that all share.",
              entered.load());
}

} // namespace mcadapt::portcheck
