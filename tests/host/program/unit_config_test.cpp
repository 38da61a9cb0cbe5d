#include "host/program/unit_config.h"

#include <gmock/gmock.h>

#include <sstream>

namespace mcadapt::host {
namespace {

using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

UnitConfig parse(const std::string &text)
{
    std::istringstream input(text);
    return parse_unit_config(input, "unit.conf");
}

std::string error_of(const std::string &text)
{
    try {
        parse(text);
    } catch (const ConfigError &error) {
        return error.what();
    }
    return "";
}

TEST(UnitConfig, without_a_line_is_a_gpon_unit_without_rules)
{
    const UnitConfig config = parse("");
    EXPECT_EQ(config.settings.uplink, Uplink::kGpon);
    EXPECT_EQ(config.settings.onu_id, 1);
    EXPECT_EQ(config.settings.untagged_vlan, 4088);
    EXPECT_THAT(config.settings.more_ports, IsEmpty());
    EXPECT_THAT(config.operations, IsEmpty());
}

TEST(UnitConfig, takes_settings_comments_and_blank_lines)
{
    const UnitConfig config = parse("# a unit\n\n  mac 02:19:C6:01:02:03  # its label\r\nuplink epon\nonu-id 0x7\n"
                                    "untagged-vlan 1\nports 1 2\nports 3 4\n");
    EXPECT_THAT(config.settings.mac, ElementsAre(0x02, 0x19, 0xC6, 0x01, 0x02, 0x03));
    EXPECT_EQ(config.settings.uplink, Uplink::kEpon);
    EXPECT_EQ(config.settings.onu_id, 7);
    EXPECT_EQ(config.settings.untagged_vlan, 1);
    EXPECT_THAT(config.settings.more_ports, ElementsAre(3, 4));
}

TEST(UnitConfig, puts_operations_in_order_of_time_those_at_start_first)
{
    const UnitConfig config = parse("at 12.5 omci_set_multicast_mode 3\nat 2 omci_set_multicast_mode mode=100\n"
                                    "mc_set_debug 4 1\nat 2 mldPrint\n");
    std::vector<std::string> texts;
    for (const PlannedOperation &operation : config.operations)
        texts.push_back(operation.text);
    EXPECT_THAT(texts, ElementsAre("mc_set_debug 4 1", "omci_set_multicast_mode mode=100", "mldPrint",
                                   "omci_set_multicast_mode 3"));
    EXPECT_TRUE(config.operations[0].at_start);
    EXPECT_FALSE(config.operations[3].at_start);
    EXPECT_EQ(config.operations[3].after, milliseconds(12500));
    EXPECT_EQ(config.operations[3].line, 1);
    EXPECT_EQ(config.operations[3].values.integer(0), 3);
}

TEST(UnitConfig, errors_name_file_line_word_and_what_was_expected)
{
    struct Row {
        const char *line;
        const char *error;
    };
    const Row rows[] = {
        {"mac", "'mac': expected a MAC address"},
        {"mac 02:19", "'02:19': expected a MAC address such as 02:19:c6:01:02:03"},
        {"mac 02:19:c6:01:02:03 x", "'mac': expected a MAC address"},
        {"uplink", "'uplink': expected 'epon' or 'gpon'"},
        {"uplink dsl", "'dsl': expected 'epon' or 'gpon'"},
        {"onu-id", "'onu-id': expected an ONU id"},
        {"onu-id 256", "'256': expected an ONU id from 0 to 255"},
        {"untagged-vlan", "'untagged-vlan': expected a VLAN"},
        {"untagged-vlan 4096", "'4096': expected a VLAN from 0 to 4095"},
        {"ports", "'ports': expected user ports from 1 to 28"},
        {"ports 0", "'0': expected a user port from 1 to 28"},
        {"ports 29", "'29': expected a user port from 1 to 28"},
        {"ports 3 3", "'3': the port is named twice"},
        {"at", "'at': expected seconds and an operation, such as 'at 12.5 omci_set_multicast_mode 3'"},
        {"at 1", "'at': expected seconds and an operation, such as 'at 12.5 omci_set_multicast_mode 3'"},
        {"at soon mldPrint", "'soon': expected seconds after the first frame"},
        {"at -1 mldPrint", "'-1': expected seconds after the first frame"},
        {"at nan mldPrint", "'nan': expected seconds after the first frame"},
        {"at 1 uplink epon", "'uplink': expected an operation; 'mcadapt ops' lists them"},
        {"fly", "'fly': expected a setting (mac, uplink, onu-id, untagged-vlan, ports) or an operation; 'mcadapt ops' "
                "lists them"},
        {"omci_set_multicast_mode", "argument 'mode' is missing: expected a number from -2147483648 to 2147483647 (3 "
                                    "control, 100 proxy, 5 snooping with flooding, any other snooping)"},
        {"omci_set_port_to_control_multicast_list_table 0 0 200 first=0 last=0xFFFFFFFF",
         "'last=4294967295': expected at most 65536 channels from 'first' on"},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.line);
        EXPECT_EQ(error_of("# first line\n" + std::string(row.line) + "\n"), std::string("unit.conf:2: ") + row.error);
    }
}

TEST(UnitConfig, tells_every_bad_line_at_once)
{
    EXPECT_EQ(error_of("uplink dsl\nuplink epon\nports 99"),
              "unit.conf:1: 'dsl': expected 'epon' or 'gpon'\nunit.conf:3: '99': expected a user port from 1 to 28");
}

TEST(UnitConfig, that_is_no_file_cannot_be_read)
{
    EXPECT_THROW(read_unit_config("/nowhere/unit.conf"), ConfigError);
    EXPECT_THROW(read_unit_config("/"), ConfigError);
}

} // namespace
} // namespace mcadapt::host
