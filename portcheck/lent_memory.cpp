#include "portcheck/lent_memory.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#include "portcheck/report.h"

namespace mcadapt::portcheck {

/** One mapping: pages with the memory, and closed pages behind them. */
struct Region {
    Call call;
    const char *argument;
    uint8_t *base;
    std::size_t open_bytes;
    std::size_t all_bytes;
    uint32_t lent_at;
    std::atomic<bool> taken_back;
    std::atomic<bool> touched_late;
    std::atomic<bool> read_behind;
};

namespace {

constexpr int kRegions = 256;
// A call that is made more often gets the oldest of its mappings again.
constexpr int kRegionsPerArgument = 6;
constexpr uint32_t kCanaryBefore = 64;
constexpr uint32_t kCanaryBehind = 8192;
constexpr uint8_t kCanary = 0xC7;

Region regions[kRegions];
std::atomic<int> used{0};
uint32_t times_lent;
pthread_mutex_t lock = PTHREAD_MUTEX_INITIALIZER;

std::size_t whole_pages(std::size_t bytes)
{
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return (bytes + page - 1) / page * page;
}

// Without memory there is no check, and nobody to tell.
void *need(void *memory)
{
    if (memory == nullptr || memory == MAP_FAILED)
        abort();
    return memory;
}

Region *used_region(Call call, const char *argument, std::size_t open_bytes)
{
    int lent = 0;
    Region *oldest = nullptr;
    for (int i = 0; i < used && i < kRegions; ++i) {
        Region &region = regions[i];
        if (region.call != call || strcmp(region.argument, argument) != 0 || region.open_bytes != open_bytes)
            continue;
        ++lent;
        if (region.taken_back && (oldest == nullptr || region.lent_at < oldest->lent_at))
            oldest = &region;
    }
    return lent < kRegionsPerArgument ? nullptr : oldest;
}

void open_region(Region &region)
{
    region.lent_at = ++times_lent;
    region.taken_back = false;
    mprotect(region.base, region.open_bytes, PROT_READ | PROT_WRITE);
    mprotect(region.base + region.open_bytes, region.all_bytes - region.open_bytes, PROT_NONE);
}

Region *map_region(Call call, const char *argument, std::size_t bytes, std::size_t closed)
{
    if (used >= kRegions)
        abort();
    Region &region = regions[used];
    region.call = call;
    region.argument = argument;
    region.open_bytes = whole_pages(bytes);
    region.all_bytes = region.open_bytes + whole_pages(closed + 1);
    region.touched_late = false;
    region.read_behind = false;
    region.base =
        static_cast<uint8_t *>(need(mmap(nullptr, region.all_bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)));
    open_region(region);
    ++used; // the signal handler finds it from now on
    return &region;
}

Region *new_region(Call call, const char *argument, std::size_t bytes, std::size_t closed)
{
    pthread_mutex_lock(&lock);
    Region *region = used_region(call, argument, whole_pages(bytes));
    if (region == nullptr)
        region = map_region(call, argument, bytes, closed);
    else
        open_region(*region);
    pthread_mutex_unlock(&lock);
    return region;
}

void close_region(Region &region)
{
    region.taken_back = true;
    mprotect(region.base, region.all_bytes, PROT_NONE);
}

uint8_t *copy_of(const void *content, uint32_t size)
{
    auto *copy = static_cast<uint8_t *>(need(malloc(size + 1u)));
    memcpy(copy, content, size);
    return copy;
}

} // namespace

LentInput::LentInput(Call call, const char *argument, const void *content, uint32_t size, uint32_t behind)
    : region_(new_region(call, argument, size, behind)), bytes_(region_->base + region_->open_bytes - size),
      copy_(copy_of(content, size)), size_(size)
{
    memcpy(bytes_, content, size);
}

void LentInput::take_back()
{
    if (region_->taken_back)
        return;
    for (uint32_t i = 0; i < size_; ++i) {
        if (bytes_[i] == copy_[i])
            continue;
        fault("%s wrote into its argument `%s` (byte %u was %02x and is now %02x); the library needs it unchanged, "
              "because it goes on using it: the same bytes are sent to further ports or are its own configuration.",
              name(region_->call), region_->argument, i, copy_[i], bytes_[i]);
        break;
    }
    free(const_cast<uint8_t *>(copy_));
    close_region(*region_);
}

LentOutput::LentOutput(Call call, const char *argument, uint32_t size, uint8_t fill)
    : region_(new_region(call, argument, kCanaryBefore + size + kCanaryBehind, 0)),
      bytes_(region_->base + kCanaryBefore), result_(static_cast<uint8_t *>(need(malloc(size + 1u)))), size_(size)
{
    memset(region_->base, kCanary, region_->open_bytes);
    memset(bytes_, fill, size);
}

LentOutput::~LentOutput()
{
    take_back();
    free(result_);
}

void LentOutput::take_back()
{
    if (region_->taken_back)
        return;
    uint32_t behind = kCanaryBehind;
    while (behind > 0 && bytes_[size_ + behind - 1] == kCanary)
        --behind;
    if (behind != 0)
        fault("%s wrote up to %u bytes behind the %u of `%s`; the library needs it to stop there, because its own "
              "variables lie behind them, on the stack or in its records.",
              name(region_->call), behind, size_, region_->argument);
    bool before = false;
    for (uint32_t i = 0; i < kCanaryBefore; ++i)
        before = before || region_->base[i] != kCanary;
    if (before)
        fault("%s wrote in front of `%s`; the library needs it to write into the room given, because its own variables "
              "lie in front of it.",
              name(region_->call), region_->argument);
    memcpy(result_, bytes_, size_);
    close_region(*region_);
}

void start_lending() { used = 0; }

void tell_late_accesses()
{
    for (int i = 0; i < used && i < kRegions; ++i) {
        Region &region = regions[i];
        mprotect(region.base, region.all_bytes, PROT_READ | PROT_WRITE); // stays: the port may still hold a pointer
        if (region.touched_late)
            fault("%s kept its argument `%s` and used it after it had returned; the library needs no reference kept, "
                  "because the memory is its own again and holds something else by then.",
                  name(region.call), region.argument);
        if (region.read_behind)
            fault("%s reached behind the end of `%s`; the library needs it to keep to what it was given, because what "
                  "lies behind is not part of it and may not even be memory.",
                  name(region.call), region.argument);
    }
}

bool open_lent_memory(const void *address)
{
    const auto *at = static_cast<const uint8_t *>(address);
    for (int i = 0; i < used && i < kRegions; ++i) {
        Region &region = regions[i];
        if (at < region.base || at >= region.base + region.all_bytes)
            continue;
        (region.taken_back ? region.touched_late : region.read_behind) = true;
        mprotect(region.base, region.all_bytes, PROT_READ | PROT_WRITE);
        return true;
    }
    return false;
}

} // namespace mcadapt::portcheck
