#include "platform/files.h"
#include "tests/platform/filesFixture.h"

#include <unistd.h>

namespace {

class PathsTest : public FilesFixture {};

TEST_F(PathsTest, APathOfTheProgramLeadsToTheStoredFile) {
    makeFile("Game/base/Textures.vl2");
    makeFile("Game/base/twin.txt");
    makeFile("Game/base/TWIN.txt");
    makeFile("Game/base/ends in blank ");
    makeFile("Game/base/\xc3\x84ther.cs");
    makeFile("Game/base/.hidden.cs");
    using Row = std::pair<const char *, const char *>;
    for (const auto &[given, stored] : {
             Row{"game/BASE\\textures.VL2", "Game/base/Textures.vl2"},
             Row{"Game\\\\base//Textures.vl2", "Game/base/Textures.vl2"},
             Row{"game \\base\\TEXTURES.vl2 ", "Game/base/Textures.vl2"},
             Row{".\\Game\\.\\base\\Textures.vl2", "Game/base/Textures.vl2"},
             Row{"Game\\base\\..\\BASE\\twin.txt", "Game/base/../base/twin.txt"},
             Row{"Game\\base\\twin.txt", "Game/base/twin.txt"},
             Row{"Game\\base\\Twin.TXT", "Game/base/TWIN.txt"},
             Row{"Game\\base\\ends in blank ", "Game/base/ends in blank "},
             Row{"Game\\base\\\xc3\xa4THER.CS", "Game/base/\xc3\x84ther.cs"},
             Row{"Game\\base\\.HIDDEN.cs", "Game/base/.hidden.cs"},
             Row{"game\\Base\\", "Game/base"},
             // Missing components keep their text.
             Row{"game\\Base\\New Folder\\x.cs ", "Game/base/New Folder/x.cs "},
         })
        EXPECT_EQ(platform::nativePath(at(QString::fromUtf8(given))), at(QString::fromUtf8(stored)))
            << given;
}

TEST_F(PathsTest, RootsAndRelativePathsStayWhatTheyAre) {
    using Row = std::pair<const char *, const char *>;
    for (const auto &[given, native] :
         {Row{"/", "/"}, Row{"\\", "/"}, Row{"\\TMP\\", "/tmp"}, Row{"", ""}, Row{".", "."},
          Row{"no such\\thing", "no such/thing"}, Row{"c:no-drive", "c:no-drive"}})
        EXPECT_EQ(platform::nativePath(given), QString(native)) << given;
}

TEST_F(PathsTest, DrivesLeadThroughTheWinePrefix) {
    makeFile("prefix/drive_c/Program Files/Tool.exe");
    makeFolders("prefix/dosdevices");
    ASSERT_EQ(::symlink("../drive_c", bytesAt("prefix/dosdevices/c:").constData()), 0);
    const ScopedVariable prefix("WINEPREFIX", bytesAt("prefix"));

    const QString tool = at("prefix/drive_c/Program Files/Tool.exe");
    EXPECT_EQ(platform::nativePath("C:\\program files\\TOOL.EXE "), tool);
    EXPECT_EQ(platform::nativePath("C:"), at("prefix/drive_c"));
    EXPECT_EQ(platform::nativePath("Z:\\TMP"), QString("/tmp"));
    EXPECT_EQ(platform::findFirst("C:\\program files\\*.EXE", 0), QString("Tool.exe"));
    expectError(
        platform::ErrorNumber::DeviceUnavailable, [] { platform::findFirst("Q:\\nothing", 0); });
    expectError(platform::ErrorNumber::DeviceUnavailable, [] { platform::makeFolder("Q:\\new"); });

    // A prefix may define Z:.
    ASSERT_EQ(::symlink("../drive_c", bytesAt("prefix/dosdevices/z:").constData()), 0);
    EXPECT_EQ(platform::nativePath("Z:\\Program Files\\Tool.exe"), tool);
}

TEST_F(PathsTest, AFolderWithoutReadPermissionIsPassedByExactNames) {
    makeFile("locked/Inner/file.txt");
    ASSERT_EQ(::chmod(bytesAt("locked").constData(), 0111), 0);
    EXPECT_EQ(platform::nativePath(at("locked\\Inner\\FILE.txt ")), at("locked/Inner/file.txt"));
    ASSERT_EQ(::chmod(bytesAt("locked").constData(), 0755), 0);
}

} // namespace
