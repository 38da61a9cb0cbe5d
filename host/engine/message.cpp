#include "host/engine/message.h"

namespace mcadapt::host {

Record next_record(Family family, const uint8_t **at)
{
    const uint8_t *p = *at;
    Record record;
    record.type = p[0];
    record.source_count = load16(p + 2);
    record.group = load_address(family, p + 4);
    record.sources = p + record_head_bytes(family);
    const std::size_t auxiliary = std::size_t{p[1]} * 4; // never looked at: no auxiliary data is defined
    *at = record.sources + record.source_count * address_bytes(family) + auxiliary;
    return record;
}

uint32_t checksum_add(const uint8_t *data, std::size_t size, uint32_t sum)
{
    std::size_t i = 0;
    for (; i + 1 < size; i += 2)
        sum += load16(data + i);
    if (i < size)
        sum += uint32_t{data[i]} << 8;
    return sum;
}

uint16_t checksum_fold(uint32_t sum)
{
    sum = (sum & 0xFFFF) + (sum >> 16);
    sum = (sum & 0xFFFF) + (sum >> 16);
    return static_cast<uint16_t>(sum);
}

uint32_t icmpv6_pseudo_sum(const uint8_t *ipv6, std::size_t size)
{
    return checksum_add(ipv6 + 8, 32) + static_cast<uint32_t>(size) + 58;
}

// RFC 9776 section 4.1.1: from 128 on a mantissa of 4 bits and an exponent of 3.
uint32_t decode_8bit(uint8_t code) { return code < 128 ? code : ((code & 0xFu) | 0x10u) << ((code >> 4 & 7) + 3); }

// RFC 9777 section 5.1.3: from 32768 on a mantissa of 12 bits and an exponent of 3.
uint32_t decode_16bit(uint16_t code)
{
    return code < 32768 ? code : ((code & 0xFFFu) | 0x1000u) << ((code >> 12 & 7) + 3);
}

namespace {

// The largest code whose value does not exceed the given one.
uint32_t encode(uint32_t value, uint32_t mantissa_bits)
{
    const uint32_t linear = 1u << (mantissa_bits + 3);
    if (value < linear)
        return value;
    const uint32_t hidden = 1u << mantissa_bits;
    for (uint32_t exponent = 0; exponent < 8; ++exponent) {
        const uint32_t mantissa = value >> (exponent + 3);
        if (mantissa < 2 * hidden)
            return linear | exponent << mantissa_bits | (mantissa & (hidden - 1));
    }
    return 2 * linear - 1;
}

const char *kind_text(const Message &message)
{
    switch (message.kind) {
    case MessageKind::kQuery:
        return "query";
    case MessageKind::kLeave:
        return message.family == Family::kIgmp ? "leave" : "done";
    default:
        return "report";
    }
}

std::string plural(uint32_t count, const char *word)
{
    return std::to_string(count) + ' ' + word + (count == 1 ? "" : "s");
}

} // namespace

uint8_t encode_8bit(uint32_t value) { return static_cast<uint8_t>(encode(value, 4)); }

uint16_t encode_16bit(uint32_t value) { return static_cast<uint16_t>(encode(value, 12)); }

std::string describe(const Message &message)
{
    std::string text = message.family == Family::kIgmp ? "IGMPv" : "MLDv";
    text += std::to_string(message.version) + ' ';
    if (message.kind == MessageKind::kReport)
        return text + "report, " + plural(message.count, "record");
    if (message.kind == MessageKind::kQuery && message.group == kUnspecified)
        return text + "general query";
    text += kind_text(message);
    text += (message.kind == MessageKind::kLeave ? " of " : " for ") + to_text(message.family, message.group);
    if (message.kind == MessageKind::kQuery && message.count > 0)
        text += ", " + plural(message.count, "source");
    return text;
}

} // namespace mcadapt::host
