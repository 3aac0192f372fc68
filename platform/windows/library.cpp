#include "platform/library.h"

#include "platform/files.h"
#include "platform/windows/system.h"

namespace platform {

namespace {

QString &testFolder() {
    static QString folder;
    return folder;
}

} // namespace

void Library::setFolder(const QString &folder) {
    testFolder() = folder;
}

void *Library::resolve(const char *symbol) {
    if (m_handle == nullptr) {
        const QString folder = testFolder().isEmpty() ? programFolder() : nativePath(testFolder());
        const QString file = longPath(folder + u'\\' + m_name + QStringLiteral(".dll"));
        if (GetFileAttributesW(wide(file)) == INVALID_FILE_ATTRIBUTES)
            raise(ErrorNumber::FileNotFound, m_name);
        // By its whole path, so that no library of that name elsewhere is loaded.
        m_handle = LoadLibraryExW(wide(file), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
        if (m_handle == nullptr)
            raise(ErrorNumber::LoadingLibrary, m_name);
    }
    const auto address = GetProcAddress(static_cast<HMODULE>(m_handle), symbol);
    if (address == nullptr)
        raise(ErrorNumber::EntryPointNotFound, m_name + u'.' + QString::fromLatin1(symbol));
    return reinterpret_cast<void *>(address);
}

} // namespace platform
