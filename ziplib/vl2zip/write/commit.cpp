#include "ziplib/vl2zip/write/commit.h"

#include "ziplib/common/returnCode.h"

namespace ziplib {

Status readDirectory(const ArchiveReplacement &target, Directory &directory) {
    if (!target.exists())
        return {};
    if (auto read = failure(directory.read(target.old()), Failure::CannotOpen); !read.ok())
        return read;
    return failure(directory.damage(), Failure::Damaged);
}

Status commit(ArchiveReplacement &target, Report &report,
              const std::function<Status(bool &again)> &last, bool &again) {
    const auto idle = [&] { report.tick(); };
    if (auto synced = target.sync(idle); !synced.ok())
        return synced;
    if (auto checked = last(again); !checked.ok() || again)
        return checked;
    if (!target.mayReplace()) {
        again = true;
        return {};
    }
    auto replaced = target.replace(idle, again);
    if (again)
        return {};
    return replaced.ok() ? target.syncFolder(idle) : replaced;
}

} // namespace ziplib
