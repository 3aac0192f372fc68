#include "ziplib/codec/entryReader.h"

#include <algorithm>
#include <string>

namespace ziplib {

namespace {

using platform::Failure;
using platform::Status;

// Entries up to this size are inflated in one call; larger ones stream.
constexpr std::uint64_t kLargestWhole = 16U << 20;
// What one entry may take without asking the budget, and what a worker keeps.
constexpr std::size_t kFreeShare = 512U << 10;
constexpr std::size_t kStreamStep = 256U << 10;
// Bytes of a local header's extra fields that are read along with the data.
constexpr std::size_t kExtraSlack = 64;
// Deflate makes no more of a byte than this.
constexpr std::uint64_t kMostExpansion = 1032;

class Reader {
  public:
    Reader(const Source &source, std::size_t index, const std::optional<Cipher> &cipher,
           Scratch &scratch, const platform::KeepGoing &keepGoing, Sink &sink)
        : m_source(source), m_entry(source.directory.entries()[index]),
          m_limit(source.extents.limit(index)), m_cipher(cipher), m_scratch(scratch),
          m_keepGoing(keepGoing), m_sink(sink) {}

    Status read() {
        if (Status status = checkDeclared(); !status.ok())
            return status;
        if (m_entry.size > kLargestWhole || m_entry.compressedSize > kLargestWhole)
            return readStream();
        const std::size_t wanted = wholeSize() + static_cast<std::size_t>(m_entry.size);
        if (wanted <= kFreeShare)
            return readWhole();
        const MemoryBudget::Reservation reservation(m_source.budget, wanted);
        Status status = readWhole();
        m_scratch.packed.shrink(kFreeShare);
        m_scratch.plain.shrink(kFreeShare);
        return status;
    }

  private:
    Status fail(Failure kind, const char *why) const {
        std::string path = m_source.directory.path(m_entry);
        return {kind, path + " " + why, path};
    }

    Status damaged(const char *why) const { return fail(Failure::Damaged, why); }

    std::size_t wholeSize() const {
        return 30 + m_entry.nameLength + static_cast<std::size_t>(m_entry.extraLength) +
               kExtraSlack + static_cast<std::size_t>(m_entry.compressedSize);
    }

    // What is wrong already by what the directory says.
    Status checkDeclared() const {
        if (m_limit == 0)
            return damaged("is damaged: its data lies over something else");
        if (m_entry.method != kMethodStored && m_entry.method != kMethodDeflated)
            return fail(Failure::Unsupported, "is packed with a method that is not supported");
        if ((m_entry.flags & kFlagStrongEncryption) != 0)
            return fail(Failure::Unsupported, "is encrypted in a way that is not supported");
        const std::uint64_t head = m_entry.isEncrypted() ? Cipher::kHeaderSize : 0;
        if (m_entry.compressedSize < head)
            return damaged("is damaged: its size is wrong");
        const std::uint64_t packed = m_entry.compressedSize - head;
        const bool possible = m_entry.method == kMethodStored
                                  ? packed == m_entry.size
                                  : m_entry.size / kMostExpansion <= packed;
        return possible ? Status() : damaged("is damaged: its size is wrong");
    }

    Status checkEnd(std::uint64_t dataOffset) const {
        if (dataOffset > m_source.directory.fileSize() ||
            m_entry.compressedSize > m_source.directory.fileSize() - dataOffset)
            return fail(Failure::EndsEarly, "is cut off");
        if (dataOffset > m_limit || m_entry.compressedSize > m_limit - dataOffset)
            return damaged("is damaged: its data lies over something else");
        return {};
    }

    Status readWhole() {
        const std::size_t room = wholeSize();
        std::uint8_t *bytes = m_scratch.packed.reserve(room);
        std::size_t got = 0;
        std::size_t headSize = 0;
        if (Status status = m_source.file.readAt(m_entry.localOffset, bytes, room, got);
            !status.ok())
            return status;
        if (Status status =
                checkLocal(m_source.file, m_source.directory, m_entry, bytes, got, headSize);
            !status.ok())
            return status;
        const std::uint64_t dataOffset = m_entry.localOffset + headSize;
        if (Status status = checkEnd(dataOffset); !status.ok())
            return status;
        auto compressedSize = static_cast<std::size_t>(m_entry.compressedSize);
        std::uint8_t *packed = bytes + headSize;
        if (headSize > got || got - headSize < compressedSize) {
            // A longer header than expected: the data starts further on.
            packed = bytes;
            if (Status status = m_source.file.readAt(dataOffset, packed, compressedSize, got);
                !status.ok())
                return status;
            if (got < compressedSize)
                return fail(Failure::EndsEarly, "is cut off");
        }
        if (m_cipher) {
            m_cipher->decrypt(packed, compressedSize);
            packed += Cipher::kHeaderSize;
            compressedSize -= Cipher::kHeaderSize;
        }
        const auto size = static_cast<std::size_t>(m_entry.size);
        const std::uint8_t *plain = packed;
        // An empty file is at times called deflated without any data.
        if (m_entry.method == kMethodDeflated && size + compressedSize > 0) {
            std::uint8_t *out = m_scratch.plain.reserve(std::max<std::size_t>(size, 1));
            if (!m_scratch.inflater.inflate(packed, compressedSize, out, size))
                return damaged("is damaged");
            plain = out;
        }
        if (crc32(0, plain, size) != m_entry.crc)
            return damaged("is damaged: its checksum is wrong");
        return m_sink.write(plain, size);
    }

