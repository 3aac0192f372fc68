#include "ziplib/vl2uzip/extractTask.h"

#include <exception>
#include <new>

namespace ziplib {

namespace {

using platform::Failure;
using platform::Status;

class NullSink : public Sink {
  public:
    Status write(const std::uint8_t *, std::size_t) override { return {}; }
};

} // namespace

Status ExtractTask::perform(Scratch &scratch) const {
    const Directory &directory = m_context.source.directory;
    const Entry &entry = directory.entries()[index];
    if (kind == Kind::Test) {
        NullSink nothing;
        return readEntry(m_context.source, index, cipher, scratch, m_context.keepGoing, nothing);
    }
    // In a new folder every file is one of this call.
    OwnFiles *own = folder->made || platform::namesIgnoreCase() ? nullptr : &m_context.own;
    const FileSink::ArchiveReplacement target{
        folder->folder,  m_context.times,           name,
        replace,         directory.modified(entry), directory.attributes(entry),
        convertLineEnds, entry.isMarkedText(),      own};
    FileSink sink(target, scratch.converted);
    Status result = readEntry(m_context.source, index, cipher, scratch, m_context.keepGoing, sink);
    return result.ok() ? sink.finish() : result;
}

void ExtractTask::run(unsigned worker) noexcept {
    if (kind == Kind::Settled)
        return;
    try {
        if (!m_context.keepGoing()) {
            status = Status(Failure::Cancelled, {});
            return;
        }
        std::unique_ptr<Scratch> &scratch = m_context.scratch[worker];
        if (!scratch)
            scratch = std::make_unique<Scratch>();
        status = perform(*scratch);
    } catch (const std::bad_alloc &) {
        status.kind = Failure::Resources; // a text would need memory
    } catch (const std::exception &) {
        status.kind = Failure::Io;
    }
}

} // namespace ziplib
