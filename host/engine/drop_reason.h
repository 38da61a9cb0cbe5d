/**
 * @file
 * Why a packet, or one group of it, was not taken.
 */
#ifndef MCADAPT_HOST_ENGINE_DROP_REASON_H
#define MCADAPT_HOST_ENGINE_DROP_REASON_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace mcadapt::host {

enum class DropReason : uint8_t {
    kNone,

    // --- The whole packet
    kPortNotDeclared,
    kTruncated,
    kIpHeader,
    kIpChecksum,
    kFragment,
    kOtherProtocol,
    kTtl,
    kHopByHop,
    kRouterAlert,
    kIpSource,
    kDestination,
    kTooShort,
    kChecksum,
    kUnknownType,
    kQueryLength,
    kSourceCount,
    kRecordCount,
    kNotAGroup,
    kLinkLocalGroup,
    kVersion,
    kVlan,
    kUplinkReport,
    kOwnPacket,

    // --- One group of a packet (some of the above too)
    kControlMode,
    kRecordType,
    kRecordSource,
    kOlderHost,
    kSsmRange,
    kWhiteList,
    kPortRange,
    kPrivateList,
    kGroupLimit,
    kBandwidth,
    kPortFull,
    kSourcesFull,

    kCount
};

constexpr std::size_t kDropReasons = static_cast<std::size_t>(DropReason::kCount);

/** The reason's fixed name: "router-alert". */
std::string_view name(DropReason reason);

/** Which rule of which standard, or which setting, it follows from. */
std::string_view rule(DropReason reason);

} // namespace mcadapt::host

#endif
