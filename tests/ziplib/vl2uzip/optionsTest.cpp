#include "storage/storage.h"
#include "tests/support/disk.h"
#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <filesystem>

using Files = std::map<std::string, std::string>;
using Paths = std::vector<std::string>;

namespace {

const char *const sample = "archives/python-zipfile";
const char *const duplicates = "archives/duplicates"; // a.txt "new", b.txt "b"

constexpr std::int32_t kNo = 100;
constexpr std::int32_t kYes = 102;
constexpr std::int32_t kAll = 103;
constexpr std::int32_t kNone = 104;

} // namespace

TEST(Names, ChooseEntriesThemselvesOrByWildcard) {
    const struct {
        Paths wanted;
        Paths unwanted;
        bool ignoreCase;
        std::int32_t code;
        Paths processed;
    } rows[] = {
        {{"readme.txt"}, {}, false, 0, {"readme.txt"}},
        {{"README.TXT"}, {}, false, 11, {}},
        {{"README.TXT"}, {}, true, 0, {"readme.txt"}},
        {{"*.png", "*.mis"}, {}, false, 0, {"maps/base/a.png", "maps/base/b.mis"}},
        {{"maps/*"}, {"*.mis"}, false, 0, {"maps/", "maps/base/", "maps/base/a.png"}},
        {{"MAPS\\BASE\\?.PNG"}, {}, true, 0, {"maps/base/a.png"}},
        {{"readme.txt", "missing.txt"}, {}, false, 1, {"readme.txt"}},
        {{"missing.txt"}, {}, false, 11, {}},
        {{}, {"*/*"}, false, 0, {"readme.txt"}},
        {{""}, {}, false, 11, {}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.wanted.empty() ? "all" : row.wanted.front());
        const TestFolder folder;
        UnzipCall call;
        call.wanted = row.wanted;
        call.unwanted = row.unwanted;
        call.options.C_flag = row.ignoreCase ? 1 : 0;
        EXPECT_EQ(call.extract(sample, folder.path()), row.code);
        EXPECT_EQ(call.processed, row.processed);
    }
}

TEST(Names, ArePatternsOnlyIfNoEntryHasThem) {
    // In the narrow code page, which may have "?" in place of these letters.
    const std::string cyrillic = platform::narrowFromUtf8("Юя.txt");
    const std::pair<std::string, Paths> rows[] = {{"a?.txt", {"a?.txt"}},
                                                  {"?b.txt", {"ab.txt"}},
                                                  {"a?.tx?", {"a?.txt", "ab.txt"}},
                                                  {cyrillic, {cyrillic}},
                                                  {"*", {"a?.txt", "ab.txt", cyrillic}}};
    for (const auto &[name, entries] : rows) {
        UnzipCall call;
        call.wanted = {name};
        EXPECT_EQ(call.list("archives/wildcards"), 0);
        EXPECT_EQ(call.listedPaths(), entries) << name;
        UnzipCall others;
        others.unwanted = {name};
        EXPECT_EQ(others.list("archives/wildcards"), 0);
        EXPECT_EQ(others.listed.size(), 3 - entries.size()) << name;
    }
}

TEST(Options, ChangeTheFilesThatAreWritten) {
    using std::string_literals::operator""s;
    const std::string end = platform::linesEndInCrLf() ? "\r\n" : "\n";
    const struct {
        const char *archive;
        Paths wanted;
        std::int32_t DCL::*option;
        std::int32_t value;
        Files files;
    } rows[] = {
        // Not the file that the name would match as a pattern.
        {"brackets", {"map[1].mis"}, &DCL::noflag, 1, {{"map[1].mis", "1"}}},
        {"backslashes", {"maps/b.txt"}, &DCL::ndflag, 1, {{"maps/", ""}, {"maps/b.txt", "b"}}},
        {"backslashes", {"maps\\b.txt"}, &DCL::ndflag, 0, {{"b.txt", "b"}}},
        {"blanks",
         {},
         &DCL::SpaceToUnderscore,
         1,
         {{"my_maps/", ""}, {"my_maps/the_map.mis", "m"}}},
        // Of several entries with one path the last one wins.
        {"duplicates", {}, &DCL::noflag, 1, {{"a.txt", "new"}, {"b.txt", "b"}}},
        {"lines",
         {},
         &DCL::naflag,
         1,
         {{"crlf.txt", "a" + end + "b" + end + "\rc\r"},
          {"bytes.bin", "\0\r\n\1"s},
          {"marked.bin", "\0"s + end}}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.archive);
        const TestFolder folder;
        UnzipCall call;
        call.wanted = row.wanted;
        call.options.*row.option = row.value;
        EXPECT_EQ(call.extract("archives/"s + row.archive, folder / "new" / "folder"), 0);
        EXPECT_EQ(filesIn(folder / "new" / "folder"), row.files);
    }
}

