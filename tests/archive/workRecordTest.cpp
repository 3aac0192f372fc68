#include "archive/workRecord.h"

#include "archive/recordIndex.h"
#include "tests/support/disk.h"
#include "tests/support/qtFiles.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

constexpr std::int64_t kBegan = 2'000'000'000'000'000'000;

class WorkRecordTest : public testing::Test {
  protected:
    QString folders() const { return QString::fromStdString(folder.path().generic_string()); }
    std::filesystem::path file() const {
        return folder / WorkRecord::fileName("Base").toStdString();
    }

    static WorkRecord::Entry entry(const std::string &path, int number) {
        WorkRecord::Entry made;
        made.path = path;
        made.size = 1000 + static_cast<std::uint64_t>(number);
        made.crc = 0xDEADBEEF ^ static_cast<std::uint32_t>(number);
        made.dosTime = 0x5A21'6C20;
        made.written = number % 7 != 3;
        made.edited = made.written && number % 5 == 1;
        platform::FileInfo file;
        file.kind = platform::FileInfo::Kind::File;
        file.size = made.size;
        file.modified = kBegan - 9'000'000'000;
        file.changed = kBegan - 5'000'000 + number;
        file.device = 0xFD02;
        file.id = 1'000'000U + made.size;
        if (made.written)
            made.file = file;
        return made;
    }

    static std::string pathOf(int number) {
        return "textures/skins/base " + std::to_string(number) + ".png";
    }

    // A record of `count` entries, with every kind of number.
    static WorkRecord record(int count) {
        platform::FileInfo began;
        began.device = 0xFD02;
        began.changed = kBegan;
        WorkRecord made(
            {"/game/base/b\u00E4se.vl2",
             {platform::FileInfo::Kind::File, false, false, 77, -1, INT64_MAX, UINT64_MAX, 5},
             {},
             6,
             -7},
            began);
        for (int i = 0; i < count; ++i)
            made.put(entry(pathOf(i), i));
        return made;
    }

    TestFolder folder;
};

