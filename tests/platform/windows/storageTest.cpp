#include "platform/windows/storage_system.h"
#include "tests/platform/windows/scratchFolder.h"

namespace {

using platform::Failure;
using platform::FileInfo;
using platform::Folder;
using platform::InputFile;
using platform::NewFile;
using Replace = NewFile::Replace;

class WindowsStorage : public ScratchFolder {
  protected:
    WindowsStorage() { EXPECT_TRUE(folder.open(root.string()).ok()); }

    platform::Status commit(const std::string &name, const std::string &bytes, Replace replace,
                            InputFile *replaced = nullptr) const {
        NewFile file;
        if (auto made = file.create(folder); !made.ok()) {
            return made;
        }
        if (auto written = file.write(bytes.data(), bytes.size()); !written.ok()) {
            return written;
        }
        return file.commit(name, replace, replaced);
    }
    void setAttributes(const std::string &name, DWORD attributes) const {
        ASSERT_TRUE(SetFileAttributesA(at(name).c_str(), attributes)) << name;
    }
    // Opens a file as other programs do.
    platform::Handle hold(const std::string &name, DWORD share) const {
        return platform::Handle(
            CreateFileA(at(name).c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr));
    }

    Folder folder;
};

TEST_F(WindowsStorage, ANewFileHasItsNameOnlyOnceItIsWhole) {
    NewFile file;
    ASSERT_TRUE(file.create(folder).ok());
    ASSERT_TRUE(file.write("abcdef", 6).ok());
    EXPECT_FALSE(exists("a.txt"));
    EXPECT_EQ(count(), 1U);
    ASSERT_TRUE(file.truncate(3).ok());
    ASSERT_TRUE(file.setAttributes(platform::attributeHidden | platform::attributeReadOnly).ok());
    ASSERT_TRUE(file.setModified(987'514'662'000'000'000).ok());
    ASSERT_TRUE(file.sync().ok());
    InputFile back;
    ASSERT_TRUE(file.openWritten(back).ok());
    char bytes[8] = {};
    std::size_t got = 0;
    ASSERT_TRUE(back.readAt(1, bytes, sizeof bytes, got).ok());
    EXPECT_EQ(std::string(bytes, got), "bc");
    back.close();
    ASSERT_TRUE(file.commit("a.txt", Replace::No).ok());
    EXPECT_EQ(content("a.txt"), "abc");
    EXPECT_EQ(count(), 1U);

    FileInfo info;
    ASSERT_TRUE(folder.info("A.TXT", info).ok());
    EXPECT_EQ(info.modified, 987'514'662'000'000'000);
    EXPECT_EQ(info.size, 3U);
    EXPECT_TRUE(info.readOnly);
    std::uint8_t attributes = 0;
    ASSERT_TRUE(folder.attributes("a.txt", attributes).ok());
    EXPECT_EQ(attributes, platform::attributeHidden | platform::attributeReadOnly);
}

TEST_F(WindowsStorage, AFileThatWasNeverCommittedLeavesNothing) {
    {
        NewFile file;
        ASSERT_TRUE(file.create(folder).ok());
        ASSERT_TRUE(file.write("abc", 3).ok());
    }
    EXPECT_EQ(count(), 0U);
}

TEST_F(WindowsStorage, ATakenNameIsReplacedOnlyWhereThatIsWanted) {
    put("a.txt", "old");
    put("locked.txt", "old");
    put("Case.TXT", "old");
    std::filesystem::create_directory(root / "dir");
    setAttributes("locked.txt", FILE_ATTRIBUTE_READONLY);
    const struct {
        const char *name;
        Replace replace;
        Failure failure;
    } rows[] = {
        {"a.txt", Replace::No, Failure::Exists},   {"A.TXT", Replace::No, Failure::Exists},
        {"a.txt", Replace::Yes, Failure::None},    {"locked.txt", Replace::Yes, Failure::None},
        {"case.txt", Replace::Yes, Failure::None}, {"dir", Replace::Yes, Failure::WrongKind},
        {"dir", Replace::No, Failure::Exists}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        const auto status = commit(row.name, "new", row.replace);
        EXPECT_EQ(status.kind, row.failure) << status.message;
        EXPECT_EQ(count(), 4U);
    }
    for (const char *name : {"a.txt", "locked.txt", "case.txt"}) {
        EXPECT_EQ(content(name), "new") << name;
    }
}

TEST_F(WindowsStorage, AFileThatTheCallerHoldsAndLocksIsReplaced) {
    put("x.vl2", "old");
    InputFile old;
    ASSERT_TRUE(folder.openFile("x.vl2", old).ok());
    ASSERT_TRUE(old.lock(std::chrono::milliseconds(0)).ok());
    const auto status = commit("x.vl2", "new", Replace::Yes, &old);
    EXPECT_TRUE(status.ok()) << status.message;
    EXPECT_EQ(content("x.vl2"), "new");
    EXPECT_EQ(count(), 1U);
}

TEST_F(WindowsStorage, AFileThatAnotherProgramHoldsStaysWhole) {
    put("x.vl2", "old");
    const platform::Handle game = hold("x.vl2", FILE_SHARE_READ);
    ASSERT_TRUE(game.isOpen());
    const auto status = commit("x.vl2", "new", Replace::Yes);
    EXPECT_TRUE(status.is(Failure::Busy) || status.is(Failure::Denied)) << status.message;
    EXPECT_EQ(content("x.vl2"), "old");
    EXPECT_EQ(count(), 1U);
}

TEST_F(WindowsStorage, ALockKeepsOutOthersUntilItsFileIsClosed) {
    put("x.vl2", "bytes");
    InputFile first;
    InputFile second;
    ASSERT_TRUE(folder.openFile("x.vl2", first).ok());
    ASSERT_TRUE(folder.openFile("X.VL2", second).ok());
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

TEST_F(WindowsStorage, LeftOversGoButNoneThatIsBeingWritten) {
    put(".orvel-0123abcd.part");
    put("user.part");
    NewFile running;
    ASSERT_TRUE(running.create(folder, NewFile::Guard::Locked).ok());
    folder.removeStaleTemporaries();
    EXPECT_FALSE(exists(".orvel-0123abcd.part"));
    EXPECT_EQ(count(), 2U);
    EXPECT_TRUE(running.commit("done", Replace::No).ok());
}

TEST_F(WindowsStorage, NamesThatLeadElsewhereAreRefused) {
    put("file", "x");
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
    EXPECT_EQ(count(), 2U);
    EXPECT_EQ(content("file"), "x");
}

TEST_F(WindowsStorage, KindsAreToldApartAndFoldersStayOpen) {
    put("file", "x");
    ASSERT_TRUE(folder.makeFolder("Dir").ok());
    EXPECT_EQ(folder.makeFolder("dir").kind, Failure::Exists);
    InputFile file;
    Folder below;
    EXPECT_EQ(folder.openFile("dir", file).kind, Failure::WrongKind);
    EXPECT_EQ(folder.openFolder("file", below).kind, Failure::WrongKind);
    EXPECT_EQ(folder.openFolder("none", below).kind, Failure::NotFound);
    EXPECT_EQ(folder.openFile("none", file).kind, Failure::NotFound);
    ASSERT_TRUE(folder.openFolder("DIR", below).ok());
    // What is done in a folder is done in it, wherever it is by now.
    std::filesystem::rename(root / "Dir", root / "moved");
    ASSERT_TRUE(below.makeFolder("inner").ok());
    EXPECT_TRUE(exists("moved/inner"));

    std::vector<platform::FolderItem> items;
    ASSERT_TRUE(folder.list(items).ok());
    ASSERT_EQ(items.size(), 2U);
    for (const auto &item : items) {
        EXPECT_EQ(item.kind, item.name == "file" ? FileInfo::Kind::File : FileInfo::Kind::Folder);
    }
    EXPECT_EQ(folder.removeFolder("moved").kind, Failure::Exists);
    ASSERT_TRUE(below.removeFolder("inner").ok());
    setAttributes("file", FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    EXPECT_TRUE(folder.removeFile("FILE").ok());
    EXPECT_FALSE(exists("file"));
}

TEST_F(WindowsStorage, PathsMayBeLongerThan260CharactersAndNamesMayBeInAnyScript) {
    std::string path = root.string();
    while (path.size() < 600) {
        path += "\\" + std::string(60, 'd');
    }
    ASSERT_TRUE(platform::makeFolders(path).ok());
    Folder deep;
    ASSERT_TRUE(deep.open(path).ok());
    const std::string name = "\xD0\x96\xE6\xBC\xA2.cs"; // in no code page of the system
    NewFile file;
    ASSERT_TRUE(file.create(deep).ok());
    ASSERT_TRUE(file.write("x", 1).ok());
    ASSERT_TRUE(file.commit(name, Replace::No).ok());
    std::vector<platform::FolderItem> items;
    ASSERT_TRUE(deep.list(items).ok());
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0].name, name);
    std::uint64_t bytes = 0;
    EXPECT_TRUE(deep.freeSpace(bytes).ok());
    EXPECT_GT(bytes, 0U);
    InputFile plain;
    ASSERT_TRUE(deep.removeFile(name).ok());
    EXPECT_EQ(plain.open(path + "\\none").kind, Failure::NotFound);
    deep.close();
    for (; path.size() > root.string().size(); path.resize(path.rfind('\\'))) {
        EXPECT_TRUE(RemoveDirectoryW(platform::longPath(path).c_str()));
    }
}

TEST_F(WindowsStorage, RangesOfAnotherFileAreCopied) {
    std::string bytes(2'500'000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * i >> 8U);
    }
    put("source", bytes);
    InputFile source;
    ASSERT_TRUE(folder.openFile("source", source).ok());
    NewFile file;
    ASSERT_TRUE(file.create(folder).ok());
    ASSERT_TRUE(file.copyFrom(source, 17, 2'400'000).ok());
    EXPECT_EQ(file.copyFrom(source, 2'499'990, 20).kind, Failure::EndsEarly);
    EXPECT_EQ(file.copyFrom(source, 0, 100, [] { return false; }).kind, Failure::Cancelled);
    ASSERT_TRUE(file.commit("copy", Replace::No).ok());
    EXPECT_EQ(content("copy"), bytes.substr(17, 2'400'000) + bytes.substr(2'499'990));
}

TEST_F(WindowsStorage, APathIsResolvedToItsFolderAndName) {
    put("Sub/x.vl2");
    std::string where;
    std::string name;
    for (const char *given : {"sub\\X.VL2", "Sub/x.vl2", "Sub\\..\\Sub\\x.vl2", "Sub\\new.vl2"}) {
        SCOPED_TRACE(given);
        ASSERT_TRUE(platform::resolvePath(at(given), where, name).ok());
        EXPECT_TRUE(std::filesystem::equivalent(where, root / "Sub")) << where;
        EXPECT_TRUE(name == "x.vl2" || name == "new.vl2") << name;
    }
    EXPECT_EQ(platform::resolvePath(at("none\\x.vl2"), where, name).kind, Failure::NotFound);
}

} // namespace
