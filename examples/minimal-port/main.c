/**
 * Runs the library on this port: brings it up as a management process does, gives it the rules that an OMCI or OAM
 * agent would give it, lets the frames of two captures arrive and prints what the library did with them.
 */
#include <inttypes.h>
#include <stdio.h>

#include "mcadapt/mcadapt.h"
#include "port.h"

/* The rules of an EPON unit with two services on its line, in the agent's words. 0xA0C8 is priority 5, VLAN 200. */
static const vlanCfgNode rules[] = {
    {.portNO = USER_PORT,
     .prouptagmode = 2,
     .in_up_vlan = 100,
     .out_up_vlan = 0xA0C8,
     .prodntagmode = 2,
     .in_dn_vlan = 200,
     .out_dn_vlan = 100,
     .datedntagmode = 2,
     .in_data_vlan = 200,
     .out_data_vlan = 100},
    {.portNO = USER_PORT,
     .prouptagmode = 2,
     .in_up_vlan = 101,
     .out_up_vlan = 201,
     .prodntagmode = 2,
     .in_dn_vlan = 201,
     .out_dn_vlan = 101,
     .datedntagmode = 2,
     .in_data_vlan = 201,
     .out_data_vlan = 101},
};

static void configure(void)
{
    for (size_t i = 0; i < sizeof rules / sizeof rules[0]; ++i) {
        printf("agent: rule for user VLAN %d, multicast VLAN %d\n", rules[i].in_up_vlan, rules[i].in_data_vlan);
        const int32_t result = std_omci_set_multicast_vlan_onu(&rules[i]);
        if (result != 0)
            printf("agent: refused with %" PRId32 "\n", result);
    }
}

/* What an agent reads for its own lists; the engine behind it fills in the groups. */
static void print_groups_as_an_agent_sees_them(void)
{
    enum { ENTRY_BYTES = 28, ADDRESS_AT = 8 };
    static uint8_t list[MC_STATUS_GROUPS * ENTRY_BYTES];
    uint32_t count = 0;
    std_omci_get_multicast_ip_port(&count, list);
    printf("IPv4 groups at the end: %" PRIu32 "\n", count);
    for (uint32_t i = 0; i < count; ++i) {
        const uint8_t *address = list + (size_t)i * ENTRY_BYTES + ADDRESS_AT;
        printf("  %d.%d.%d.%d\n", address[0], address[1], address[2], address[3]);
    }
}

int main(int argc, char **argv)
{
    if (argc != 3) {
        fprintf(stderr, "usage: minimal-port USER-PORT.pcap UPLINK.pcap\n");
        return 2;
    }
    if (!frames_open(argv[1], argv[2]))
        return 1;

    printf("bring-up\n");
    mc_igmp_init(100, 0); /* always 0: what failed was printed, so a real port watches its own calls' results */

    configure();

    printf("frames\n");
    switch_start();
    switch_wait_until_idle();

    print_groups_as_an_agent_sees_them();
    switch_print_counts();
    /* There is no stop operation: the receive task is asleep until its next look for a frame and ends with the process,
       as it does on a unit. */
    return frames_were_damaged() ? 1 : 0;
}
