#include "workspace/modOther.h"

#include "platform/shell.h"

void ShellOpen(const QString &sPath) {
    platform::ShellExecuteA("Open", sPath, {}, {}, platform::kShowNormal);
}

void ShellExplore(const QString &sPath) {
    platform::ShellExecuteA("Explore", sPath, {}, {}, platform::kShowNormal);
}
