#include "platform/files.h"

#include <cstdio>
#include <cstdlib>

// Prints the program's folder and the Windows folder as this executable sees them.
int main(int count, char **arguments) {
    const int limit = count > 1 ? std::atoi(arguments[1]) : 260; // NOLINT(cert-err34-c)
    std::printf("%s\n%s\n", platform::programFolder().toUtf8().constData(),
                platform::windowsFolder(limit).toUtf8().constData());
    return 0;
}
