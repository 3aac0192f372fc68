#include "tests/ziplib/vl2zip/packer.h"

#include "tests/support/tool.h"
#include "ziplib/codec/codec.h"

#include <algorithm>
#include <cstdio>
#include <random>
#include <sstream>

namespace packer {

namespace {

// The call in progress: the library passes no data of the caller to the callbacks.
Call *current = nullptr;
Result report;

std::int32_t onPrint(char *buffer, std::uint32_t size) {
    if (size > 0)
        report.messages.emplace_back(buffer, size);
    return 0;
}

std::int32_t onPassword(char *p, std::int32_t n, char * /*m*/, char * /*name*/) {
    ++report.passwordsAsked;
    if (current->password.empty())
        return 1;
    std::snprintf(p, static_cast<std::size_t>(n), "%s", current->password.c_str());
    return 0;
}

std::int32_t onService(char *name, std::uint32_t size) {
    report.files.emplace_back(name, size - 1);
    return current->onFile ? current->onFile(name) : 0;
}

void onPacked(const ZPPACKED *file) {
    report.packed[file->path] = *file;
}

void onConflict(const ZPVERSION *entry) {
    report.conflicts.emplace_back(entry->path);
}

} // namespace

std::string Result::all() const {
    std::string text;
    for (const auto &message : messages)
        text += message + '\n';
    return text;
}

Result run(Call call) {
    current = &call;
    report = {};
    ZIPUSERFUNCTIONS callbacks{onPrint, onPassword, nullptr, onService};
    ZpInit(&callbacks);
    ZpReportPacked(onPacked);
    std::vector<ZPVERSION> base(1); // never a null pointer
    const auto versions = call.base.value_or(decltype(call.base)::value_type());
    for (const auto &[path, content] : versions) {
        const auto crc = ziplib::crc32(0, content.data(), content.size());
        const auto unwritten = std::count(call.unwritten.begin(), call.unwritten.end(), path);
        base.push_back({path.c_str(), content.size(), crc, unwritten == 0, 0, 0, 0, 0, 0});
        if (call.onVersion)
            call.onVersion(call, base.back());
    }
    ZpSetBase(call.base ? base.data() + 1 : nullptr, static_cast<std::uint32_t>(base.size() - 1),
              onConflict);
    call.options.szRootDir = call.root.data();
    ZpSetOptions(&call.options);
    std::vector<char *> table;
    for (auto &pattern : call.patterns)
        table.push_back(pattern.data());
    std::string archive = call.archive.string();
    report.code =
        ZpArchive({static_cast<std::int32_t>(table.size()), archive.data(), table.data()});
    return report;
}

std::string noise(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

std::string judge(const std::vector<fs::path> &arguments, int code) {
    std::vector<std::string> words{ORVEL_PYTHON, ORVEL_ARCHIVE_SCRIPT};
    for (const auto &argument : arguments) {
        const auto text = argument.u8string();
        words.emplace_back(text.begin(), text.end());
    }
    const auto run = runTool(words);
    EXPECT_EQ(run.code, code) << run.output;
    return run.output;
}

Names entries(const fs::path &archive) {
    std::istringstream text(judge({"list", archive}));
    Names lines;
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

Names names(const fs::path &archive) {
    auto lines = entries(archive);
    for (auto &line : lines)
        line.erase(line.find('|'));
    return lines;
}

Files files(const fs::path &archive) {
    return filesOfListing(judge({"read", archive}));
}

std::string content(const fs::path &archive, const std::string &name) {
    for (const auto &[stored, bytes] : files(archive))
        if (stored == name)
            return bytes;
    return "no such entry";
}

Names temporaries(const fs::path &folder) {
    Names found;
    for (const auto &item : fs::recursive_directory_iterator(folder))
        if (item.path().filename().string().starts_with(".orvel-"))
            found.push_back(item.path().filename().string());
    return found;
}

} // namespace packer
