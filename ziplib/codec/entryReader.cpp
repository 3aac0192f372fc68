#include "ziplib/codec/entryReader.h"

#include <algorithm>
#include <string>
#include <utility>

namespace ziplib {

namespace {

using platform::Failure;
using platform::Status;

// Entries up to this size are inflated in one call; larger ones stream. Half of it if no budget
// limits what all threads take.
constexpr std::uint64_t kLargestWhole = 16U << 20;
// What one entry may take without the budget, and what a thread keeps.
constexpr std::size_t kFreeMemory = 512U << 10;
constexpr std::size_t kStreamStep = 256U << 10;
// Bytes of a local header's extra fields that are read along with the data.
constexpr std::size_t kExtraSlack = 64;
// Deflate expands a byte to no more than this.
constexpr std::uint64_t kMostExpansion = 1032;

} // namespace

EntryReader::EntryReader(const Source &source, std::size_t index,
                         const std::optional<Cipher> &cipher, Scratch &scratch)
    : m_source(source), m_entry(source.directory.entries()[index]),
      m_limit(source.extents == nullptr ? UINT64_MAX : source.extents->limit(index)),
      m_cipher(cipher), m_scratch(scratch) {}

EntryReader::~EntryReader() {
    shrink(m_scratch.compressed, kFreeMemory);
    shrink(m_scratch.plain, kFreeMemory);
}

Status EntryReader::fail(Failure kind, const char *why) const {
    std::string path = m_source.directory.path(m_entry);
    return {kind, path + " " + why, path};
}

Status EntryReader::damaged(const char *why) const {
    return fail(Failure::Damaged, why);
}

// The local header, as long as it is expected to be, and the data.
std::size_t EntryReader::wholeSize() const {
    return kLocalSize + m_entry.nameLength + static_cast<std::size_t>(m_entry.extraLength) +
           kExtraSlack + static_cast<std::size_t>(m_entry.compressedSize);
}

// What the central directory record alone shows to be wrong.
Status EntryReader::checkDeclared() const {
    if (m_limit == 0)
        return damaged("is damaged: its data lies over something else");
    if (m_entry.method != kMethodStored && !isDeflated())
        return fail(Failure::Unsupported, "is packed with a method that is not supported");
    if ((m_entry.flags & kFlagStrongEncryption) != 0)
        return fail(Failure::Unsupported, "is encrypted in a way that is not supported");
    if (m_entry.isEncrypted() && !m_cipher)
        return fail(Failure::Password, "needs a password");
    const std::uint64_t head = m_cipher ? Cipher::kHeaderSize : 0;
    if (m_entry.compressedSize < head)
        return damaged("is damaged: its size is wrong");
    const std::uint64_t compressedSize = m_entry.compressedSize - head;
    const bool possible = isDeflated() ? m_entry.size / kMostExpansion <= compressedSize
                                       : m_entry.size == compressedSize;
    return possible ? Status() : damaged("is damaged: its size is wrong");
}

Status EntryReader::checkEnd(std::uint64_t dataOffset) const {
    if (dataOffset > m_source.directory.fileSize() ||
        m_entry.compressedSize > m_source.directory.fileSize() - dataOffset)
        return fail(Failure::EndsEarly, "is cut off");
    if (dataOffset > m_limit || m_entry.compressedSize > m_limit - dataOffset)
        return damaged("is damaged: its data lies over something else");
    return {};
}

Status EntryReader::next(Chunk &chunk, std::size_t most) {
    chunk = {};
    if (m_ready.empty() && m_status.ok() && !(m_started && m_whole))
        m_status = m_started ? readStream() : start();
    if (m_status.ok()) {
        chunk = m_ready.first(std::min(most, m_ready.size()));
        m_ready = m_ready.subspan(chunk.size());
    }
    return m_status;
}

Status EntryReader::start() {
    m_started = true;
    if (Status status = checkDeclared(); !status.ok())
        return status;
    std::uint64_t largest = m_source.budget == nullptr ? kLargestWhole / 2 : kLargestWhole;
    if (!isDeflated() && !checks())
        largest = kStreamStep; // a comparison may end early
    if (std::max(m_entry.size, m_entry.compressedSize) <= largest) {
        m_whole = true;
        const std::size_t wanted = wholeSize() + static_cast<std::size_t>(m_entry.size);
        if (m_source.budget != nullptr && wanted > kFreeMemory)
            m_memory.emplace(*m_source.budget, wanted);
        return readWhole();
    }
    if (Status status = locateData(m_source.file, m_source.directory, m_entry, m_position);
        !status.ok())
        return status;
    if (Status status = checkEnd(m_position); !status.ok())
        return status;
    m_left = m_entry.compressedSize;
    m_skip = m_cipher ? Cipher::kHeaderSize : 0;
    if (isDeflated())
        m_inflater.emplace();
    return readStream();
}

// Local header and data come with one read.
Status EntryReader::readWhole() {
    const std::size_t room = wholeSize();
    std::uint8_t *bytes = reserve(m_scratch.compressed, room);
    std::size_t got = 0;
    std::size_t headSize = 0;
    if (Status status = m_source.file.readAt(m_entry.localOffset, bytes, room, got); !status.ok())
        return status;
    if (Status status =
            checkLocal(m_source.file, m_source.directory, m_entry, bytes, got, headSize);
        !status.ok())
        return status;
    const std::uint64_t dataOffset = m_entry.localOffset + headSize;
    if (Status status = checkEnd(dataOffset); !status.ok())
        return status;
    auto compressedSize = static_cast<std::size_t>(m_entry.compressedSize);
    std::uint8_t *compressed = bytes + headSize;
    if (headSize > got || got - headSize < compressedSize) {
        // A longer header than expected: the data starts further on.
        compressed = bytes;
        if (Status status = m_source.file.readAt(dataOffset, compressed, compressedSize, got);
            !status.ok())
            return status;
        if (got < compressedSize)
            return fail(Failure::EndsEarly, "is cut off");
    }
    if (m_cipher) {
        m_cipher->decrypt(compressed, compressedSize);
        compressed += Cipher::kHeaderSize;
        compressedSize -= Cipher::kHeaderSize;
    }
    const auto size = static_cast<std::size_t>(m_entry.size);
    const std::uint8_t *plain = compressed;
    // Some tools write an empty file as deflated, without any data.
    if (isDeflated() && size + compressedSize > 0) {
        std::uint8_t *out = reserve(m_scratch.plain, std::max<std::size_t>(size, 1));
        if (!m_scratch.inflater.inflate(compressed, compressedSize, out, size))
            return damaged("is damaged");
        plain = out;
    }
    if (checks() && crc32(0, plain, size) != m_entry.crc)
        return damaged("is damaged: its checksum is wrong");
    m_ready = {plain, size};
    return {};
}

Status EntryReader::readInput() {
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(kStreamStep, m_left));
    std::uint8_t *in = reserve(m_scratch.compressed, kStreamStep);
    std::size_t got = 0;
    if (Status status = m_source.file.readAt(m_position, in, size, got); !status.ok())
        return status;
    if (got < size)
        return fail(Failure::EndsEarly, "is cut off");
    m_position += size;
    m_left -= size;
    if (m_cipher)
        m_cipher->decrypt(in, size);
    m_input = Chunk(in, size).subspan(m_skip);
    m_skip = 0;
    return {};
}

