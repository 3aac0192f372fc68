#include "platform/files.h"
#include "platform/namePattern.h"
#include "tests/platform/filesFixture.h"

namespace {

using platform::ErrorNumber;

class FilesTest : public FilesFixture {};

TEST_F(FilesTest, ASearchFindsFilesThatItsMaskAllows) {
    using namespace platform; // NOLINT(google-build-using-namespace): a table of its constants
    for (const char *name :
         {"b.vl2", "A.VL2", "hidden.vl2", "system.vl2", "readonly.vl2", "a.vl2old", "other.txt"})
        makeFile(name);
    makeFolders("folder.vl2");
    setDos("hidden.vl2", kAttributeHidden);
    setDos("system.vl2", kAttributeSystem);
    setDos("readonly.vl2", kAttributeReadOnly);
    EXPECT_EQ(dosOf(at("HIDDEN.vl2")), kAttributeHidden);
    EXPECT_EQ(dosOf(at("folder.vl2")), kAttributeFolder);
    struct Row {
        const char *pattern;
        int mask;
        const char *found;
    };
    for (const Row &row : {
             Row{"a.vl2 ", 0, "A.VL2"},
             Row{"readonly.vl2", 0, "readonly.vl2"},
             Row{"hidden.vl2", kAttributeSystem, ""},
             Row{"hidden.vl2", kAttributeHidden, "hidden.vl2"},
             Row{"system.vl2", kAttributeHidden, ""},
             Row{"system.vl2", kAttributeSystem, "system.vl2"},
             Row{"folder.vl2", kAttributeFolder, "folder.vl2"},
             Row{"H*", kAttributeHidden, "hidden.vl2"},
             Row{"a*.*old", 0, "a.vl2old"},
         })
        EXPECT_EQ(findFirst(at(row.pattern), row.mask), QString(row.found)) << row.pattern;
    for (const char *nothing : {"folder.vl2", "missing\\*.vl2", "b.vl2\\*", "h*"})
        EXPECT_EQ(findFirst(at(nothing), 0), QString()) << nothing;
    expectError(
        ErrorNumber::BadFileName, [&] { findFirst(at("b.vl2") + QChar(0) + "x", 0); });
    expectError(ErrorNumber::DeviceUnavailable, [] { findFirst("Q:\\nothing", 0); });

    const QStringList listed = {"A.VL2", "b.vl2", "readonly.vl2"};
    EXPECT_EQ(listFiles(folder(), "*.vl2"), listed);
    EXPECT_EQ(listFiles(folder() + "\\", "*.VL2"), listed);
    EXPECT_EQ(listFiles(at("folder.vl2"), "*"), QStringList());
    expectError(ErrorNumber::PathNotFound, [&] { listFiles(at("missing"), "*.vl2"); });
}

TEST_F(FilesTest, WildcardsWorkAsInADosSearch) {
    const std::tuple<const char *, const char *, const char *> rows[] = {
        {"*.vl2", "Base.VL2", "base.vl2x"},
        {"*.", "readme", "a.txt"},
        {"a*c*e", "ABACE", "abcd"},
        {"file??.cs", "file1.cs", "file.c"},
        {"readme.*", "readme", "read"},
        {"caf?.txt", "caf\xe9.txt", "c.txt"},
        {"[a]*", "[a]b", "a"},
    };
    for (const auto &[text, match, other] : rows) {
        const platform::NamePattern pattern(QString::fromUtf8(text));
        EXPECT_TRUE(pattern.matches(match)) << text;
        EXPECT_FALSE(pattern.matches(other)) << text;
    }
    EXPECT_TRUE(platform::NamePattern("*.*").matches("readme"));
    // Many stars do not take exponential time.
    const QString stars = QString("a*").repeated(100) + "b";
    EXPECT_FALSE(platform::NamePattern(stars).matches(QByteArray(250, 'a')));
}

TEST_F(FilesTest, TheStoredNameIsTheOneOnDiskForFilesAndFoldersOfEveryKind) {
    makeFile("Program Files/Game.EXE");
    setDos("Program Files/Game.EXE", platform::kAttributeHidden);
    EXPECT_EQ(platform::storedName(at("program files\\")), QString("Program Files"));
    EXPECT_EQ(platform::storedName(at("program files\\game.exe")), QString("Game.EXE"));
    for (const QString &none :
         {at("missing"), at("missing\\x"), at("Program Files") + QChar(0), QString("Q:\\nothing")})
        EXPECT_EQ(platform::storedName(none), QString());
}

TEST_F(FilesTest, FoldersAreMadeOneLevelAtATime) {
    platform::makeFolder(at("One"));
    platform::makeFolder(at("one\\Two"));
    EXPECT_TRUE(exists("One/Two"));
    expectError(
        ErrorNumber::PathFileAccess, [&] { platform::makeFolder(at("ONE")); });
    expectError(ErrorNumber::PathNotFound, [&] { platform::makeFolder(at("x\\y")); });
}

TEST_F(FilesTest, ACopyIsWholeOrTheTargetStaysAsItWas) {
    const QByteArray content(700'001, 'x');
    makeFile("in/Png.8bi", content);
    makeFile("out/Old.8bi", "old");
    makeFile("out/fixed.8bi", "old");
    setFileTime(pathOf(at("in/Png.8bi")), 1'000'000'000);
    setDos("in/Png.8bi", platform::kAttributeReadOnly);
    setDos("out/fixed.8bi", platform::kAttributeReadOnly);
    for (const char *target : {"out\\OLD.8bi", "out\\new.8bi"}) {
        platform::copyFile(at("IN\\png.8BI"), at(target));
        EXPECT_EQ(readFile(platform::nativePath(at(target))), content);
        EXPECT_EQ(dosOf(at(target)), platform::kAttributeReadOnly);
        EXPECT_EQ(fileTime(pathOf(platform::nativePath(at(target)))), 1'000'000'000'000'000'000);
    }
    const auto copy = [&](const char *from, const char *to) {
        return [this, from, to] { platform::copyFile(at(from), at(to)); };
    };
    expectError(ErrorNumber::FileNotFound, copy("missing", "out/x"));
    expectError(ErrorNumber::PathFileAccess, copy("in", "out/x"));
    expectError(ErrorNumber::PathNotFound, copy("in/Png.8bi", "missing/x"));
    expectError(ErrorNumber::PathFileAccess, copy("in/Png.8bi", "out"));
    expectError(ErrorNumber::PathFileAccess, copy("in/Png.8bi", "out/fixed.8bi"));
    EXPECT_EQ(readFile(at("out/fixed.8bi")), QByteArray("old"));
    EXPECT_EQ(namesIn("out"), QStringList({"Old.8bi", "fixed.8bi", "new.8bi"}));
}

} // namespace
