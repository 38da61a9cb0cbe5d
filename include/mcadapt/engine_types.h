/**
 * @file
 * Records that the protocol engine and the library hand to each other.
 */
#ifndef MCADAPT_ENGINE_TYPES_H
#define MCADAPT_ENGINE_TYPES_H

#include <stdint.h>

#include "mcadapt/api.h"

MCADAPT_BEGIN_DECLS

/**
 * One group membership, as the engine hands it to the forwarding-entry callbacks.
 *
 * The record belongs to the engine and may be longer; the library reads only the four named fields.
 */
typedef struct mcGroupRecord {
    uint8_t engineHead[4];    /**< The engine's own. */
    uint32_t ipv4Group;       /**< IGMP: group address in host byte order, 224.1.2.3 is 0xE0010203. */
    uint8_t engineMiddle[12]; /**< The engine's own. */
    uint8_t ipv6GroupTail[4]; /**< MLD: the last four bytes of the group address, in network order. */
    uint8_t engineTail[28];   /**< The engine's own. */
    uint16_t vlan;            /**< VLAN of the entry. */
    uint16_t port;            /**< Switch port of the entry. */
} mcGroupRecord;

/** The 802.1Q tag of an IGMP packet that the engine sends; all fields in host byte order. */
typedef struct mcTagDescriptor {
    uint16_t tpid; /**< Tag protocol identifier. */
    uint16_t vid;  /**< VLAN id, 0 to 4095. */
    uint8_t pri;   /**< Priority, 0 to 7. */
} mcTagDescriptor;

/** Bytes of one packed group record in the buffer of `igmp_gather_grp_info`. */
#define MC_ENGINE_GROUP_BYTES 25

/** Bytes offered to `igmp_gather_grp_info`: a 32-bit count and 512 packed records. */
#define MC_ENGINE_GROUP_BUFFER_BYTES 12804

/**
 * Sends one IP packet of the engine; see `send_pkt_igmp` and `send_pkt_mld`.
 */
typedef int32_t (*mcSendPacketCallback)(const uint8_t *packet, uint32_t port, mcTagDescriptor *tag, uint32_t length);

/**
 * Adds or removes one forwarding entry; see `igmp_add_grp`, `igmp_del_grp` and their MLD twins.
 */
typedef int32_t (*mcForwardingCallback)(const mcGroupRecord *group);

MCADAPT_END_DECLS

#endif
