#include "mcadapt/startup.h"

#include "core/counts.h"
#include "core/log.h"
#include "core/ports.h"
#include "core/start_state.h"
#include "mcadapt/engine_callbacks.h"
#include "mcadapt/omci.h"
#include "platform/protocol_engine.h"
#include "platform/switch_driver.h"
#include "platform/unit_services.h"

using namespace mcadapt;

int32_t mc_igmp_init(int32_t priority, int32_t engineArg)
{
    igmp_data_init();
    mld_data_init();
    igmp_task_init(priority, engineArg);
    mld_task_init(priority);
    adapt_init();
    igmp_adapt_task_init(static_cast<int32_t>(static_cast<uint32_t>(priority) + 1)); // wraps at the highest one
    return 0;
}

int32_t mc_mld_init() { return 0; }

// Puts every record into its start state, in the order in which the engine is told of it.
static void set_up_records_and_engine()
{
    clear_template_list();
    int32_t ret = byte_status(igmp_vlan_del_all());
    if (ret != 0)
        LOG_ERROR(Igmp, "igmp_vlan_del_all is error! ret = %d\r\n", ret);
    clear_rules<Igmp>();
    initIgmpGlobleParmeter();
    set_start_ports();

    ret = get_mac_addr("ethaddr", sys_mac, sizeof(sys_mac));
    if (ret != 0)
        printf("[get_mac_addr]:  %d, error!\r\n", ret);

    igmp_adapt_init();

    mldinitVlancfgNode();
    initmldGlobleParmeter();
    mldinitPortStateNode();
    mld_adapt_init();
}

int32_t adapt_init()
{
    set_up_records_and_engine();

    int32_t ret = L2_multicast_init();
    if (ret != 0) {
        printf("\n ERROR! L2_multicast_init Fail !\n");
        return ret;
    }
    ret = L2_multicast_set_filter_method(2);
    if (ret != 0) {
        printf("\n ERROR! L2_multicast_set_filter_method Fail !\n");
        return ret;
    }
    if (omci_set_multicast_mode(globle_parm.multiMode & 0xFF) != 0)
        printf("\n ERROR!omci_set_multicast_mode snooping Fail");

    ret = byte_status(igmp_globle_proxyip_set(globle_parm.proxyip));
    if (ret != 0)
        printf("\n ERROR!igmp_globle_proxyip_set snooping Fail");
    return ret;
}

// The IGMP side reports whatever the masks hold, the MLD side under its error bit only: intended.

int32_t igmp_adapt_init()
{
    if (byte_status(igmp_register_switch_send_pkt(send_pkt_igmp)) != 0)
        printf("\n ERROR! igmp_register_switch_send_pkt Fail !\n");
    if (byte_status(igmp_register_switch_add_table(igmp_add_grp)) != 0) {
        // intended: two lines, for this registration alone
        printf("\n igmp_register_switch_add_table !\n");
        printf("\n ERROR! igmp_register_switch_add_table Fail !\n");
    }
    if (byte_status(igmp_register_switch_del_table(igmp_del_grp)) != 0)
        printf("\n ERROR! igmp_register_switch_del_table Fail !\n");
    if (igmp_adapt_port_conf_set() != 0)
        printf("\n ERROR! igmp_adapt_port_conf_set Fail !\n");
    return 0;
}

int32_t mld_adapt_init()
{
    if (byte_status(mld_register_switch_send_pkt(send_pkt_mld)) != 0)
        LOG_ERROR(Mld, "\n ERROR! mld_register_switch_send_pkt Fail !");
    if (byte_status(mld_register_switch_add_table(mld_add_grp)) != 0)
        LOG_ERROR(Mld, "\n ERROR! mld_register_switch_add_table Fail !");
    if (byte_status(mld_register_switch_del_table(mld_del_grp)) != 0)
        LOG_ERROR(Mld, "\n ERROR! mld_register_switch_del_table Fail !");
    if (mld_adapt_port_conf_set() != 0)
        LOG_ERROR(Mld, "\n ERROR! mld_port_conf_set Fail !");

    const int32_t ret = mld_proxy_snoop_set_globle(mldInitParams.multiMode);
    if (ret != 0)
        LOG_ERROR(Mld, "\n ERROR!mld_pack_set_mc_mode snooping Fail");
    return ret;
}

int32_t igmp_adapt_port_conf_set()
{
    LOG_CONFIG(Igmp, "igmp_adapt_port_conf_set is in\r\n");
    for (const portStateNode &port : portState) {
        const uint32_t declared = port.portType == MC_PORT_TYPE_UPLINK ? kEngineUplinkPort : uint32_t{port.portNo};
        if (byte_status(igmp_port_add_all_vlan(declared)) != 0) {
            LOG_ERROR(Igmp, "\n ERROR!igmp_port_conf_set Fail");
            return -1;
        }
    }
    return 0;
}

int32_t mld_adapt_port_conf_set()
{
    // intended: a trace here, a configuration line on the IGMP side
    LOG_TRACE(Mld, "mld_adapt_port_conf_set is in\r\n");
    for (const portStateNode &port : mldInitParams.mldPortState) {
        if (port.portType == 0)
            continue;
        // intended: the uplink goes by its number, without the wildcard of the IGMP side
        if (mld_port_conf_set(port.portNo) != 0) {
            LOG_ERROR(Mld, "\n ERROR!mld_adapt_port_conf_set Fail");
            return -1;
        }
    }
    return 0;
}
