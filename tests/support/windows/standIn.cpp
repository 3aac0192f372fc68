#include "tests/support/standIn.h"

#include <windows.h>

std::string ownCommandLine() {
    const wchar_t *line = GetCommandLineW();
    std::string text(static_cast<std::size_t>(lstrlenW(line)) * 3 + 1, '\0');
    const int size = WideCharToMultiByte(CP_UTF8, 0, line, -1, text.data(),
                                         static_cast<int>(text.size()), nullptr, nullptr);
    text.resize(static_cast<std::size_t>(size - 1));
    return text;
}

// From its drive to the end: programs that take one file do not split it at blanks.
std::filesystem::path fileOf(const std::string &commandLine) {
    std::string text = commandLine.substr(commandLine.rfind(":\\") - 1);
    if (text.back() == '"')
        text.pop_back();
    return std::filesystem::path(std::u8string(text.begin(), text.end()));
}

std::string inheritedState() {
    return {};
}
