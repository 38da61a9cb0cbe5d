/**
 * The unit's services, platform/unit_services.h: tasks, settings, and what the PON hardware knows.
 */
#include "platform/unit_services.h"

#include <inttypes.h>
#include <limits.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>

static void *run(void *argument)
{
    const palTaskEntry *entry = argument;
    (*entry)();
    return NULL;
}

/*
 * A real port gives the task its priority (here it would need a privilege) and its name. The stack may be larger than
 * asked for and never smaller. The entry never returns, so nobody waits for the thread.
 */
int32_t pal_task_create(uint32_t *taskId, const char *name, int32_t priority, uint32_t options, uint32_t stackSize,
                        palTaskEntry entry)
{
    static palTaskEntry kept; /* the library creates one task; the thread reads this after the call */
    pthread_attr_t attributes;
    pthread_t thread;
    printf("  unit: pal_task_create(%s, priority %" PRId32 ", options %" PRIu32 ", stack %" PRIu32 ")\n", name,
           priority, options, stackSize);
    kept = entry;
    /* printf and the C library's own needs come on top on a PC; a unit measures what its C library takes. */
    const size_t stack = stackSize + (size_t)PTHREAD_STACK_MIN;
    if (pthread_attr_init(&attributes) != 0 || pthread_attr_setstacksize(&attributes, (stack + 4095) & ~4095ul) != 0 ||
        pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED) != 0 ||
        pthread_create(&thread, &attributes, run, &kept) != 0)
        return -1;
    pthread_attr_destroy(&attributes);
    *taskId = 1;
    return 0;
}

/* A real port reads the setting from its flash; an address that it cannot read it leaves alone and says so. */
int32_t get_mac_addr(const char *setting, uint8_t *mac, uint32_t length)
{
    static const uint8_t address[6] = {0x02, 0x00, 0x00, 0x00, 0x01, 0x01};
    printf("  unit: get_mac_addr(%s)\n", setting);
    if (strcmp(setting, "ethaddr") != 0 || length != sizeof address)
        return -1;
    memcpy(mac, address, sizeof address);
    return 0;
}

/* A real port asks the PON MAC. Both must be written even when it has no answer yet: the result is not looked at. */
int32_t vx_ploam_onuid_get(uint8_t *onuId)
{
    *onuId = 5;
    return 0;
}

int32_t vx_hal_nni_upmode_get(uint32_t *upMode)
{
    *upMode = 0; /* EPON */
    return 0;
}
