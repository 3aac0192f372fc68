#include "storage/storage.h"
#include "tests/support/disk.h"
#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

#include <tuple>

using Files = std::map<std::string, std::string>;
using Paths = std::vector<std::string>;

namespace {

const char *const kSample = "archives/python-zipfile";
const char *const kDuplicates = "archives/duplicates"; // a.txt "new", b.txt "b"

constexpr std::int32_t kNo = 100;
constexpr std::int32_t kYes = 102;
constexpr std::int32_t kAll = 103;
constexpr std::int32_t kNever = 104;

} // namespace

TEST(Names, ChooseEntriesThemselvesOrByWildcard) {
    // The names that are wanted and not, whether their case is ignored, the code and the entries.
    const std::tuple<Paths, Paths, int, int, Paths> rows[] = {
        {{"README.TXT"}, {}, 0, 11, {}},
        {{"README.TXT"}, {}, 1, 0, {"readme.txt"}},
        {{"maps/*"}, {"*.mis"}, 0, 0, {"maps/", "maps/base/", "maps/base/a.png"}},
        {{"MAPS\\BASE\\?.PNG", "*.mis"}, {}, 1, 0, {"maps/base/a.png", "maps/base/b.mis"}},
        {{"readme.txt", "missing.txt"}, {}, 0, 1, {"readme.txt"}},
        {{}, {"*/*"}, 0, 0, {"readme.txt"}},
        {{""}, {}, 0, 11, {}},
    };
    for (const auto &[wanted, unwanted, ignoreCase, code, processed] : rows) {
        SCOPED_TRACE(wanted.empty() ? "all" : wanted.front());
        UnzipCall call;
        call.wanted = wanted;
        call.unwanted = unwanted;
        call.options.C_flag = ignoreCase;
        EXPECT_EQ(call.extract(kSample), code);
        EXPECT_EQ(call.processed, processed);
    }
}

TEST(Names, ArePatternsOnlyIfNoEntryHasThem) {
    // In the narrow code page, which may have "?" in place of these letters.
    const std::string cyrillic = platform::narrowFromUtf8("Юя.txt");
    const std::pair<std::string, Paths> rows[] = {{"a?.txt", {"a?.txt"}},
                                                  {"?b.txt", {"ab.txt"}},
                                                  {cyrillic, {cyrillic}},
                                                  {"*", {"a?.txt", "ab.txt", cyrillic}}};
    for (const auto &[name, entries] : rows) {
        UnzipCall call;
        call.wanted = {name};
        EXPECT_EQ(call.list("archives/wildcards"), 0);
        EXPECT_EQ(call.paths, entries) << name;
    }
}

TEST(Options, ChangeTheFilesThatAreWritten) {
    using std::string_literals::operator""s;
    const std::string end = platform::linesEndInCrLf() ? "\r\n" : "\n";
    const Files converted = {{"crlf.txt", "a" + end + "b" + end + "\rc\r"},
                             {"bytes.bin", "\0\r\n\1"s},
                             {"marked.bin", "\0"s + end}};
    const std::tuple<std::string, Paths, std::int32_t DCL::*, int, Files> rows[] = {
        // Not the file that the name would match as a pattern.
        {"brackets", {"map[1].mis"}, &DCL::noflag, 1, {{"map[1].mis", "1"}}},
        {"backslashes", {"maps/b.txt"}, &DCL::ndflag, 1, {{"maps/", ""}, {"maps/b.txt", "b"}}},
        {"backslashes", {"maps\\b.txt"}, &DCL::ndflag, 0, {{"b.txt", "b"}}},
        {"lines", {}, &DCL::naflag, 1, converted},
    };
    for (const auto &[archive, wanted, option, value, files] : rows) {
        SCOPED_TRACE(archive);
        UnzipCall call;
        call.wanted = wanted;
        call.options.*option = value;
        EXPECT_EQ(call.extract("archives/" + archive, call.folder / "new" / "folder"), 0);
        EXPECT_EQ(filesIn(call.folder / "new" / "folder"), files);
    }
}

