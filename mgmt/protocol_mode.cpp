/**
 * @file
 * The protocol mode: snooping, proxy or control, and the switch's trap and flood settings that go with it.
 */
#include "core/families.h"
#include "core/log.h"
#include "mcadapt/omci.h"
#include "mcadapt/std_omci.h"
#include "platform/protocol_engine.h"
#include "platform/switch_driver.h"

namespace mcadapt {

static constexpr uint8_t kSnooping = 1;
static constexpr uint8_t kProxy = 2;
static constexpr uint8_t kControl = 3;

// What the agents ask for; everything else, 1 and 2 included, deliberately means snooping.
static constexpr uint8_t kAskControl = 3;
static constexpr uint8_t kAskProxy = 100;
static constexpr uint32_t kAskFlooding = 5;

static constexpr uint32_t kIpv4 = 0;
static constexpr uint32_t kIpv6 = 1;

static uint8_t stored_mode(uint8_t asked)
{
    if (asked == kAskControl)
        return kControl;
    return asked == kAskProxy ? kProxy : kSnooping;
}

static void report_refused_mode(uint8_t stored)
{
    // intended: the texts differ by a line break
    if (stored == kControl)
        LOG_ERROR(Igmp, "ERROR!proxy_adapt_mode =%d ", +proxy_adapt_mode);
    else
        LOG_ERROR(Igmp, "\n ERROR!proxy_adapt_mode =%d ", +proxy_adapt_mode);
}

} // namespace mcadapt

using namespace mcadapt;

int32_t flood_trap(uint32_t mode)
{
    const bool floods = mode == kAskFlooding;
    const uint32_t trap = floods ? 0 : 1;
    const uint32_t flood = floods ? 1 : 0;

    int32_t ret = l2_multicast_set_trap(kIpv4, trap);
    if (ret != 0) {
        printf("\n ERROR! l2_multicast_set_trap Fail %d!\n", ret);
        return ret;
    }
    ret = l2_multicast_set_flood(kIpv4, flood);
    if (ret != 0) {
        if (floods)
            printf("\n ERROR! l2_multicast_set_flood disable Fail %d!\n", ret); // intended: although it enables
        else
            printf("\n ERROR! l2_multicast_set_flood snooping Fail %d!\n", ret);
        return ret;
    }
    ret = l2_multicast_set_flood(kIpv6, flood);
    if (ret != 0) {
        printf("\n ERROR! l2_multicast_set_flood Fail %d!\n", ret);
        return ret;
    }
    ret = l2_multicast_set_trap(kIpv6, trap);
    if (ret != 0)
        printf("\n ERROR! l2_multicast_set_trap Fail %d!\n", ret);
    return ret;
}

int32_t omci_set_multicast_mode(int32_t mode)
{
    proxy_adapt_mode = static_cast<uint8_t>(mode);
    LOG_CONFIG(Igmp, "omci_set_multicast_mode proxy_adapt_mode =%d\n", mode);
    // The switch sees the whole value, so 261 does not flood although its low byte is 5.
    if (flood_trap(static_cast<uint32_t>(mode)) != 0)
        LOG_ERROR(Igmp, "ERROR!flood_trap =%d ", mode);

    const uint8_t stored = stored_mode(proxy_adapt_mode);
    proxy_adapt_mode = stored;
    globle_parm.multiMode = stored;
    if (grp_info *const status = mc_status_global)
        status->statusMode = stored;

    const int32_t ret = igmp_mode_switch_globle(stored);
    if (ret != 0)
        report_refused_mode(stored);
    return ret;
}

int32_t std_omci_set_multicast_mode(uint32_t mode)
{
    LOG_CONFIG(Igmp, "std_omci_set_multicast_mode is in!\n");
    if (mode == 1 || mode == 2) {
        LOG_ERROR(Igmp, "\n ERROR!std_omci_set_multicast_mode Fail(don't support this mode!)");
        return -1;
    }
    const int32_t ret = omci_set_multicast_mode(0); // intended: snooping, whatever was asked for
    if (ret != 0)
        LOG_ERROR(Igmp, "\n ERROR!std_omci_set_multicast_mode Fail");
    return ret;
}

int32_t omci_get_multicast_mode(uint8_t *out)
{
    LOG_CONFIG(Igmp, "[omci_get_multicast_mode]: \r\n");
    const grp_info *const status = mc_status_global;
    *out = status == nullptr ? 0 : static_cast<uint8_t>(status->statusMode);
    return 0;
}
