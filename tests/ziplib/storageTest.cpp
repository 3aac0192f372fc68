#include "platform/storage.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;
using platform::Failure;
using platform::FileInfo;
using platform::Folder;
using platform::InputFile;
using platform::NewFile;

namespace {

class Storage : public testing::Test {
  protected:
    void SetUp() override {
        std::string pattern = fs::temp_directory_path() / "orvel-test-XXXXXX";
        root = mkdtemp(pattern.data());
        ASSERT_TRUE(folder.open(root.string()).ok());
    }
    void TearDown() override { fs::remove_all(root); }

    void put(const std::string &name, const std::string &content) const {
        std::ofstream(root / name, std::ios::binary) << content;
    }
    std::string content(const std::string &name) const {
        std::ifstream stream(root / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    std::size_t count() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(root), fs::directory_iterator()));
    }

    fs::path root;
    Folder folder;
};

} // namespace

TEST_F(Storage, ANewFileHasItsNameOnlyOnceItIsWhole) {
    NewFile file;
    ASSERT_TRUE(file.create(folder).ok());
    ASSERT_TRUE(file.write("abc", 3).ok());
    EXPECT_FALSE(fs::exists(root / "a.txt"));
    for (const auto &item : fs::directory_iterator(root)) {
        EXPECT_TRUE(platform::isTemporaryName(item.path().filename().string())) << item.path();
    }
    ASSERT_TRUE(file.setModified(-1'500'000'000).ok());
    ASSERT_TRUE(file.commit("a.txt", NewFile::Replace::No).ok());
    EXPECT_EQ(content("a.txt"), "abc");
    FileInfo info;
    ASSERT_TRUE(folder.info("a.txt", info).ok());
    EXPECT_EQ(info.modified, -1'500'000'000);
    EXPECT_EQ(count(), 1U);
}

TEST_F(Storage, ATakenNameIsReplacedOnlyWhereThatIsWanted) {
    put("a.txt", "old");
    fs::create_directory(root / "dir");
    put("target", "untouched");
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
        EXPECT_EQ(count(), 4U);
    }
    EXPECT_EQ(content("a.txt"), "new");
    EXPECT_EQ(content("target"), "untouched");
    EXPECT_FALSE(fs::is_symlink(root / "link"));
}

TEST_F(Storage, RangesOfAnotherFileAreCopied) {
    std::string bytes(9'000'000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * i >> 8);
    }
    put("source", bytes);
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
    EXPECT_EQ(content("copy"), "head" + bytes.substr(17, 8'500'000) + "tail" +
                                   bytes.substr(8'999'990) + bytes.substr(8'999'990));
}

TEST_F(Storage, OnlyOrdinaryFilesAndRealFoldersAreOpened) {
    put("file", "x");
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

TEST_F(Storage, AttributesButForArchiveComeBackAsTheyWereSet) {
    for (const int attributes : {0, 1, 2, 6, 7, 0x22, 0x27}) {
        SCOPED_TRACE(attributes);
        NewFile file;
        ASSERT_TRUE(file.create(folder).ok());
        if (!file.setAttributes(static_cast<std::uint8_t>(attributes)).ok()) {
            GTEST_SKIP() << "no extended attributes here";
        }
        ASSERT_TRUE(file.commit("a", NewFile::Replace::Yes).ok());
        std::uint8_t found = 0;
        ASSERT_TRUE(folder.attributes("a", found).ok());
        EXPECT_EQ(found, attributes & ~platform::attributeArchive);
    }
}

TEST_F(Storage, PathsAreResolvedThroughLinks) {
    fs::create_directories(root / "real" / "deep");
    put("real/deep/a.vl2", "x");
    fs::create_symlink("real/deep/a.vl2", root / "one");
    fs::create_symlink(root / "one", root / "two");
    fs::create_symlink("loop", root / "loop");
    std::string where;
    std::string name;
    ASSERT_TRUE(platform::resolvePath((root / "two").string(), where, name).ok());
    EXPECT_EQ(where, fs::canonical(root / "real" / "deep").string());
    EXPECT_EQ(name, "a.vl2");
    ASSERT_TRUE(platform::resolvePath((root / "new.vl2").string(), where, name).ok());
    EXPECT_EQ(name, "new.vl2");
    EXPECT_FALSE(platform::resolvePath((root / "no" / "x").string(), where, name).ok());
    EXPECT_EQ(platform::resolvePath((root / "loop").string(), where, name).kind,
              Failure::WrongKind);
}
