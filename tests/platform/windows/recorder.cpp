#include <cstdlib>
#include <fstream>
#include <string>

#include <windows.h>

// Writes the command line that it was started with into the file that a variable names.
int main() {
    const char *file = std::getenv("ORVEL_RECORD");
    if (file == nullptr)
        return 1;
    // Renamed when whole: who waits for the file reads it at once.
    const std::string path(file);
    {
        std::ofstream record(path + ".new", std::ios::binary);
        record << GetCommandLineA();
    }
    return MoveFileA((path + ".new").c_str(), path.c_str()) ? 0 : 1;
}