TEST_F(WorkRecordTest, is_read_as_it_was_written_and_needs_at_most_100_bytes_an_entry) {
    const WorkRecord written = record(100'000);
    ASSERT_TRUE(written.write(folders(), "Base").ok());
    EXPECT_LE(std::filesystem::file_size(file()), 100'000U * 100);
    EXPECT_EQ(namesIn(folder.path()), std::vector<std::string>{file().filename().string()});
    const auto read = WorkRecord::read(folders(), "Base");
    ASSERT_TRUE(read && read->entries().size() == written.entries().size());
    RecordIndex index(read->entries());
    for (const WorkRecord::Entry &was : written.entries()) {
        const WorkRecord::Entry *is = index.find(was.path);
        ASSERT_NE(is, nullptr) << was.path;
        ASSERT_TRUE(is->sameBytes(was) && is->dosTime == was.dosTime &&
                    is->written == was.written && is->edited == was.edited &&
                    is->timesTell == was.timesTell && is->timesTell == was.written &&
                    is->file.size == was.file.size && is->file.modified == was.file.modified &&
                    is->file.changed == was.file.changed && sameFile(is->file, was.file))
            << was.path;
    }
    EXPECT_EQ(index.find("textures/skins/base 7.PNG"), nullptr);
    for (int number = 99'999; number > 0; number -= 7919) {
        const WorkRecord::Entry *is = index.find(pathOf(number));
        ASSERT_TRUE(is != nullptr && is->size == entry("", number).size) << number;
    }
    const auto archive = WorkRecord::readArchive(folders(), "Base");
    ASSERT_TRUE(archive && archive->isSame(written.archive()));
    EXPECT_EQ(archive->seen.changed, INT64_MAX);
    EXPECT_EQ(archive->seen.id, 5U);
    EXPECT_EQ(archive->born, 6);
    EXPECT_EQ(archive->folderBorn, -7);
    EXPECT_FALSE(archive->isSame({"/game/base/other.vl2", archive->seen}));
    WorkRecord::remove(folders(), "Base");
    EXPECT_FALSE(WorkRecord::exists(folders(), "Base"));
    EXPECT_TRUE(namesIn(folder.path()).empty());
}

TEST_F(WorkRecordTest, keeps_the_last_entry_of_a_path_in_the_place_of_the_first) {
    WorkRecord made = record(5);
    for (const int number : {1, 3, 1})
        made.put(entry(pathOf(number), number + 100));
    made.put(entry("new", 7));
    made.put(entry(pathOf(1), 201));
    ASSERT_TRUE(made.write(folders(), "Base").ok());
    made.put(entry("new", 8)); // after the others were merged
    const auto read = WorkRecord::read(folders(), "Base");
    ASSERT_TRUE(read);
    const auto textOf = [](const WorkRecord &record) {
        std::string text;
        for (const WorkRecord::Entry &entry : record.entries())
            text += entry.path.substr(entry.path.rfind(' ') + 1) + "=" +
                    std::to_string(entry.size - 1000) + (entry.written ? "w" : "") + ' ';
        return text;
    };
    EXPECT_EQ(textOf(*read), "0.png=0w 1.png=201w 2.png=2w 3.png=103w 4.png=4w new=7w ");
    EXPECT_EQ(textOf(made), "0.png=0w 1.png=201w 2.png=2w 3.png=103w 4.png=4w new=8w ");
    const WorkRecord::Entry later = entry(pathOf(2), 302);
    made.replace([&](const std::string &path) { return path == later.path ? &later : nullptr; });
    EXPECT_EQ(textOf(made), "0.png=0w 1.png=201w 2.png=302w 3.png=103w 4.png=4w new=8w ");
}

TEST_F(WorkRecordTest, of_version_2_is_read_and_tells_what_a_save_has_put_into_it) {
    std::filesystem::copy_file(dataFile("records/version2.record"), file());
    const auto read = WorkRecord::read(folders(), "Base");
    ASSERT_TRUE(read && read->entries().size() == 5);
    EXPECT_TRUE(read->archive().path.endsWith("/base/job.vl2"));
    for (const WorkRecord::Entry &entry : read->entries())
        EXPECT_TRUE(entry.written && entry.edited == (entry.path == "b.cs")) << entry.path;
    EXPECT_FALSE(WorkRecord::isNewer(folders(), "Base"));
}

TEST_F(WorkRecordTest, trusts_times_only_if_a_later_change_gets_others) {
    struct Row {
        const char *what;
        std::int64_t modified, changed;
        std::uint64_t device;
        bool trusted;
    };
    constexpr std::int64_t kBefore = kBegan - 1'000'000;
    for (const Row &row : {Row{"as extracted", 0, kBefore, 0xFD02, true},
                           Row{"in the clock's last step", 0, kBegan, 0xFD02, false},
                           Row{"without times of its own", kBefore, kBefore, 0xFD02, false},
                           Row{"from the future", kBegan + 1, kBefore, 0xFD02, false},
                           Row{"on another disk", 0, kBefore, 1, false}}) {
        WorkRecord made = record(0);
        WorkRecord::Entry known = entry("a", 0);
        known.file.modified = row.modified;
        known.file.changed = row.changed;
        known.file.device = row.device;
        made.put(known);
        const WorkRecord::Entry put = *made.entries().begin();
        EXPECT_EQ(put.timesTell, row.trusted) << row.what;
        EXPECT_EQ(put.provesContent(kBefore - 1), row.trusted) << row.what;
        EXPECT_FALSE(put.provesContent(kBefore)) << "of an earlier run of the system";
        // Without trust, the content decides.
        const auto fails = [] { return nullptr; };
        EXPECT_EQ(made.knownFiles(nullptr).hold(u"a", known.file, true, fails), row.trusted)
            << row.what;
    }
}

TEST_F(WorkRecordTest, proves_only_the_content_of_a_file_that_the_extraction_saw_whole) {
    WorkRecord made = record(0);
    WorkRecord::Entry whole = entry("whole", 0);
    WorkRecord::Entry other = entry("other size", 0);
    WorkRecord::Entry later = entry("seen later", 0);
    --other.file.size;
    later.seenLater = true;
    for (const WorkRecord::Entry &entry : {whole, other, later})
        made.put(entry);
    ASSERT_TRUE(made.write(folders(), "Base").ok());
    const auto read = WorkRecord::read(folders(), "Base");
    ASSERT_TRUE(read);
    for (const WorkRecord::Entry &entry : read->entries())
        EXPECT_TRUE(entry.timesTell && entry.provesContent(0) == (entry.path == "whole"))
            << entry.path;
}

TEST_F(WorkRecordTest, finds_its_archive_again_only_by_the_file_or_its_folder) {
    struct Row {
        const char *what;
        bool keepsFile, keepsFolder;
        const char *name, *left; // "" for nothing
        bool same;
        std::uint64_t size = 0; // of the file
        std::int64_t born = 0, folderBorn = 9;
    };
    for (const Row &row :
         {Row{"moved", true, false, "base.vl2", "", true},
          Row{"moved with its folder and replaced", false, true, "base.vl2", "", true},
          Row{"another game's", false, false, "base.vl2", "", false},
          Row{"another game's, with the number of the deleted one", true, false, "base.vl2", "",
              false, 1},
          Row{"changed in place, and moved", true, false, "base.vl2", "", true, 1, 8},
          Row{"another game's of the same size", true, false, "base.vl2", "", false, 0, 7},
          Row{"another game's folder, with its number", false, true, "base.vl2", "", false, 0, 8,
              7},
          Row{"renamed in case", true, true, "BASE.VL2", "", true},
          Row{"one of two, the other one is away", false, true, "BASE.VL2", "",
              platform::namesIgnoreCase()},
          Row{"another name", true, true, "other.vl2", "", false},
          Row{"one of two", true, true, "BASE.vl2", "base.vl2", false}}) {
        const auto fileOf = [](std::uint64_t id) {
            platform::FileInfo info;
            info.device = 7;
            info.id = id;
            return info;
        };
        const QString there = folders() + "/game/";
        std::filesystem::create_directories(folder / "game");
        if (*row.left != '\0')
            writeFile(folder / "game" / row.left, "");
        const WorkRecord::Archive known{there + "base.vl2", fileOf(1), fileOf(2), 8, 9};
        WorkRecord::Archive other{folders() + "/elsewhere/" + row.name,
                                  fileOf(row.keepsFile ? 1 : 3), fileOf(row.keepsFolder ? 2 : 4)};
        other.seen.size = row.size;
        other.born = row.born;
        other.folderBorn = row.folderBorn;
        EXPECT_EQ(known.isSame(other), row.same) << row.what;
    }
    // On a disk that two systems share.
    const WorkRecord::Archive mounted{"/mnt/d/Games/T2/GameData/base/x.vl2", {}};
    for (const auto &[drive, same] :
         {std::pair("D:\\games\\T2\\gamedata\\base\\X.vl2", true),
          std::pair("E:\\GameData\\base\\x.vl2", true), std::pair("E:\\base\\x.vl2", false),
          std::pair("E:\\x.vl2", false),
          std::pair("D:\\Backup\\T2\\GameData\\base\\x.vl2", false)}) {
        EXPECT_EQ(mounted.isSame({drive, {}}), same) << drive;
        EXPECT_EQ((WorkRecord::Archive{drive, {}}.isSame(mounted)), same) << drive;
    }
}

TEST_F(WorkRecordTest, counts_as_none_if_it_is_not_whole) {
    ASSERT_TRUE(record(8).write(folders(), "Base").ok());
    const std::string whole = readFile(file());
    const std::size_t head = whole.find("textures") - 3; // three numbers precede a path
    for (std::size_t cut = 0; cut < whole.size(); ++cut) {
        writeFile(file(), whole.substr(0, cut));
        ASSERT_FALSE(WorkRecord::read(folders(), "Base")) << "cut off at " << cut;
        ASSERT_TRUE(WorkRecord::exists(folders(), "Base"));
        ASSERT_TRUE(cut < head || WorkRecord::readArchive(folders(), "Base")) << "at " << cut;
        std::string flipped = whole;
        flipped[cut] = static_cast<char>(flipped[cut] ^ 1);
        writeFile(file(), flipped);
        ASSERT_FALSE(WorkRecord::read(folders(), "Base")) << "flipped at " << cut;
        const auto archive = WorkRecord::readArchive(folders(), "Base");
        ASSERT_TRUE(archive && archive->isSame(record(0).archive())) << "flipped at " << cut;
    }
    // One of a newer version is not lost.
    std::string newer = whole;
    newer[7] = '\x7F';
    writeFile(file(), newer);
    EXPECT_FALSE(WorkRecord::read(folders(), "Base"));
    // Also if its name leaves no room for a longer one.
    for (const QString &name : {QStringLiteral("Base"), QString(240, 'n')}) {
        std::filesystem::rename(file(), folder / WorkRecord::fileName(name).toStdString());
        for (int time = 0; time < 2; ++time)
            EXPECT_TRUE(record(20).write(folders(), name).ok());
        const auto names = namesIn(folder.path());
        EXPECT_EQ(names.size(), 2U);
        EXPECT_EQ(std::count_if(names.begin(), names.end(),
                                [&](const auto &kept) { return readFile(folder / kept) == newer; }),
                  1);
        WorkRecord::remove(folders(), name);
        EXPECT_TRUE(namesIn(folder.path()).empty());
        writeFile(file(), newer);
    }
    writeFile(file(), whole + '\0');
    EXPECT_FALSE(WorkRecord::read(folders(), "Base"));
    std::filesystem::remove(file());
    EXPECT_FALSE(WorkRecord::read(folders(), "Base")) << "missing";
    std::filesystem::create_directory(file());
    EXPECT_FALSE(WorkRecord::read(folders(), "Base")) << "a folder";
    EXPECT_FALSE(record(20).write(folders(), "Base").ok());
    std::filesystem::remove(file());
    writeFile(folder / "elsewhere", whole);
    EXPECT_FALSE(makeLink(folder / "elsewhere", file()) && WorkRecord::read(folders(), "Base"))
        << "a link";
    EXPECT_FALSE(WorkRecord::read(folders() + "/none", "Base"));
    EXPECT_FALSE(record(20).write(folders() + "/none", "Base").ok());
}

} // namespace
