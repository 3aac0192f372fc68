#include "ziplib/vl2zip/write/archiveReplacement.h"

#include "ziplib/common/backgroundTask.h"
#include "ziplib/common/returnCode.h"

#include <chrono>

namespace ziplib {

namespace {

// Timeout of the locks: longer than most saves take.
constexpr std::chrono::milliseconds kLockTimeout{15'000};
// Each round means that another process replaced the archive while this one waited.
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
    if (auto locked = lockName(idle); !locked.ok())
        return locked;
    bool again = true;
    for (int round = 0; again; ++round) {
        if (round == kRounds)
            return {Failure::CannotWrite, m_path + ": other programs keep replacing the archive"};
        if (auto opened = openOld(again, idle); !opened.ok())
            return opened;
    }
    // If there is no archive, one of them may be the only copy of it.
    if (exists())
        m_folder.removeStaleTemporaries();
    return {};
}

// The lock of the name, unlike that of the file, is held during the replacement too: some systems
// replace only files that are closed.
Status ArchiveReplacement::lockName(const std::function<void()> &idle) {
    const auto locked = m_nameLock.take(m_folder, m_name, kLockTimeout, [&] {
        idle();
        return true;
    });
    return locked.is(Failure::Busy)
               ? savedByAnother()
               : failed(locked, "the archive cannot be locked", Failure::CannotWrite);
}

Status ArchiveReplacement::savedByAnother() const {
    return {Failure::CannotWrite, m_path + ": another program is saving this archive"};
}

// Sets `again` if the file was replaced by another one before its lock was acquired.
Status ArchiveReplacement::openOld(bool &again, const std::function<void()> &idle) {
    again = false;
    const auto opened = m_folder.openFile(m_name, m_old);
    if (opened.is(Failure::NotFound)) {
        m_old.close();
        return {};
    }
    if (!opened.ok())
        return failed(opened, "the archive cannot be opened", Failure::CannotOpen);
    const auto locked = m_old.lock(kLockTimeout, [&] {
        idle();
        return true;
    });
    if (locked.is(Failure::Busy))
        return savedByAnother();
    if (!locked.ok())
        return failed(locked, "the archive cannot be locked", Failure::CannotWrite);
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
    // Not the time of the last status change: a new hard link changes only that.
    return known.ok() && platform::sameFile(now, m_oldInfo) && now.size == m_oldInfo.size &&
           now.modified == m_oldInfo.modified;
}

bool ArchiveReplacement::onlyRead() const {
    platform::InputFile there;
    platform::FileInfo before;
    platform::FileInfo after;
    Directory now;
    return m_directory != nullptr &&
           m_folder.openFile(m_name, there, platform::Folder::Links::Refuse, before).ok() &&
           platform::sameFile(before, m_oldInfo) && before.size == m_oldInfo.size &&
           now.read(there).ok() && there.info(after).ok() && after.modified != before.modified &&
           now.hasBytesOf(*m_directory);
}

bool ArchiveReplacement::mayReplace() const {
    platform::FileInfo now;
    return undisturbed() || m_folder.info(m_name, now).is(Failure::NotFound) || onlyRead();
}

Status ArchiveReplacement::begin() {
    // Replacing a read-only file would succeed, but the user has protected it.
    if (m_old.isOpen() && m_oldInfo.readOnly)
        return {Failure::CannotWrite, m_path + ": the archive is read-only"};
    const auto created = m_fresh.create(m_folder, platform::NewFile::Guard::Locked);
    if (!created.ok())
        return failed(created, "no new archive can be made beside it", Failure::CannotCreate);
    if (m_old.isOpen())
        m_fresh.takeOverFrom(m_old);
    return {};
}

Status ArchiveReplacement::sync(const std::function<void()> &idle) {
    Status status;
    // Frees the old archive's page cache while the disk is busy; otherwise its deletion, on the
    // critical path, does.
    if (!isSmall())
        m_droppingCache.start([this] { m_old.dropCache(); });
    runInBackground({[&] { status = m_fresh.sync(); }}, idle);
    return failed(status, "the new archive cannot be flushed to disk", Failure::CannotWrite);
}

Status ArchiveReplacement::readDirectory(Directory &directory) {
    m_directory = &directory;
    if (!exists())
        return {};
    if (auto read = failure(directory.read(m_old), Failure::CannotOpen); !read.ok())
        return read;
    return failure(directory.damage(), Failure::Damaged);
}

Status ArchiveReplacement::commit(const std::function<void()> &idle,
                                  const std::function<Status(bool &again)> &lastCheck, bool &again,
                                  const std::function<void()> &onReplaced) {
    if (auto synced = sync(idle); !synced.ok())
        return synced;
    if (auto checked = lastCheck(again); !checked.ok() || again)
        return checked;
    if (!mayReplace()) {
        again = true;
        return {};
    }
    auto replaced = replace(idle, again);
    if (again)
        return {};
    if (!replaced.ok())
        return replaced;
    if (onReplaced)
        onReplaced();
    return syncFolder(idle);
}

Status ArchiveReplacement::replace(const std::function<void()> &idle, bool &taken) {
    m_droppingCache.wait(idle);
    using Replace = platform::NewFile::Replace;
    const bool replaces = m_old.isOpen();
    const auto committed =
        m_fresh.commit(m_name, replaces ? Replace::Yes : Replace::No, replaces ? &m_old : nullptr);
    taken = committed.is(Failure::Exists);
    return failed(committed, "the new archive cannot replace the old one", Failure::CannotWrite);
}

Status ArchiveReplacement::syncFolder(const std::function<void()> &idle) {
    Status status;
    std::vector<std::function<void()>> steps{[&] { status = m_folder.sync(); }};
    // Closing the old archive, which has no name any more, frees its disk space.
    if (isSmall() && !isRemote())
        m_old.close();
    else
        steps.emplace_back([&] { m_old.close(); });
    runInBackground(steps, idle);
    return failed(status, "the archive is saved, but its folder cannot be flushed to disk",
                  Failure::CannotWrite);
}

Status ArchiveReplacement::cancelled() const {
    return {Failure::Cancelled, m_path + ": saving was stopped; the archive is as it was"};
}

void ArchiveReplacement::drop(const std::function<void()> &idle) {
    m_droppingCache.wait(idle);
    if (m_fresh.size() < kSmall && !isRemote())
        m_fresh.discard();
    else
        runInBackground({[&] { m_fresh.discard(); }}, idle);
}

} // namespace ziplib
