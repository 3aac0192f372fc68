#include "ziplib/vl2uzip/extractTask.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <new>

namespace ziplib {

namespace {

using platform::Failure;
using platform::Status;

// Larger entries take as long as the start of a thread.
constexpr std::uint64_t kShortSize = 128U << 10U;

} // namespace

Status ExtractTask::perform(Scratch &scratch) {
    if (kind == Kind::Test)
        return read(scratch, nullptr);
    const Directory &directory = m_context.source.directory;
    const Entry entry = directory.entries()[index];
    // In a folder that this call made, every file is its own.
    OwnFiles *own = folder->made || platform::namesIgnoreCase() ? nullptr : &m_context.own;
    platform::FileInfo named;
    const FileSink::Target target{folder->folder,
                                  m_context.times,
                                  name,
                                  replace,
                                  directory.modified(entry),
                                  directory.attributes(entry),
                                  convertLineEnds,
                                  entry.isMarkedText(),
                                  own,
                                  m_context.wantsWritten ? &named : nullptr};
    FileSink sink(target);
    Status result = read(scratch, &sink);
    if (result.ok())
        result = sink.finish();
    if (result.ok() && m_context.wantsWritten)
        written = named;
    return result;
}

// Reads all data of the entry, and writes it if there is a sink.
Status ExtractTask::read(Scratch &scratch, FileSink *sink) const {
    EntryReader reader(m_context.source, index, cipher, scratch);
    EntryReader::Chunk chunk;
    Status result;
    do {
        result = reader.next(chunk);
        if (result.ok() && !chunk.empty() && sink != nullptr)
            result = sink->write(chunk.data(), chunk.size());
    } while (result.ok() && !chunk.empty());
    return result;
}

bool ExtractTask::isShort() const {
    const Entry entry = m_context.source.directory.entries()[index];
    return kind == Kind::Settled ||
           (!m_context.isRemote && std::max(entry.size, entry.compressedSize) <= kShortSize);
}

void ExtractTask::run(unsigned worker) noexcept {
    if (kind == Kind::Settled)
        return;
    try {
        if (!m_context.source.keepGoing()) {
            status = Status(Failure::Cancelled, {});
            return;
        }
        std::unique_ptr<Scratch> &scratch = m_context.scratch[worker];
        if (!scratch)
            scratch = std::make_unique<Scratch>();
        status = perform(*scratch);
    } catch (const std::bad_alloc &) {
        status.kind = Failure::Resources; // a message would need memory
    } catch (const std::exception &) {
        status.kind = Failure::Io;
    }
}

} // namespace ziplib
