/**
 * @file
 * Memory that is lent to one call of the port, as the library lends its own: what the port does with it afterwards, or
 * beyond its ends, is noticed.
 *
 * Once taken back, the memory is inaccessible. A later access, and one behind the end of what may only be read, raises
 * a signal; it is noted, the memory is opened, and the port goes on. Room for results has canaries instead at its ends,
 * because a driver may let the kernel write there, which raises none.
 */
#ifndef MCADAPT_PORTCHECK_LENT_MEMORY_H
#define MCADAPT_PORTCHECK_LENT_MEMORY_H

#include <cstdint>

#include "portcheck/platform_calls.h"

namespace mcadapt::portcheck {

struct Region;

/** Bytes to read for a call; they end where the accessible memory ends. */
class LentInput {
public:
    /**
     * @param argument  Its name in the call.
     * @param behind    Bytes behind the end whose reading is noticed.
     */
    LentInput(Call call, const char *argument, const void *content, uint32_t size, uint32_t behind = 0);
    ~LentInput() { take_back(); }
    LentInput(const LentInput &) = delete;
    LentInput &operator=(const LentInput &) = delete;

    const uint8_t *bytes() const { return bytes_; }
    const void *memory() const { return bytes_; }
    /** Looks at what the port left, and closes the memory. */
    void take_back();

private:
    Region *region_;
    uint8_t *bytes_;
    const uint8_t *copy_;
    uint32_t size_;
};

/** Room that a call fills. */
class LentOutput {
public:
    /** @param fill  Every byte of the room beforehand. */
    LentOutput(Call call, const char *argument, uint32_t size, uint8_t fill = 0);
    ~LentOutput();
    LentOutput(const LentOutput &) = delete;
    LentOutput &operator=(const LentOutput &) = delete;

    uint8_t *bytes() { return bytes_; }
    void *memory() { return bytes_; }
    /** Looks at the canaries, keeps what is in the room, and closes it. */
    void take_back();
    /** What the call left in the room, after `take_back` and until this object ends. */
    const uint8_t *result() const { return result_; }

private:
    Region *region_;
    uint8_t *bytes_;
    uint8_t *result_;
    uint32_t size_;
};

/** Forgets the memory of an earlier check. */
void start_lending();
/** Tells the accesses that were noticed, and opens all memory. */
void tell_late_accesses();
/** Whether an address that raised a signal was lent memory; it is noted and opened then. For signal handlers. */
bool open_lent_memory(const void *address);

} // namespace mcadapt::portcheck

#endif
