#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

// Deflate and CRC-32. A piece that fits in memory goes through libdeflate in one call; what is too
// large streams through zlib.
namespace ziplib {

// The version of the library that streams, as text.
const char *streamLibraryVersion();

// CRC-32 of what came before (`crc`, 0 at the start) and these bytes.
std::uint32_t crc32(std::uint32_t crc, const void *data, std::size_t size);

// Inflates whole pieces. One for each thread; keeps its tables from call to call.
class Inflater {
  public:
    Inflater();
    ~Inflater();
    Inflater(const Inflater &) = delete;
    Inflater &operator=(const Inflater &) = delete;

    // Inflates into exactly `size` bytes. False where the data is damaged or of another size.
    bool inflate(const void *packed, std::size_t compressedSize, void *out, std::size_t size);

  private:
    void *m_handle;
};

// Deflates whole pieces. One for each thread.
class Deflater {
  public:
    // `level` is libdeflate's, 1 (fast) to 12 (small).
    explicit Deflater(int level);
    ~Deflater();
    Deflater(const Deflater &) = delete;
    Deflater &operator=(const Deflater &) = delete;

    // Size of the deflated data, or 0 where it does not fit in `room` bytes.
    std::size_t deflate(const void *data, std::size_t size, void *out, std::size_t room);

  private:
    void *m_handle;
};

// What one step of a stream took and gave.
struct StreamStep {
    std::size_t taken = 0;
    std::size_t given = 0;
    bool ended = false;
    bool failed = false;
};

// Inflates data that comes and goes in pieces.
class InflateStream {
  public:
    InflateStream();
    ~InflateStream();
    InflateStream(const InflateStream &) = delete;
    InflateStream &operator=(const InflateStream &) = delete;

    StreamStep step(const std::uint8_t *in, std::size_t inSize, std::uint8_t *out,
                    std::size_t outSize);

  private:
    struct State;
    std::unique_ptr<State> m_state;
};

// Deflates data that comes and goes in pieces.
class DeflateStream {
  public:
    // `level` is zlib's, 1 (fast) to 9 (small).
    explicit DeflateStream(int level);
    ~DeflateStream();
    DeflateStream(const DeflateStream &) = delete;
    DeflateStream &operator=(const DeflateStream &) = delete;

    // `last` tells that no input follows; then call until `ended`.
    StreamStep step(const std::uint8_t *in, std::size_t inSize, std::uint8_t *out,
                    std::size_t outSize, bool last);

  private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace ziplib
