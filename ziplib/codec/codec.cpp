#include "ziplib/codec/codec.h"

#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <limits>
#include <new>

namespace ziplib {

namespace {

uInt bounded(std::size_t size) {
    return static_cast<uInt>(std::min<std::size_t>(size, std::numeric_limits<uInt>::max()));
}

// Sets the stream's buffers, runs `step` and returns what it consumed and produced.
template<typename Step>
StreamStep run(z_stream &stream, const std::uint8_t *in, std::size_t inSize, std::uint8_t *out,
               std::size_t outSize, Step step) {
    stream.next_in = const_cast<Bytef *>(in); // zlib reads only
    stream.avail_in = bounded(inSize);
    stream.next_out = out;
    stream.avail_out = bounded(outSize);
    const uInt inBefore = stream.avail_in;
    const uInt outBefore = stream.avail_out;
    const int result = step(stream);
    StreamStep done;
    done.taken = inBefore - stream.avail_in;
    done.given = outBefore - stream.avail_out;
    done.ended = result == Z_STREAM_END;
    done.failed = result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR;
    return done;
}

} // namespace

Inflater::Inflater() : m_handle(libdeflate_alloc_decompressor()) {
    if (m_handle == nullptr)
        throw std::bad_alloc();
}

Inflater::~Inflater() {
    libdeflate_free_decompressor(static_cast<libdeflate_decompressor *>(m_handle));
}

bool Inflater::inflate(const void *compressed, std::size_t compressedSize, void *out,
                       std::size_t size) {
    // With a null last argument the output must have exactly `size` bytes.
    return libdeflate_deflate_decompress(static_cast<libdeflate_decompressor *>(m_handle),
                                         compressed, compressedSize, out, size,
                                         nullptr) == LIBDEFLATE_SUCCESS;
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

const char *streamLibraryVersion() {
    return zlibVersion();
}

struct InflateStream::State {
    z_stream stream{};
};

InflateStream::InflateStream() : m_state(std::make_unique<State>()) {
    if (inflateInit2(&m_state->stream, -MAX_WBITS) != Z_OK)
        throw std::bad_alloc();
}

InflateStream::~InflateStream() {
    inflateEnd(&m_state->stream);
}

StreamStep InflateStream::step(const std::uint8_t *in, std::size_t inSize, std::uint8_t *out,
                               std::size_t outSize) {
    return run(
        m_state->stream, in, inSize, out, outSize,
        [](z_stream &stream) { return inflate(&stream, Z_NO_FLUSH); });
}

struct DeflateStream::State {
    z_stream stream{};
};

DeflateStream::DeflateStream(int level) : m_state(std::make_unique<State>()) {
    if (deflateInit2(&m_state->stream, level, Z_DEFLATED, -MAX_WBITS, 9, Z_DEFAULT_STRATEGY) !=
        Z_OK)
        throw std::bad_alloc();
}

DeflateStream::~DeflateStream() {
    deflateEnd(&m_state->stream);
}

StreamStep DeflateStream::step(const std::uint8_t *in, std::size_t inSize, std::uint8_t *out,
                               std::size_t outSize, bool last) {
    return run(
        m_state->stream, in, inSize, out, outSize,
        [last](z_stream &stream) { return deflate(&stream, last ? Z_FINISH : Z_NO_FLUSH); });
}

} // namespace ziplib
