/**
 * @file
 * What the library takes from the process and tells the engine, seen on the way: the linker puts `platform_watch.cpp`
 * between.
 */
#ifndef MCADAPT_TESTS_HOST_ENDURANCE_PLATFORM_WATCH_H
#define MCADAPT_TESTS_HOST_ENDURANCE_PLATFORM_WATCH_H

#include <bitset>
#include <cstddef>
#include <cstdint>

namespace mcadapt::host::test {

using VlanSet = std::bitset<4096>;

struct PlatformWatch {
    uint64_t blocks = 0;      /**< `calloc` calls: the library's only way to the heap. */
    uint64_t block_bytes = 0; /**< What they asked for, all together. */
    uint64_t attachments = 0; /**< `shmat` calls that gave the segment. */
    uint64_t detachments = 0;
    VlanSet igmp_vlans; /**< Registered with the engine, as it was told. */
    VlanSet mld_vlans;
};
PlatformWatch &platform_watch();

/** Heap in use by everything but the library, as the heap counts it; 0 where the sanitizers have a heap of their own.
 */
uint64_t heap_of_others();

} // namespace mcadapt::host::test

#endif
