/** The port check that all operations on a port have in common, but for the group limit with its own bound. */
#include "mgmt/management_test.h"

namespace mcadapt::test {
namespace {

using ::testing::IsEmpty;
using ::testing::Not;

const uint8_t kGroup5[14] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5};

/** An operation with valid arguments but for the port, and its entry text, which comes before the check. */
struct PortOperation {
    const char *name;
    int32_t (*operation)(uint32_t port);
    const char *entry;
};

void PrintTo(const PortOperation &row, std::ostream *out) { *out << row.name; }

const PortOperation kPortOperations[] = {
    {"omci_set_port_igmp_leave_mode", [](uint32_t port) { return omci_set_port_igmp_leave_mode(port, 1); },
     "\r\n[MC_DBG_CFG]: omci_set_port_igmp_leave_mode  port=%d leave mode = 1\n"},
    {"std_max_multi_bandwidth_limit", [](uint32_t port) { return std_max_multi_bandwidth_limit(port, 1, 1000, 100); },
     "\r\n[MC_DBG_CFG]: \n [std_max_multi_bandwidth_limit] portNo = %d,enable = 1,max_bandwidth = 1000,vlan = 100"},
    {"onu_omci_add_auth_igmp_group_vlan_config",
     [](uint32_t port) { return onu_omci_add_auth_igmp_group_vlan_config(port, 4, 5, 0, 100); },
     "\r\n[MC_DBG_CFG]: \n [onu_omci_add_auth_igmp_group_vlan_config] portNo = %d,start_IP_address = "
     "4,end_IP_address = 5\n,vlan = 100"},
    {"std_omci_add_port_auth_igmp_group_vlan_config",
     [](uint32_t port) { return std_omci_add_port_auth_igmp_group_vlan_config(port, 4, 5, 0, 100); },
     "\r\n[MC_DBG_CFG]: \n [std_omci_add_port_auth_igmp_group_vlan_config] portNo = %d,start_IP_address = "
     "4,end_IP_address = 5\n,vlan = 100"},
    {"std_omci_delete_port_auth_igmp_group_vlan_config",
     [](uint32_t port) { return std_omci_delete_port_auth_igmp_group_vlan_config(port, 4, 5, 0, 100); },
     "\r\n[MC_DBG_CFG]: \n [std_omci_delete_port_auth_igmp_group_vlan_config] portNo = %d,start_IP_address = "
     "4,end_IP_address = 5\n,vlan = 100"},
    {"std_omci_clear_port_all_auth_igmp_group_vlan_config",
     [](uint32_t port) { return std_omci_clear_port_all_auth_igmp_group_vlan_config(port, 100); },
     "\r\n[MC_DBG_CFG]: \n [std_omci_clear_port_all_auth_igmp_group_vlan_config] portNo = %d,vlan = 100"},
    {"omci_add_static_multi_acess_ctrl_table",
     [](uint32_t port) { return omci_add_static_multi_acess_ctrl_table(port, kGroup5, kGroup5, 0, 100); }, ""},
    {"omci_del_static_multi_acess_ctrl_table",
     [](uint32_t port) { return omci_del_static_multi_acess_ctrl_table(port, kGroup5, kGroup5, 0, 100); }, ""},
    {"omci_clear_all_static_multi_acess_ctrl_table",
     [](uint32_t port) { return omci_clear_all_static_multi_acess_ctrl_table(port); }, ""},
};

class PortCheck : public LibraryTest, public ::testing::WithParamInterface<PortOperation> {
protected:
    const PortOperation &row = GetParam();

    /** Static groups on both ports, so that removals have something to do. */
    void SetUp() override
    {
        LibraryTest::SetUp();
        for (int port = 0; port < MC_LOGIC_PORTS; ++port) {
            g_static_list[port][0] = {100, 0, 5};
            g_static_grp_num[port] = 1;
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Of, PortCheck, ::testing::ValuesIn(kPortOperations), row_name<PortOperation>);

TEST_P(PortCheck, refuses_a_port_above_29_or_not_configured)
{
    for (const RefusedPort &refused : refused_ports()) {
        SCOPED_TRACE(refused.port);
        const auto seen = observe([&] { return row.operation(refused.port); });
        EXPECT_EQ(seen.result, -1);
        EXPECT_THAT(seen.calls, IsEmpty());
        EXPECT_THAT(seen.changed, IsEmpty());
    }
}

TEST_P(PortCheck, prints_two_error_lines_behind_the_entry)
{
    for (const RefusedPort &refused : refused_ports()) {
        SCOPED_TRACE(refused.port);
        expect_texts({config(filled(row.entry, {static_cast<int32_t>(refused.port)})), error(refused.first_line),
                      error("\r\n[MC_DBG_ERR]: port number is invalid!\r\n")},
                     [&] { row.operation(refused.port); });
    }
}

TEST_P(PortCheck, accepts_what_is_configured)
{
    EXPECT_THAT(observe([&] { return row.operation(0); }).calls, Not(IsEmpty()));
    portState[1].portNo = 1;
    EXPECT_EQ(row.operation(29), -1);
    EXPECT_THAT(observe([&] { return row.operation(1); }).calls, Not(IsEmpty()));
}

TEST_P(PortCheck, does_not_accept_a_configured_port_above_29)
{
    portState[1].portNo = 30;
    EXPECT_EQ(row.operation(30), -1);
}

} // namespace
} // namespace mcadapt::test
