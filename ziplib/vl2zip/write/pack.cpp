#include "ziplib/vl2zip/write/pack.h"

#include "ziplib/codec/cipher.h"
#include "ziplib/codec/codec.h"
#include "ziplib/common/backgroundTask.h"
#include "ziplib/common/objectPool.h"
#include "ziplib/format/records.h"

#include <algorithm>
#include <array>
#include <random>

namespace ziplib {

namespace {

// Measured with a game's files: level 8 takes a sixth longer and saves less than 0.01 %, higher
// ones take several times as long and save less than 1 %.
constexpr int kLevel = 7;
constexpr int kStreamLevel = 7;
constexpr std::size_t kChunk = 256U << 10U;

// The encryption header: 11 random bytes and one of the CRC, by which a wrong password is usually
// detected.
std::array<std::uint8_t, Cipher::kHeaderSize> cipherHeader(std::uint32_t crc) {
    std::random_device device;
    std::array<std::uint8_t, Cipher::kHeaderSize> header{};
    for (auto &byte : header)
        byte = static_cast<std::uint8_t>(device());
    header.back() = static_cast<std::uint8_t>(crc >> 24U);
    return header;
}

Status readAll(SourceFile &file, Bytes &raw) {
    raw.clear();
    Bytes chunk;
    for (;;) {
        // The first read returns the whole file, the second its end.
        const auto size = static_cast<std::size_t>(file.version().size) + 1;
        if (auto read = file.read(size, chunk); !read.ok() || chunk.empty())
            return read;
        if (raw.empty())
            raw.swap(chunk);
        else
            raw.insert(raw.end(), chunk.begin(), chunk.end());
    }
}

void packBytes(Bytes &raw, const std::optional<std::string> &password, Packing &packing,
               Bytes &data) {
    const PooledObject<Deflater> deflater(kLevel);
    const std::size_t before = password ? Cipher::kHeaderSize : 0;
    packing.size = raw.size();
    packing.method = kMethodStored;
    if (raw.size() > 1) {
        const std::size_t room = raw.size() - 1;
        data.resize(before + room);
        const std::size_t size =
            deflater->deflate(raw.data(), raw.size(), data.data() + before, room);
        if (size > 0) {
            packing.method = kMethodDeflated;
            data.resize(before + size);
        }
    }
    if (packing.method == kMethodStored) {
        raw.insert(raw.begin(), before, 0);
        data.swap(raw);
    }
    if (password) {
        const auto header = cipherHeader(packing.crc);
        std::copy(header.begin(), header.end(), data.begin());
        Cipher(*password).encrypt(data.data(), data.size());
    }
    packing.compressedSize = data.size();
}

// One pass over a streamed file.
class Stream {
  public:
    Stream(SourceFile &file, Output &output, const std::optional<std::string> &password)
        : m_file(file), m_output(output) {
        if (password)
            m_cipher.emplace(*password);
    }

    Status header(std::uint32_t crc);
    Status deflate(std::uint64_t limit);
    Status store();
    bool tooLarge() const { return m_tooLarge; }
    std::uint64_t written() const { return m_written; }
    // Of the bytes that were read.
    std::uint32_t crc() const { return m_crc; }

  private:
    Status read();
    Status write(std::uint8_t *data, std::size_t size);

    SourceFile &m_file;
    Output &m_output;
    std::optional<Cipher> m_cipher;
    std::uint64_t m_written = 0;
    std::uint32_t m_crc = 0;
    bool m_tooLarge = false;
    Bytes m_in;
};

Status Stream::write(std::uint8_t *data, std::size_t size) {
    if (m_cipher)
        m_cipher->encrypt(data, size);
    m_written += size;
    return m_output.append(data, size);
}

Status Stream::read() {
    auto read = m_file.read(kChunk, m_in);
    m_crc = crc32(m_crc, m_in.data(), m_in.size());
    return read;
}

Status Stream::header(std::uint32_t crc) {
    if (!m_cipher)
        return {};
    auto header = cipherHeader(crc);
    return write(header.data(), header.size());
}

Status Stream::deflate(std::uint64_t limit) {
    DeflateStream deflater(kStreamLevel);
    Bytes out(kChunk);
    for (bool ended = false; !ended;) {
        if (auto read = this->read(); !read.ok())
            return read;
        const bool last = m_in.empty();
        std::size_t taken = 0;
        StreamStep step;
        do {
            step = deflater.step(m_in.data() + taken, m_in.size() - taken, out.data(), out.size(),
                                 last);
            taken += step.taken;
            if (step.failed)
                return {Failure::CannotWrite, m_file.name() + ": cannot be compressed"};
            if (auto written = write(out.data(), step.given); !written.ok())
                return written;
        } while (!step.ended && (taken < m_in.size() || step.given == out.size() || last));
        ended = step.ended;
        if (m_written >= limit) {
            m_tooLarge = true;
            return {};
        }
    }
    return {};
}

Status Stream::store() {
    for (;;) {
        if (auto read = this->read(); !read.ok() || m_in.empty())
            return read;
        if (auto written = write(m_in.data(), m_in.size()); !written.ok())
            return written;
    }
}

Status streamOnce(SourceFile &file, const std::optional<std::string> &password, Output &output,
                  Packing &packing) {
    const std::uint64_t start = output.position();
    if (auto read = file.measure(packing.crc, packing.size); !read.ok())
        return read;
    for (const auto method : {kMethodDeflated, kMethodStored}) {
        file.rewind();
        if (auto done = output.rewind(start); !done.ok())
            return done;
        Stream stream(file, output, password);
        auto done = stream.header(packing.crc);
        if (done.ok()) {
            done = method == kMethodDeflated ? stream.deflate(stream.written() + packing.size)
                                             : stream.store();
        }
        if (!done.ok())
            return done;
        packing.method = method;
        packing.compressedSize = stream.written();
        if (!stream.tooLarge()) {
            packing.crc = stream.crc();
            break;
        }
    }
    packing.version = file.version();
    return {};
}

} // namespace

Status packWhole(SourceFile &file, const std::optional<std::string> &password, Packing &packing,
                 Bytes &data) {
    Bytes raw;
    auto read = readWhole(file, packing.crc, [&] {
        auto all = readAll(file, raw);
        packing.crc = crc32(0, raw.data(), raw.size());
        return all;
    });
    if (read.ok()) {
        packBytes(raw, password, packing, data);
        packing.version = file.version();
    }
    return read;
}

Status packStreamed(SourceFile &file, const std::optional<std::string> &password,
                    const std::function<void()> &idle, Output &output, Packing &packing) {
    Status status;
    const std::uint64_t start = output.position();
    runInBackground({[&] {
                        status = readWhole(file, packing.crc, [&] {
                            const auto again = output.rewind(start);
                            return again.ok() ? streamOnce(file, password, output, packing) : again;
                        });
                    }},
                    idle);
    return status;
}

} // namespace ziplib