TEST(ExistingFiles, AreKeptOrReplacedByTheAnswers) {
    const struct {
        const char *title;
        bool overwrite;
        std::int32_t answer; // 0 for no callback
        int asked;
        bool replaced;
    } rows[] = {
        {"no", false, kNo, 2, false},
        {"without a callback", false, 0, 0, false},
        {"yes", false, kYes, 2, true},
        {"overwrite does not ask", true, kNo, 0, true},
        {"all is asked once", false, kAll, 1, true},
        {"none is asked once", false, kNone, 1, false},
        {"an unknown answer keeps", false, 7, 2, false},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.title);
        const TestFolder folder;
        // Two links to one file are two files.
        writeFile(folder / "a.txt", "mine");
        std::filesystem::create_hard_link(folder / "a.txt", folder / "b.txt");
        int asked = 0;
        UnzipCall call;
        call.options.noflag = row.overwrite ? 1 : 0;
        if (row.answer != 0)
            call.replace = [&](const std::string & /*name*/) { return ++asked, row.answer; };
        EXPECT_EQ(call.extract(duplicates, folder.path()), 0);
        EXPECT_EQ(asked, row.asked);
        EXPECT_EQ(filesIn(folder.path()),
                  (row.replaced ? Files{{"a.txt", "new"}, {"b.txt", "b"}}
                                : Files{{"a.txt", "mine"}, {"b.txt", "mine"}}));
        EXPECT_EQ(call.processed.size(), 3U);
    }
}

// Of several entries for one file the first is written; the others are asked about, or skipped and
// reported.
TEST(SecondEntries, ForOneFileAreTreatedLikeEntriesOfAnExistingFile) {
    const Files first = {{"x y.txt", "first"}, {"x_y.txt", "second"}};
    const Files last = {{"x y.txt", "third"}, {"x_y.txt", "fourth"}};
    const Files underscored = {{"a/", ""}, {"a/x_y.txt", "first"},
                               {"b/", ""}, {"b/x_y.txt", "second"},
                               {"c/", ""}, {"c/x_y.txt", "third"}};
    const struct {
        const char *title;
        bool folders;
        bool underscores;
        std::int32_t answer; // 0 replaces without asking
        int asked;
        std::int32_t missing;
        Files files;
    } rows[] = {
        {"skipped", false, false, 0, 0, 2, first},
        {"asked, no", false, false, kNo, 2, 2, first},
        {"asked, yes", false, false, kYes, 2, 0, last},
        {"asked, all", false, false, kAll, 1, 0, last},
        {"asked, none", false, false, kNone, 1, 2, first},
        {"by underscores, too", false, true, 0, 0, 3, {{"x_y.txt", "first"}}},
        {"by underscores alone", true, true, 0, 0, 1, underscored},
    };
    for (const auto &row : rows) {
        for (const char *before : {"", "there before"}) {
            SCOPED_TRACE(std::string(row.title) + before);
            const bool exists = *before != '\0' && row.answer == 0;
            const TestFolder folder;
            if (exists)
                writeFile(folder / row.files.rbegin()->first, before);
            int asked = 0;
            UnzipCall call;
            call.options.ndflag = row.folders ? 1 : 0;
            call.options.SpaceToUnderscore = row.underscores ? 1 : 0;
            call.options.noflag = row.answer == 0 ? 1 : 0;
            call.replace = [&](const std::string & /*name*/) { return ++asked, row.answer; };
            EXPECT_EQ(call.extract("archives/same-names", folder.path()), row.missing == 0 ? 0 : 1);
            EXPECT_EQ(asked, row.asked);
            EXPECT_EQ(UzpMissingCount(), row.missing);
            EXPECT_EQ(filesIn(folder.path()), row.files);
        }
    }
}

