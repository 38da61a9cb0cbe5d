#include "host/switch/forwarding_table.h"

#include <algorithm>
#include <tuple>

namespace mcadapt::host {

namespace {

ForwardingTable::Listeners::iterator first_from(ForwardingTable::Listeners &listeners, uint32_t port)
{
    return std::find_if(listeners.begin(), listeners.end(),
                        [port](const ForwardingEntry &entry) { return entry.port >= port; });
}

bool comes_before(const ForwardingEntry &a, const ForwardingEntry &b)
{
    return std::tie(a.vlan, a.mac, a.port) < std::tie(b.vlan, b.mac, b.port);
}

} // namespace

ForwardingTable::Key ForwardingTable::key_of(const uint8_t *mac, uint16_t vlan)
{
    Key key = vlan;
    for (int i = 0; i < 6; ++i)
        key = key << 8 | mac[i];
    return key;
}

ForwardingTable::Listeners *ForwardingTable::find(const uint8_t *mac, uint16_t vlan)
{
    const auto found = entries_.find(key_of(mac, vlan));
    return found == entries_.end() ? nullptr : &found->second;
}

bool ForwardingTable::add(const uint8_t *mac, uint16_t vlan, uint32_t port, Time now)
{
    Listeners &listeners = entries_[key_of(mac, vlan)];
    const auto at = first_from(listeners, port);
    if (at != listeners.end() && at->port == port)
        return false;
    ForwardingEntry entry = {vlan, {}, port};
    std::copy_n(mac, entry.mac.size(), entry.mac.begin());
    entry.added = now;
    listeners.insert(at, entry);
    return true;
}

bool ForwardingTable::remove(const uint8_t *mac, uint16_t vlan, uint32_t port)
{
    const auto found = entries_.find(key_of(mac, vlan));
    if (found == entries_.end())
        return false;
    Listeners &listeners = found->second;
    const auto at = first_from(listeners, port);
    if (at == listeners.end() || at->port != port)
        return false;
    listeners.erase(at);
    if (listeners.empty())
        entries_.erase(found);
    return true;
}

std::vector<ForwardingEntry> ForwardingTable::list() const
{
    std::vector<ForwardingEntry> all;
    for (const auto &[key, listeners] : entries_)
        all.insert(all.end(), listeners.begin(), listeners.end());
    std::sort(all.begin(), all.end(), comes_before);
    return all;
}

} // namespace mcadapt::host
