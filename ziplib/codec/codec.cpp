#include "ziplib/codec/codec.h"

#include <libdeflate.h>

#include <new>

namespace ziplib {

Inflater::Inflater() : m_handle(libdeflate_alloc_decompressor()) {
    if (m_handle == nullptr)
        throw std::bad_alloc();
}

Inflater::~Inflater() {
    libdeflate_free_decompressor(static_cast<libdeflate_decompressor *>(m_handle));
}

bool Inflater::inflate(const void *packed, std::size_t compressedSize, void *out,
                       std::size_t size) {
    // Without the last argument the library demands that the output is exactly `size` bytes.
    return libdeflate_deflate_decompress(static_cast<libdeflate_decompressor *>(m_handle), packed,
                                         compressedSize, out, size, nullptr) == LIBDEFLATE_SUCCESS;
}

Deflater::Deflater(int level) : m_handle(libdeflate_alloc_compressor(level)) {
    if (m_handle == nullptr)
        throw std::bad_alloc();
}

Deflater::~Deflater() {
    libdeflate_free_compressor(static_cast<libdeflate_compressor *>(m_handle));
}

std::size_t Deflater::deflate(const void *data, std::size_t size, void *out, std::size_t room) {
    return libdeflate_deflate_compress(static_cast<libdeflate_compressor *>(m_handle), data, size,
                                       out, room);
}

} // namespace ziplib
