/**
 * @file
 * Counts of the record tables, and results of the engine.
 */
#ifndef MCADAPT_CORE_COUNTS_H
#define MCADAPT_CORE_COUNTS_H

#include <cstdint>

namespace mcadapt {

/**
 * Entries to walk in a table: never more than it has. A negative count stays one, and a loop over it walks none.
 *
 * Counts are exported and shared, so a loop never trusts one: it stays inside its table whatever the count holds.
 */
constexpr int32_t entries_to_walk(int32_t count, int32_t capacity) { return count < capacity ? count : capacity; }

/** Whether a table has no place for one more entry; a count outside the table is taken as a full one. */
constexpr bool is_full(int32_t count, int32_t capacity) { return count < 0 || count >= capacity; }

/** The engine's status where only its low 8 bits count, as a signed number. */
constexpr int32_t byte_status(int32_t code) { return static_cast<int8_t>(static_cast<uint8_t>(code)); }

} // namespace mcadapt

#endif
