#include "platform/library.h"

#include "platform/error.h"
#include "platform/narrow.h"
#include "storage/posix/environment.h"

#include <QList>

#include <dlfcn.h>
#include <unistd.h>

namespace platform {

namespace {

QByteArray &testFolder() {
    static QByteArray folder;
    return folder;
}

QList<QByteArray> libraryFolders() {
    if (!testFolder().isEmpty())
        return {testFolder()};
    const auto executable = QByteArray::fromStdString(executableFolder());
    return {executable, executable + "/" ORVEL_LIBRARIES_FROM_BIN};
}

QByteArray findLibrary(const QString &name) {
    for (const QByteArray &folder : libraryFolders()) {
        QByteArray path = folder + "/lib" + toNarrow(name) + ".so";
        if (::access(path.constData(), F_OK) == 0)
            return path;
    }
    return {};
}

} // namespace

void Library::setFolder(const QString &folder) {
    testFolder() = toNarrow(folder);
}

void *Library::resolve(const char *symbol) {
    if (m_handle == nullptr) {
        const QByteArray path = findLibrary(m_name);
        if (path.isEmpty())
            raise(ErrorNumber::FileNotFound, m_name);
        m_handle = ::dlopen(path.constData(), RTLD_NOW | RTLD_LOCAL);
        if (m_handle == nullptr)
            raise(ErrorNumber::LoadingLibrary, m_name);
    }
    void *address = ::dlsym(m_handle, symbol);
    if (address == nullptr)
        raise(ErrorNumber::EntryPointNotFound, m_name + u'.' + QString::fromLatin1(symbol));
    return address;
}

} // namespace platform
