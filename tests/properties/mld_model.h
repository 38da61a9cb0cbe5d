/**
 * @file
 * A naive model of the MLD rule tables: one record, changed in the plainest way.
 */
#ifndef MCADAPT_TESTS_MLD_MODEL_H
#define MCADAPT_TESTS_MLD_MODEL_H

#include "mcadapt/records.h"
#include "properties/model_engine.h"

namespace mcadapt::test {

class MldModel {
public:
    explicit MldModel(ModelEngine &engine) : engine_(engine) {}

    /** Both change the record that they are given. */
    int32_t install(vlanCfgNode &rule);
    int32_t remove(vlanCfgNode &rule);

    /** The start state of the parameters, which leaves rules, counts, ports and tags alone, and of the rules. */
    void start_parameters();
    void start_rules();

    mldInitParm state{};

private:
    void release_list_entry(uint16_t vlan);
    void pack_vlan_list();

    ModelEngine &engine_;
};

} // namespace mcadapt::test

#endif
