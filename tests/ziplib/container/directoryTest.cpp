#include "ziplib/container/directory.h"
#include "ziplib/container/local.h"

#include <gtest/gtest.h>

#include <cstdlib>

using ziplib::Directory;

namespace {

std::string dataFile(const std::string &name) {
    const char *folder = std::getenv("ORVEL_TEST_DATA");
    return std::string(folder != nullptr ? folder : "tests/data") + "/" + name + ".vl2";
}

void open(const std::string &name, platform::InputFile &file, Directory &directory) {
    ASSERT_TRUE(file.open(dataFile(name)).ok());
    ASSERT_TRUE(directory.read(file).ok());
}

} // namespace

TEST(Directories, KeepTheRecordsAsTheyAreStored) {
    platform::InputFile file;
    Directory directory;
    open("archives/backslashes", file, directory);
    ASSERT_EQ(directory.entries().size(), 3U);
    std::uint64_t total = 0;
    for (const ziplib::Entry &entry : directory.entries()) {
        const std::string_view record = directory.record(entry);
        std::string stored(record.size(), '\0');
        std::size_t got = 0;
        ASSERT_TRUE(
            file.readAt(directory.start() + entry.record, stored.data(), stored.size(), got).ok());
        EXPECT_EQ(record, stored);
        total += record.size();
    }
    EXPECT_EQ(total, directory.size());
    EXPECT_EQ(directory.rawName(directory.entries()[0]), "maps\\base\\a.png");
    EXPECT_EQ(directory.path(directory.entries()[0]), "maps/base/a.png");
    EXPECT_TRUE(directory.isFolder(directory.entries()[2]));
}

TEST(Directories, FindTheArchiveBehindOtherData) {
    const std::pair<const char *, std::uint64_t> rows[] = {
        {"archives/front-shifted", 300}, {"archives/front-counted", 0}, {"archives/gaps", 0}};
    for (const auto &[name, base] : rows) {
        SCOPED_TRACE(name);
        platform::InputFile file;
        Directory directory;
        open(name, file, directory);
        EXPECT_EQ(directory.base(), base);
        for (const ziplib::Entry &entry : directory.entries()) {
            std::uint64_t offset = 0;
            EXPECT_TRUE(ziplib::locateData(file, directory, entry, offset).ok());
            EXPECT_GT(offset, entry.localOffset);
        }
    }
}

TEST(Directories, TellTheCommentAndWhatIsBehind) {
    platform::InputFile file;
    Directory directory;
    open("archives/comment-65535", file, directory);
    EXPECT_EQ(directory.archiveComment(), std::string(65535, 'c'));
    open("hostile/bytes-behind", file, directory);
    EXPECT_EQ(directory.trailing(), 33U);
    EXPECT_TRUE(directory.damage().ok());
    open("hostile/comment-cut", file, directory);
    EXPECT_TRUE(directory.damage().is(platform::Failure::EndsEarly));
}

TEST(ExtentsOfEntries, TellOverlapsFromGaps) {
    const struct {
        const char *name;
        std::vector<bool> overlaps;
    } rows[] = {{"archives/gaps", {false, false, false}},
                {"archives/odd-order", {false, false, false}},
                {"hostile/overlap-quoted", {true, true, false}},
                {"hostile/overlap-same-data", {true, true, false}},
                {"hostile/overlap-directory", {false, true}},
                {"hostile/local-missing", {false, false}}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.name);
        platform::InputFile file;
        Directory directory;
        open(row.name, file, directory);
        const ziplib::Extents extents(file, directory);
        for (std::size_t i = 0; i < row.overlaps.size(); ++i) {
            EXPECT_EQ(extents.overlaps(i), row.overlaps[i]) << i;
        }
    }
}