TEST(ExistingFiles, AreKeptOrReplacedByTheAnswers) {
    // Overwrites without a question, the answer (0 without a callback), the number of questions.
    const std::tuple<int, std::int32_t, std::size_t, bool> rows[] = {
        {0, kNo, 2, false}, {0, 0, 0, false},      {0, kYes, 2, true}, {1, kNo, 0, true},
        {0, kAll, 1, true}, {0, kNever, 1, false}, {0, 7, 2, false}};
    for (const auto &[overwrites, answer, asked, replaced] : rows) {
        SCOPED_TRACE(answer);
        UnzipCall call;
        // Two links to one file are two files.
        writeFile(call.folder / "a.txt", "mine");
        std::filesystem::create_hard_link(call.folder / "a.txt", call.folder / "b.txt");
        call.options.noflag = overwrites;
        call.answer = answer;
        EXPECT_EQ(call.extract(kDuplicates), 0);
        EXPECT_EQ(call.asked, asked);
        // Of several entries with one path the last one wins.
        EXPECT_EQ(filesIn(call.folder.path()),
                  (replaced ? Files{{"a.txt", "new"}, {"b.txt", "b"}}
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
    // With folder names, with underscores for blanks, the answer (0 replaces without a question),
    // the number of questions and of missing entries.
    const std::tuple<int, int, std::int32_t, std::size_t, int, Files> rows[] = {
        {0, 0, 0, 0, 2, first},       {0, 0, kNo, 2, 2, first},
        {0, 0, kAll, 1, 0, last},     {0, 1, 0, 0, 3, {{"x_y.txt", "first"}}},
        {1, 1, 0, 0, 1, underscored},
    };
    for (const auto &[folders, underscores, answer, asked, missing, files] : rows) {
        for (const char *before : {"", "there before"}) {
            SCOPED_TRACE(std::to_string(answer) + before);
            UnzipCall call;
            if (*before != '\0' && answer == 0)
                writeFile(call.folder / files.rbegin()->first, before);
            call.options.ndflag = folders;
            call.options.SpaceToUnderscore = underscores;
            call.options.noflag = answer == 0 ? 1 : 0;
            call.answer = answer;
            EXPECT_EQ(call.extract("archives/same-names"), missing == 0 ? 0 : 1);
            EXPECT_EQ(call.asked, asked);
            EXPECT_EQ(UzpMissingCount(), missing);
            EXPECT_EQ(filesIn(call.folder.path()), files);
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
    replacing.answer = kAll;
    EXPECT_EQ(replacing.extract("archives/case-only", folder / "y"), 0);
    EXPECT_EQ(namesIn(folder / "y").size(), names.size());
    EXPECT_EQ(readFile(folder / "y" / "dir/B.txt"), "B");
}

TEST(ExistingFiles, AreReplacedByNewerEntriesAlone) {
    for (const int later : {-10, 0, 1}) { // seconds than the entry
        SCOPED_TRACE(later);
        UnzipCall call;
        writeFile(call.folder / "a.txt", "mine");
        setFileTime(call.folder / "a.txt", 987514662 + later);
        call.options.ExtractOnlyNewer = 1;
        EXPECT_EQ(call.extract(kDuplicates), 0);
        EXPECT_EQ(readFile(call.folder / "a.txt"), later < 0 ? "new" : "mine");
        EXPECT_EQ(readFile(call.folder / "b.txt"), "b");
    }
}

TEST(Options, QuietLevelsChooseTheMessagesAndTestingWritesNothing) {
    // The damage, then the files without an error, then the damage again.
    const std::size_t messages[] = {3, 1, 0};
    for (const std::int32_t quiet : {0, 1, 2}) {
        for (const int test : {0, 1}) {
            UnzipCall call;
            call.options.fQuiet = quiet;
            call.options.ntflag = test;
            EXPECT_EQ(call.extract("hostile/checksum-wrong"), 2);
            EXPECT_EQ(namesIn(call.folder.path()), test != 0 ? Paths{} : Paths{"good.txt"});
            EXPECT_EQ(call.messages.size(), messages[quiet]);
            EXPECT_TRUE(quiet == 2 ||
                        call.messages.back().find("a.txt is damaged") != std::string::npos);
        }
    }
}

TEST(ExistingFiles, AndFoldersOfTheSameNameStay) {
    UnzipCall call;
    writeFile(call.folder / "readme.txt" / "inside", "mine");
    writeFile(call.folder / "maps", "mine");
    EXPECT_EQ(call.extract(kSample), 1);
    EXPECT_EQ(readFile(call.folder / "maps"), "mine");
    EXPECT_EQ(readFile(call.folder / "readme.txt" / "inside"), "mine");
    EXPECT_TRUE(std::filesystem::exists(call.folder / "sound" / "w.wav"));
    // A target that cannot be made is reported.
    UnzipCall below;
    EXPECT_EQ(below.extract(kSample, call.folder / "maps" / "below"), 1);
    EXPECT_FALSE(below.messages.empty());
    EXPECT_TRUE(below.processed.empty());
}

TEST(ExistingFiles, ThatStayNeedNoRoomInWhateverFolder) {
    UnzipCall call;
    std::string bytes = readFile(dataFile("hostile/bomb-size-zip64.vl2"));
    // "a.txt" becomes a file in a folder.
    for (std::size_t at = bytes.find("a.txt"); at != std::string::npos; at = bytes.find("a.txt"))
        bytes[at + 1] = '/';
    writeFile(call.folder / "large.vl2", bytes);
    writeFile(call.folder / "target/a/txt", "mine");
    call.options.ExtractOnlyNewer = 1;
    EXPECT_EQ(call.extract((call.folder / "large.vl2").string(), call.folder / "target"), 0);
    EXPECT_EQ(readFile(call.folder / "target/good.txt"), "good");
}
