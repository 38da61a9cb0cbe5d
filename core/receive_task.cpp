#include <unistd.h>

#include "core/families.h"
#include "core/log.h"
#include "mcadapt/packet_path.h"
#include "mcadapt/startup.h"
#include "packet/frame.h"
#include "platform/switch_driver.h"
#include "platform/unit_services.h"

using namespace mcadapt;

static constexpr uint32_t kReceiveStackBytes = 51200;
static constexpr unsigned kIdleSeconds = 1;

int32_t igmp_adapt_task_init(int32_t priority)
{
    uint32_t task_id = 0;
    if (pal_task_create(&task_id, "tMCPktRecv", priority, 0, kReceiveStackBytes, igmp_adapt_pkt_recv_task) != 0) {
        LOG_ERROR(Igmp, "\n ERROR! pal_task_create MC_TASK_PKT_RECV_NAME Fail !");
        return -1;
    }
    return 0;
}

static bool is_ipv4_multicast(const uint8_t *frame) { return frame[0] == 0x01 && frame[1] == 0x00 && frame[2] == 0x5E; }

void igmp_adapt_pkt_recv_task()
{
    uint8_t frame[kReceiveBufferBytes] = {};
    uint32_t length = 0;
    uint8_t port = 0;

    for (;;) {
        if (L2_multicast_read_msg(frame, &port, &length) != 0) {
            sleep(kIdleSeconds); // NOLINT(concurrency-mt-unsafe): nanosleep on Linux
            continue;
        }
        if (globle_parm.pkt_process_disable != 0)
            continue;
        if (is_ipv4_multicast(frame))
            igmpL2PktProc(frame, length, port);
        else
            mldL2PktProc(frame, length, port);
    }
}
