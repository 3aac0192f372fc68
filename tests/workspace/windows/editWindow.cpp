#include "tests/workspace/editWindow.h"

#include <windows.h>

namespace {

constexpr char kClasses[] = "Software\\Orvel tests\\Classes ";
constexpr char kCommand[] = "Folder\\shell\\open\\command";

} // namespace

const char *const EditWindow::kOddFolder = "the '6.0' one";
const char *const EditWindow::kOddName = "it's $HOME `touch x`;.png";

std::string EditWindow::commandLine(const QString &program, std::string form,
                                    const std::string &file) {
    form.replace(form.find('@'), 1, file);
    return '"' + program.toStdString() + "\" " + form;
}

// Replaces the system's table of file types for this process.
FileBrowser::FileBrowser(const QString &program)
    : m_before(kClasses + QByteArray::number(qint64{GetCurrentProcessId()})) {
    const QString command = '"' + program + "\" \"%1\"";
    HKEY classes = nullptr;
    EXPECT_EQ(RegCreateKeyA(HKEY_CURRENT_USER, m_before, &classes), ERROR_SUCCESS);
    EXPECT_EQ(RegOverridePredefKey(HKEY_CLASSES_ROOT, classes), ERROR_SUCCESS);
    RegCloseKey(classes);
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyA(HKEY_CLASSES_ROOT, kCommand, &key), ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExW(key, nullptr, 0, REG_SZ,
                             reinterpret_cast<const BYTE *>(command.utf16()),
                             static_cast<DWORD>(command.size() + 1) * 2),
              ERROR_SUCCESS);
    RegCloseKey(key);
}

FileBrowser::~FileBrowser() {
    RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    RegDeleteTreeA(HKEY_CURRENT_USER, m_before);
}
