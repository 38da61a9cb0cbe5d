#include "support/hex.h"

#include <algorithm>
#include <stdexcept>

namespace mcadapt::test {

namespace {

int digit_value(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    throw std::invalid_argument(std::string("not a hex digit: ") + digit);
}

} // namespace

std::string hex(const uint8_t *bytes, std::size_t count)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * count);
    for (std::size_t i = 0; i < count; ++i) {
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 15];
    }
    return text;
}

std::string hex(const ByteVector &bytes) { return hex(bytes.data(), bytes.size()); }

ByteVector from_hex(std::string_view digits)
{
    ByteVector bytes;
    int high = -1;
    for (const char c : digits) {
        if (c == ' ' || c == ':' || c == '\n')
            continue;
        const int value = digit_value(c);
        if (high < 0) {
            high = value;
            continue;
        }
        bytes.push_back(static_cast<uint8_t>(high << 4 | value));
        high = -1;
    }
    if (high >= 0)
        throw std::invalid_argument("odd number of hex digits");
    return bytes;
}

std::string mac_text(const uint8_t *mac)
{
    std::string text = hex(mac, 1);
    for (int i = 1; i < 6; ++i)
        text += ":" + hex(mac + i, 1);
    return text;
}

MacAddress mac(std::string_view text)
{
    const ByteVector bytes = from_hex(text);
    MacAddress address{};
    if (bytes.size() != address.size())
        throw std::invalid_argument("not a MAC address: " + std::string(text));
    std::copy(bytes.begin(), bytes.end(), address.begin());
    return address;
}

} // namespace mcadapt::test
