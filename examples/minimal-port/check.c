/**
 * Checks the port: the port check makes every platform call as the library makes it and tells what is wrong.
 */
#include <stddef.h>

#include "mcadapt/portcheck.h"

int main(void)
{
    const mcPortcheckOptions options = {.waitMs = 500};
    return mc_portcheck(&options);
}
