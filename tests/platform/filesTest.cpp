#include "platform/files.h"
#include "tests/platform/filesFixture.h"

#include <unistd.h>

namespace {

using platform::ErrorNumber;

class FilesTest : public FilesFixture {};

// The sets of names that the searches are tried on.
class SearchTest : public FilesFixture {
  protected:
    SearchTest() {
        makeFile("b.vl2");
        makeFile("A.VL2");
        makeFile("c.vl2");
        makeFile(".dot.vl2");
        makeFile("hidden.vl2");
        makeFile("system.vl2");
        makeFile("readonly.vl2");
        makeFile("other.txt");
        makeFolders("folder.vl2");
        platform::setAttributes(at("hidden.vl2"), platform::AttributeHidden);
        platform::setAttributes(at("system.vl2"), platform::AttributeSystem);
        platform::setAttributes(at("readonly.vl2"), platform::AttributeReadOnly);
    }
};

TEST_F(SearchTest, ASearchGivesWhatItsMaskAllows) {
    struct Row {
        const char *pattern;
        int mask;
        const char *found;
    };
    using namespace platform; // NOLINT(google-build-using-namespace): a table of its constants
    for (const Row &row : {
             Row{"b.vl2", 0, "b.vl2"},
             Row{"a.vl2 ", 0, "A.VL2"},
             Row{"readonly.vl2", 0, "readonly.vl2"},
             Row{".DOT.vl2", 0, ".dot.vl2"},
             Row{"hidden.vl2", 0, ""},
             Row{"hidden.vl2", AttributeSystem, ""},
             Row{"hidden.vl2", AttributeHidden, "hidden.vl2"},
             Row{"system.vl2", 0, ""},
             Row{"system.vl2", AttributeSystem, "system.vl2"},
             Row{"folder.vl2", 0, ""},
             Row{"folder.vl2", AttributeDirectory, "folder.vl2"},
             Row{"folder.vl2\\", 0, ""},
             Row{"missing.vl2", 0, ""},
             Row{"missing\\b.vl2", 0, ""},
             Row{"missing\\*.vl2", 0, ""},
             Row{"b.vl2\\*", 0, ""},
             Row{"?.vl2", 0, "A.VL2"},
             Row{"h*", 0, ""},
             Row{"H*", AttributeHidden, "hidden.vl2"},
             Row{"*.nothing", 0, ""},
         })
        EXPECT_EQ(findFirst(at(row.pattern), row.mask), QString(row.found)) << row.pattern;
    expectError(ErrorNumber::BadFileName, [&] { findFirst(at("b.vl2") + QChar(0) + "x", 0); });
}

TEST_F(SearchTest, AListingIsSortedAndLeavesOutHiddenSystemAndFolders) {
    const QStringList expected = {".dot.vl2", "A.VL2", "b.vl2", "c.vl2", "readonly.vl2"};
    EXPECT_EQ(platform::listFiles(folder(), "*.vl2"), expected);
    EXPECT_EQ(platform::listFiles(folder() + "\\", "*.VL2"), expected);
    EXPECT_EQ(platform::listFiles(at("folder.vl2"), "*"), QStringList());
    expectError(ErrorNumber::PathNotFound, [&] { platform::listFiles(at("missing"), "*.vl2"); });
}

TEST_F(FilesTest, ANameThatIsNoUtf8IsListedFoundAndHidesNoOther) {
    makeFile("caf\xe9.txt");
    makeFile("z.txt");
    const QStringList names = platform::listFiles(folder(), "*.txt");
    ASSERT_EQ(names.size(), 2);
    EXPECT_EQ(names[1], QString("z.txt"));
    EXPECT_EQ(platform::findFirst(at(names[0]), 0), names[0]);
    platform::deleteFiles(at(names[0]));
    EXPECT_FALSE(exists("caf\xe9.txt"));
    EXPECT_TRUE(exists("z.txt"));
}

TEST_F(FilesTest, LinksCountAsWhatTheyLeadTo) {
    makeFile("real.txt");
    makeFolders("folder");
    ASSERT_EQ(::symlink("real.txt", bytesAt("link.txt").constData()), 0);
    ASSERT_EQ(::symlink("folder", bytesAt("linked").constData()), 0);
    ASSERT_EQ(::symlink("nowhere", bytesAt("dangling.txt").constData()), 0);
    EXPECT_EQ(platform::findFirst(at("LINK.txt"), 0), QString("link.txt"));
    EXPECT_EQ(platform::findFirst(at("linked"), 0), QString());
    EXPECT_EQ(platform::findFirst(at("dangling.txt"), 0), QString());
    EXPECT_EQ(platform::listFiles(folder(), "*.txt"), (QStringList{"link.txt", "real.txt"}));
}

TEST_F(FilesTest, TheStoredNameIsTheOneOnDiskForFilesAndFoldersOfEveryKind) {
    makeFile("Program Files/Game.EXE");
    platform::setAttributes(at("Program Files/Game.EXE"), platform::AttributeHidden);
    EXPECT_EQ(platform::storedName(at("PROGRAM FILES")), QString("Program Files"));
    EXPECT_EQ(platform::storedName(at("program files\\")), QString("Program Files"));
    EXPECT_EQ(platform::storedName(at("program files\\game.exe")), QString("Game.EXE"));
    EXPECT_EQ(platform::storedName(at("missing")), QString());
    EXPECT_EQ(platform::storedName(at("missing\\x")), QString());
    EXPECT_EQ(platform::storedName(at("Program Files") + QChar(0)), QString());
}

TEST_F(FilesTest, FoldersAreMadeAndRemovedOneLevelAtATime) {
    platform::makeFolder(at("One"));
    platform::makeFolder(at("one\\Two"));
    EXPECT_TRUE(exists("One/Two"));
    makeFile("One/file");
    expectError(ErrorNumber::PathFileAccess, [&] { platform::makeFolder(at("ONE")); });
    expectError(ErrorNumber::PathNotFound, [&] { platform::makeFolder(at("x\\y")); });
    expectError(ErrorNumber::PathNotFound, [&] { platform::makeFolder(at("One\\file\\y")); });
    expectError(ErrorNumber::PathFileAccess, [&] { platform::removeFolder(at("One")); });
    expectError(ErrorNumber::PathNotFound, [&] { platform::removeFolder(at("missing")); });
    platform::removeFolder(at("ONE\\two"));
    EXPECT_FALSE(exists("One/Two"));
}

TEST_F(FilesTest, DeletingTakesOrdinaryFilesOnly) {
    makeFile("a.txt");
    makeFile("B.TXT");
    makeFile("hidden.txt");
    makeFile("keep.cs");
    makeFile("folder.txt/inner.txt");
    platform::setAttributes(at("hidden.txt"), platform::AttributeHidden);
    ASSERT_EQ(::symlink("nowhere", bytesAt("dangling.txt").constData()), 0);
    ASSERT_EQ(::symlink("keep.cs", bytesAt("link.txt").constData()), 0);

    platform::deleteFiles(at("*.txt"));
    for (const char *gone : {"a.txt", "B.TXT", "dangling.txt", "link.txt"})
        EXPECT_FALSE(exists(gone)) << gone;
    for (const char *kept : {"hidden.txt", "keep.cs", "folder.txt/inner.txt"})
        EXPECT_TRUE(exists(kept)) << kept;

    platform::deleteFiles(at("KEEP.cs"));
    EXPECT_FALSE(exists("keep.cs"));
    for (const char *nothing : {"*.txt", "hidden.txt", "folder.txt", "missing", "missing\\*", ""})
        expectError(ErrorNumber::FileNotFound, [&] { platform::deleteFiles(at(nothing)); });
    expectError(ErrorNumber::BadFileName,
                [&] { platform::deleteFiles(at("folder.txt/inner.txt") + QChar(0)); });
    EXPECT_TRUE(exists("folder.txt/inner.txt"));
}

} // namespace
