#include "ziplib/vl2zip/compare/sourceFile.h"

#include "ziplib/codec/codec.h"
#include "ziplib/common/objectPool.h"
#include "ziplib/common/returnCode.h"
#include "ziplib/format/names.h"
#include "ziplib/vl2zip/select/scan.h"

#include <algorithm>
#include <atomic>
#include <thread>

namespace ziplib {

namespace {

constexpr std::size_t kChunk = 128U << 10U;
// Bytes of a file that decide whether it is text.
constexpr std::size_t kTextSample = 64U << 10U;
// Pauses for programs that write to files: the time without a change, and the most for all files.
constexpr std::chrono::milliseconds kPause{20};
constexpr int kQuiet = 50;
constexpr std::chrono::milliseconds kMostWaiting{3000};

// The end of the waiting in this save, on the steady clock; 0 before the first wait. Calls of the
// library do not overlap.
std::atomic<std::chrono::steady_clock::rep> waitingEnds{0};

bool mayWait() {
    using Clock = std::chrono::steady_clock;
    const Clock::rep now = Clock::now().time_since_epoch().count();
    Clock::rep end = 0;
    waitingEnds.compare_exchange_strong(end, now + Clock::duration(kMostWaiting).count());
    return end == 0 || now < end;
}

} // namespace

SourceFile::SourceFile(std::string root, std::string name, LineEnds lineEnds)
    : m_location{std::move(root), std::move(name)}, m_requestedLineEnds(lineEnds),
      m_converter(lineEnds) {}

Status SourceFile::open() {
    const auto opened = m_folder == nullptr
                            ? m_file.open(m_location, m_version)
                            : m_folder->openFile(std::string(lastComponent(name())), m_file,
                                                 platform::Folder::Links::Follow, m_version);
    if (!opened.ok())
        return failure(opened, Failure::CannotOpen);
    m_lineEnds = LineEnds::Keep;
    if (m_requestedLineEnds == LineEnds::Keep) {
        rewind();
        return {};
    }
    bool text = false;
    if (auto judged = judgeText(text); !judged.ok())
        return judged;
    if (text)
        m_lineEnds = m_requestedLineEnds;
    rewind();
    return {};
}

Status SourceFile::judgeText(bool &text) {
    m_raw.resize(kTextSample);
    std::size_t got = 0;
    if (const auto read = m_file.readAt(0, m_raw.data(), m_raw.size(), got); !read.ok())
        return failure(read, Failure::CannotOpen);
    text = looksLikeText(m_raw.data(), got);
    return {};
}

Status SourceFile::measure(std::uint32_t &crc, std::uint64_t &size) {
    const PooledObject<Bytes> buffer;
    Bytes &chunk = *buffer;
    crc = 0;
    size = 0;
    for (;;) {
        if (auto read = this->read(kChunk, chunk); !read.ok() || chunk.empty())
            return read;
        crc = crc32(crc, chunk.data(), chunk.size());
        size += chunk.size();
    }
}

void SourceFile::rewind() {
    m_position = 0;
    m_ended = false;
    m_converter = LineEndConverter(m_lineEnds);
}

bool SourceFile::unchanged() const {
    platform::FileInfo current;
    return m_file.info(current).ok() && sameVersion(current, m_version) &&
           m_position == m_version.size;
}

bool SourceFile::unchangedButTimes() const {
    platform::FileInfo current;
    return m_file.info(current).ok() && sameFile(current, m_version) &&
           current.size == m_version.size && m_position == m_version.size;
}

bool SourceFile::findWriter() {
    m_isWritten = m_file.isOpenForWriting(m_version.device);
    return m_isWritten;
}

bool SourceFile::waitForWriter() {
    platform::FileInfo seen = m_version;
    int quiet = 0;
    bool waited = false;
    while (findWriter() && quiet < kQuiet && mayWait()) {
        waited = true;
        pause(kPause);
        platform::FileInfo now;
        const bool same = m_file.info(now).ok() && sameVersion(now, seen);
        quiet = same ? quiet + 1 : 0;
        seen = now;
    }
    return waited;
}

void SourceFile::pause(std::chrono::milliseconds time) const {
    for (; time > std::chrono::milliseconds::zero(); time -= kPause) {
        std::this_thread::sleep_for(std::min(time, kPause));
        callIdle();
    }
}

void SourceFile::callIdle() const {
    if (m_idle != nullptr)
        (*m_idle)();
}

void SourceFile::allowWaiting() {
    waitingEnds = 0;
}

std::uint8_t SourceFile::attributes() const {
    std::uint8_t attributes = 0;
    // A file whose attributes cannot be read has none.
    static_cast<void>(m_file.attributes(attributes));
    return attributes;
}

Status SourceFile::readRaw(std::size_t size, Bytes &out) {
    // Not more than its size when it was opened: a file that grows is another version then.
    const std::uint64_t left = m_version.size - std::min(m_version.size, m_position);
    out.resize(static_cast<std::size_t>(std::min<std::uint64_t>(size, left)));
    std::size_t got = 0;
    if (const auto read = m_file.readAt(m_position, out.data(), out.size(), got); !read.ok())
        return failure(read, Failure::CannotOpen);
    m_position += got;
    out.resize(got);
    callIdle();
    return {};
}

Status SourceFile::readConverted(std::size_t size, Bytes &out) {
    out.clear();
    while (out.empty() && !m_ended) {
        if (auto read = readRaw(size, m_raw); !read.ok())
            return read;
        m_ended = m_raw.empty();
        out.resize(LineEndConverter::room(m_raw.size()));
        out.resize(m_ended ? m_converter.finish(out.data())
                           : m_converter.convert(m_raw.data(), m_raw.size(), out.data()));
    }
    return {};
}

Status SourceFile::read(std::size_t size, Bytes &out) {
    return converts() ? readConverted(size, out) : readRaw(size, out);
}

} // namespace ziplib
