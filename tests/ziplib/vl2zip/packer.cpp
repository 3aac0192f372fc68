#include "tests/ziplib/vl2zip/packer.h"

#include "tests/support/tool.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <random>
#include <sstream>

namespace packer {

namespace {

using Clock = std::chrono::steady_clock;

// The call in progress.
struct State {
    Call *call = nullptr;
    Result result;
    Clock::time_point last;
};
State *current = nullptr;

void heard() {
    const auto now = Clock::now();
    const auto gap = std::chrono::duration_cast<std::chrono::milliseconds>(now - current->last);
    current->result.longestGap = std::max<std::int64_t>(current->result.longestGap, gap.count());
    current->result.took += gap.count();
    current->last = now;
}

std::int32_t onPrint(char *buffer, std::uint32_t size) {
    heard();
    if (size > 0)
        current->result.messages.emplace_back(buffer, size);
    return 0;
}

std::int32_t onPassword(char *p, std::int32_t n, char * /*m*/, char * /*name*/) {
    heard();
    ++current->result.passwordsAsked;
    if (current->call->password.empty())
        return 1;
    std::snprintf(p, static_cast<std::size_t>(n), "%s", current->call->password.c_str());
    return 0;
}

std::int32_t onService(char *name, std::uint32_t size) {
    heard();
    current->result.files.emplace_back(name, size - 1);
    return current->call->onFile ? current->call->onFile(name) : 0;
}

void onPacked(const ZPPACKED *file) {
    current->result.packed[file->path] = *file;
}

} // namespace

Call::Call(fs::path zip, const fs::path &folder) : archive(std::move(zip)), root(folder.string()) {
    options.fNoDirEntries = 1;
    options.fRecurse = 2;
}

std::string Result::all() const {
    std::string text;
    for (const auto &message : messages)
        text += message + '\n';
    return text;
}

Result run(Call call) {
    State state;
    state.call = &call;
    state.last = Clock::now();
    current = &state;
    ZIPUSERFUNCTIONS callbacks{onPrint, onPassword, nullptr, onService};
    ZpInit(&callbacks);
    ZpReportPacked(onPacked);
    call.options.szRootDir = call.root.data();
    ZpSetOptions(&call.options);
    std::vector<char *> table;
    for (auto &pattern : call.patterns)
        table.push_back(pattern.data());
    std::string archive = call.archive.string();
    state.result.code =
        ZpArchive({static_cast<std::int32_t>(table.size()), archive.data(), table.data()});
    heard();
    current = nullptr;
    return state.result;
}

std::string noise(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

Judgement judge(const std::vector<fs::path> &arguments) {
    std::vector<std::string> words{"python3", ORVEL_JUDGE};
    for (const auto &argument : arguments) {
        const auto text = argument.u8string();
        words.emplace_back(text.begin(), text.end());
    }
    const auto run = runTool(words);
    return {run.code == 0, run.output};
}

std::vector<std::string> entries(const fs::path &archive) {
    std::istringstream text(judge({"list", archive}).output);
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::string> names(const fs::path &archive) {
    auto lines = entries(archive);
    for (auto &line : lines)
        line.erase(line.find('|'));
    return lines;
}

std::string content(const fs::path &archive, const fs::path &name) {
    return judge({"read", archive, name}).output;
}

std::vector<std::string> temporaries(const fs::path &folder) {
    std::vector<std::string> found;
    for (const auto &item : fs::recursive_directory_iterator(folder))
        if (item.path().filename().string().starts_with(".orvel-"))
            found.push_back(item.path().filename().string());
    return found;
}

} // namespace packer
