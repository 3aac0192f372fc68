#pragma once

#include <string>
#include <string_view>

// Folders that the environment names, as absolute paths in the system's form.
namespace platform {

// The user's home folder, or "" where nothing names one.
std::string homeFolder();

// The Wine prefix ($WINEPREFIX, else ~/.wine), whether it exists or not; "" where nothing names
// one.
std::string winePrefix();

// The program's folder among the user's settings ($XDG_CONFIG_HOME/orvel, else ~/.config/orvel),
// whether it exists or not; "" where nothing names one.
std::string userConfigFolder();

// The program's folder among the user's data ($XDG_DATA_HOME/orvel, else ~/.local/share/orvel),
// whether it exists or not.
std::string userDataFolder();

// The folder that holds the running executable.
std::string executableFolder();
// Whether a folder is one where the system keeps what packages bring, for all users. Nothing of one
// user's belongs there, root included, who may write there.
bool isSystemFolder(const std::string &folder);

// The program of that name in the folders of $PATH, or "". A name that holds a "/" is no name.
std::string findInPath(const std::string &name);

// Whether this is a file that can be executed.
bool isExecutableFile(const std::string &path);

} // namespace platform
