#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

// Signatures and fixed sizes of the records of a zip archive.
namespace ziplib {

constexpr std::uint32_t localSignature = 0x04034B50;
constexpr std::uint32_t descriptorSignature = 0x08074B50;
constexpr std::uint32_t centralSignature = 0x02014B50;
constexpr std::uint32_t endSignature = 0x06054B50;
constexpr std::uint32_t end64Signature = 0x06064B50;
constexpr std::uint32_t locator64Signature = 0x07064B50;

constexpr std::size_t localSize = 30;
constexpr std::size_t centralSize = 46;
constexpr std::size_t endSize = 22;
constexpr std::size_t end64Size = 56;
constexpr std::size_t locator64Size = 20;

// Values that say "see the 64-bit field".
constexpr std::uint32_t full32 = 0xFFFFFFFF;
constexpr std::uint16_t full16 = 0xFFFF;

constexpr std::uint16_t extraZip64 = 0x0001;
constexpr std::uint16_t extraNtfs = 0x000A;
constexpr std::uint16_t extraTimestamp = 0x5455;

// The first extra field of a kind, without its head; empty where there is none.
std::string_view findExtra(std::string_view extra, std::uint16_t kind);

} // namespace ziplib
