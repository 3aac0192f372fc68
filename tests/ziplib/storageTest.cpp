#include "platform/storage.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace fs = std::filesystem;
using platform::Failure;
using platform::FileInfo;
using platform::Folder;
using platform::InputFile;
using platform::NewFile;

namespace {

class Storage : public testing::Test {
  protected:
    void SetUp() override { ASSERT_TRUE(folder.open(root.path().string()).ok()); }

    TestFolder root;
    Folder folder;
};

} // namespace

TEST_F(Storage, ANewFileHasItsNameOnlyOnceItIsWhole) {
    NewFile file;
    ASSERT_TRUE(file.create(folder).ok());
    ASSERT_TRUE(file.write("abc", 3).ok());
    EXPECT_FALSE(fs::exists(root / "a.txt"));
    for (const std::string &name : namesIn(root.path())) {
        EXPECT_TRUE(platform::isTemporaryName(name)) << name;
    }
    ASSERT_TRUE(file.setModified(-1'500'000'000).ok());
    ASSERT_TRUE(file.commit("a.txt", NewFile::Replace::No).ok());
    EXPECT_EQ(readFile(root / "a.txt"), "abc");
    FileInfo info;
    ASSERT_TRUE(folder.info("a.txt", info).ok());
    EXPECT_EQ(info.modified, -1'500'000'000);
    EXPECT_EQ(namesIn(root.path()).size(), 1U);
}

TEST_F(Storage, ATakenNameIsReplacedOnlyWhereThatIsWanted) {
    writeFile(root / "a.txt", "old");
    fs::create_directory(root / "dir");
    writeFile(root / "target", "untouched");
    fs::create_symlink("target", root / "link");
    const struct {
        const char *name;
        NewFile::Replace replace;
        Failure failure;
    } rows[] = {{"a.txt", NewFile::Replace::No, Failure::Exists},
                {"a.txt", NewFile::Replace::Yes, Failure::None},
                {"dir", NewFile::Replace::Yes, Failure::WrongKind},
                {"link", NewFile::Replace::No, Failure::Exists},
                {"link", NewFile::Replace::Yes, Failure::None}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        NewFile file;
        ASSERT_TRUE(file.create(folder).ok());
        ASSERT_TRUE(file.write("new", 3).ok());
        const platform::Status status = file.commit(row.name, row.replace);
        EXPECT_EQ(status.kind, row.failure) << status.message;
        EXPECT_EQ(namesIn(root.path()).size(), 4U);
    }
    EXPECT_EQ(readFile(root / "a.txt"), "new");
    EXPECT_EQ(readFile(root / "target"), "untouched");
    EXPECT_FALSE(fs::is_symlink(root / "link"));
}

TEST_F(Storage, RangesOfAnotherFileAreCopied) {
    std::string bytes(9'000'000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * i >> 8);
    }
    writeFile(root / "source", bytes);
    InputFile source;
    ASSERT_TRUE(folder.openFile("source", source).ok());
    NewFile file;
    ASSERT_TRUE(file.create(folder).ok());
    ASSERT_TRUE(file.write("head", 4).ok());
    ASSERT_TRUE(file.copyFrom(source, 17, 8'500'000).ok());
    ASSERT_TRUE(file.write("tail", 4).ok());
    EXPECT_EQ(file.copyFrom(source, 8'999'990, 20).kind, Failure::EndsEarly);
    // A long range is prepared before it is copied; nothing of that stays.
    EXPECT_EQ(file.copyFrom(source, 8'999'990, 5'000'000).kind, Failure::EndsEarly);
    EXPECT_EQ(file.copyFrom(source, 0, 100, [] { return false; }).kind, Failure::Cancelled);
    ASSERT_TRUE(file.commit("copy", NewFile::Replace::No).ok());
    EXPECT_EQ(readFile(root / "copy"), "head" + bytes.substr(17, 8'500'000) + "tail" +
                                   bytes.substr(8'999'990) + bytes.substr(8'999'990));
}

TEST_F(Storage, OnlyOrdinaryFilesAndRealFoldersAreOpened) {
    writeFile(root / "file", "x");
    fs::create_directory(root / "dir");
    fs::create_symlink("file", root / "link");
    fs::create_directory_symlink("dir", root / "dirlink");
    ASSERT_EQ(mkfifo((root / "fifo").c_str(), 0600), 0);
    const struct {
        const char *name;
        Failure asFile;
        Failure asFolder;
    } rows[] = {{"file", Failure::None, Failure::WrongKind},
                {"dir", Failure::WrongKind, Failure::None},
                {"link", Failure::WrongKind, Failure::WrongKind},
                {"dirlink", Failure::WrongKind, Failure::WrongKind},
                {"fifo", Failure::WrongKind, Failure::WrongKind},
                {"none", Failure::NotFound, Failure::NotFound}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        InputFile file;
        Folder below;
        EXPECT_EQ(folder.openFile(row.name, file).kind, row.asFile);
        EXPECT_EQ(folder.openFolder(row.name, below).kind, row.asFolder);
    }
    InputFile followed;
    EXPECT_TRUE(folder.openFile("link", followed, Folder::Links::Follow).ok());
    EXPECT_EQ(folder.makeFolder("dirlink").kind, Failure::Exists);
}
