#include "platform/files.h"
#include "tests/platform/filesFixture.h"

namespace {

using platform::ErrorNumber;

class FilesTest : public FilesFixture {};

TEST_F(FilesTest, ASearchGivesWhatItsMaskAllows) {
    using namespace platform; // NOLINT(google-build-using-namespace): a table of its constants
    for (const char *name :
         {"b.vl2", "A.VL2", "hidden.vl2", "system.vl2", "readonly.vl2", "a.vl2old", "other.txt"})
        makeFile(name);
    makeFolders("folder.vl2");
    setAttributes(at("hidden.vl2"), AttributeHidden);
    setAttributes(at("system.vl2"), AttributeSystem);
    setAttributes(at("readonly.vl2"), AttributeReadOnly);
    struct Row {
        const char *pattern;
        int mask;
        const char *found;
    };
    for (const Row &row : {
             Row{"b.vl2", 0, "b.vl2"},
             Row{"a.vl2 ", 0, "A.VL2"},
             Row{"readonly.vl2", 0, "readonly.vl2"},
             Row{"hidden.vl2", AttributeSystem, ""},
             Row{"hidden.vl2", AttributeHidden, "hidden.vl2"},
             Row{"system.vl2", AttributeHidden, ""},
             Row{"system.vl2", AttributeSystem, "system.vl2"},
             Row{"folder.vl2", AttributeDirectory, "folder.vl2"},
             Row{"?.vl2", 0, "A.VL2"},
             Row{"H*", AttributeHidden, "hidden.vl2"},
             Row{"a*.*old", 0, "a.vl2old"},
         })
        EXPECT_EQ(findFirst(at(row.pattern), row.mask), QString(row.found)) << row.pattern;
    for (const char *nothing : {"folder.vl2", "folder.vl2\\", "missing.vl2", "missing\\*.vl2",
                                "b.vl2\\*", "h*", "*.nothing"})
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

TEST_F(FilesTest, TheStoredNameIsTheOneOnDiskForFilesAndFoldersOfEveryKind) {
    makeFile("Program Files/Game.EXE");
    platform::setAttributes(at("Program Files/Game.EXE"), platform::AttributeHidden);
    EXPECT_EQ(platform::storedName(at("program files\\")), QString("Program Files"));
    EXPECT_EQ(platform::storedName(at("program files\\game.exe")), QString("Game.EXE"));
    for (const QString &none :
         {at("missing"), at("missing\\x"), at("Program Files") + QChar(0), QString("Q:\\nothing")})
        EXPECT_EQ(platform::storedName(none), QString());
}

TEST_F(FilesTest, FoldersAreMadeAndRemovedOneLevelAtATime) {
    platform::makeFolder(at("One"));
    platform::makeFolder(at("one\\Two"));
    EXPECT_TRUE(exists("One/Two"));
    makeFile("One/file");
    expectError(
        ErrorNumber::PathFileAccess, [&] { platform::makeFolder(at("ONE")); });
    expectError(
        ErrorNumber::PathNotFound, [&] { platform::makeFolder(at("x\\y")); });
    expectError(
        ErrorNumber::PathNotFound, [&] { platform::makeFolder(at("One\\file\\y")); });
    expectError(
        ErrorNumber::PathFileAccess, [&] { platform::removeFolder(at("One")); });
    expectError(ErrorNumber::PathNotFound, [&] { platform::removeFolder(at("missing")); });
    platform::removeFolder(at("ONE\\two"));
    EXPECT_FALSE(exists("One/Two"));
}

TEST_F(FilesTest, AttributesAreSetExactly) {
    using namespace platform; // NOLINT(google-build-using-namespace): a table of its constants
    makeFile("x");
    for (const int value : {0, 1, 2, 4, 32, 7, 39, 0}) {
        setAttributes(at("x"), value);
        // Not every system lets a file be without the archive bit.
        EXPECT_EQ(attributes(at("X")) | AttributeArchive, value | AttributeArchive);
    }
    makeFolders("folder");
    setAttributes(at("folder"), AttributeHidden);
    EXPECT_EQ(attributes(at("FOLDER")), AttributeDirectory | AttributeHidden);
    expectError(
        ErrorNumber::FileNotFound, [&] { attributes(at("none")); });
    expectError(ErrorNumber::FileNotFound, [&] { setAttributes(at("no\\ne"), 0); });
}

TEST_F(FilesTest, ACopyIsWholeOrTheTargetStaysAsItWas) {
    const QByteArray content(700'001, 'x');
    makeFile("in/Png.8bi", content);
    makeFile("out/Old.8bi", "old");
    makeFile("out/fixed.8bi", "old");
    platform::setAttributes(at("in\\Png.8bi"), platform::AttributeReadOnly);
    platform::setAttributes(at("out\\fixed.8bi"), platform::AttributeReadOnly);
    for (const char *target : {"out\\OLD.8bi", "out\\new.8bi"}) {
        platform::copyFile(at("IN\\png.8BI"), at(target));
        EXPECT_EQ(contentOf(platform::nativePath(at(target))), content);
        EXPECT_EQ(platform::attributes(at(target)) & ~platform::AttributeArchive,
                  platform::AttributeReadOnly);
    }
    struct Row {
        const char *source;
        const char *target;
        ErrorNumber number;
    };
    for (const Row &row : {Row{"missing", "out/x", ErrorNumber::FileNotFound},
                           Row{"in", "out/x", ErrorNumber::PathFileAccess},
                           Row{"in/Png.8bi", "missing/x", ErrorNumber::PathNotFound},
                           Row{"in/Png.8bi", "out", ErrorNumber::PathFileAccess},
                           Row{"in/Png.8bi", "out/fixed.8bi", ErrorNumber::PathFileAccess}})
        expectError(row.number, [&] { platform::copyFile(at(row.source), at(row.target)); });
    EXPECT_EQ(contentOf(at("out/fixed.8bi")), QByteArray("old"));
    EXPECT_EQ(namesIn("out"), QStringList({"Old.8bi", "fixed.8bi", "new.8bi"}));
}

} // namespace
