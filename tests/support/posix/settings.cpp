#include "tests/support/settings.h"

#include "tests/support/environment.h"

#include <filesystem>

OwnSettings::OwnSettings(const std::string &folder) : m_place(folder + "/config") {
    setVariable("HOME", folder.c_str());
    setVariable("XDG_CONFIG_HOME", m_place.c_str());
    setVariable("XDG_DATA_HOME", (folder + "/data").c_str());
    setVariable("WINEPREFIX", (folder + "/wine").c_str());
}

OwnSettings::~OwnSettings() = default;

void OwnSettings::clear() {
    std::filesystem::remove_all(m_place);
}
