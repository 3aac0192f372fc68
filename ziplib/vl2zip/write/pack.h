#pragma once

#include "ziplib/common/buffer.h"
#include "ziplib/vl2zip/compare/sourceFile.h"
#include "ziplib/vl2zip/write/output.h"

#include <optional>
#include <string>

// Turning files into the data of entries.
namespace ziplib {

// A file of at most this many bytes is packed in one piece, in memory.
inline constexpr std::uint64_t kWholeLimit = 16U << 20U;

// What there is to know of an entry's data.
struct Packing {
    std::uint16_t method = 0;
    std::uint32_t crc = 0;
    std::uint64_t size = 0;   // bytes of the file
    std::uint64_t packed = 0; // bytes of the data, the encryption header with them
    platform::FileInfo version;
};

// Packs a file in memory, deflated where that is smaller and stored where not. To be called from
// several threads at once.
Status packWhole(SourceFile &file, const std::optional<std::string> &password, Packing &packing,
                 Bytes &data);

// Packs a file of any size straight into the archive, where the data begins at the output's
// position. Calls `idle` meanwhile.
Status packStreamed(SourceFile &file, const std::optional<std::string> &password,
                    const std::function<void()> &idle, Output &output, Packing &packing);

} // namespace ziplib
