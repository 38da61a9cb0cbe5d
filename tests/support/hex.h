/**
 * @file
 * Bytes as text and text as bytes.
 */
#ifndef MCADAPT_TESTS_HEX_H
#define MCADAPT_TESTS_HEX_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace mcadapt::test {

using ByteVector = std::vector<uint8_t>;
using MacAddress = std::array<uint8_t, 6>;

/** Lower-case hex pairs without blanks. */
std::string hex(const uint8_t *bytes, std::size_t count);
std::string hex(const ByteVector &bytes);

/** Bytes from hex pairs; blanks, colons and line ends between the digits are passed over. Throws on anything else. */
ByteVector from_hex(std::string_view digits);

/** `01:00:5e:01:02:03`. */
std::string mac_text(const uint8_t *mac);

/** A MAC address from `01:00:5e:01:02:03`. */
MacAddress mac(std::string_view text);

} // namespace mcadapt::test

#endif
