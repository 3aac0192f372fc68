#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

// Deflate and CRC-32. Data that fits in memory is processed by libdeflate in one call; larger data
// streams through zlib.
namespace ziplib {

// The version of zlib, as text.
const char *streamLibraryVersion();

// CRC-32 of the preceding bytes, whose CRC is `crc` (0 if there are none), and these.
std::uint32_t crc32(std::uint32_t crc, const void *data, std::size_t size);

// Inflates data in memory. For one thread at a time; keeps its tables from call to call.
class Inflater {
  public:
    Inflater();
    ~Inflater();
    Inflater(const Inflater &) = delete;
    Inflater &operator=(const Inflater &) = delete;

    // Inflates into exactly `size` bytes. False if the data is damaged or of another size.
    bool inflate(const void *compressed, std::size_t compressedSize, void *out, std::size_t size);

  private:
    void *m_handle;
};

// Deflates data in memory. For one thread at a time.
class Deflater {
  public:
    // `level` is libdeflate's, 1 (fast) to 12 (small).
    explicit Deflater(int level);
    ~Deflater();
    Deflater(const Deflater &) = delete;
    Deflater &operator=(const Deflater &) = delete;

    // Size of the deflated data, or 0 if it does not fit in `room` bytes.
    std::size_t deflate(const void *data, std::size_t size, void *out, std::size_t room);

  private:
    void *m_handle;
};

// Input that one step of a stream consumed, and output that it produced.
struct StreamStep {
    std::size_t taken = 0;
    std::size_t given = 0;
    bool ended = false;
    bool failed = false;
};

// Inflates data in chunks.
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

// Deflates data in chunks.
class DeflateStream {
  public:
    // `level` is zlib's, 1 (fast) to 9 (small).
    explicit DeflateStream(int level);
    ~DeflateStream();
    DeflateStream(const DeflateStream &) = delete;
    DeflateStream &operator=(const DeflateStream &) = delete;

    // `last`: no input follows; call it until `ended` then.
    StreamStep step(const std::uint8_t *in, std::size_t inSize, std::uint8_t *out,
                    std::size_t outSize, bool last);

  private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace ziplib
