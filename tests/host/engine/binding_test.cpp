// The C calls: each reaches the installed engine with its arguments in their places.
#include "host/engine/engine_binding.h"

#include "engine_fixture.h"
#include "platform/protocol_engine.h"

namespace engine_test {
namespace {

constexpr Family kIgmp = Family::kIgmp;
constexpr Family kMld = Family::kMld;
const std::string kGroup = "239.1.2.3";

class Binding : public EngineTest {
protected:
    Binding() { install(&engine_); }
    ~Binding() override { install(nullptr); }

    static uint32_t value(const std::string &group) { return wire::ipv4_value(group); }
    int32_t receive(const wire::Bytes &packet, uint32_t port = 0, uint32_t vlan = 100)
    {
        const auto length = static_cast<uint32_t>(packet.size());
        uint16_t scratch = 12;
        return packet[0] >> 4 == 4 ? igmp_pkt_recv(packet.data(), length, port, vlan, 0)
                                   : mld_pkt_recv(packet.data(), length, port, vlan, &scratch);
    }
    int32_t join(const std::string &group = kGroup, uint32_t port = 0, uint32_t vlan = 100)
    {
        return receive(wire::join(kIgmp, 2, group), port, vlan);
    }
    int32_t join6(uint32_t port = 0, uint32_t vlan = 100)
    {
        return receive(wire::join(kMld, 1, "ff1e::3"), port, vlan);
    }
};

int32_t send_nothing(const uint8_t *, uint32_t, mcTagDescriptor *, uint32_t) { return 0; }
int32_t forwarding_calls[2];
int32_t count_add(const mcGroupRecord *) { return ++forwarding_calls[0] * 0; }
int32_t count_remove(const mcGroupRecord *) { return ++forwarding_calls[1] * 0; }

TEST_F(Binding, packets_go_in_and_their_result_comes_out)
{
    EXPECT_EQ(join(), 0);
    EXPECT_EQ(join6(), 0);
    EXPECT_EQ(engine_.group_count(kIgmp), 1u);
    EXPECT_EQ(engine_.group_count(kMld), 1u);
    EXPECT_NE(join(kGroup, 9), 0);
    EXPECT_NE(join6(0, 999), 0);
}

TEST_F(Binding, without_an_engine_every_call_answers_that)
{
    install(nullptr);
    EXPECT_EQ(installed_engine(), nullptr);
    EXPECT_EQ(join(), static_cast<int32_t>(Result::kNoEngine));
    EXPECT_EQ(igmp_vlan_add(5), static_cast<int32_t>(Result::kNoEngine));
    EXPECT_EQ(igmp_gather_grp_info(255, 12804, nullptr), 0);
    EXPECT_EQ(igmp_if_gather_if_status(0, 16, nullptr), 0);
}

TEST_F(Binding, callbacks_are_registered_each_in_its_place)
{
    forwarding_calls[0] = forwarding_calls[1] = 0;
    EXPECT_EQ(igmp_register_switch_send_pkt(send_nothing), 0);
    EXPECT_EQ(igmp_register_switch_add_table(count_add), 0);
    EXPECT_EQ(igmp_register_switch_del_table(count_remove), 0);
    EXPECT_EQ(mld_register_switch_send_pkt(send_nothing), 0);
    EXPECT_EQ(mld_register_switch_add_table(count_add), 0);
    EXPECT_EQ(mld_register_switch_del_table(count_remove), 0);
    EXPECT_NE(igmp_register_switch_add_table(nullptr), 0);
    igmp_register_switch_add_table(count_add);
    join();
    join6();
    EXPECT_EQ(forwarding_calls[0], 2);
    EXPECT_EQ(forwarding_calls[1], 0);
    igmp_vlan_del(100);
    mld_pack_set_mc_vlan(0, 100);
    EXPECT_EQ(forwarding_calls[1], 2);
}

TEST_F(Binding, start_up_in_the_librarys_order)
{
    EXPECT_EQ(igmp_data_init(), 0);
    EXPECT_EQ(mld_data_init(), 0);
    EXPECT_EQ(igmp_task_init(50, 0), 0);
    EXPECT_EQ(mld_task_init(50), 0);
    EXPECT_EQ(igmp_vlan_del_all(), 0);
    EXPECT_EQ(igmp_default_vid_set(4088), 0);
    EXPECT_EQ(igmp_para_globle_set(2, 125, 10, 1, 2, 1), 0);
    EXPECT_EQ(igmp_mode_switch_globle(1), 0);
    EXPECT_EQ(igmp_fast_leave_enable_globle(0), 0);
    EXPECT_EQ(igmp_vlan_learning_set(0), 0);
    EXPECT_EQ(igmp_port_add_all_vlan(0), 0);
    EXPECT_EQ(igmp_port_add_all_vlan(0xFFFF), 0);
    EXPECT_EQ(mld_port_conf_set(0), 0);
    EXPECT_EQ(mld_port_conf_set(29), 0);
    EXPECT_EQ(mld_proxy_snoop_set_globle(2), 0);
    EXPECT_EQ(igmp_globle_proxyip_set(0x0A190E14), 0);
    EXPECT_EQ(join(kGroup, 0, 4088), 0);
    EXPECT_EQ(join6(0, 4088), 0);
}

TEST_F(Binding, the_families_number_their_modes_differently)
{
    const Mode igmp[] = {Mode::kSnooping, Mode::kProxy, Mode::kControl};
    const Mode mld[] = {Mode::kProxy, Mode::kSnooping, Mode::kControl};
    for (uint32_t mode = 1; mode <= 3; ++mode) {
        EXPECT_EQ(igmp_mode_switch_globle(mode), 0);
        EXPECT_EQ(mld_proxy_snoop_set_globle(mode), 0);
        EXPECT_EQ(engine_.mode(kIgmp), igmp[mode - 1]);
        EXPECT_EQ(engine_.mode(kMld), mld[mode - 1]);
    }
    for (const uint32_t mode : {0u, 4u, 257u}) {
        EXPECT_NE(igmp_mode_switch_globle(mode), 0);
        EXPECT_NE(mld_proxy_snoop_set_globle(mode), 0);
    }
}

TEST_F(Binding, timers_one_by_one_and_all_together)
{
    EXPECT_EQ(igmp_para_globle_set(3, 60, 5, 1, 2, 1), 0);
    join();
    EXPECT_EQ(engine_.groups(kIgmp).at(0).expires - clock_.now(), 185s);
    EXPECT_EQ(igmp_para_rv_globle_set(2), 0);
    EXPECT_EQ(igmp_para_qi_globle_set(50), 0);
    EXPECT_EQ(igmp_para_qri_globle_set(7), 0);
    join();
    EXPECT_EQ(engine_.groups(kIgmp).at(0).expires - clock_.now(), 107s);
    EXPECT_EQ(igmp_para_lmqi_globle_set(4), 0);
    EXPECT_EQ(igmp_para_lmqc_globle_set(3), 0);
    receive(wire::leave(kIgmp, kGroup));
    EXPECT_EQ(engine_.groups(kIgmp).at(0).expires - clock_.now(), 12s);
}

TEST_F(Binding, vlans_and_their_learning)
{
    EXPECT_EQ(igmp_vlan_add(200), 0);
    EXPECT_EQ(mld_pack_set_mc_vlan(1, 201), 0);
    EXPECT_EQ(join(kGroup, 0, 200), 0);
    EXPECT_EQ(join6(0, 201), 0);
    EXPECT_EQ(igmp_vlan_del(200), 0);
    EXPECT_EQ(mld_pack_set_mc_vlan(0, 201), 0);
    EXPECT_NE(join(kGroup, 0, 200), 0);
    EXPECT_NE(join6(0, 201), 0);
    EXPECT_EQ(igmp_default_vid_set(202), 0);
    EXPECT_EQ(mld_api_set_default_vlan(203), 0);
    EXPECT_EQ(join(kGroup, 0, 202), 0);
    EXPECT_EQ(join6(0, 203), 0);
    EXPECT_EQ(igmp_vlan_learning_set(1), 0);
    EXPECT_EQ(join(kGroup, 0, 300), 0);
    EXPECT_EQ(igmp_vlan_del_all(), 0);
    EXPECT_EQ(engine_.group_count(kIgmp), 1u);
}

TEST_F(Binding, settings_of_ports)
{
    EXPECT_EQ(igmp_if_max_group_num_set(0, 1), 0);
    join();
    join("239.1.2.4");
    EXPECT_EQ(engine_.group_count(kIgmp), 1u);
    EXPECT_EQ(igmp_if_fast_leave_enable(0, 1), 0);
    receive(wire::leave(kIgmp, kGroup));
    EXPECT_EQ(engine_.group_count(kIgmp), 0u);
    EXPECT_EQ(igmp_if_add_auth_group_cfg(0, value("239.1.0.0"), value("239.1.0.9"), 600, 100), 0);
    EXPECT_EQ(igmp_if_max_bandwidth_set(0, 1, 500, 100), 0);
    join("239.1.0.1");
    EXPECT_EQ(refused(kIgmp, DropReason::kBandwidth), 1u);
    EXPECT_EQ(igmp_fast_leave_enable_globle(1), 0);
}

TEST_F(Binding, the_white_list_names_its_groups_by_address_in_network_order)
{
    const uint8_t first[4] = {239, 1, 0, 0};
    const uint8_t last[4] = {239, 1, 0, 9};
    EXPECT_EQ(igmp_chile_grp_limit_func_set(1), 0);
    EXPECT_EQ(
        igmp_if_add_auth_group_cfg(0, reinterpret_cast<uintptr_t>(first), reinterpret_cast<uintptr_t>(last), 0, 65535),
        0);
    join("239.1.0.9");
    join("239.1.0.10");
    EXPECT_EQ(engine_.group_count(kIgmp), 1u);
    EXPECT_EQ(igmp_if_delete_auth_group_cfg_all(0, 65535), 0);
    EXPECT_EQ(igmp_chile_grp_limit_func_set(0), 0);
    join("239.1.0.10");
    EXPECT_EQ(engine_.group_count(kIgmp), 2u);
}

TEST_F(Binding, values_for_port_0_and_any_vlan_are_never_taken_for_addresses)
{
    EXPECT_EQ(igmp_if_add_auth_group_cfg(0, 4, 5, 0, 65535), 0);
    EXPECT_NE(igmp_if_add_auth_group_cfg(0, 0x01020304, 0x01020305, 0, 65535), 0);
    EXPECT_NE(igmp_if_add_auth_group_cfg(0, 0, UINT32_MAX, 0, 65535), 0);
    EXPECT_EQ(igmp_if_grp_range_auth_enable(0, 1), 0);
    join("239.1.1.5");
    join("239.1.1.6");
    EXPECT_EQ(engine_.group_count(kIgmp), 1u);
}

TEST_F(Binding, an_address_where_a_value_belongs_is_refused)
{
    if (sizeof(uintptr_t) == 4)
        GTEST_SKIP() << "addresses and values look alike";
    EXPECT_NE(igmp_if_add_auth_group_cfg(1, uintptr_t{1} << 40, uintptr_t{1} << 40, 0, 100), 0);
    EXPECT_NE(igmp_if_delete_auth_group_cfg(1, uintptr_t{1} << 40, uintptr_t{1} << 40, 0, 100), 0);
}

TEST_F(Binding, ranges_and_the_private_list)
{
    EXPECT_EQ(igmp_if_add_auth_group_cfg(0, value("239.1.0.0"), value("239.1.0.9"), 0, 100), 0);
    EXPECT_EQ(igmp_if_grp_range_auth_enable(0, 1), 0);
    join("239.2.0.0");
    EXPECT_EQ(engine_.group_count(kIgmp), 0u);
    EXPECT_EQ(igmp_if_delete_auth_group_cfg(0, value("239.1.0.0"), value("239.1.0.9"), 0, 100), 0);
    join("239.2.0.0");
    EXPECT_EQ(engine_.group_count(kIgmp), 1u);
    EXPECT_EQ(add_to_auth_group_api(value("239.2.0.1"), 100), 0);
    join("239.2.0.2");
    EXPECT_EQ(engine_.group_count(kIgmp), 1u);
    EXPECT_EQ(auth_group_delete_api(value("239.2.0.1"), 100), 0);
    EXPECT_NE(auth_group_delete_api(value("239.2.0.1"), 100), 0);
    EXPECT_EQ(auth_group_delete_all_api(), 0);
}

TEST_F(Binding, static_groups_control_and_dropping_groups)
{
    const uint8_t mac[6] = {0x01, 0x00, 0x5E, 0x01, 0x02, 0x03};
    EXPECT_EQ(igmp_if_static_group_source_add(0, 100, 10, 0, 1), 0);
    EXPECT_EQ(igmp_set_multicast_control(0, 1, 100, 11), 0);
    EXPECT_EQ(igmp_oam_control_2(1, 0, 100, mac), 0);
    EXPECT_EQ(engine_.group_count(kIgmp), 3u);
    EXPECT_EQ(igmp_oam_control_2(0, 0, 100, mac), 0);
    EXPECT_EQ(igmp_set_multicast_control(0, 0, 100, 11), 0);
    EXPECT_EQ(engine_.group_count(kIgmp), 1u);
    join();
    EXPECT_EQ(igmp_del_all_group_except_static_group(), 0);
    EXPECT_EQ(engine_.group_count(kIgmp), 1u);
    EXPECT_EQ(igmp_if_static_group_source_del(0, 100, 10, 0, 1), 0);
    join();
    EXPECT_EQ(igmp_del_all_group(), 0);
    EXPECT_EQ(engine_.group_count(kIgmp), 0u);
}

TEST_F(Binding, version_and_ssm)
{
    const uint32_t map[5] = {value("232.1.0.0"), value("255.255.0.0"), value("10.9.0.1"), 0, 1};
    EXPECT_EQ(igmp_ssm_map_change(map), 0);
    join("232.1.2.3");
    EXPECT_EQ(state(kIgmp, "232.1.2.3"), "IN(1)");
    EXPECT_EQ(igmp_ssm_ip_globle_set(value("239.9.0.0"), value("255.255.0.0")), 0);
    join("239.9.0.1");
    EXPECT_EQ(refused(kIgmp, DropReason::kSsmRange), 1u);
    EXPECT_EQ(igmp_version_globle_set(1), 0);
    EXPECT_NE(join(), 0);
}

TEST_F(Binding, status_and_clock)
{
    uint8_t time[64] = {};
    EXPECT_EQ(igmp_time_now(time), 0);
    join();
    std::vector<uint8_t> groups(MC_ENGINE_GROUP_BUFFER_BYTES);
    EXPECT_EQ(igmp_gather_grp_info(255, MC_ENGINE_GROUP_BUFFER_BYTES, groups.data()), 29);
    uint32_t counters[4] = {};
    EXPECT_EQ(igmp_if_gather_if_status(0, 16, counters), 16);
    EXPECT_EQ(counters[3], 1u);
}

} // namespace
} // namespace engine_test
