#include "storage/storage.h"
#include "tests/storage/storageFixture.h"

namespace {

TEST_F(Storage, ANewFileHasItsNameOnlyOnceItIsWhole) {
    {
        NewFile dropped;
        ASSERT_TRUE(dropped.create(folder).ok());
    }
    EXPECT_EQ(filesIn(root.path()), Files());
    NewFile file;
    ASSERT_TRUE(file.create(folder).ok());
    ASSERT_TRUE(file.write("abcdef", 6).ok());
    for (const std::string &name : namesIn(root.path()))
        EXPECT_TRUE(platform::isTemporaryName(name)) << name;
    ASSERT_TRUE(file.truncate(3).ok());
    ASSERT_TRUE(file.setModified(-1'500'000'000).ok());
    ASSERT_TRUE(file.sync().ok());
    InputFile back;
    ASSERT_TRUE(file.openWritten(back).ok());
    char bytes[8] = {};
    std::size_t got = 0;
    ASSERT_TRUE(back.readAt(1, bytes, sizeof bytes, got).ok());
    EXPECT_EQ(std::string(bytes, got), "bc");
    back.close();
    ASSERT_TRUE(file.commit("a.txt", Replace::No).ok());
    EXPECT_EQ(filesIn(root.path()), (Files{{"a.txt", "abc"}}));
    FileInfo info;
    ASSERT_TRUE(folder.info("a.txt", info).ok());
    EXPECT_EQ(info.modified, -1'500'000'000);
    EXPECT_EQ(info.size, 3U);
}

TEST_F(Storage, ATakenNameIsReplacedOnlyOnRequest) {
    writeFile(root / "a.txt", "old");
    writeFile(root / "locked.txt", "old");
    std::filesystem::create_directory(root / "dir");
    setDosAttributes(root / "locked.txt", platform::kAttributeReadOnly);
    const struct {
        const char *name;
        Replace replace;
        Failure failure;
    } rows[] = {{"a.txt", Replace::No, Failure::Exists},
                {"a.txt", Replace::Yes, Failure::None},
                {"locked.txt", Replace::Yes, Failure::None},
                {"dir", Replace::Yes, Failure::WrongKind},
                {"dir", Replace::No, Failure::Exists}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const auto status = commit(row.name, "new", row.replace);
        EXPECT_EQ(status.kind, row.failure) << status.message;
        EXPECT_EQ(namesIn(root.path()).size(), 3U);
    }
    EXPECT_EQ(filesIn(root.path()), (Files{{"a.txt", "new"}, {"dir/", ""}, {"locked.txt", "new"}}));
}

TEST_F(Storage, AFileThatTheCallerHasOpenAndLockedIsReplaced) {
    writeFile(root / "x.vl2", "old");
    InputFile old;
    ASSERT_TRUE(folder.openFile("x.vl2", old).ok());
    ASSERT_TRUE(old.lock(std::chrono::milliseconds(0)).ok());
    const auto status = commit("x.vl2", "new", Replace::Yes, &old);
    EXPECT_TRUE(status.ok()) << status.message;
    EXPECT_EQ(filesIn(root.path()), (Files{{"x.vl2", "new"}}));
}

TEST_F(Storage, ANewFileIsKeptUnderAnotherNameIfItsNameWasTakenSince) {
    writeFile(root / "x.vl2", "old");
    writeFile(root / "x.vl2.new-1", "earlier");
    InputFile old;
    ASSERT_TRUE(folder.openFile("x.vl2", old).ok());
    std::filesystem::rename(root / "x.vl2", root / "moved");
    std::filesystem::create_directory(root / "x.vl2");
    const auto status = commit("x.vl2", "new", Replace::Yes, &old);
    EXPECT_EQ(status.kind, Failure::WrongKind);
    EXPECT_NE(status.message.find("x.vl2.new-2"), std::string::npos) << status.message;
    EXPECT_EQ(
        filesIn(root.path()),
        (Files{
            {"moved", "old"}, {"x.vl2/", ""}, {"x.vl2.new-1", "earlier"}, {"x.vl2.new-2", "new"}}));
}

TEST_F(Storage, ALockKeepsOutOthersUntilItsFileIsClosed) {
    writeFile(root / "x.vl2", "bytes");
    InputFile first;
    InputFile second;
    ASSERT_TRUE(folder.openFile("x.vl2", first).ok());
    ASSERT_TRUE(folder.openFile("x.vl2", second).ok());
    ASSERT_TRUE(first.lock(std::chrono::milliseconds(0)).ok());
    EXPECT_EQ(second.lock(std::chrono::milliseconds(30)).kind, Failure::Busy);
    EXPECT_EQ(second.lock(std::chrono::seconds(5), [] { return false; }).kind, Failure::Cancelled);
    char byte = 0;
    std::size_t got = 0;
    EXPECT_TRUE(second.readAt(0, &byte, 1, got).ok());
    EXPECT_EQ(got, 1U);
    first.close();
    EXPECT_TRUE(second.lock(std::chrono::milliseconds(500)).ok());
}

TEST_F(Storage, StaleTemporariesAreRemovedExceptThoseInUse) {
    writeFile(root / ".orvel-0123abcd.part", "half");
    writeFile(root / "user.part", "whole");
    NewFile running;
    ASSERT_TRUE(running.create(folder, NewFile::Guard::Locked).ok());
    folder.removeStaleTemporaries();
    ASSERT_TRUE(running.commit("done", Replace::No).ok());
    EXPECT_EQ(filesIn(root.path()), (Files{{"done", ""}, {"user.part", "whole"}}));
}

TEST_F(Storage, FilesAndFoldersAreToldApartAndFoldersStayOpen) {
    writeFile(root / "file", "x");
    ASSERT_TRUE(folder.makeFolder("dir").ok());
    EXPECT_EQ(folder.makeFolder("dir").kind, Failure::Exists);
    InputFile file;
    Folder below;
    EXPECT_EQ(folder.openFile("dir", file).kind, Failure::WrongKind);
    EXPECT_EQ(folder.openFolder("file", below).kind, Failure::WrongKind);
    EXPECT_EQ(folder.openFolder("none", below).kind, Failure::NotFound);
    EXPECT_EQ(folder.openFile("none", file).kind, Failure::NotFound);
    ASSERT_TRUE(folder.openFolder("dir", below).ok());
    // An open folder is the same one after it was moved.
    std::filesystem::rename(root / "dir", root / "moved");
    ASSERT_TRUE(below.makeFolder("inner").ok());
    EXPECT_EQ(filesIn(root.path()), (Files{{"file", "x"}, {"moved/", ""}, {"moved/inner/", ""}}));

    std::vector<platform::FolderItem> items;
    std::vector<FileInfo> infos;
    ASSERT_TRUE(folder.list(items, infos).ok());
    ASSERT_EQ(items.size(), 2U);
    ASSERT_EQ(infos.size(), 2U);
    for (std::size_t i = 0; i < items.size(); ++i) {
        const bool isFile = items[i].name == "file";
        EXPECT_EQ(items[i].kind, isFile ? FileInfo::Kind::File : FileInfo::Kind::Folder);
        EXPECT_EQ(infos[i].kind, items[i].kind);
        FileInfo info;
        ASSERT_TRUE(folder.info(items[i].name, info).ok());
        EXPECT_TRUE(sameFile(infos[i], info));
        EXPECT_EQ(infos[i].changed, info.changed);
        EXPECT_EQ(infos[i].modified, info.modified);
        EXPECT_TRUE(!isFile || infos[i].size == info.size);
    }
    EXPECT_EQ(folder.removeFolder("moved").kind, Failure::Exists);
    ASSERT_TRUE(below.removeFolder("inner").ok());
    setDosAttributes(root / "file", platform::kAttributeReadOnly | platform::kAttributeHidden);
    EXPECT_TRUE(folder.removeFile("file").ok());
    EXPECT_FALSE(std::filesystem::exists(root / "file"));
}

TEST_F(Storage, RangesOfAnotherFileAreCopied) {
    std::string bytes;
    bytes.resize(9'000'000);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * i >> 8);
    writeFile(root / "source", bytes);
    InputFile source;
    ASSERT_TRUE(folder.openFile("source", source).ok());
    NewFile file;
    ASSERT_TRUE(file.create(folder).ok());
    ASSERT_TRUE(file.write("head", 4).ok());
    ASSERT_TRUE(file.copyFrom(source, 17, 8'500'000).ok());
    ASSERT_TRUE(file.write("tail", 4).ok());
    EXPECT_EQ(file.copyFrom(source, 8'999'990, 20).kind, Failure::EndsEarly);
    // Space is allocated before a long range is copied, and released again.
    EXPECT_EQ(file.copyFrom(source, 8'999'990, 5'000'000).kind, Failure::EndsEarly);
    EXPECT_EQ(file.copyFrom(source, 0, 100, [] { return false; }).kind, Failure::Cancelled);
    ASSERT_TRUE(file.commit("copy", Replace::No).ok());
    EXPECT_EQ(readFile(root / "copy"), "head" + bytes.substr(17, 8'500'000) + "tail" +
                                           bytes.substr(8'999'990) + bytes.substr(8'999'990));
}

} // namespace
