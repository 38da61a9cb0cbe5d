#include "support/call_text.h"

#include "mcadapt/engine_callbacks.h"
#include "mcadapt/packet_path.h"
#include "support/hex.h"

namespace mcadapt::test {

std::string call_text(const char *text) { return text == nullptr ? "null" : "\"" + std::string(text) + "\""; }

std::string call_text(HexBytes bytes) { return hex(static_cast<const uint8_t *>(bytes.data), bytes.size); }

std::string call_text(MacBytes mac) { return mac.data == nullptr ? "null" : mac_text(mac.data); }

std::string call_text(Words words)
{
    std::string list;
    for (std::size_t i = 0; i < words.count; ++i)
        list += (i == 0 ? "" : ", ") + std::to_string(words.data[i]);
    return "[" + list + "]";
}

std::string call_text(mcSendPacketCallback callback)
{
    if (callback == nullptr)
        return "null";
    if (callback == send_pkt_igmp)
        return "send_pkt_igmp";
    return callback == send_pkt_mld ? "send_pkt_mld" : "unknown";
}

std::string call_text(mcForwardingCallback callback)
{
    if (callback == nullptr)
        return "null";
    if (callback == igmp_add_grp)
        return "igmp_add_grp";
    if (callback == igmp_del_grp)
        return "igmp_del_grp";
    if (callback == mld_add_grp)
        return "mld_add_grp";
    return callback == mld_del_grp ? "mld_del_grp" : "unknown";
}

std::string call_text(palTaskEntry entry)
{
    if (entry == nullptr)
        return "null";
    return entry == igmp_adapt_pkt_recv_task ? "igmp_adapt_pkt_recv_task" : "unknown";
}

} // namespace mcadapt::test
