/**
 * @file
 * The scenarios that are played on both sides. Rules and VLANs are set in the tables of both.
 */
#include "mcadapt/mcadapt.h"
#include "side.h"
#include "support/matchers.h"
#include "support/platform_double.h"

namespace mcadapt::test {

extern const std::vector<Scenario> kIntakeScenarios;
extern const std::vector<Scenario> kSnoopingScenarios;
extern const std::vector<Scenario> kControlScenarios;
extern const std::vector<Scenario> kEngineScenarios;

namespace {

using Step = std::function<void(const Side &side)>;

// --- What is given

void nothing(const Side &) {}
void no_handler(const Side &side) { side.set_mode(Mode::kNoHandler); }
void snooping(const Side &side) { side.set_mode(Mode::kSnooping); }
void control(const Side &side) { side.set_mode(Mode::kControl); }

Step both(Step first, Step second)
{
    return [first = std::move(first), second = std::move(second)](const Side &side) {
        first(side);
        second(side);
    };
}

void put_all_rules(int logic_port, const std::vector<vlanCfgNode> &rules)
{
    put_rules(logic_port, rules);
    put_mld_rules(logic_port, rules);
}

/** The rules of user port 0, and no others. */
Step rules(std::vector<vlanCfgNode> rules)
{
    return [rules = std::move(rules)](const Side &) { put_all_rules(0, rules); };
}

/** Rules of user port 0 as an agent installs them: a translation of VLAN 100 and one of VLAN 10. */
void typical_rules(const Side &)
{
    put_all_rules(0, {rule(0).modes(2).up(100, 0x60C8).down(200, 100).data(1000, 100),
                      rule(0).modes(2).up(10, 0x0014).down(20, 10).data(1001, 10)});
    put_template_vlans({1000, 1001});
    put_mld_template_vlans({1000, 1001});
}

/** Three matches of a downstream frame: strip, retag, and an entry that is not set. */
std::vector<vlanCfgNode> three_matches(uint16_t vlan)
{
    return {rule(0).modes(2).down(vlan, 0), rule(0).down(vlan, 0x3064), rule(0).down(999, 9),
            rule(0).down(vlan, 0xFFFF)};
}

/** User ports 0 and 5, and no uplink. */
void two_user_ports(const Side &side)
{
    side.set_port(1, 5, MC_PORT_TYPE_USER);
    put_all_rules(0, {rule(0).modes(0).up(100, 300).down(200, 100)});
    put_all_rules(1, {rule(5).modes(0).up(101, 301).down(200, 101), rule(5).up(100, 302).down(201, 102)});
}

void port_29_stood_in_for_but_not_configured(const Side &side)
{
    side.set_test_uplink(0);
    side.set_port(1, 5, MC_PORT_TYPE_UPLINK);
}

void user_port_of_another_type(const Side &side) { side.set_port(0, 0, 3); }

void refusing_driver(const Side &)
{
    platform().answer("L2_multicast_send_msg", 7);
    platform().answer("L2_multicast_set_port_iptv_entry", 7);
    platform().answer("L2_multicast_remove_port_iptv_entry", 7);
}

/** The tags of user port 0 that stand above its rules. */
Step port_tags(uint16_t up, uint16_t down)
{
    return [up, down](const Side &) {
        PortVlanCfg[0][0].prodntagmode = mldInitParams.mldPortVlanCfg[0][0].prodntagmode = 0;
        igmp_adapt_set_sig_vlan(0, up, 0, down);
    };
}

// --- What happens

Step untagged(uint32_t port)
{
    return [port](const Side &side) { side.take(side.report(), port); };
}

Step tagged(uint16_t vlan, uint32_t port)
{
    return [vlan, port](const Side &side) { side.take(side.report().vlan(vlan, 5), port); };
}

Step every_layout(uint32_t port)
{
    return [port](const Side &side) {
        side.take(side.report(), port);
        side.take(side.report().tag(0xA064), port);
        side.take(side.report().tag(0xA064).tag(0x200A), port);
        side.take(side.report().pppoe_in_tag(), port);
        side.take(side.report().pppoe(), port);
    };
}

void too_short_for_every_layout(const Side &side)
{
    side.take(side.report(), 0, 13);
    side.take(side.report().tag(0x6064), 0, 17);
    side.take(side.report().tag(0x6064).tag(10), 0, 17);
    side.take(side.report().pppoe_in_tag(), 0, 21);
    side.take(side.report().pppoe(), 0, 21);
}

Step padded_to(std::size_t length)
{
    return [length](const Side &side) { side.take(side.report().pad_to(length), 0); };
}

Step engine_sends(uint32_t port)
{
    return [port](const Side &side) { side.send(port, 100, 5); };
}

} // namespace

const std::vector<Scenario> kIntakeScenarios = {
    {"every layout from a user port", no_handler, every_layout(0)},
    {"every layout from the uplink", no_handler, every_layout(29)},
    {"a rule and a template VLAN", both(no_handler, typical_rules), tagged(10, 0)},
    {"a rule in the second row",
     both(no_handler,
          [](const Side &) {
              put_all_rules(0, {rule(0).up(99, 99).data(300, 300)});
              put_all_rules(1, {rule(0).up(100, 100).data(301, 301)});
          }),
     tagged(100, 0)},
    {"the first rule's VLAN", both(no_handler, rules({rule(0).data(300, 300)})), untagged(0)},
    {"default VLANs",
     both(no_handler,
          [](const Side &) {
              defaultVlan = 1;
              globle_parm.defaultVlan = 2;
              mldInitParams.defaultVlan = 3;
          }),
     untagged(0)},
    {"a port above 29", no_handler, untagged(30)},
    {"a port that is not configured", no_handler, untagged(1)},
    {"a length above 2000", no_handler, [](const Side &side) { side.take(side.report(), 0, 2001); }},
    {"a frame of the unit's own", no_handler,
     [](const Side &side) { side.take(side.report().from("02:19:c6:01:02:03"), 0); }},
    {"frames too short for their layouts", no_handler, too_short_for_every_layout},
    {"a frame of another type", no_handler, [](const Side &side) { side.take(side.report().ethertype(0x0806), 0); }},
    {"a packet of another protocol", no_handler,
     [](const Side &side) { side.take(side.report().packet_byte(9, 17).packet_byte(6, 17), 0); }},
    {"the test uplink", both(no_handler, [](const Side &side) { side.set_test_uplink(0); }), untagged(0)},
    {"a test uplink, port 29 not configured", both(no_handler, port_29_stood_in_for_but_not_configured), untagged(0)},
    {"an engine that refuses the packet",
     both(no_handler,
          [](const Side &side) {
              platform().answers(side.engine_call("pkt_recv"), {256, 255, 0x180});
          }),
     both(untagged(0), both(untagged(0), untagged(0)))},
    {"dumps", both(snooping, [](const Side &) { mc_debug = mld_debug = MC_DEBUG_RX_DUMP | MC_DEBUG_TX_DUMP; }),
     untagged(0)},
};

const std::vector<Scenario> kSnoopingScenarios = {
    {"upstream, no rules", snooping, untagged(0)},
    {"upstream, by rule, tagged", both(snooping, typical_rules), tagged(100, 0)},
    {"upstream, by rule, untagged", both(snooping, rules({rule(0).up(0, 0x60C8)})), untagged(0)},
    {"upstream, each side's own rule",
     both(snooping,
          [](const Side &) {
              put_rules(0, {rule(0).up(100, 300)});
              put_mld_rules(0, {rule(0).up(100, 400)});
          }),
     tagged(100, 0)},
    {"upstream, the port's own tag", both(snooping, port_tags(0x3064, 0xFFFF)), tagged(100, 0)},
    {"upstream from the second user port", both(snooping, two_user_ports), tagged(101, 5)},
    {"downstream, no rules", snooping, untagged(29)},
    {"downstream, by rule, tagged", both(snooping, typical_rules), tagged(200, 29)},
    {"downstream, by rule, untagged", both(snooping, rules({rule(0).down(0, 0x60C8)})), untagged(29)},
    {"downstream, no match, first rule of mode 0", both(snooping, rules({rule(0).modes(0)})), tagged(300, 29)},
    {"downstream, no match, first rule of mode 1", both(snooping, rules({rule(0).modes(1)})), tagged(300, 29)},
    {"downstream, no match, first rule of mode 2", both(snooping, rules({rule(0).modes(2)})), tagged(300, 29)},
    {"downstream, no match, first rule of mode 3", both(snooping, rules({rule(0).modes(3)})), tagged(300, 29)},
    {"downstream, three matches, tagged", both(snooping, rules(three_matches(200))), tagged(200, 29)},
    {"downstream, three matches, untagged", both(snooping, rules(three_matches(0))), untagged(29)},
    {"downstream, the port's own tag", both(snooping, port_tags(0, 0x3064)), tagged(200, 29)},
    {"downstream, a port that takes no tag", both(snooping, port_tags(0, 0)), tagged(200, 29)},
    {"neither user port nor uplink", both(snooping, user_port_of_another_type), untagged(0)},
    {"a test uplink, port 29 not configured", both(snooping, port_29_stood_in_for_but_not_configured), untagged(0)},
    {"1518 bytes", snooping, padded_to(1518)},
    {"1519 bytes", snooping, padded_to(1519)},
    {"a driver that refuses to send", both(snooping, refusing_driver), untagged(0)},
};

const std::vector<Scenario> kControlScenarios = {
    {"upstream, GPON, untagged", control, untagged(0)},
    {"upstream, GPON, tagged", both(control, typical_rules), tagged(100, 0)},
    {"upstream, EPON", both(control, [](const Side &) { platform().uplink_mode = 0; }), untagged(0)},
    {"upstream, ONU id 0", both(control, [](const Side &) { platform().onu_id = 0; }), untagged(0)},
    {"downstream, no rules", control, untagged(29)},
    {"downstream, by rule", both(control, typical_rules), tagged(200, 29)},
    {"downstream, three matches, tagged", both(control, rules(three_matches(200))), tagged(200, 29)},
    {"downstream, three matches, untagged", both(control, rules(three_matches(0))), untagged(29)},
    {"downstream, port tables that differ, a match",
     both(control,
          [](const Side &) {
              portState[0].portNo = 3;
              put_all_rules(0, {rule(0).down(200, 100)});
          }),
     tagged(200, 29)},
    {"downstream, port tables that differ, no match", both(control, [](const Side &) { portState[0].portNo = 3; }),
     tagged(200, 29)},
    {"neither user port nor uplink", both(control, user_port_of_another_type), untagged(0)},
    {"a test uplink, port 29 not configured", both(control, port_29_stood_in_for_but_not_configured), untagged(0)},
    {"1519 bytes", control, padded_to(1519)},
};

const std::vector<Scenario> kEngineScenarios = {
    {"a packet for the uplink", nothing, engine_sends(0xFFFF)},
    {"a packet for the test uplink", [](const Side &side) { side.set_test_uplink(5); }, engine_sends(29)},
    {"a packet for a user port without rules", nothing, engine_sends(0)},
    {"a packet for a user port, one match", rules({rule(0).up(10, 10).down(10, 20).data(100, 100)}), engine_sends(0)},
    {"a packet for a user port, two matches",
     [](const Side &) {
         put_all_rules(0, {rule(0).up(10, 10).down(10, 20).data(100, 100), rule(0).up(11, 11).data(99, 99)});
         put_all_rules(1, {rule(0), rule(0).up(12, 12).down(12, 22).data(100, 100)});
     },
     engine_sends(0)},
    {"a packet for a user port, a match without a VLAN", rules({rule(0).data(100, 100)}), engine_sends(0)},
    {"a packet for a port that is not configured", nothing, engine_sends(7)},
    {"a packet for a port above 29", nothing, engine_sends(30)},
    {"a driver that refuses to send", refusing_driver, engine_sends(29)},
    {"a group joined and left", nothing,
     [](const Side &side) {
         side.add_group(0, 1000);
         side.delete_group(0, 1000);
     }},
    {"a driver that refuses the entry", refusing_driver,
     [](const Side &side) {
         side.add_group(0xFFFF, 1000);
         side.delete_group(0xFFFF, 1000);
     }},
};

} // namespace mcadapt::test
