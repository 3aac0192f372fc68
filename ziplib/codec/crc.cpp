#include "ziplib/codec/codec.h"

#include <libdeflate.h>

namespace ziplib {

std::uint32_t crc32(std::uint32_t crc, const void *data, std::size_t size) {
    return libdeflate_crc32(crc, data, size);
}

} // namespace ziplib
