#include "ziplib/vl2zip/compare/entryReader.h"

#include "ziplib/common/objectPool.h"
#include "ziplib/format/localHeader.h"

#include <algorithm>
#include <cstring>

namespace ziplib {

namespace {

// Up to here an entry is inflated in one go, which is faster.
constexpr std::uint64_t kWholeLimit = 8U << 20U;
constexpr std::size_t kChunk = 256U << 10U;

} // namespace

EntryReader::EntryReader(const platform::InputFile &archive, const Directory &directory,
                         const Entry &entry)
    : m_archive(archive), m_directory(directory), m_entry(entry) {}

bool EntryReader::start() {
    m_started = true;
    const bool known = m_entry.method == kMethodStored || m_entry.method == kMethodDeflated;
    if (!known || m_entry.isEncrypted() ||
        !locateData(m_archive, m_directory, m_entry, m_position).ok())
        return false;
    m_left = m_entry.compressedSize;
    if (m_entry.method == kMethodStored)
        return m_entry.compressedSize == m_entry.size;
    if (m_entry.size <= kWholeLimit && m_entry.compressedSize <= kWholeLimit)
        return inflateWhole();
    m_stream.emplace();
    return true;
}

bool EntryReader::readPacked(std::uint8_t *out, std::size_t size) {
    std::size_t got = 0;
    if (size > m_left || !m_archive.readAt(m_position, out, size, got).ok() || got != size)
        return false;
    m_position += size;
    m_left -= size;
    return true;
}

bool EntryReader::inflateWhole() {
    const PooledObject<Inflater> inflater;
    m_packed.resize(static_cast<std::size_t>(m_left));
    m_whole.resize(static_cast<std::size_t>(m_entry.size));
    return readPacked(m_packed.data(), m_packed.size()) &&
           inflater->inflate(m_packed.data(), m_packed.size(), m_whole.data(), m_whole.size());
}

bool EntryReader::inflateOn(std::uint8_t *out, std::size_t size) {
    while (size > 0) {
        if (m_taken == m_packed.size() && m_left > 0) {
            m_packed.resize(static_cast<std::size_t>(std::min<std::uint64_t>(m_left, kChunk)));
            m_taken = 0;
            if (!readPacked(m_packed.data(), m_packed.size()))
                return false;
        }
        const auto step =
            m_stream->step(m_packed.data() + m_taken, m_packed.size() - m_taken, out, size);
        m_taken += step.taken;
        out += step.given;
        size -= step.given;
        const bool stuck = step.taken == 0 && step.given == 0;
        if (step.failed || (size > 0 && (step.ended || stuck)))
            return false;
    }
    return true;
}

bool EntryReader::read(std::uint8_t *out, std::size_t size) {
    if (!m_started)
        m_usable = start();
    if (!m_usable)
        return false;
    if (m_stream)
        return inflateOn(out, size);
    if (m_entry.method == kMethodStored)
        return readPacked(out, size);
    if (size > m_whole.size() - m_given)
        return false;
    std::memcpy(out, m_whole.data() + m_given, size);
    m_given += size;
    return true;
}

} // namespace ziplib
