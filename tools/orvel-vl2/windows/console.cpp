#include "tools/orvel-vl2/console.h"

#include "storage/windows/windowsHeader.h"
#include <array>
#include <csignal>
#include <fcntl.h>
#include <io.h>

namespace vl2 {

namespace {

// Consoles interpret colours on request only.
void enableColours(DWORD stream) {
    const HANDLE console = GetStdHandle(stream);
    DWORD mode = 0;
    if (GetConsoleMode(console, &mode) != 0)
        SetConsoleMode(console, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

} // namespace

void prepareStreams() {
    // An entry is printed byte for byte, and the output of every command is UTF-8.
    _setmode(_fileno(stdout), _O_BINARY);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    SetConsoleOutputCP(CP_UTF8);
    enableColours(STD_OUTPUT_HANDLE);
    enableColours(STD_ERROR_HANDLE);
}

std::span<const int> interruptSignals() {
    static constexpr std::array kSignals{SIGINT, SIGTERM, SIGBREAK};
    return kSignals;
}

bool isTerminal(std::FILE *stream) {
    return _isatty(_fileno(stream)) != 0;
}

} // namespace vl2
