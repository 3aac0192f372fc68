#include "tests/ziplib/vl2zip/packer.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>

#include <fcntl.h>
#include <sys/stat.h>

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
    current->last = now;
}

std::int32_t onPrint(char *buffer, std::uint32_t size) {
    heard();
    if (size > 0) {
        current->result.messages.emplace_back(buffer, size);
    }
    return 0;
}

std::int32_t onPassword(char *p, std::int32_t n, char * /*m*/, char * /*name*/) {
    heard();
    ++current->result.passwordsAsked;
    if (current->call->password.empty()) {
        return 1;
    }
    std::snprintf(p, static_cast<std::size_t>(n), "%s", current->call->password.c_str());
    return 0;
}

std::int32_t onService(char *name, std::uint32_t size) {
    heard();
    current->result.files.emplace_back(name, size - 1);
    return current->call->onFile ? current->call->onFile(name) : 0;
}

std::string quoted(const std::string &text) {
    std::string out = "'";
    for (const char c : text) {
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return out + "'";
}

} // namespace

Call::Call(fs::path zip, const fs::path &folder) : archive(std::move(zip)), root(folder) {
    options.fNoDirEntries = 1;
    options.fRecurse = 2;
}

std::string Result::all() const {
    std::string text;
    for (const auto &message : messages) {
        text += message + '\n';
    }
    return text;
}

Result run(Call call) {
    State state;
    state.call = &call;
    state.last = Clock::now();
    current = &state;
    ZIPUSERFUNCTIONS callbacks{onPrint, onPassword, nullptr, onService};
    ZpInit(&callbacks);
    call.options.szRootDir = call.root.data();
    ZpSetOptions(&call.options);
    std::vector<char *> table;
    for (auto &pattern : call.patterns) {
        table.push_back(pattern.data());
    }
    std::string archive = call.archive;
    state.result.code =
        ZpArchive({static_cast<std::int32_t>(table.size()), archive.data(), table.data()});
    heard();
    current = nullptr;
    return state.result;
}

TestFolder::TestFolder() {
    std::string name = fs::temp_directory_path() / "orvel-zip-XXXXXX";
    m_path = ::mkdtemp(name.data());
}

TestFolder::~TestFolder() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

void write(const fs::path &path, const std::string &bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string read(const fs::path &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

std::string noise(std::size_t size, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

void setTime(const fs::path &path, std::int64_t seconds) {
    const std::array<timespec, 2> times{timespec{seconds, 0}, timespec{seconds, 0}};
    ::utimensat(AT_FDCWD, path.c_str(), times.data(), 0);
}

Judgement judge(const std::vector<std::string> &arguments) {
    std::string command = "python3 " + quoted(ORVEL_JUDGE);
    for (const auto &argument : arguments) {
        command += ' ' + quoted(argument);
    }
    Judgement judgement;
    FILE *pipe = ::popen((command + " 2>&1").c_str(), "r");
    std::array<char, 4096> piece{};
    for (std::size_t got = 0; (got = std::fread(piece.data(), 1, piece.size(), pipe)) > 0;) {
        judgement.output.append(piece.data(), got);
    }
    judgement.ok = ::pclose(pipe) == 0;
    return judgement;
}

std::vector<std::string> entries(const fs::path &archive) {
    std::istringstream text(judge({"list", archive}).output);
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> names(const fs::path &archive) {
    auto lines = entries(archive);
    for (auto &line : lines) {
        line.erase(line.find('|'));
    }
    return lines;
}

std::string content(const fs::path &archive, const std::string &name) {
    return judge({"read", archive, name}).output;
}

std::vector<std::string> temporaries(const fs::path &folder) {
    std::vector<std::string> found;
    for (const auto &item : fs::recursive_directory_iterator(folder)) {
        if (item.path().filename().string().starts_with(".orvel-")) {
            found.push_back(item.path().filename());
        }
    }
    return found;
}

} // namespace packer
