#include "platform/files.h"

#include "platform/trash.h"
#include "platform/windows/system.h"
#include "storage/windows/system.h"
#include "tests/platform/filesFixture.h"

namespace {

using platform::ErrorNumber;

class WindowsFiles : public FilesFixture {};

TEST_F(WindowsFiles, APathGetsTheSystemsForm) {
    using Row = std::pair<const char *, const char *>;
    for (const auto &[given, native] :
         {Row{"C:/Games\\\\Tribes 2/", "C:\\Games\\Tribes 2"}, Row{"C:\\x.vl2  ", "C:\\x.vl2"},
          Row{"C:\\", "C:\\"}, Row{"", ""}, Row{"\\\\server\\share\\\\x", "\\\\server\\share\\x"}})
        EXPECT_EQ(platform::nativePath(given), QString(native)) << given;
}

TEST_F(WindowsFiles, TheFoldersOfProgramAndSystemHaveNoSeparatorBehindThem) {
    const QString program = platform::programFolder();
    EXPECT_NE(platform::storedName(program + "\\platformTest.exe"), QString());
    EXPECT_EQ(platform::windowsFolder(260).toUpper(), QString("C:\\WINDOWS"));
    EXPECT_EQ(platform::windowsFolder(3), QString());
    EXPECT_NE(platform::findFirst(platform::windowsFolder(260) + "\\NOTEPAD.EXE ", 0), QString());
}

TEST_F(WindowsFiles, AFileThatAProgramHasOpenIsNotTakenForOneWithoutATrash) {
    const std::string file = makeFile("held.txt").toStdString();
    const platform::Handle held(CreateFileW(platform::longPath(file).c_str(), GENERIC_READ,
                                            FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(held.isOpen());
    EXPECT_EQ(platform::moveToTrash(file), platform::Trashing::Failed);
    EXPECT_TRUE(exists("held.txt"));
}

} // namespace
