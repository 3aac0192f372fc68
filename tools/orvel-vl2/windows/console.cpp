#include "tools/orvel-vl2/console.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

namespace vl2 {

void prepareStreams() {
    // An entry is printed byte for byte, and the output of every command is UTF-8.
    _setmode(_fileno(stdout), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);
}

bool isTerminal(std::FILE *stream) {
    return _isatty(_fileno(stream)) != 0;
}

} // namespace vl2
