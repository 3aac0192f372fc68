#pragma once

#include <string>

// A settings store for one test, empty at first. On POSIX it lies in a folder, with a Wine prefix
// beside it; on Windows in a key of the user's registry that replaces the machine's for this
// process.
class OwnSettings {
  public:
    explicit OwnSettings(const std::string &folder);
    ~OwnSettings();
    OwnSettings(const OwnSettings &) = delete;
    OwnSettings &operator=(const OwnSettings &) = delete;

    // Removes every setting.
    void clear();

  private:
    std::string m_place;
};
