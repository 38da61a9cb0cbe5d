#include "host/switch/switch_binding.h"

#include <algorithm>
#include <cstring>

#include "platform/switch_driver.h"

namespace mcadapt::host {

namespace {

Switch *installed_switch = nullptr;
FrameSource *installed_source = nullptr;

constexpr int32_t kRefused = -1;
constexpr int32_t kNothingToRead = 1;

} // namespace

void install(Switch *unit_switch, FrameSource *source)
{
    installed_switch = unit_switch;
    installed_source = source;
}

} // namespace mcadapt::host

using namespace mcadapt::host;

int32_t L2_multicast_init() { return installed_switch == nullptr ? kRefused : installed_switch->open(); }

int32_t L2_multicast_set_filter_method(uint32_t method)
{
    return installed_switch == nullptr ? kRefused : installed_switch->set_filter_method(method);
}

int32_t L2_multicast_read_msg(uint8_t *frame, uint8_t *port, uint32_t *length)
{
    TrappedFrame trapped;
    if (installed_source == nullptr || !installed_source->next(trapped))
        return kNothingToRead;
    const std::size_t size = std::min(trapped.bytes.size, kDriverBufferBytes);
    std::memcpy(frame, trapped.bytes.data, size);
    *port = trapped.port;
    *length = static_cast<uint32_t>(size);
    installed_source->delivered(frame + size);
    return 0;
}

int32_t L2_multicast_send_msg(const uint8_t *frame, uint32_t ifindex, uint32_t length, uint32_t, uint32_t)
{
    return installed_switch == nullptr ? kRefused : installed_switch->send({frame, length}, ifindex);
}

int32_t L2_multicast_set_port_iptv_entry(int32_t port, const uint8_t *mac, uint32_t vlan)
{
    return installed_switch == nullptr ? kRefused : installed_switch->add_entry(port, mac, vlan);
}

int32_t L2_multicast_remove_port_iptv_entry(int32_t port, const uint8_t *mac, uint32_t vlan)
{
    return installed_switch == nullptr ? kRefused : installed_switch->remove_entry(port, mac, vlan);
}

int32_t l2_multicast_set_trap(uint32_t selector, uint32_t enable)
{
    return installed_switch == nullptr ? kRefused : installed_switch->set_trap(selector, enable);
}

int32_t l2_multicast_set_flood(uint32_t selector, uint32_t enable)
{
    return installed_switch == nullptr ? kRefused : installed_switch->set_flood(selector, enable);
}
