#pragma once

#include "ziplib/common/buffer.h"
#include "ziplib/vl2zip/compare/sourceFile.h"
#include "ziplib/vl2zip/write/output.h"

#include <optional>
#include <string>

// Compresses files to the data of entries.
namespace ziplib {

// A file of at most this many bytes is compressed in memory.
inline constexpr std::uint64_t kWholeLimit = 16U << 20U;

// The result of packing a file.
struct Packing {
    std::uint16_t method = 0;
    std::uint32_t crc = 0;
    std::uint64_t size = 0;           // bytes of the file
    std::uint64_t compressedSize = 0; // bytes of the data, including the encryption header
    platform::FileInfo version;
};

// Packs a file in memory, deflated if that is smaller, otherwise stored. Thread-safe.
Status packWhole(SourceFile &file, const std::optional<std::string> &password, Packing &packing,
                 Bytes &data);

// Packs a file of any size directly to the output, at its position. Calls `idle` often.
Status packStreamed(SourceFile &file, const std::optional<std::string> &password,
                    const std::function<void()> &idle, Output &output, Packing &packing);

} // namespace ziplib
