/**
 * @file
 * Authorised groups: the white list of the unit, its private list, and the ranges of each port. Nothing is kept here;
 * the engine holds the lists.
 */
#include "core/counts.h"
#include "core/log.h"
#include "core/ports.h"
#include "mcadapt/omci.h"
#include "mcadapt/std_omci.h"
#include "mgmt/group_ranges.h"
#include "platform/protocol_engine.h"

namespace mcadapt {

// Port and VLAN that stand for the whole unit.
static constexpr uint32_t kWholeUnit = 0;
static constexpr uint32_t kAnyVlan = 65535;

static bool accepts_range(uint32_t port, uint32_t start, uint32_t end, uint16_t vlan)
{
    return check_management_port(port) != kNoLogicPort && check_range(start, end, vlan);
}

static void add_port_range(uint32_t port, uint32_t start, uint32_t end, uint32_t arg4, uint16_t vlan)
{
    if (igmp_if_add_auth_group_cfg(port, start, end, arg4, vlan) != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_if_add_auth_group_cfg Fail");
}

} // namespace mcadapt

using namespace mcadapt;

int32_t omci_set_multi_white_list_entry(const uint8_t *start, const uint8_t *end)
{
    int32_t status = igmp_chile_grp_limit_func_set(1);
    if (status != 0)
        LOG_ERROR(Igmp, " igmp_chile_grp_limit_func_set is error %d\r\n", status);
    status = igmp_if_add_auth_group_cfg(kWholeUnit, reinterpret_cast<uintptr_t>(start),
                                        reinterpret_cast<uintptr_t>(end), 0, kAnyVlan);
    if (status != 0)
        LOG_ERROR(Igmp, " igmp_if_add_auth_group_cfg is error %d\r\n", status);
    return status;
}

int32_t omci_delete_multi_white_list()
{
    int32_t status = byte_status(igmp_del_all_group_except_static_group());
    if (status != 0)
        LOG_ERROR(Igmp, " igmp_del_all_group is error %d\r\n", status);
    status = igmp_chile_grp_limit_func_set(0);
    if (status != 0)
        LOG_ERROR(Igmp, " igmp_chile_grp_limit_func_set is error %d\r\n", status);
    status = igmp_if_delete_auth_group_cfg_all(kWholeUnit, kAnyVlan);
    if (status != 0)
        LOG_ERROR(Igmp, " igmp_if_add_auth_group_cfg is error %d\r\n", status); // intended: names the add call
    return status;
}

int32_t omci_add_auth_igmp_group_vlan_config(uint32_t group, uint32_t vlan)
{
    LOG_CONFIG(Igmp, "\n groupAddress is %x  vlan is %d. \n", group, vlan);
    if (vlan == 0) {
        LOG_ERROR(Igmp, "parameter is invalid!\r\n");
        return -1;
    }
    const int32_t status = add_to_auth_group_api(group, vlan);
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_if_add_auth_group_cfg(private mode) Fail ret(%d)", status);
    return status;
}

int32_t omci_delete_auth_igmp_group_vlan_config(uint32_t group, uint32_t vlan)
{
    LOG_CONFIG(Igmp, "\n groupAddress is %x  vlan is %d.\n", group, vlan); // intended: no blank before the line end
    const int32_t status = byte_status(auth_group_delete_api(group, vlan));
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_if_delete_auth_group_cfg(private mode) Fail ret(%d)", status);
    return status;
}

int32_t omci_clear_all_auth_igmp_group_vlan_config()
{
    LOG_CONFIG(Igmp, "\n omci_clear_all_auth_igmp_group_vlan_config is in .\n");
    auth_group_delete_all_api();
    return 0; // intended: whatever the engine answered
}

int32_t onu_omci_add_auth_igmp_group_vlan_config(uint32_t port, uint32_t start, uint32_t end, uint32_t arg4,
                                                 uint16_t vlan)
{
    LOG_CONFIG(Igmp,
               "\n [onu_omci_add_auth_igmp_group_vlan_config] portNo = %d,start_IP_address = %d,end_IP_address = "
               "%d\n,vlan = %d",
               port, start, end, vlan);
    if (!accepts_range(port, start, end, vlan))
        return -1;
    add_port_range(port, start, end, arg4, vlan);
    return 0; // intended: also when the engine refuses
}

int32_t std_omci_add_port_auth_igmp_group_vlan_config(uint32_t port, uint32_t start, uint32_t end, uint32_t arg4,
                                                      uint16_t vlan)
{
    LOG_CONFIG(Igmp,
               "\n [std_omci_add_port_auth_igmp_group_vlan_config] portNo = %d,start_IP_address = %d,end_IP_address = "
               "%d\n,vlan = %d",
               port, start, end, vlan);
    if (!accepts_range(port, start, end, vlan))
        return -1;
    add_port_range(port, start, end, arg4, vlan);
    if (igmp_if_grp_range_auth_enable(port, 1) != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_if_grp_range_auth_enable Fail");
    return 0; // intended: also when the engine refuses
}

int32_t std_omci_delete_port_auth_igmp_group_vlan_config(uint32_t port, uint32_t start, uint32_t end, uint32_t arg4,
                                                         uint16_t vlan)
{
    LOG_CONFIG(Igmp,
               "\n [std_omci_delete_port_auth_igmp_group_vlan_config] portNo = %d,start_IP_address = "
               "%d,end_IP_address = %d\n,vlan = %d",
               port, start, end, vlan);
    if (!accepts_range(port, start, end, vlan))
        return -1;
    const int32_t status = igmp_if_delete_auth_group_cfg(port, start, end, arg4, vlan);
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!tarvo Fail");
    return status;
}

int32_t std_omci_clear_port_all_auth_igmp_group_vlan_config(uint32_t port, uint32_t vlan)
{
    LOG_CONFIG(Igmp, "\n [std_omci_clear_port_all_auth_igmp_group_vlan_config] portNo = %d,vlan = %d", port, vlan);
    if (check_management_port(port) == kNoLogicPort)
        return -1;
    const int32_t status = igmp_if_delete_auth_group_cfg_all(port, vlan);
    if (status != 0)
        LOG_ERROR(Igmp, "\n ERROR!igmp_if_delete_auth_group_cfg_all Fail");
    return status;
}
