#include "platform/files.h"

#include "platform/windows/system.h"
#include "tests/platform/windows/scratchFolder.h"

#include <QStringList>

#include <functional>

namespace {

using platform::ErrorNumber;

class WindowsFiles : public ScratchFolder {
  protected:
    QString path(const QString &name) const {
        return QString::fromStdWString(root.wstring()) + u'\\' + name;
    }
    static void expectError(ErrorNumber number, const std::function<void()> &step) {
        try {
            step();
            ADD_FAILURE() << "no error was raised";
        } catch (const platform::RuntimeError &error) {
            EXPECT_EQ(static_cast<int>(error.number()), static_cast<int>(number)) << error.what();
        }
    }
};

TEST_F(WindowsFiles, ASearchGivesWhatItsMaskAllowsAndNoShortNames) {
    using namespace platform; // NOLINT(google-build-using-namespace): a table of its constants
    for (const char *name : {"b.vl2", "A.VL2", "hidden.vl2", "system.vl2", "a.vl2old", "other.txt"})
        put(name);
    std::filesystem::create_directory(root / "folder.vl2");
    setAttributes(path("hidden.vl2"), AttributeHidden);
    setAttributes(path("system.vl2"), AttributeSystem | AttributeReadOnly);
    struct Row {
        const char *pattern;
        int mask;
        const char *found;
    };
    for (const Row &row : {
             Row{"b.vl2", 0, "b.vl2"},
             Row{"a.vl2 ", 0, "A.VL2"},
             Row{"hidden.vl2", 0, ""},
             Row{"hidden.vl2", AttributeHidden, "hidden.vl2"},
             Row{"system.vl2", AttributeHidden, ""},
             Row{"system.vl2", AttributeSystem, "system.vl2"},
             Row{"folder.vl2", 0, ""},
             Row{"folder.vl2", AttributeDirectory, "folder.vl2"},
             Row{"folder.vl2\\", 0, ""},
             Row{"missing.vl2", 0, ""},
             Row{"missing\\*.vl2", 0, ""},
             Row{"b.vl2\\*", 0, ""},
             Row{"?.vl2", 0, "A.VL2"},
             Row{"a*.*old", 0, "a.vl2old"},
         })
        EXPECT_EQ(findFirst(path(row.pattern), row.mask), QString(row.found)) << row.pattern;
    const QStringList expected = {"A.VL2", "b.vl2"};
    EXPECT_EQ(listFiles(path(""), "*.vl2"), expected);
    EXPECT_EQ(listFiles(path("folder.vl2"), "*"), QStringList());
    expectError(ErrorNumber::PathNotFound, [&] { listFiles(path("missing"), "*"); });
    expectError(ErrorNumber::BadFileName, [&] { findFirst(path("b.vl2") + QChar(0), 0); });
    expectError(ErrorNumber::DeviceUnavailable, [] { findFirst("Q:\\nothing", 0); });
    EXPECT_EQ(storedName(path("FOLDER.vl2\\")), QString("folder.vl2"));
    EXPECT_EQ(storedName(path("HIDDEN.vl2")), QString("hidden.vl2"));
    EXPECT_EQ(storedName(path("missing\\x")), QString());
}

TEST_F(WindowsFiles, APathGetsTheSystemsForm) {
    struct Row {
        const char *given;
        const char *native;
    };
    for (const Row &row :
         {Row{"C:/Games\\\\Tribes 2/", "C:\\Games\\Tribes 2"}, Row{"C:\\x.vl2  ", "C:\\x.vl2"},
          Row{"C:\\", "C:\\"}, Row{"", ""}, Row{"\\\\server\\share\\\\x", "\\\\server\\share\\x"}})
        EXPECT_EQ(platform::nativePath(row.given), QString(row.native)) << row.given;
}

TEST_F(WindowsFiles, FoldersAreMadeAndRemovedOneLevelAtATime) {
    platform::makeFolder(path("One"));
    platform::makeFolder(path("one\\Two"));
    put("One/file");
    expectError(ErrorNumber::PathFileAccess, [&] { platform::makeFolder(path("ONE")); });
    expectError(ErrorNumber::PathNotFound, [&] { platform::makeFolder(path("x\\y")); });
    expectError(ErrorNumber::PathFileAccess, [&] { platform::removeFolder(path("One")); });
    expectError(ErrorNumber::PathNotFound, [&] { platform::removeFolder(path("missing")); });
    platform::removeFolder(path("ONE\\two"));
    EXPECT_FALSE(exists("One/Two"));
}

TEST_F(WindowsFiles, DeletingTakesOrdinaryFilesOnlyAndSaysWhatIsHeld) {
    for (const char *name : {"a.txt", "B.TXT", "hidden.txt", "keep.cs", "folder.txt/inner.txt"})
        put(name);
    platform::setAttributes(path("hidden.txt"), platform::AttributeHidden);
    platform::deleteFiles(path("*.txt"));
    EXPECT_FALSE(exists("a.txt") || exists("B.TXT"));
    EXPECT_TRUE(exists("hidden.txt") && exists("keep.cs") && exists("folder.txt/inner.txt"));
    for (const char *nothing : {"*.txt", "hidden.txt", "folder.txt", "missing\\*", ""})
        expectError(ErrorNumber::FileNotFound, [&] { platform::deleteFiles(path(nothing)); });
    const HANDLE held = CreateFileA(at("keep.cs").c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
    expectError(ErrorNumber::PermissionDenied, [&] { platform::deleteFiles(path("keep.cs")); });
    CloseHandle(held);
    platform::setAttributes(path("keep.cs"), platform::AttributeReadOnly);
    expectError(ErrorNumber::PathFileAccess, [&] { platform::deleteFiles(path("keep.cs")); });
    EXPECT_TRUE(exists("keep.cs"));
}

TEST_F(WindowsFiles, AttributesAreSetExactly) {
    put("x");
    for (const int value : {0, 1, 2, 4, 32, 7, 39}) {
        platform::setAttributes(path("x"), value);
        // Not every system lets a file be without the archive bit.
        EXPECT_EQ(platform::attributes(path("X")) | platform::AttributeArchive,
                  value | platform::AttributeArchive);
    }
    expectError(ErrorNumber::FileNotFound, [&] { platform::attributes(path("none")); });
    expectError(ErrorNumber::FileNotFound, [&] { platform::setAttributes(path("no\\ne"), 0); });
}

TEST_F(WindowsFiles, ACopyIsWholeOrTheTargetStaysAsItWas) {
    const std::string bytes(700'001, 'x');
    put("in/Png.8bi", bytes);
    put("out/Old.8bi", "old");
    put("out/fixed.8bi", "old");
    platform::setAttributes(path("in\\Png.8bi"), platform::AttributeReadOnly);
    platform::setAttributes(path("out\\fixed.8bi"), platform::AttributeReadOnly);
    platform::copyFile(path("IN\\png.8BI"), path("out\\OLD.8bi"));
    EXPECT_EQ(content("out/Old.8bi"), bytes);
    EXPECT_EQ(platform::attributes(path("out\\Old.8bi")) & ~platform::AttributeArchive,
              platform::AttributeReadOnly);
    platform::copyFile(path("in\\Png.8bi"), path("out\\new.8bi"));
    EXPECT_EQ(content("out/new.8bi"), bytes);

    expectError(ErrorNumber::FileNotFound, [&] { platform::copyFile(path("no"), path("out\\y")); });
    expectError(ErrorNumber::PathNotFound,
                [&] { platform::copyFile(path("in\\Png.8bi"), path("no\\y")); });
    expectError(ErrorNumber::PathFileAccess,
                [&] { platform::copyFile(path("in\\Png.8bi"), path("out\\fixed.8bi")); });
    expectError(ErrorNumber::PathFileAccess,
                [&] { platform::copyFile(path("in\\Png.8bi"), path("out")); });
    EXPECT_EQ(content("out/fixed.8bi"), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(root / "out"),
                            std::filesystem::directory_iterator()),
              3);
    for (const char *name : {"in\\Png.8bi", "out\\fixed.8bi", "out\\Old.8bi", "out\\new.8bi"})
        platform::setAttributes(path(name), 0);
}

TEST_F(WindowsFiles, TheFoldersOfProgramAndSystemHaveNoSeparatorBehindThem) {
    const QString program = platform::programFolder();
    EXPECT_NE(platform::storedName(program + "\\windows_files_test.exe"), QString());
    EXPECT_EQ(platform::windowsFolder(260).toUpper(), QString("C:\\WINDOWS"));
    EXPECT_EQ(platform::windowsFolder(3), QString());
    EXPECT_NE(platform::findFirst(platform::windowsFolder(260) + "\\NOTEPAD.EXE ", 0), QString());
}

} // namespace
