#include "ziplib/vl2zip/rewrite.h"

namespace ziplib {

namespace {

// Attempts while other programs replace the archive.
constexpr int kTries = 4;

} // namespace

Status rewriteArchive(
    const PackOptions &options, Report &report,
    const std::function<Status(const ArchiveReplacement &target, const Directory &directory,
                               ArchiveWriter &writer)> &edit) {
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
        ArchiveWriter writer(options, target, directory, report);
        if (auto edited = edit(target, directory, writer); !edited.ok())
            return edited;
        bool again = false;
        auto status = writer.write({});
        if (status.ok()) {
            status =
                target.commit([&] { report.tick(); }, [](bool & /*again*/) { return Status(); },
                              again, options.replaced);
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