// Names that differ in case only are one file on some disks.
TEST(SecondEntries, AreThoseThatTheDiskTakesForTheSame) {
    const TestFolder folder;
    writeFile(folder / "probe", "");
    const bool ignoresCase = std::filesystem::exists(folder / "PROBE");
    const Paths names = ignoresCase
                            ? Paths{"Dir/", "Dir/b.txt", "a.txt"}
                            : Paths{"A.txt", "Dir/", "Dir/b.txt", "a.txt", "dir/", "dir/B.txt"};
    // Into a new folder, then over the extracted files.
    for (const char *time : {"first", "second"}) {
        SCOPED_TRACE(time);
        UnzipCall call;
        EXPECT_EQ(call.extract("archives/case-only", folder / "x"), ignoresCase ? 1 : 0);
        EXPECT_EQ(UzpMissingCount(), ignoresCase ? 2 : 0);
        EXPECT_EQ(namesIn(folder / "x"), names);
        EXPECT_EQ(readFile(folder / "x" / "a.txt").front(), 'a'); // the first of the two
    }
    UnzipCall replacing;
    replacing.options.noflag = 0;
    replacing.replace = [](const std::string &) { return kAll; };
    EXPECT_EQ(replacing.extract("archives/case-only", folder / "y"), 0);
    EXPECT_EQ(namesIn(folder / "y").size(), names.size());
    EXPECT_EQ(readFile(folder / "y" / "dir/B.txt"), "B");
}

TEST(ExistingFiles, AreReplacedByNewerEntriesAlone) {
    constexpr std::int64_t kStored = 987514662;
    for (const auto &[onDisk, replaced] : {std::pair{kStored - 10, true},
                                           {kStored, false},
                                           {kStored + 1, false},
                                           {kStored + 10, false}}) {
        SCOPED_TRACE(onDisk);
        const TestFolder folder;
        writeFile(folder / "a.txt", "mine");
        setFileTime(folder / "a.txt", onDisk);
        UnzipCall call;
        call.options.ExtractOnlyNewer = 1;
        EXPECT_EQ(call.extract(duplicates, folder.path()), 0);
        EXPECT_EQ(readFile(folder / "a.txt"), replaced ? "new" : "mine");
        EXPECT_EQ(readFile(folder / "b.txt"), "b");
    }
}

TEST(Options, TestingWritesNothingAndFindsDamage) {
    const std::pair<const char *, std::int32_t> rows[] = {{sample, 0},
                                                          {"hostile/checksum-wrong", 2},
                                                          {"hostile/name-dotdot", 0},
                                                          {"hostile/overlap-quoted", 2}};
    const TestFolder folder;
    for (const auto &[archive, code] : rows) {
        UnzipCall call;
        call.options.ntflag = 1;
        EXPECT_EQ(call.run(archive, folder.path().string()), code) << archive;
        EXPECT_TRUE(filesIn(folder.path()).empty());
        EXPECT_FALSE(call.processed.empty());
    }
}

TEST(Options, QuietLevelsChooseTheMessages) {
    // The damage, then the files without an error, then the damage again.
    const std::size_t messages[] = {3, 1, 0};
    for (const std::int32_t quiet : {0, 1, 2}) {
        const TestFolder folder;
        UnzipCall call;
        call.options.fQuiet = quiet;
        EXPECT_EQ(call.extract("hostile/checksum-wrong", folder.path()), 2);
        EXPECT_EQ(call.messages.size(), messages[quiet]);
        EXPECT_TRUE(quiet == 2 ||
                    call.messages.back().find("a.txt is damaged") != std::string::npos);
    }
}
