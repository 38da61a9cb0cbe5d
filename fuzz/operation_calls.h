/**
 * @file
 * Calls of the operations that take more than numbers: what the table of operations names.
 */
#ifndef MCADAPT_FUZZ_OPERATION_CALLS_H
#define MCADAPT_FUZZ_OPERATION_CALLS_H

#include "fuzz/operations.h"

namespace mcadapt::fuzz {

// Packet path
void run_receive_task(Input &input);
void intake(Input &input, int32_t (*operation)(uint8_t *frame, uint32_t length, uint32_t port));
void handler(Input &input, void (*operation)(uint8_t *frame, uint32_t port, uint32_t length, uint32_t vlan));
void send_frame(Input &input, int32_t (*operation)(const uint8_t *frame, uint16_t length, uint16_t port));
void send_packet(Input &input, mcSendPacketCallback operation, std::size_t header_bytes);
void forwarding_entry(Input &input, mcForwardingCallback operation);

// Rules and tables
void install_or_remove(Input &input, int32_t (*operation)(const vlanCfgNode *rule));
void install_or_remove(Input &input, int32_t (*operation)(vlanCfgNode *rule));
void compact_rules(Input &input, mcRuleTable (*operation)(mcConstRuleTable table, uint32_t port));
void compact_list(Input &input, uint16_t *(*operation)(const uint16_t *list));
void is_vlan_used(Input &input);

// Management
void set_ssm_map(Input &input);
void set_channels(Input &input);
void set_white_list(Input &input);
void static_groups(Input &input, int32_t (*operation)(uint32_t port, const uint8_t *start, const uint8_t *end,
                                                      uint32_t arg4, uint16_t vlan));
void set_oam_control(Input &input);
void get_oam_control(Input &input);
void list_groups(Input &input, int32_t (*operation)(uint32_t *count, uint8_t *buffer), std::size_t entry_bytes);
void get_status_para(Input &input);
void get_counters(Input &input);
void get_group_limit(Input &input);
/** An operation that gives one number. */
void get_byte(Input &input, int32_t (*operation)(uint8_t *out));
void get_number(Input &input, int32_t (*operation)(uint32_t *out));
void get_records(Input &input);

} // namespace mcadapt::fuzz

#endif
