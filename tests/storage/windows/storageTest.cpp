#include "storage/windows/system.h"
#include "tests/storage/storageFixture.h"

#include <thread>

namespace {

class WindowsStorage : public Storage {};

TEST_F(WindowsStorage, NamesAreTheSameInEveryLetterCase) {
    writeFile(root / "Case.TXT", "old");
    EXPECT_EQ(commit("case.txt", "new", Replace::No).kind, Failure::Exists);
    EXPECT_TRUE(commit("CASE.txt", "new", Replace::Yes).ok());
    EXPECT_EQ(namesIn(root.path()).size(), 1U);
    EXPECT_EQ(readFile(root / "case.txt"), "new");
    InputFile file;
    EXPECT_TRUE(folder.openFile("cASE.txt", file).ok());
}

TEST_F(WindowsStorage, AFileThatAnotherProgramHasOpenStaysWhole) {
    writeFile(root / "x.vl2", "old");
    const platform::Handle game(CreateFileW((root / "x.vl2").c_str(), GENERIC_READ, FILE_SHARE_READ,
                                            nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(game.isOpen());
    const auto status = commit("x.vl2", "new", Replace::Yes);
    EXPECT_EQ(status.kind, Failure::Busy) << status.message;
    EXPECT_EQ(filesIn(root.path()), (Files{{"x.vl2", "old"}}));
}

TEST_F(WindowsStorage, ALockedNameIsWaitedForInAnyLetterCase) {
    platform::NameLock second;
    {
        platform::NameLock first;
        platform::NameLock other;
        ASSERT_TRUE(first.take(folder, "x.vl2", std::chrono::milliseconds(0)).ok());
        folder.removeStaleTemporaries();
        EXPECT_EQ(second.take(folder, "X.VL2", std::chrono::milliseconds(30)).kind, Failure::Busy);
        EXPECT_TRUE(other.take(folder, "y.vl2", std::chrono::milliseconds(0)).ok());
    }
    EXPECT_TRUE(second.take(folder, "X.VL2", std::chrono::milliseconds(500)).ok());
    EXPECT_EQ(namesIn(root.path()).size(), 1U);
}

// Another program puts its archive there while a reader of the old one is waited for.
TEST_F(WindowsStorage, AFileReplacedByAnotherProgramIsNotReplacedAgain) {
    writeFile(root / "x.vl2", "old");
    InputFile old;
    ASSERT_TRUE(folder.openFile("x.vl2", old).ok());
    const platform::Handle reader(CreateFileW((root / "x.vl2").c_str(), GENERIC_READ,
                                              FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                              OPEN_EXISTING, 0, nullptr));
    writeFile(root / "theirs", "another's");
    std::thread another([&] {
        Sleep(100);
        std::filesystem::rename(root / "x.vl2", root / "moved");
        std::filesystem::rename(root / "theirs", root / "x.vl2");
    });
    const auto status = commit("x.vl2", "new", Replace::Yes, &old);
    another.join();
    EXPECT_EQ(status.kind, Failure::Exists) << status.message;
    EXPECT_EQ(filesIn(root.path()), (Files{{"moved", "old"}, {"x.vl2", "another's"}}));
}

TEST_F(WindowsStorage, NamesThatLeaveTheFolderAreRefused) {
    writeFile(root / "file", "x");
    std::filesystem::create_directory(root / "dir");
    for (const char *name : {"..", ".", "dir\\x", "dir/x", "file:stream", "C:x", "a?b", "a|b"}) {
        SCOPED_TRACE(name);
        Folder below;
        InputFile file;
        EXPECT_FALSE(folder.makeFolder(name).ok());
        EXPECT_FALSE(folder.openFolder(name, below).ok());
        EXPECT_FALSE(folder.openFile(name, file).ok());
        EXPECT_FALSE(folder.removeFile(name).ok());
        EXPECT_FALSE(commit(name, "x", Replace::Yes).ok());
    }
    EXPECT_EQ(filesIn(root.path()), (Files{{"dir/", ""}, {"file", "x"}}));
}

TEST_F(WindowsStorage, PathsMayBeLongerThan260CharactersAndNamesMayBeInAnyScript) {
    std::string path = root.path().string();
    while (path.size() < 600)
        path += "\\" + std::string(60, 'd');
    ASSERT_TRUE(platform::makeFolders(path).ok());
    folder.close();
    ASSERT_TRUE(folder.open(path).ok());
    const std::string name = "\xD0\x96\xE6\xBC\xA2.cs"; // in no code page of the system
    ASSERT_TRUE(commit(name, "x", Replace::No).ok());
    std::vector<platform::FolderItem> items;
    ASSERT_TRUE(folder.list(items).ok());
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].name, name);
    std::uint64_t bytes = 0;
    EXPECT_TRUE(folder.freeSpace(bytes).ok());
    EXPECT_GT(bytes, 0U);
    ASSERT_TRUE(folder.removeFile(name).ok());
    InputFile plain;
    EXPECT_EQ(plain.open(path + "\\none").kind, Failure::NotFound);
    folder.close();
    for (; path.size() > root.path().string().size(); path.resize(path.rfind('\\')))
        EXPECT_TRUE(RemoveDirectoryW(platform::longPath(path).c_str()));
}

TEST_F(WindowsStorage, APathIsResolvedToItsFolderAndName) {
    writeFile(root / "Sub/x.vl2", "x");
    std::string where;
    std::string name;
    for (const char *given : {"sub\\X.VL2", "Sub/x.vl2", "Sub\\..\\Sub\\x.vl2", "Sub\\new.vl2"}) {
        SCOPED_TRACE(given);
        ASSERT_TRUE(platform::resolvePath((root / given).string(), where, name).ok());
        EXPECT_TRUE(std::filesystem::equivalent(where, root / "Sub")) << where;
        EXPECT_TRUE(name == "x.vl2" || name == "new.vl2") << name;
    }
    EXPECT_EQ(platform::resolvePath((root / "none\\x.vl2").string(), where, name).kind,
              Failure::NotFound);
    // A short name resolves to letters that the code page lacks.
    const std::filesystem::path longNames =
        root.path() / L"J\u0101nis \u65e5" / L"\u65e5\u672c.vl2";
    std::filesystem::create_directory(longNames.parent_path());
    writeFile(longNames, "x");
    wchar_t brief[MAX_PATH];
    ASSERT_NE(GetShortPathNameW(longNames.c_str(), brief, MAX_PATH), 0U);
    ASSERT_TRUE(platform::resolvePath(std::filesystem::path(brief).string(), where, name).ok());
    EXPECT_TRUE(std::filesystem::equivalent(std::u8string(where.begin(), where.end()),
                                            longNames.parent_path()))
        << where;
    EXPECT_EQ(name, "\u65e5\u672c.vl2");
}

} // namespace
