#include "tests/host/endurance/platform_watch.h"

#include <cstdlib>
#include <malloc.h>
#include <new>
#include <sys/shm.h>

#include "platform/protocol_engine.h"

namespace mcadapt::host::test {

namespace {

uint64_t others = 0;

// The engine takes the low 12 bits, and refuses what is no VLAN id.
int32_t told(VlanSet &vlans, uint32_t vlan, bool registered, int32_t result)
{
    if (result == 0)
        vlans[vlan & 0xFFF] = registered;
    return result;
}

} // namespace

PlatformWatch &platform_watch()
{
    static PlatformWatch watch;
    return watch;
}

uint64_t heap_of_others() { return others; }

} // namespace mcadapt::host::test

using namespace mcadapt::host::test;

extern "C" {

void *__real_calloc(size_t count, size_t size);
void *__wrap_calloc(size_t count, size_t size);
void *__wrap_calloc(size_t count, size_t size)
{
    ++platform_watch().blocks;
    platform_watch().block_bytes += count * size;
    return __real_calloc(count, size);
}

void *__real_shmat(int id, const void *address, int flags);
void *__wrap_shmat(int id, const void *address, int flags);
void *__wrap_shmat(int id, const void *address, int flags)
{
    void *const segment = __real_shmat(id, address, flags);
    platform_watch().attachments += segment != reinterpret_cast<void *>(-1);
    return segment;
}

int __real_shmdt(const void *address);
int __wrap_shmdt(const void *address);
int __wrap_shmdt(const void *address)
{
    ++platform_watch().detachments;
    return __real_shmdt(address);
}

int32_t __real_igmp_vlan_add(uint32_t vlan);
int32_t __wrap_igmp_vlan_add(uint32_t vlan);
int32_t __wrap_igmp_vlan_add(uint32_t vlan)
{
    return told(platform_watch().igmp_vlans, vlan, true, __real_igmp_vlan_add(vlan));
}

int32_t __real_igmp_vlan_del(uint32_t vlan);
int32_t __wrap_igmp_vlan_del(uint32_t vlan);
int32_t __wrap_igmp_vlan_del(uint32_t vlan)
{
    return told(platform_watch().igmp_vlans, vlan, false, __real_igmp_vlan_del(vlan));
}

int32_t __real_igmp_vlan_del_all(void);
int32_t __wrap_igmp_vlan_del_all(void);
int32_t __wrap_igmp_vlan_del_all(void)
{
    platform_watch().igmp_vlans.reset();
    return __real_igmp_vlan_del_all();
}

int32_t __real_mld_pack_set_mc_vlan(uint32_t add, uint32_t vlan);
int32_t __wrap_mld_pack_set_mc_vlan(uint32_t add, uint32_t vlan);
int32_t __wrap_mld_pack_set_mc_vlan(uint32_t add, uint32_t vlan)
{
    return told(platform_watch().mld_vlans, vlan, add != 0, __real_mld_pack_set_mc_vlan(add, vlan));
}
}

#ifdef MCADAPT_OWN_NEW // not beside a sanitizer's own

namespace {

// What the heap counts for a block: its room and one word.
uint64_t chunk_bytes(void *block) { return block == nullptr ? 0 : malloc_usable_size(block) + sizeof(std::size_t); }

} // namespace

void *operator new(std::size_t size)
{
    void *const block = std::malloc(size);
    if (block == nullptr)
        throw std::bad_alloc();
    others += chunk_bytes(block);
    return block;
}

void operator delete(void *block) noexcept
{
    others -= chunk_bytes(block);
    std::free(block);
}

void operator delete(void *block, std::size_t) noexcept { operator delete(block); }

#endif
