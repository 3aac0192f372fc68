#include "ziplib/vl2zip/write/archiveReplacement.h"

#include "ziplib/common/backgroundTask.h"
#include "ziplib/common/returnCode.h"
#include "ziplib/vl2zip/select/scan.h"

#include <chrono>

namespace ziplib {

namespace {

// Longer than a save takes; who waits for more should hear why.
constexpr std::chrono::milliseconds kPatience{15'000};
// Each round means that another process put a new archive in place while this one waited.
constexpr int kRounds = 100;

} // namespace

Status ArchiveReplacement::failed(const Status &status, const char *what, Failure kind) const {
    Status plain = failure(status, kind);
    if (plain.ok())
        return plain;
    return {plain.kind, m_path + ": " + what + ": " + plain.message};
}

Status ArchiveReplacement::open(const std::function<void()> &idle) {
    std::string folder;
    const auto resolved = m_path.empty() ? Status(Failure::NotFound, "no name is given")
                                         : platform::resolvePath(m_path, folder, m_name);
    if (!resolved.ok())
        return failed(resolved, "the archive cannot be reached", Failure::CannotCreate);
    if (const auto opened = m_folder.open(folder); !opened.ok())
        return failed(opened, "its folder cannot be opened", Failure::CannotCreate);
    if (auto claimed = claim(idle); !claimed.ok())
        return claimed;
    bool again = true;
    for (int round = 0; again; ++round) {
        if (round == kRounds)
            return {Failure::CannotWrite, m_path + ": other programs keep replacing the archive"};
        if (auto opened = openOld(again, idle); !opened.ok())
            return opened;
    }
    // Where there is no archive, one of them may be all that is left of it.
    if (exists())
        m_folder.removeStaleTemporaries();
    return {};
}

// Before the archive is opened: in some systems nobody may have it open when it is replaced, and
// its lock is gone by then.
Status ArchiveReplacement::claim(const std::function<void()> &idle) {
    const auto claimed = m_nameLock.take(m_folder, m_name, kPatience, [&] {
        idle();
        return true;
    });
    return claimed.is(Failure::Busy)
               ? savedByAnother()
               : failed(claimed, "the archive cannot be held", Failure::CannotWrite);
}

Status ArchiveReplacement::savedByAnother() const {
    return {Failure::CannotWrite, m_path + ": another program is saving this archive"};
}

// `again` tells that the file was replaced by another one before its lock was had.
Status ArchiveReplacement::openOld(bool &again, const std::function<void()> &idle) {
    again = false;
    const auto opened = m_folder.openFile(m_name, m_old);
    if (opened.is(Failure::NotFound)) {
        m_old.close();
        return {};
    }
    if (!opened.ok())
        return failed(opened, "the archive cannot be opened", Failure::CannotOpen);
    const auto locked = m_old.lock(kPatience, [&] {
        idle();
        return true;
    });
    if (locked.is(Failure::Busy))
        return savedByAnother();
    if (!locked.ok())
        return failed(locked, "the archive cannot be held", Failure::CannotWrite);
    if (const auto known = m_old.info(m_oldInfo); !known.ok())
        return failed(known, "the archive cannot be read", Failure::CannotOpen);
    again = !undisturbed();
    return {};
}

bool ArchiveReplacement::undisturbed() const {
    platform::FileInfo now;
    const auto known = m_folder.info(m_name, now);
    if (!m_old.isOpen())
        return known.is(Failure::NotFound);
    // The time of the file's record is left out: a new link to it disturbs nothing.
    return known.ok() && platform::sameFile(now, m_oldInfo) && now.size == m_oldInfo.size &&
           now.modified == m_oldInfo.modified;
}

bool ArchiveReplacement::mayReplace() const {
    platform::FileInfo now;
    return undisturbed() || m_folder.info(m_name, now).is(Failure::NotFound);
}

Status ArchiveReplacement::begin() {
    // Putting a new file in a read-only one's place would succeed, and who made it so meant it.
    if (m_old.isOpen() && m_oldInfo.readOnly)
        return {Failure::CannotWrite, m_path + ": the archive is read-only"};
    const auto created = m_fresh.create(m_folder, platform::NewFile::Guard::Locked);
    if (!created.ok())
        return failed(created, "no new archive can be made beside it", Failure::CannotCreate);
    if (m_old.isOpen())
        m_fresh.takeOverFrom(m_old);
    return {};
}

std::uint64_t ArchiveReplacement::space() const {
    std::uint64_t bytes = 0;
    return m_folder.freeSpace(bytes).ok() ? bytes : UINT64_MAX;
}

Status ArchiveReplacement::sync(const std::function<void()> &idle) {
    Status status;
    // While the disk works there is time to give back the memory that held the old archive, which
    // otherwise is given back when it is deleted.
    m_droppingCache.start([this] { m_old.dropCache(); });
    runInBackground({[&] { status = m_fresh.sync(); }}, idle);
    return failed(status, "the new archive cannot be made durable", Failure::CannotWrite);
}

Status ArchiveReplacement::replace(const std::function<void()> &idle, bool &taken) {
    m_droppingCache.wait(idle);
    using Replace = platform::NewFile::Replace;
    const bool replaces = m_old.isOpen();
    const auto committed =
        m_fresh.commit(m_name, replaces ? Replace::Yes : Replace::No, replaces ? &m_old : nullptr);
    taken = committed.is(Failure::Exists);
    return failed(committed, "the new archive cannot take its place", Failure::CannotWrite);
}

Status ArchiveReplacement::syncFolder(const std::function<void()> &idle) {
    Status status;
    // What the old archive had on the disk is given back meanwhile.
    runInBackground({[&] { status = m_folder.sync(); }, [&] { m_old.close(); }}, idle);
    return failed(status, "the archive is saved, but its folder cannot be made durable",
                  Failure::CannotWrite);
}

void ArchiveReplacement::drop(const std::function<void()> &idle) {
    m_droppingCache.wait(idle);
    runInBackground({[&] { m_fresh.discard(); }}, idle);
}

} // namespace ziplib
