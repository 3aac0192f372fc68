#include "ziplib/vl2zip/rewrite.h"
#include "ziplib/vl2zip/select/selection.h"
#include "ziplib/vl2zip/update.h"

namespace ziplib {

Status deleteFromArchive(const PackOptions &options, Report &report) {
    return rewriteArchive(
        options, report,
        [&](const auto &target, const auto &directory, ArchiveWriter &writer) -> Status {
            Selection selection(options.patterns, options.recurse);
            std::size_t dropped = 0;
            for (std::size_t entry = 0; entry < directory.entries().size(); ++entry) {
                const std::string path = directory.path(directory.entries()[entry]);
                if (!selection.selectsEntry(path))
                    continue;
                writer.drop(entry);
                ++dropped;
                report.report("deleting: " + path);
                if (!report.processed(path))
                    return target.cancelled();
            }
            if (dropped == 0)
                return {Failure::NothingMatched, options.archive + ": no entry to delete"};
            if (const auto *unmatched = selection.unmatched())
                report.defer(*unmatched + ": no such entry");
            return {};
        });
}

} // namespace ziplib
