#pragma once

#include <string>

// Settings of a test's own, empty at first. On POSIX they lie in a folder, with a Wine prefix
// beside them; on Windows in a key of the user's registry that stands for the machine's meanwhile.
class OwnSettings {
  public:
    explicit OwnSettings(const std::string &folder);
    ~OwnSettings();
    OwnSettings(const OwnSettings &) = delete;
    OwnSettings &operator=(const OwnSettings &) = delete;

    // As if nothing had ever been set.
    void clear();

  private:
    std::string m_place;
};
