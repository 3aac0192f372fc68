#include "workspace/modOther.h"

#include "platform/shell.h"

namespace {

void request(const QString &verb, const QString &path) {
    platform::ShellExecuteA(verb, path, {}, {}, platform::kShowNormal);
}

} // namespace

void ShellOpen(const QString &sPath) {
    request(QStringLiteral("Open"), sPath);
}

void ShellExplore(const QString &sPath) {
    request(QStringLiteral("Explore"), sPath);
}
