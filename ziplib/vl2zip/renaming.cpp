#include "ziplib/format/names.h"
#include "ziplib/vl2zip/rewrite.h"
#include "ziplib/vl2zip/select/nameClashes.h"
#include "ziplib/vl2zip/select/plan.h"
#include "ziplib/vl2zip/update.h"

#include <utility>

namespace ziplib {

namespace {

bool isFolderName(const std::string &name) {
    return name.ends_with('/');
}

// The new path of an entry; "" if it keeps its path.
std::string renamed(const std::string &path, const std::string &from, const std::string &to) {
    if (isFolderName(from))
        return path.starts_with(from) ? to + path.substr(from.size()) : std::string();
    return path == from ? to : std::string();
}

} // namespace

Status renameInArchive(const PackOptions &options, const std::string &from, const std::string &to,
                       Report &report) {
    const std::string where = options.archive + ": ";
    if (isFolderName(from) != isFolderName(to) || from.empty() || to == from)
        return {Failure::Unsafe, where + from + " cannot be renamed to " + to};
    return rewriteArchive(
        options, report,
        [&](const auto & /*target*/, const auto &directory, ArchiveWriter &writer) -> Status {
            const Directory::Entries entries = directory.entries();
            NameClashes clashes;
            std::size_t count = 0;
            for (const bool renaming : {true, false}) {
                for (std::size_t i = 0; i < entries.size(); ++i) {
                    const std::string path = directory.path(entries[i]);
                    const std::string fresh = renamed(path, from, to);
                    if (fresh.empty() == renaming)
                        continue;
                    if (!renaming) {
                        const std::string fellow = clashes.find(path);
                        if (fellow.empty())
                            continue;
                        std::string text = where;
                        text.append(path).append(" exists already, so that ");
                        text.append(fellow).append(" is no name for an entry");
                        return {Failure::Exists, std::move(text)};
                    }
                    if (const std::string reason = reasonAgainstName(fresh); !reason.empty()) {
                        std::string text = where;
                        text.append(fresh).append(" is no name for an entry: ").append(reason);
                        return {Failure::Unsafe, std::move(text)};
                    }
                    if (auto done = writer.rename(i, fresh); !done.ok())
                        return done;
                    clashes.add(fresh);
                    ++count;
                    report.tick();
                }
            }
            return count > 0 ? Status()
                             : Status(Failure::NothingMatched, where + from + ": no such entry");
        });
}

} // namespace ziplib
