#include "tests/support/settings.h"

#include <cstdlib>

#include <windows.h>

namespace {

void standFor(HKEY root, const std::string &path) {
    HKEY key = nullptr;
    if (RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                        &key, nullptr) != ERROR_SUCCESS ||
        RegOverridePredefKey(root, key) != ERROR_SUCCESS)
        std::abort(); // the user's own settings would be written
    RegCloseKey(key);
}

} // namespace

OwnSettings::OwnSettings(const std::string & /*folder*/) {
    static int count = 0;
    m_place = "Software\\Orvel tests\\" + std::to_string(GetCurrentProcessId()) + "-" +
              std::to_string(++count);
    standFor(HKEY_LOCAL_MACHINE, m_place);
}

OwnSettings::~OwnSettings() {
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegDeleteTreeA(HKEY_CURRENT_USER, m_place.c_str());
}

void OwnSettings::clear() {
    RegDeleteTreeA(HKEY_LOCAL_MACHINE, nullptr);
}
