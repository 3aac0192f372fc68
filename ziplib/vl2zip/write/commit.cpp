#include "ziplib/vl2zip/write/commit.h"

#include "ziplib/common/failures.h"

namespace ziplib {

Outcome readDirectory(const ArchiveReplacement &target, Directory &directory) {
    if (!target.exists())
        return {};
    if (auto read = failure(directory.read(target.old()), ReturnCode::CannotOpen); !read.ok())
        return read;
    return failure(directory.damage(), ReturnCode::Damaged);
}

Outcome commit(ArchiveReplacement &target, Report &report,
               const std::function<Outcome(bool &again)> &last, bool &again) {
    const auto idle = [&] { report.idle(); };
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
