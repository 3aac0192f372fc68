#include "tests/config/orvelReg.h"

#include <windows.h>

// In the machine's real store: nothing else stands for it in the processes that are started.
QString OrvelReg::ownKey() {
    return "SOFTWARE\\Orvel-reg test " + QString::number(GetCurrentProcessId());
}

void OrvelReg::forget(const QString &key) {
    HKEY software = nullptr;
    if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, "SOFTWARE", 0, KEY_ALL_ACCESS | KEY_WOW64_32KEY,
                      &software) != ERROR_SUCCESS)
        return;
    RegDeleteTreeA(software, key.section('\\', 1).toLatin1());
    RegCloseKey(software);
}
