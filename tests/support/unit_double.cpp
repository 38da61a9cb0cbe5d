/** The switch driver's calls, the services of the unit, and the calls of libc that a test must be able to rule. */
#include <dlfcn.h>
#include <sys/shm.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "platform/switch_driver.h"
#include "platform/unit_services.h"
#include "support/platform_double.h"

using mcadapt::test::HexBytes;
using mcadapt::test::MacBytes;
using mcadapt::test::platform;

// --- Switch driver

int32_t L2_multicast_init(void) { return platform().called("L2_multicast_init"); }
int32_t L2_multicast_set_filter_method(uint32_t method)
{
    return platform().called("L2_multicast_set_filter_method", method);
}
int32_t L2_multicast_read_msg(uint8_t *frame, uint8_t *port, uint32_t *length)
{
    return platform().read_message(frame, port, length);
}
int32_t L2_multicast_send_msg(const uint8_t *frame, uint32_t ifindex, uint32_t length, uint32_t srcPort, uint32_t vlan)
{
    platform().sent.push_back({{frame, frame + length}, ifindex, srcPort, vlan});
    return platform().called("L2_multicast_send_msg", HexBytes{frame, length}, ifindex, length, srcPort, vlan);
}
int32_t L2_multicast_set_port_iptv_entry(int32_t port, const uint8_t *mac, uint32_t vlan)
{
    return platform().called("L2_multicast_set_port_iptv_entry", port, MacBytes{mac}, vlan);
}
int32_t L2_multicast_remove_port_iptv_entry(int32_t port, const uint8_t *mac, uint32_t vlan)
{
    return platform().called("L2_multicast_remove_port_iptv_entry", port, MacBytes{mac}, vlan);
}
int32_t l2_multicast_set_trap(uint32_t selector, uint32_t enable)
{
    return platform().called("l2_multicast_set_trap", selector, enable);
}
int32_t l2_multicast_set_flood(uint32_t selector, uint32_t enable)
{
    return platform().called("l2_multicast_set_flood", selector, enable);
}

// --- Unit services

int32_t pal_task_create(uint32_t *taskId, const char *name, int32_t priority, uint32_t options, uint32_t stackSize,
                        palTaskEntry entry)
{
    return platform().called("pal_task_create", *taskId, name, priority, options, stackSize, entry);
}
int32_t get_mac_addr(const char *setting, uint8_t *mac, uint32_t length)
{
    const int32_t result = platform().called("get_mac_addr", setting, length);
    const auto &unit_mac = platform().unit_mac;
    std::copy_n(unit_mac.begin(), std::min<std::size_t>(length, unit_mac.size()), mac);
    return result;
}
int32_t vx_ploam_onuid_get(uint8_t *onuId)
{
    const int32_t result = platform().called("vx_ploam_onuid_get");
    *onuId = platform().onu_id;
    return result;
}
int32_t vx_hal_nni_upmode_get(uint32_t *upMode)
{
    const int32_t result = platform().called("vx_hal_nni_upmode_get");
    *upMode = platform().uplink_mode;
    return result;
}

// --- libc

namespace {

template <class Function> Function *libc_function(const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" {

unsigned int sleep(unsigned int seconds) { return static_cast<unsigned int>(platform().called("sleep", seconds)); }

int shmget(key_t key, size_t size, int flags) noexcept
{
    const int32_t id = platform().called_or(mcadapt::test::PlatformDouble::kSegmentId, "shmget", key, size, flags);
    return platform().real_shared_memory() ? libc_function<int(key_t, size_t, int)>("shmget")(key, size, flags) : id;
}

void *shmat(int id, const void *address, int flags) noexcept
{
    const auto where = reinterpret_cast<uintptr_t>(address);
    const int32_t result = platform().called("shmat", id, where, flags);
    if (platform().real_shared_memory())
        return libc_function<void *(int, const void *, int)>("shmat")(id, address, flags);
    return result == 0 ? static_cast<void *>(&platform().segment) : reinterpret_cast<void *>(intptr_t{result});
}

// The tests are linked with --wrap=calloc.
void *__real_calloc(size_t count, size_t size);
void *__wrap_calloc(size_t count, size_t size);
void *__wrap_calloc(size_t count, size_t size)
{
    return platform().take_calloc_failure() ? nullptr : __real_calloc(count, size);
}
}
