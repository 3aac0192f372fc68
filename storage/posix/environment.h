#pragma once

#include <string>
#include <string_view>

// Folders from the environment, as absolute paths of the system.
namespace platform {

// The user's home folder, or "" if unknown.
std::string homeFolder();

// The Wine prefix ($WINEPREFIX, else ~/.wine), which need not exist; "" if unknown.
std::string winePrefix();

// The program's folder in the user's settings ($XDG_CONFIG_HOME/orvel, else ~/.config/orvel), which
// need not exist; "" if unknown.
std::string userConfigFolder();

// The program's folder in the user's data ($XDG_DATA_HOME/orvel, else ~/.local/share/orvel), which
// need not exist.
std::string userDataFolder();

// The folder of the running executable.
std::string executableFolder();
// Whether a folder belongs to the system's packages, for all users. No files of a single user are
// put there, not even root's.
bool isSystemFolder(const std::string &folder);

// The path of a program in the folders of $PATH, or "", also for a name with a "/".
std::string findInPath(const std::string &name);

// Whether this is an executable file.
bool isExecutableFile(const std::string &path);

} // namespace platform
