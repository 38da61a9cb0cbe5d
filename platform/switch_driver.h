/**
 * @file
 * The switch driver: calls that a port supplies and the library makes.
 *
 * Ports are switch port numbers: 0 is the user port, 29 the uplink. Unless a call says otherwise, a result of 0 is
 * success and any other value is the driver's own code, which the library prints or passes on unchanged. Pointers are
 * valid during the call only.
 */
#ifndef MCADAPT_PLATFORM_SWITCH_DRIVER_H
#define MCADAPT_PLATFORM_SWITCH_DRIVER_H

#include <stdint.h>

#include "mcadapt/api.h"

MCADAPT_BEGIN_DECLS

/**
 * Opens the driver; from then on it may trap frames.
 * @return 0, or a code that ends start-up early: no filter method, second mode setting or proxy address is pushed. The
 *         receive task is created all the same and will call `L2_multicast_read_msg`.
 * @note Called once per start-up, on the thread that calls `mc_igmp_init`.
 */
int32_t L2_multicast_init(void);

/**
 * Selects how the switch filters multicast data.
 * @param method  Always 2: by VLAN and multicast MAC address.
 * @return 0, or a code that ends start-up early: the second mode setting and the proxy address are not pushed.
 * @note Called once per start-up, after `L2_multicast_init`.
 */
int32_t L2_multicast_set_filter_method(uint32_t method);

/**
 * Delivers one trapped frame, without waiting.
 *
 * @param[out] frame   Room for 2048 bytes; the size is not passed. Never write more; drop or cut a longer frame.
 *                     Keep no reference: the same buffer is used for every frame, and is not cleared in between.
 * @param[out] port    Switch port on which the frame arrived; the intake refuses one above 29.
 * @param[out] length  Frame length in bytes, from the destination MAC address on, without the FCS. The intake refuses
 *                     more than 2000.
 * @retval 0      A frame was delivered; the next call follows as soon as it is handled.
 * @retval other  Nothing to read; the receive task sleeps 1 second before the next call.
 * @note Called on the receive task only.
 */
int32_t L2_multicast_read_msg(uint8_t *frame, uint8_t *port, uint32_t *length);

/**
 * Sends one frame.
 *
 * @param frame    The frame, from the destination MAC address on, tags included. Read it before returning and keep no
 *                 reference: the library reuses the memory.
 * @param ifindex  Switch port, 0 to 255; 29 is the uplink.
 * @param length   Frame length in bytes.
 * @param srcPort  Switch port of the last frame received of the same family, low byte.
 * @param ponVlan  Multicast VLAN found for the last frame received, of either family.
 * @return 0 success. A failure is printed and goes no further; nothing is sent again.
 * @note Called on the receive task and on the engine's threads, possibly at the same time.
 */
int32_t L2_multicast_send_msg(const uint8_t *frame, uint32_t ifindex, uint32_t length, uint32_t srcPort,
                              uint32_t ponVlan);

/**
 * Forwards a multicast MAC address to a port.
 *
 * @param port  Switch port; the engine's 16-bit number, sign-extended: 0xFFFF arrives as -1.
 * @param mac   Six bytes: 01:00:5E and 23 bits of an IPv4 group, or 33:33 and 32 bits of an IPv6 group. Keep no
 *              reference.
 * @param vlan  VLAN of the entry, 16 bits.
 * @return 0 success. IGMP: a failure reaches the engine as `tablereturn` says; MLD: unchanged.
 * @note Called on the thread from which the engine calls `igmp_add_grp` or `mld_add_grp`.
 */
int32_t L2_multicast_set_port_iptv_entry(int32_t port, const uint8_t *mac, uint32_t vlan);

/**
 * Stops forwarding a multicast MAC address to a port; arguments as `L2_multicast_set_port_iptv_entry`.
 * @return 0 success; a failure reaches the engine unchanged.
 */
int32_t L2_multicast_remove_port_iptv_entry(int32_t port, const uint8_t *mac, uint32_t vlan);

/**
 * Turns trapping of multicast control frames to the processor on or off.
 * @param selector  0 IPv4, 1 IPv6.
 * @param enable    1 on, 0 off.
 * @return 0 success; a failure ends the sequence of trap and flood settings and is printed.
 * @note Called during start-up and on management threads, at every mode setting, changed or not.
 */
int32_t l2_multicast_set_trap(uint32_t selector, uint32_t enable);

/** Turns flooding of multicast in hardware on or off; arguments, results and threads as `l2_multicast_set_trap`. */
int32_t l2_multicast_set_flood(uint32_t selector, uint32_t enable);

MCADAPT_END_DECLS

#endif
