#include "tools/orvel-vl2/rules.h"
#include "ziplib/format/bytes.h"
#include "ziplib/format/names.h"
#include "ziplib/format/records.h"
#include "ziplib/vl2uzip/plan.h"
#include "ziplib/vl2zip/select/leftovers.h"
#include "ziplib/vl2zip/select/plan.h"

#include <algorithm>
#include <array>

// Rules about the archive itself and its names.

namespace vl2 {

namespace {

constexpr std::uint64_t kLargestArchive = std::uint64_t{1} << 31;
constexpr std::uint64_t kNear = std::uint64_t{64} << 20;

void eachEntry(
    const Checked &checked,
    const std::function<void(const CheckedFile &file, const ziplib::Entry &entry)> &check) {
    for (const CheckedFile &file : checked.files)
        if (file.inFolder == nullptr)
            check(file, checked.entryOf(file));
}

void method(const Checked &checked, const Report &report) {
    eachEntry(
        checked,
        [&](const CheckedFile &file, const ziplib::Entry &entry) {
            if (entry.method != ziplib::kMethodStored && entry.method != ziplib::kMethodDeflated)
                report(file.path, ziplib::methodName(entry.method));
        });
}

void comment(const Checked &checked, const Report &report) {
    if (checked.archive != nullptr && !checked.archive->directory.archiveComment().empty())
        report("", "");
    eachEntry(checked, [&](const CheckedFile &file, const ziplib::Entry &entry) {
        if (entry.commentLength > 0)
            report(file.path, "");
    });
}

void encrypted(const Checked &checked, const Report &report) {
    eachEntry(
        checked,
        [&](const CheckedFile &file, const ziplib::Entry &entry) {
            if (entry.isEncrypted())
                report(file.path, "");
        });
}

// Some programs write it into the local header only.
bool hasLocalZip64(const Archive &archive, const ziplib::Entry &entry) {
    constexpr std::size_t kMost = 1024;
    std::array<std::uint8_t, kMost> head{};
    std::size_t got = 0;
    if (!archive.file.readAt(entry.localOffset, head.data(), head.size(), got).ok() ||
        got < ziplib::kLocalSize || ziplib::get32(head.data()) != ziplib::kLocalSignature)
        return false;
    const std::size_t name =
        ziplib::get16(head.data() + ziplib::kLocalCommon + ziplib::commonField::kNameLength);
    const std::string_view all(reinterpret_cast<const char *>(head.data()),
                               std::min(got, ziplib::localHeaderSize(head.data())));
    const std::size_t start = std::min(ziplib::kLocalSize + name, all.size());
    return !ziplib::findExtra(all.substr(start), ziplib::kExtraZip64).empty();
}

void zip64(const Checked &checked, const Report &report) {
    eachEntry(checked, [&](const CheckedFile &file, const ziplib::Entry &entry) {
        const std::string_view extra = checked.archive->directory.extra(entry);
        if (!ziplib::findExtra(extra, ziplib::kExtraZip64).empty() ||
            hasLocalZip64(*checked.archive, entry))
            report(file.path, "");
    });
    if (checked.archive != nullptr && checked.archive->directory.entries().size() >= 0xFFFF)
        report("", "65,535 entries or more");
}

void longName(const Checked &checked, const Report &report) {
    for (const CheckedFile &file : checked.files)
        if (const std::size_t size = checked.rawName(file).size(); size > ziplib::kLongestName)
            report(file.path, std::to_string(size) + " bytes");
}

void doubled(const Checked &checked, const Report &report) {
    checked.eachTwin([&](const CheckedFile &first, const CheckedFile &twin) {
        if (twin.path == first.path)
            report(twin.path, "");
    });
}

void caseOnly(const Checked &checked, const Report &report) {
    checked.eachTwin([&](const CheckedFile &first, const CheckedFile &twin) {
        if (twin.path != first.path)
            report(twin.path, std::string(first.path));
    });
}

void backslash(const Checked &checked, const Report &report) {
    for (const CheckedFile &file : checked.files)
        if (checked.rawName(file).find('\\') != std::string_view::npos)
            report(file.path, "");
}

void folderEntry(const Checked &checked, const Report &report) {
    // One finding: an archive has many of them or none.
    reportFirst(checked.folders, report);
}

// Folders of systems and of version control.
bool isInFolderOfTools(std::string_view folded) {
    for (const std::string_view folder : {"__macosx/", ".git/", ".svn/"}) {
        const std::size_t at = folded.find(folder);
        if (at == 0 || (at != std::string_view::npos && folded[at - 1] == '/'))
            return true;
    }
    return false;
}

void leftover(const Checked &checked, const Report &report) {
    for (const CheckedFile &file : checked.files)
        if (ziplib::isLeftover(file.path) || isInFolderOfTools(file.folded))
            report(file.path, "");
}

// What an extraction refuses to write.
void unsafeName(const Checked &checked, const Report &report) {
    if (checked.archive == nullptr) {
        for (const CheckedFile &file : checked.files)
            if (const char *reason = ziplib::unsafeReason(file.path); reason != nullptr)
                report(file.path, reason);
        return;
    }
    using Action = ziplib::PlanItem::Action;
    const ziplib::Directory &directory = checked.archive->directory;
    const auto keepGoing = [] { return true; };
    ziplib::NameFilter all({}, {}, false, directory, keepGoing);
    ziplib::Request request;
    request.makeFolders = true;
    for (const auto &item : makePlan(directory, request, all, keepGoing).items) {
        const std::string path = directory.path(directory.entries()[item.index]);
        const char *reason = item.action == Action::Unsafe    ? ziplib::unsafeReason(path)
                             : item.action == Action::Special ? "it is a link or a device"
                             : item.action == Action::Blocked
                                 ? "other entries need a folder of this name"
                                 : nullptr;
        if (reason != nullptr)
            report(path, reason);
    }
}

void large(const Checked &checked, const Report &report) {
    if (checked.archive != nullptr &&
        checked.archive->directory.fileSize() + kNear > kLargestArchive)
        report("", std::to_string(checked.archive->directory.fileSize()) + " bytes");
}

constexpr std::array<Rule, 12> kRules = {{
    {"method", Severity::Error, "The game reads stored and deflated entries only: pack it again.",
     method, nullptr},
    {"comment", Severity::Warning, "The game does not expect comments: pack it without.", comment,
     nullptr},
    {"encrypted", Severity::Error, "The game reads no encrypted entry: pack it without a password.",
     encrypted, nullptr},
    {"zip64", Severity::Error, "The game does not know Zip64: pack it without.", zip64, nullptr},
    {"long-name", Severity::Error, "The game reads names of at most 209 bytes: use a shorter one.",
     longName, nullptr},
    {"doubled", Severity::Error, "Two entries have this path: remove the old one.", doubled,
     nullptr},
    {"case-only", Severity::Error,
     "Two names differ in the letters' case only, which the game ignores: rename one.", caseOnly,
     nullptr},
    {"backslash", Severity::Error, "A name holds a backslash instead of a slash: pack it again.",
     backslash, nullptr},
    {"folder-entry", Severity::Note, "Entries of folders are of no use to the game: remove them.",
     folderEntry, nullptr},
    {"leftover", Severity::Warning,
     "An editor, a system or version control left this file: remove it.", leftover, nullptr},
    {"unsafe-name", Severity::Error, "An extraction leaves this entry out: rename it.", unsafeName,
     nullptr},
    {"near-2gib", Severity::Error, "The game reads less than 2 GiB: split the archive.", large,
     nullptr},
}};

} // namespace

std::span<const Rule> formatRules() {
    return kRules;
}

} // namespace vl2
