/**
 * @file
 * Addresses of both families in one type.
 */
#ifndef MCADAPT_HOST_ENGINE_ADDRESS_H
#define MCADAPT_HOST_ENGINE_ADDRESS_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "host/observer.h"

namespace mcadapt::host {

/** An IPv6 address as a 128-bit number, or an IPv4 address as the low 32 bits of one. */
struct Address {
    uint64_t high = 0;
    uint64_t low = 0;

    friend bool operator==(const Address &a, const Address &b) { return a.low == b.low && a.high == b.high; }
    friend bool operator!=(const Address &a, const Address &b) { return !(a == b); }
    friend bool operator<(const Address &a, const Address &b)
    {
        return a.high != b.high ? a.high < b.high : a.low < b.low;
    }
};

constexpr Address ipv4(uint32_t value) { return {0, value}; }
constexpr Address kUnspecified{};

inline uint16_t load16(const uint8_t *p) { return static_cast<uint16_t>(p[0] << 8 | p[1]); }
inline uint32_t load32(const uint8_t *p)
{
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | uint32_t{p[3]};
}
inline uint64_t load64(const uint8_t *p) { return uint64_t{load32(p)} << 32 | load32(p + 4); }
inline void store16(uint8_t *p, uint16_t v)
{
    p[0] = static_cast<uint8_t>(v >> 8);
    p[1] = static_cast<uint8_t>(v);
}
inline void store32(uint8_t *p, uint32_t v)
{
    store16(p, static_cast<uint16_t>(v >> 16));
    store16(p + 2, static_cast<uint16_t>(v));
}

constexpr std::size_t address_bytes(Family family) { return family == Family::kIgmp ? 4 : 16; }

/** Reads an address as it stands in a packet. */
inline Address load_address(Family family, const uint8_t *p)
{
    return family == Family::kIgmp ? ipv4(load32(p)) : Address{load64(p), load64(p + 8)};
}

/** Writes an address as it stands in a packet. */
inline void store_address(Family family, const Address &address, uint8_t *p)
{
    if (family == Family::kMld) {
        store32(p, static_cast<uint32_t>(address.high >> 32));
        store32(p + 4, static_cast<uint32_t>(address.high));
        store32(p + 8, static_cast<uint32_t>(address.low >> 32));
        p += 12;
    }
    store32(p, static_cast<uint32_t>(address.low));
}

inline bool is_multicast(Family family, const Address &a)
{
    return family == Family::kIgmp ? a.low >> 28 == 0xE : a.high >> 56 == 0xFF;
}

/** Groups that no membership ever installs: 224.0.0.0/24, and the IPv6 scopes up to link-local (ff02::1 among them). */
inline bool is_link_local_group(Family family, const Address &a)
{
    return family == Family::kIgmp ? a.low >> 8 == 0xE00000 : (a.high >> 48 & 0xF) <= 2;
}

/** An address that a multicast stream can come from. */
inline bool is_stream_source(Family family, const Address &a)
{
    if (family == Family::kMld)
        return a.high >> 56 != 0xFF && a != kUnspecified && a != Address{0, 1};
    return a.low >> 28 < 0xE && a.low >> 24 != 0 && a.low >> 24 != 127;
}

inline bool is_ipv6_link_local(const Address &a) { return a.high >> 54 == 0x3FA; }

/** "239.1.2.3" or "ff1e::3". */
std::string to_text(Family family, const Address &address);

/** As observers get it. */
GroupAddress to_group_address(Family family, const Address &address);
Address from_group_address(const GroupAddress &address);

namespace well_known {
constexpr Address kIgmpHosts = ipv4(0xE0000001);        /**< 224.0.0.1 */
constexpr Address kIgmpRouters = ipv4(0xE0000002);      /**< 224.0.0.2 */
constexpr Address kIgmpV3Routers = ipv4(0xE0000016);    /**< 224.0.0.22 */
constexpr Address kMldNodes{0xFF02ull << 48, 0x01};     /**< ff02::1 */
constexpr Address kMldRouters{0xFF02ull << 48, 0x02};   /**< ff02::2 */
constexpr Address kMldV2Routers{0xFF02ull << 48, 0x16}; /**< ff02::16 */
} // namespace well_known

} // namespace mcadapt::host

#endif
