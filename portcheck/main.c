/*
 * Checks the port that it is linked with:
 *
 *   cc main.c port.c -lmcadapt-portcheck -lpthread
 *
 * ./a.out [-q] [-l MILLISECONDS] [-w MILLISECONDS]
 *   -q  faults and the summary only
 *   -l  after that time a call counts as one that never returns (5000)
 *   -w  time that the engine has to call back, and the receive task to start (3000)
 *
 * It exits with 0 for a port without fault, 1 for one with faults, 2 when the check could not be finished, and 64 when
 * it is called otherwise.
 *
 * A port that can let a frame arrive defines `portcheck_feed`; without it, reading is checked with what happens to
 * come.
 */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "mcadapt/portcheck.h"

/* Lets a frame arrive on a switch port. Returns 0 when it did. */
int32_t portcheck_feed(const uint8_t *frame, uint32_t length, uint8_t port) __attribute__((weak));

static int32_t feed(void *context, const uint8_t *frame, uint32_t length, uint8_t port)
{
    (void)context;
    return portcheck_feed(frame, length, port);
}

static int usage(const char *program)
{
    fprintf(stderr, "usage: %s [-q] [-l MILLISECONDS] [-w MILLISECONDS]\n", program);
    return 64;
}

/* A number of milliseconds above 0; 0 when the text is none. */
static uint32_t milliseconds(const char *text)
{
    char *end = NULL;
    const unsigned long value = strtoul(text, &end, 10);
    return text[0] < '0' || text[0] > '9' || *end != '\0' || value > 3600000ul ? 0 : (uint32_t)value;
}

int main(int argc, char **argv)
{
    mcPortcheckOptions options;
    memset(&options, 0, sizeof(options));
    options.feed = portcheck_feed != NULL ? feed : NULL;
    options.priority = 100;

    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "-q") == 0) {
            options.quiet = 1;
            continue;
        }
        const int is_limit = strcmp(argv[i], "-l") == 0;
        if ((!is_limit && strcmp(argv[i], "-w") != 0) || i + 1 == argc)
            return usage(argv[0]);
        const uint32_t value = milliseconds(argv[++i]);
        if (value == 0)
            return usage(argv[0]);
        if (is_limit)
            options.limitMs = value;
        else
            options.waitMs = value;
    }
    return mc_portcheck(&options);
}
