#include "tests/support/tool.h"

#include "tests/support/files.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include <windows.h>

namespace fs = std::filesystem;

namespace {

// A path as the system around Wine names it; any other text as it is.
std::string outside(const std::string &text) {
    using Convert = char *(*)(const wchar_t *);
    static const auto convert = reinterpret_cast<Convert>(reinterpret_cast<void *>(
        GetProcAddress(GetModuleHandleA("kernel32"), "wine_get_unix_file_name")));
    if (convert == nullptr || text.size() < 3 || text[1] != ':' ||
        (text[2] != '\\' && text[2] != '/'))
        return text;
    char *name = convert(fs::path(text).c_str());
    std::string result = name != nullptr ? name : text;
    HeapFree(GetProcessHeap(), 0, name);
    return result;
}

} // namespace

// A process outside has no handle here: a shell there writes down how it ended.
ToolRun runTool(const std::vector<std::string> &words) {
    const TestFolder folder;
    const fs::path script = folder / "script";
    const fs::path output = folder / "output";
    const fs::path code = folder / "code";
    std::string text;
    for (const auto &word : words)
        text += quotedWord(outside(word)) + ' ';
    // Renamed when whole: it is read as soon as it is there.
    const std::string ready = quotedWord(outside(code.string()));
    const std::string unready = quotedWord(outside(code.string() + ".new"));
    std::ofstream(script, std::ios::binary)
        << text << "</dev/null >" << quotedWord(outside(output.string())) << " 2>&1\necho $? >"
        << unready << "\nmv " << unready << ' ' << ready << '\n';
    std::wstring command = L"\\\\?\\unix\\bin\\sh " + fs::path(outside(script.string())).wstring();
    STARTUPINFOW start{};
    start.cb = sizeof start;
    PROCESS_INFORMATION process{};
    ToolRun run;
    if (!CreateProcessW(L"\\\\?\\unix\\bin\\sh", command.data(), nullptr, nullptr, FALSE, 0,
                        nullptr, nullptr, &start, &process)) {
        run.output = "cannot start: error " + std::to_string(GetLastError());
        return run;
    }
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    while (!fs::exists(code) && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    run.output = readFile(output);
    const std::string told = readFile(code);
    run.code = told.empty() ? -1 : std::stoi(told);
    return run;
}