    Status readStream() {
        std::uint64_t at = 0;
        if (Status status = locateData(m_source.file, m_source.directory, m_entry, at);
            !status.ok())
            return status;
        if (Status status = checkEnd(at); !status.ok())
            return status;
        std::uint64_t left = m_entry.compressedSize;
        std::uint8_t *in = m_scratch.packed.reserve(kStreamStep);
        std::size_t skip = m_cipher ? Cipher::kHeaderSize : 0;
        InflateStream inflater;
        while (left > 0) {
            if (!m_keepGoing())
                return fail(Failure::Cancelled, "was not finished");
            const auto step = static_cast<std::size_t>(std::min<std::uint64_t>(kStreamStep, left));
            std::size_t got = 0;
            if (Status status = m_source.file.readAt(at, in, step, got); !status.ok())
                return status;
            if (got < step)
                return fail(Failure::EndsEarly, "is cut off");
            at += step;
            left -= step;
            if (m_cipher)
                m_cipher->decrypt(in, step);
            Status status = m_entry.method == kMethodStored
                                ? give(in + skip, step - skip)
                                : inflatePiece(inflater, in + skip, step - skip);
            if (!status.ok())
                return status;
            skip = 0;
        }
        const bool complete = m_entry.method == kMethodStored || m_ended;
        if (!complete || m_given != m_entry.size || m_crc != m_entry.crc)
            return damaged("is damaged: its checksum is wrong");
        return {};
    }

    Status inflatePiece(InflateStream &inflater, const std::uint8_t *in, std::size_t size) {
        std::uint8_t *out = m_scratch.plain.reserve(kStreamStep);
        while (!m_ended) {
            const StreamStep step = inflater.step(in, size, out, kStreamStep);
            if (step.failed)
                return damaged("is damaged");
            in += step.taken;
            size -= step.taken;
            m_ended = step.ended;
            if (Status status = give(out, step.given); !status.ok())
                return status;
            if (step.given < kStreamStep && size == 0)
                break;
            if (!m_keepGoing())
                return fail(Failure::Cancelled, "was not finished");
        }
        return {};
    }

    Status give(const std::uint8_t *data, std::size_t size) {
        if (size > m_entry.size - m_given)
            return damaged("is damaged: it holds more than it tells");
        m_given += size;
        m_crc = crc32(m_crc, data, size);
        return m_sink.write(data, size);
    }

    const Source &m_source;
    const Entry &m_entry;
    const std::uint64_t m_limit;
    std::optional<Cipher> m_cipher;
    Scratch &m_scratch;
    const platform::KeepGoing &m_keepGoing;
    Sink &m_sink;
    std::uint64_t m_given = 0;
    std::uint32_t m_crc = 0;
    bool m_ended = false;
};

} // namespace

Status readEntry(const Source &source, std::size_t index, const std::optional<Cipher> &cipher,
                 Scratch &scratch, const platform::KeepGoing &keepGoing, Sink &sink) {
    return Reader(source, index, cipher, scratch, keepGoing, sink).read();
}

Status checkPassword(const Source &source, std::size_t index, Cipher cipher, bool &fits) {
    const Entry &entry = source.directory.entries()[index];
    std::uint64_t offset = 0;
    fits = false;
    if (Status status = locateData(source.file, source.directory, entry, offset); !status.ok())
        return status;
    std::uint8_t header[Cipher::kHeaderSize];
    std::size_t got = 0;
    if (Status status = source.file.readAt(offset, header, sizeof header, got); !status.ok())
        return status;
    if (got < sizeof header || entry.compressedSize < sizeof header) {
        std::string path = source.directory.path(entry);
        return {Failure::EndsEarly, path + " is cut off", path};
    }
    cipher.decrypt(header, sizeof header);
    // The last byte repeats one of the CRC, or of the time where the CRC was not known in advance.
    const std::uint8_t check = header[Cipher::kHeaderSize - 1];
    fits = check == (entry.crc >> 24) ||
           ((entry.flags & kFlagDescriptor) != 0 && check == (entry.time >> 8));
    return {};
}

} // namespace ziplib
