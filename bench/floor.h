/**
 * @file
 * The floor: what a case costs at least.
 *
 * Each function reads the header fields that the library reads on that path, copies the frame once if the path needs a
 * copy, and calls the send function once per frame. It looks nothing up, checks nothing, keeps nothing and does not
 * call the engine.
 */
#ifndef MCADAPT_BENCH_FLOOR_H
#define MCADAPT_BENCH_FLOOR_H

#include <cstdint>

namespace mcadapt::bench {

/** A tagged frame is sent on from where it lies, `sends` times. */
void floor_igmp_in_place(const uint8_t *frame, uint32_t length, uint32_t sends);
void floor_mld_in_place(const uint8_t *frame, uint32_t length, uint32_t sends);

/** A tagged frame is copied, `growth` bytes longer or shorter behind the addresses, and sent once. */
void floor_igmp_copied(const uint8_t *frame, uint32_t length, int32_t growth);
void floor_mld_copied(const uint8_t *frame, uint32_t length, int32_t growth);

/** A packet is copied behind addresses and one tag, and sent once. */
void floor_igmp_packet(const uint8_t *packet, uint32_t length);
void floor_mld_packet(const uint8_t *packet, uint32_t length);

} // namespace mcadapt::bench

#endif
