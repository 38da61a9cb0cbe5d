#include <cstring>

#include "portcheck/callbacks.h"
#include "portcheck/lent_memory.h"
#include "portcheck/packets.h"
#include "portcheck/report.h"
#include "portcheck/steps.h"
#include "portcheck/task.h"
#include "portcheck/watch.h"

namespace mcadapt::portcheck {

namespace {

constexpr uint32_t kEngineUplink = 0xFFFF;
constexpr uint32_t kStartVlan = 4088;
constexpr uint32_t kProxyAddress = 0x0A190E14; // 10.25.14.20
constexpr uint32_t kFilterByVlanAndMac = 2;
// An engine's task that calls back too early does so soon.
constexpr uint32_t kLongestHeadStartMs = 500;

// Made before the driver is opened, and once more afterwards.
void set_snooping()
{
    CALL_JUDGED(l2_multicast_set_trap)(0u, 1u);
    CALL_JUDGED(l2_multicast_set_flood)(0u, 0u);
    CALL_JUDGED(l2_multicast_set_flood)(1u, 0u);
    CALL_JUDGED(l2_multicast_set_trap)(1u, 1u);
    CALL_JUDGED(igmp_mode_switch_globle)(1u);
}

void start_engine()
{
    set_before_registration(true);
    CALL(igmp_data_init)();
    CALL(mld_data_init)();
    CALL(igmp_task_init)(options().priority, options().engineArg);
    CALL(mld_task_init)(options().priority);
    pause_ms(options().waitMs < kLongestHeadStartMs ? options().waitMs : kLongestHeadStartMs);
    CALL_JUDGED(igmp_vlan_del_all)();
    CALL_JUDGED(igmp_default_vid_set)(kStartVlan);
    CALL_JUDGED(igmp_para_globle_set)(2u, 125u, 10u, 1u, 2u, 1u);
    set_snooping();
    CALL_JUDGED(igmp_fast_leave_enable_globle)(0u);
    CALL_JUDGED(igmp_vlan_learning_set)(0u);
}

struct MacAddress {
    uint8_t bytes[6];
};

MacAddress read_mac(uint8_t fill)
{
    static constexpr char kSetting[] = "ethaddr";
    MacAddress mac;
    LentInput setting(Call::get_mac_addr, "setting", kSetting, sizeof(kSetting));
    LentOutput room(Call::get_mac_addr, "mac", sizeof(mac.bytes), fill);
    const int32_t result = CALL(get_mac_addr)(static_cast<const char *>(setting.memory()), room.bytes(), 6u);
    judge(Call::get_mac_addr, result);
    setting.take_back();
    room.take_back();
    memcpy(mac.bytes, room.result(), sizeof(mac.bytes));
    return mac;
}

// Read twice over different bytes: one that still shows both was not written.
void check_mac()
{
    const MacAddress first = read_mac(0xA5);
    const MacAddress second = read_mac(0x5A);
    uint32_t written = 0;
    for (int i = 0; i < 6; ++i)
        written += first.bytes[i] == 0xA5 && second.bytes[i] == 0x5A ? 0 : 1;
    if (written != sizeof(first.bytes)) {
        fault(
            "get_mac_addr wrote %u of the 6 bytes of the address; the library needs all of them, because it knows the "
            "unit's own frames by them and sends from this address.",
            written);
        return;
    }
    static constexpr MacAddress kNone = {};
    const uint8_t *mac = second.bytes;
    if ((mac[0] & 1) != 0 || memcmp(mac, kNone.bytes, sizeof(kNone.bytes)) == 0)
        fault("get_mac_addr told %02x:%02x:%02x:%02x:%02x:%02x; the library needs the address of one station, because "
              "it knows the unit's own frames by it and sends from it.",
              mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
    else
        saw_effect(Call::get_mac_addr);
}

void register_igmp()
{
    CALL_JUDGED(igmp_register_switch_send_pkt)(send_igmp);
    CALL_JUDGED(igmp_register_switch_add_table)(add_igmp);
    CALL_JUDGED(igmp_register_switch_del_table)(remove_igmp);
    CALL_JUDGED(igmp_port_add_all_vlan)(kUserPort);
    CALL_JUDGED(igmp_port_add_all_vlan)(kEngineUplink);
}

void register_mld()
{
    CALL_JUDGED(mld_register_switch_send_pkt)(send_mld);
    CALL_JUDGED(mld_register_switch_add_table)(add_mld);
    CALL_JUDGED(mld_register_switch_del_table)(remove_mld);
    CALL_JUDGED(mld_port_conf_set)(kUserPort);
    CALL_JUDGED(mld_port_conf_set)(kUplinkPort);
    CALL_JUDGED(mld_proxy_snoop_set_globle)(2u);
}

void open_driver()
{
    CALL_JUDGED(L2_multicast_init)();
    CALL_JUDGED(L2_multicast_set_filter_method)(kFilterByVlanAndMac);
    set_snooping();
    CALL_JUDGED(igmp_globle_proxyip_set)(kProxyAddress);
}

} // namespace

void bring_up()
{
    start_callbacks();
    start_engine();
    check_mac();
    set_before_registration(false);
    register_igmp();
    register_mld();
    open_driver();
    create_receive_task(options().priority);
}

} // namespace mcadapt::portcheck
