/**
 * @file
 * A naive model of the IGMP rule tables and of all that the rule, default-VLAN, reset and static-group operations do to
 * them: written to be plainly right, not fast.
 */
#ifndef MCADAPT_TESTS_IGMP_MODEL_H
#define MCADAPT_TESTS_IGMP_MODEL_H

#include <optional>

#include "mcadapt/records.h"
#include "properties/mld_model.h"
#include "properties/model_engine.h"

namespace mcadapt::test {

class IgmpModel {
public:
    IgmpModel(ModelEngine &engine, MldModel &mld) : engine_(engine), mld_(mld) {}

    int32_t install(vlanCfgNode rule);
    int32_t remove(vlanCfgNode rule);
    int32_t install_by_mode(int32_t port, uint32_t mode, uint32_t vlan1, uint32_t vlan2);
    int32_t remove_by_mode(int32_t port, uint32_t mode, uint32_t vlan1, uint32_t vlan2);
    int32_t set_by_web(vlanCfgNode &rule);
    int32_t set_default_vlan(uint32_t vlan);
    void reset_all();
    int32_t reset_port(uint32_t port, uint32_t type);
    int32_t add_static_groups(uint32_t port, uint8_t first, uint8_t last, uint16_t vlan);
    int32_t delete_static_groups(uint32_t port, uint8_t first, uint8_t last, uint16_t vlan);
    int32_t clear_static_groups(uint32_t port);

    // The records, by what they hold.
    igmpGlobleParm parm{};
    vlanCfgNode rules[2][16];
    int32_t counts[2];
    uint16_t vlans[16];
    int32_t vlan_count;
    portStateNode ports[2];
    staticGroupEntry static_groups[2][32];
    int32_t static_counts[2];
    std::optional<grp_info> status;
    uint16_t default_vlan;
    int32_t adapt;
    uint32_t set_by_mode;
    uint8_t protocol_mode;

    // The unit around them.
    bool epon = false;
    bool allocation_fails = false;

private:
    int32_t learn_vlans();
    int32_t replay_static_groups(int port, int32_t status);
    bool is_listed(uint16_t vlan) const;
    void append_vlan(uint16_t vlan);
    void drop_vlan(int index);
    void pack_vlans();
    void withdraw_static_groups(int port, uint16_t vlan);
    void release_vlan(uint16_t vlan);
    void clear_row(int port);
    void start_parameters();
    void push_parameters();
    void set_snooping_mode();
    bool trap_to_the_unit();
    bool accepts_static_groups(uint32_t port, uint8_t first, uint8_t last, uint16_t vlan) const;
    int32_t withdraw_static_group(uint32_t port, staticGroupEntry &entry, uint16_t vlan);

    ModelEngine &engine_;
    MldModel &mld_;
};

} // namespace mcadapt::test

#endif
