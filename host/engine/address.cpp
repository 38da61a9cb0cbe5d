#include "host/engine/address.h"

#include <arpa/inet.h>

namespace mcadapt::host {

std::string to_text(Family family, const Address &address)
{
    uint8_t bytes[16];
    char text[INET6_ADDRSTRLEN] = "";
    store_address(family, address, bytes);
    inet_ntop(family == Family::kIgmp ? AF_INET : AF_INET6, bytes, text, sizeof text);
    return text;
}

GroupAddress to_group_address(Family family, const Address &address)
{
    GroupAddress group{family, {}};
    if (family == Family::kMld) {
        store_address(family, address, group.bytes);
    } else {
        const auto value = static_cast<uint32_t>(address.low);
        __builtin_memcpy(group.bytes + 12, &value, sizeof value);
    }
    return group;
}

Address from_group_address(const GroupAddress &group)
{
    if (group.family == Family::kMld)
        return load_address(Family::kMld, group.bytes);
    uint32_t value = 0;
    __builtin_memcpy(&value, group.bytes + 12, sizeof value);
    return ipv4(value);
}

} // namespace mcadapt::host
