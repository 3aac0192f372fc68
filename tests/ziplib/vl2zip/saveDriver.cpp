// Saves work folders into archives, as the program does: saveDriver (ARCHIVE FOLDER)...
// Prints the messages. Exits with the number of calls that did not fully succeed.
#include "tests/ziplib/vl2zip/packer.h"

#include <cstdio>

int main(int argc, char **argv) {
    int failed = 0;
    for (int i = 1; i + 1 < argc; i += 2) {
        packer::Call call(argv[i], argv[i + 1]);
        call.options.fSystem = 1;
        const packer::Result result = packer::run(call);
        std::printf("%ssaved: %d\n", result.all().c_str(), static_cast<int>(result.code));
        failed += result.code != 0 ? 1 : 0;
    }
    return failed;
}
