// Packs a folder as the program does: ARCHIVE FOLDER. For tests that need a process of its own.

#include "tests/ziplib/vl2zip/packer.h"

#include <cstdio>

int main(int count, char **arguments) {
    if (count != 3) {
        return 64;
    }
    const auto result = packer::run(packer::Call(arguments[1], arguments[2]));
    std::fputs(result.all().c_str(), stdout);
    return result.code;
}
