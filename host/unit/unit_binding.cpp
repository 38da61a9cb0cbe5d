#include "host/unit/unit_binding.h"

#include <algorithm>
#include <csetjmp>
#include <cstring>
#include <exception>
#include <pthread.h>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

namespace mcadapt::host {

namespace {

const UnitSettings *installed = nullptr;
Tasks tasks_run_as = Tasks::kStored;
palTaskEntry kept_entry = nullptr;
uint32_t tasks_created = 0;

constexpr int32_t kRefused = -1;

// A longer name is refused by the system.
constexpr std::size_t kThreadNameLength = 15;

thread_local std::jmp_buf *way_out = nullptr;

// Never destroyed: a task may run to the end of the process.
std::vector<std::thread> &task_threads()
{
    static auto &threads = *new std::vector<std::thread>;
    return threads;
}

void run_task(const std::string &name, palTaskEntry entry)
{
    pthread_setname_np(pthread_self(), name.c_str());
    std::jmp_buf start;
    way_out = &start;
    if (setjmp(start) == 0)
        entry();
    way_out = nullptr;
}

bool start_thread(const char *name, palTaskEntry entry)
{
    try {
        task_threads().emplace_back(run_task, std::string(name).substr(0, kThreadNameLength), entry);
        return true;
    } catch (const std::system_error &) {
        return false;
    }
}

} // namespace

void install(const UnitSettings *settings, Tasks tasks)
{
    installed = settings;
    tasks_run_as = tasks;
    kept_entry = nullptr;
    tasks_created = 0;
}

palTaskEntry stored_task() { return kept_entry; }

void leave_task()
{
    if (way_out == nullptr)
        std::terminate(); // not on a task's thread
    std::longjmp(*way_out, 1);
}

void join_tasks()
{
    for (std::thread &task : task_threads())
        task.join();
    task_threads().clear();
}

} // namespace mcadapt::host

using namespace mcadapt::host;

int32_t pal_task_create(uint32_t *taskId, const char *name, int32_t, uint32_t, uint32_t, palTaskEntry entry)
{
    if (installed == nullptr)
        return kRefused;
    kept_entry = entry;
    if (tasks_run_as == Tasks::kThreads && !start_thread(name, entry))
        return kRefused;
    *taskId = ++tasks_created;
    return 0;
}

int32_t get_mac_addr(const char *setting, uint8_t *mac, uint32_t length)
{
    if (installed == nullptr || std::strcmp(setting, "ethaddr") != 0)
        return kRefused;
    std::copy_n(installed->mac.begin(), std::min<std::size_t>(length, installed->mac.size()), mac);
    return 0;
}

int32_t vx_ploam_onuid_get(uint8_t *onuId)
{
    *onuId = installed == nullptr ? 0 : installed->onu_id;
    return installed == nullptr ? kRefused : 0;
}

int32_t vx_hal_nni_upmode_get(uint32_t *upMode)
{
    *upMode = installed != nullptr && installed->uplink == Uplink::kEpon ? 0 : 1;
    return installed == nullptr ? kRefused : 0;
}
