#include "ziplib/vl2zip/rewrite.h"
#include "ziplib/vl2zip/select/selection.h"
#include "ziplib/vl2zip/update.h"

#include <memory>

namespace ziplib {

Status deleteFromArchive(const PackOptions &options, Report &report) {
    return deleteFromArchive(
        options,
        [&](const Directory &) {
            const auto selection = std::make_shared<Selection>(options.patterns, options.recurse);
            return EntryChoice{
                [selection](const std::string &path) { return selection->selectsEntry(path); },
                [selection] {
                    const std::string *first = selection->unmatched();
                    return first != nullptr ? std::vector<std::string>{*first}
                                            : std::vector<std::string>();
                }};
        },
        report);
}

Status deleteFromArchive(const PackOptions &options,
                         const std::function<EntryChoice(const Directory &directory)> &choose,
                         Report &report) {
    return rewriteArchive(
        options, report,
        [&](const auto &target, const auto &directory, ArchiveWriter &writer) -> Status {
            const EntryChoice choice = choose(directory);
            std::size_t dropped = 0;
            for (std::size_t entry = 0; entry < directory.entries().size(); ++entry) {
                const std::string path = directory.path(directory.entries()[entry]);
                if (!choice.selects(path))
                    continue;
                writer.drop(entry);
                ++dropped;
                report.report("deleting: " + path);
                if (!report.processed(path))
                    return target.cancelled();
            }
            const std::vector<std::string> unmatched = choice.unmatched();
            if (dropped == 0)
                return {Failure::NothingMatched,
                        options.archive + ": no entry to delete" +
                            (unmatched.empty() ? "" : ": " + unmatched.front())};
            for (const std::string &name : unmatched)
                report.defer(name + ": no such entry");
            return {};
        });
}

} // namespace ziplib