// Leaves the next chunk in m_ready, or nothing at the end.
Status EntryReader::readStream() {
    while (!m_ended) {
        const bool needsInput = m_input.empty() && !m_outputFull;
        if (needsInput && m_left == 0)
            break;
        if (m_source.keepGoing && !m_source.keepGoing())
            return fail(Failure::Cancelled, "was not finished");
        if (needsInput) {
            if (Status status = readInput(); !status.ok())
                return status;
        }
        if (!m_inflater)
            return give(std::exchange(m_input, Chunk()));
        std::uint8_t *out = reserve(m_scratch.plain, kStreamStep);
        const StreamStep step = m_inflater->step(m_input.data(), m_input.size(), out, kStreamStep);
        if (step.failed)
            return damaged("is damaged");
        m_input = m_input.subspan(step.taken);
        m_outputFull = step.given == kStreamStep;
        m_ended = step.ended;
        if (step.given > 0)
            return give({out, step.given});
    }
    const bool complete = m_ended || !m_inflater;
    if (!complete || m_given != m_entry.size || (checks() && m_crc != m_entry.crc))
        return damaged("is damaged: its checksum is wrong");
    return {};
}

Status EntryReader::give(Chunk chunk) {
    if (chunk.size() > m_entry.size - m_given)
        return damaged("is damaged: it is larger than its declared size");
    m_given += chunk.size();
    if (checks())
        m_crc = crc32(m_crc, chunk.data(), chunk.size());
    m_ready = chunk;
    return {};
}

} // namespace ziplib
