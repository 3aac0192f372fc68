#include "platform/files.h"
#include "tests/platform/cleanerFixture.h"

#include <functional>
#include <string>

namespace fs = std::filesystem;

namespace {

class WorkFolderCleanerTest : public CleanerFixture {};

TEST_F(WorkFolderCleanerTest, ListedFilesAreDeletedInEverySpelling) {
    const std::pair<const char *, const char *> rows[] = {
        {"\\readme.txt", "readme.txt"},
        {"textures/deep\\a.png", "textures/deep/a.png"},
        {"scripts\\MAIN.cs", "Scripts/main.CS"},
        {"scripts\\\\double.cs", "Scripts/double.cs"},
        {"scripts\\blank.cs ", "Scripts/blank.cs"},
    };
    for (const auto &[listed, stored] : rows)
        makeFile(QByteArray("temp/Classic/") + stored);
    setDos("temp/Classic/readme.txt", platform::kAttributeReadOnly | platform::kAttributeHidden);
    platform::WorkFolderCleaner cleaner(work());
    for (const auto &[listed, stored] : rows) {
        EXPECT_TRUE(cleaner.deleteFile(listed)) << listed;
        EXPECT_FALSE(exists(QByteArray("temp/Classic/") + stored)) << stored;
    }
}

TEST_F(WorkFolderCleanerTest, NoNameLeavesTheWorkFolder) {
    const QString outside = makeFile("temp/neighbour.txt");
    makeFile("temp/Classic/sub/x.txt");
    platform::WorkFolderCleaner cleaner(work());
    for (const QString &name :
         {QString("..\\neighbour.txt"), QString("sub\\..\\..\\neighbour.txt"), QString(".."),
          outside, "Z:" + outside, QString(""), QString("sub"), QString("sub\\"), QString("x.txt"),
          QString("sub\\x.txt:stream"), QString("sub\\x.txt") + QChar(0)}) {
        EXPECT_FALSE(cleaner.clearAttributes(name)) << name.toStdString();
        EXPECT_FALSE(cleaner.deleteFile(name)) << name.toStdString();
    }
    EXPECT_FALSE(cleaner.deleteFilesIn(".."));
    EXPECT_FALSE(cleaner.removeFolder(".."));
    EXPECT_TRUE(exists("temp/neighbour.txt"));
    EXPECT_TRUE(exists("temp/Classic/sub/x.txt"));
}

TEST_F(WorkFolderCleanerTest, AFolderIsEmptiedOfFilesAndRemovedWhenNothingIsLeft) {
    for (const char *name : {"a.txt", "Sub/b.txt", "Sub/hidden.txt", "Sub/Deep/c.txt"})
        makeFile(QByteArray("temp/Classic/") + name);
    setDos("temp/Classic/a.txt", platform::kAttributeReadOnly);

    platform::WorkFolderCleaner cleaner(work());
    EXPECT_TRUE(cleaner.deleteFilesIn({}));
    for (const int kept :
         std::initializer_list<int>{platform::kAttributeSystem, platform::kAttributeHidden,
                                    platform::kAttributeHidden | platform::kAttributeSystem |
                                        platform::kAttributeReadOnly}) {
        setDos("temp/Classic/Sub/hidden.txt", kept);
        EXPECT_FALSE(cleaner.deleteFilesIn("sub")) << "it stays with " << kept;
    }
    EXPECT_FALSE(cleaner.removeFolder("sub"));
    EXPECT_TRUE(cleaner.deleteFilesIn("Sub\\Deep"));
    EXPECT_TRUE(cleaner.removeFolder("sub\\deep"));
    EXPECT_FALSE(cleaner.removeFolder({}));
    for (const char *name : {"sub\\HIDDEN.txt", "Sub\\hidden.txt"}) {
        EXPECT_TRUE(cleaner.clearAttributes(name)) << "also one that has none";
        EXPECT_EQ(dosOf(at("temp/Classic/Sub/hidden.txt")), platform::kAttributeNormal);
    }
    EXPECT_TRUE(cleaner.deleteFilesIn("Sub"));
    EXPECT_TRUE(cleaner.removeFolder("Sub"));
    EXPECT_TRUE(cleaner.removeFolder({}));
    EXPECT_EQ(namesIn("temp"), QStringList());
    EXPECT_FALSE(cleaner.deleteFile("a.txt") || cleaner.removeFolder({})) << "they are gone";
}

constexpr std::int64_t kHour = 3'600'000'000'000;

// A save reads "content" in sub/a.png and sub/b.png; then something happens before the clean-up.
TEST_F(WorkFolderCleanerTest, AfterASaveOnlyPackedFilesAreDeleted) {
    const QString path = "sub\\a.png";
    const auto file = [&](const char *name) { return fs::path(bytesAt(name).toStdString()); };
    const fs::path a = file("temp/Classic/sub/a.png");
    const fs::path sub = file("temp/Classic/sub");
    const struct {
        const char *what;
        std::function<void()> happens;
        bool deleted;
    } rows[] = {
        {"nothing", [] {}, true},
        {"an edit", [&] { writeFile(a, "edit"); }, false},
        {"one of the same size that puts the time back",
         [&] {
             const auto time = fs::last_write_time(a);
             writeFile(a, "CONTENT");
             fs::last_write_time(a, time);
         },
         false},
        {"the same bytes once more", [&] { writeFile(a, "content"); }, true},
        {"an older file in its place",
         [&] {
             writeFile(file("old"), "CONTENT");
             fs::last_write_time(file("old"), {});
             fs::rename(file("old"), a);
         },
         false},
        {"the folder away, another in its place",
         [&] {
             fs::rename(sub, file("away"));
             writeFile(a, "another");
         },
         false},
    };
    for (const auto &row : rows) {
        // The disk's clock before the save: known, not known, and set back by an hour since.
        for (const std::int64_t ahead : {std::int64_t{0}, INT64_MIN, kHour}) {
            SCOPED_TRACE(std::string(row.what) + ", " + std::to_string(ahead));
            platform::PackedFiles packed;
            for (const fs::path &gone : {sub, file("away")})
                fs::remove_all(gone);
            for (const char *name : {"a.png", "b.png"}) {
                writeFile(sub / name, "content");
                setFileTime(sub / name, 2'100'000'000); // dates in the future make no difference
            }
            platform::Folder folder;
            platform::FileInfo now;
            ASSERT_TRUE(folder.open(sub.string()).ok() && folder.newFileInfo(now).ok());
            folder.close();
            for (const char *name : {"a.png", "b.png"})
                packed.add(QString("sub/") + name, stateOf("temp/Classic/sub", name), kContentCrc,
                           ahead == INT64_MIN ? ahead : now.changed + ahead);
            row.happens();
            platform::WorkFolderCleaner cleaner(work());
            cleaner.deleteOnly(packed);
            EXPECT_EQ(cleaner.deleteFile(path), row.deleted);
            EXPECT_EQ(exists("temp/Classic/sub/a.png"), !row.deleted);
            EXPECT_EQ(cleaner.deleteFilesIn("SUB"), row.deleted);
            EXPECT_FALSE(exists("temp/Classic/sub/b.png"));
        }
    }
    writeFile(sub / "new.png", "content");
    platform::WorkFolderCleaner cleaner(work());
    const platform::PackedFiles none;
    cleaner.deleteOnly(none);
    EXPECT_FALSE(cleaner.deleteFile("sub\\new.png"));
    EXPECT_FALSE(cleaner.deleteFilesIn("sub"));
}

// An edit in the same tick of the disk's clock as the read leaves the times equal.
TEST_F(WorkFolderCleanerTest, BytesAreComparedIfTimesDoNotTell) {
    makeFile("temp/Classic/a.cs", "EDITED!"); // as long as "content"
    platform::FileInfo seen = stateOf("temp/Classic", "a.cs");
    platform::Folder folder;
    ASSERT_TRUE(folder.open(bytesAt("temp/Classic").toStdString()).ok());
    platform::FileInfo first;
    ASSERT_TRUE(folder.newFileInfo(first).ok());
    if (first.changed == INT64_MIN)
        GTEST_SKIP() << "refused by this machine: a disk with the time of the last change";
    // Not known, in the same tick, set back since, and later.
    for (const std::int64_t began :
         {INT64_MIN, seen.changed, seen.changed + kHour, seen.changed + 1}) {
        SCOPED_TRACE(began);
        platform::FileInfo now;
        do { // the clock moves on
            ASSERT_TRUE(folder.newFileInfo(now).ok());
        } while (now.changed <= seen.changed);
        platform::PackedFiles packed;
        packed.add(u"a.cs", seen, kContentCrc, began);
        platform::WorkFolderCleaner cleaner(work());
        cleaner.deleteOnly(packed);
        EXPECT_EQ(cleaner.deleteFile("A.cs"), began == seen.changed + 1);
    }
    // The archive holds one with this CRC-32 that is 4 GiB larger.
    platform::PackedFiles larger;
    platform::FileInfo large = seen;
    large.size += std::uint64_t{1} << 32U;
    larger.add(u"a.cs", large, kContentCrc, INT64_MIN);
    makeFile("temp/Classic/a.cs", "content");
    platform::WorkFolderCleaner keeper(work());
    keeper.deleteOnly(larger);
    EXPECT_FALSE(keeper.deleteFile("a.cs"));
    // Extracted files are recognised by their entry's CRC-32 alone.
    makeFile("temp/Classic/own.cs", "saved by an editor since");
    makeFile("temp/Classic/extracted.cs", "content");
    platform::PackedFiles entries;
    seen.size = platform::PackedFiles::kAnySize;
    for (const QString name : {"own.cs", "extracted.cs"})
        entries.add(name, seen, kContentCrc, INT64_MIN);
    platform::WorkFolderCleaner cleaner(work());
    cleaner.deleteOnly(entries);
    EXPECT_FALSE(cleaner.deleteFile("own.cs"));
    EXPECT_TRUE(cleaner.deleteFile("extracted.cs"));
}

// Files of several folders are deleted at once, while an editor writes one in each.
TEST_F(WorkFolderCleanerTest, ManyFilesAreDeletedAtOnceAndEditsAreKept) {
    constexpr int kFiles = 1'200;
    constexpr int kInFolder = 150;
    const auto nameOf = [](int i) { return QString("sub%1/%2.cs").arg(i / kInFolder).arg(i); };
    const auto pathOfFile = [&](int i) {
        return fs::path(bytesAt("temp/Classic/" + nameOf(i).toUtf8()).toStdString());
    };
    const auto isEdited = [](int i) { return i % kInFolder == 90; };
    platform::PackedFiles packed;
    QStringList edited;
    for (int i = 0; i < kFiles; ++i) {
        makeFile("temp/Classic/" + nameOf(i).toUtf8());
        const QByteArray folder = "temp/Classic/sub" + QByteArray::number(i / kInFolder);
        packed.add(nameOf(i), stateOf(folder, (std::to_string(i) + ".cs").c_str()), kContentCrc,
                   INT64_MIN);
        if (isEdited(i))
            edited.append(nameOf(i));
    }
    platform::WorkFolderCleaner cleaner(work());
    cleaner.deleteOnly(packed);
    int next = 0;
    cleaner.deleteFiles(
        kFiles,
        [&](int i) {
            if (isEdited(i))
                writeFile(pathOfFile(i), "EDITED!");
            return nameOf(i);
        },
        [&](int i, bool deleted) {
            EXPECT_EQ(i, next++);
            EXPECT_EQ(deleted, !isEdited(i)) << i;
        });
    EXPECT_EQ(next, kFiles);
    EXPECT_EQ(cleaner.kept(), edited);
    for (int i = 0; i < kFiles; ++i)
        EXPECT_EQ(fs::exists(pathOfFile(i)), isEdited(i)) << i;
}

} // namespace
