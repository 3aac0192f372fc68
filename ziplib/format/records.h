#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// Signatures and fixed sizes of the records of a zip archive.
namespace ziplib {

constexpr std::uint32_t kLocalSignature = 0x04034B50;
constexpr std::uint32_t kDescriptorSignature = 0x08074B50;
constexpr std::uint32_t kCentralSignature = 0x02014B50;
constexpr std::uint32_t kEndSignature = 0x06054B50;
constexpr std::uint32_t kEnd64Signature = 0x06064B50;
constexpr std::uint32_t kLocator64Signature = 0x07064B50;

constexpr std::size_t kLocalSize = 30;
constexpr std::size_t kCentralSize = 46;
constexpr std::size_t kEndSize = 22;
constexpr std::size_t kEnd64Size = 56;
constexpr std::size_t kLocator64Size = 20;

// Values that say "see the 64-bit field".
constexpr std::uint32_t kZip64Sentinel = 0xFFFFFFFF;
constexpr std::uint16_t kZip64Sentinel16 = 0xFFFF;

// Compression methods, bits of the general purpose flag and of the internal attributes.
constexpr std::uint16_t kMethodStored = 0;
constexpr std::uint16_t kMethodDeflated = 8;
constexpr std::uint16_t kFlagEncrypted = 0x0001;
constexpr std::uint16_t kFlagDescriptor = 0x0008;
constexpr std::uint16_t kFlagStrongEncryption = 0x0040;
constexpr std::uint16_t kFlagUtf8 = 0x0800;
constexpr std::uint16_t kInternalText = 0x0001;

constexpr std::uint16_t kExtraZip64 = 0x0001;
constexpr std::uint16_t kExtraNtfs = 0x000A;
constexpr std::uint16_t kExtraTimestamp = 0x5455;

// The first extra field of a kind, without its head; empty where there is none.
std::string_view findExtra(std::string_view extra, std::uint16_t kind);

} // namespace ziplib
