#include "ziplib/vl2zip/select/selection.h"
#include "ziplib/vl2zip/update.h"
#include "ziplib/vl2zip/write/archiveWriter.h"

namespace ziplib {

namespace {

// Attempts of a deletion while other programs replace the archive.
constexpr int kTries = 4;

} // namespace

Status deleteFromArchive(const PackOptions &options, Report &report) {
    for (int i = 0; i < kTries; ++i) {
        report.dropDeferred();
        ArchiveReplacement target(options.archive);
        if (auto opened = target.open([&] { report.tick(); }); !opened.ok())
            return opened;
        if (!target.exists())
            return {Failure::NotFound, options.archive + ": no such archive"};
        Directory directory;
        if (auto read = target.readDirectory(directory); !read.ok())
            return read;
        Selection selection(options.patterns, options.recurse);
        ArchiveWriter writer(options, target, directory, report);
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
        bool again = false;
        auto status = writer.write({});
        if (status.ok()) {
            status = target.commit([&] { report.tick(); },
                                   [](bool & /*again*/) { return Status(); }, again);
        }
        if (status.ok() && !again)
            return status;
        target.drop([&] { report.tick(); });
        if (!again)
            return status;
    }
    return {Failure::CannotWrite, options.archive + ": other programs keep replacing the archive"};
}

} // namespace ziplib
