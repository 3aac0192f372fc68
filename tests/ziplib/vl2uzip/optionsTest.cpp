#include "platform/storage.h"
#include "tests/support/disk.h"
#include "tests/ziplib/vl2uzip/unzipCall.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;
using Files = std::map<std::string, std::string>;
using Paths = std::vector<std::string>;

namespace {

Paths namesIn(const fs::path &folder) {
    Paths names;
    for (const auto &[name, content] : filesIn(folder)) {
        names.push_back(name);
    }
    return names;
}

const char *const backslashes = "archives/backslashes.vl2";
const char *const duplicates = "archives/duplicates.vl2"; // a.txt "new", b.txt "b"

} // namespace

TEST(Options, ChooseEntriesByNameAndWildcard) {
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
        const ScratchFolder scratch;
        UnzipCall call;
        call.wanted = row.wanted;
        call.unwanted = row.unwanted;
        call.options.C_flag = row.ignoreCase ? 1 : 0;
        EXPECT_EQ(call.extract(dataFile("archives/python-zipfile.vl2"), scratch.path()), row.code);
        EXPECT_EQ(call.processed, row.processed);
    }
}

TEST(Options, ANameWithBracketsMeansTheFileOfThatName) {
    const ScratchFolder scratch;
    UnzipCall call;
    call.wanted = {"map[1].mis"};
    EXPECT_EQ(call.extract(dataFile("archives/brackets.vl2"), scratch.path()), 0);
    EXPECT_EQ(filesIn(scratch.path()), (Files{{"map[1].mis", "1"}}));
}

TEST(Options, WithoutFolderNamesAllFilesLieInTheTarget) {
    const ScratchFolder scratch;
    UnzipCall call;
    call.options.ndflag = 0;
    EXPECT_EQ(call.extract(dataFile(backslashes), scratch.path()), 0);
    EXPECT_EQ(namesIn(scratch.path()), (Paths{"a.png", "b.txt"}));
}

TEST(Options, BlanksBecomeUnderscoresOnDiskOnly) {
    const ScratchFolder scratch;
    UnzipCall call;
    call.options.SpaceToUnderscore = 1;
    call.wanted = {"my maps/the map.mis"};
    EXPECT_EQ(call.extract(dataFile("archives/blanks.vl2"), scratch.path()), 0);
    EXPECT_EQ(filesIn(scratch.path()), (Files{{"my_maps/", ""}, {"my_maps/the_map.mis", "m"}}));
}

TEST(Options, MissingTargetFoldersAreMade) {
    const ScratchFolder scratch;
    UnzipCall call;
    EXPECT_EQ(call.extract(dataFile(duplicates), scratch / "x" / "y"), 0);
    EXPECT_EQ(contentOf(scratch / "x" / "y" / "a.txt"), "new");
}

TEST(Options, ExistingFilesFollowTheAnswers) {
    constexpr std::int32_t no = 100;
    constexpr std::int32_t yes = 102;
    constexpr std::int32_t all = 103;
    constexpr std::int32_t none = 104;
    const struct {
        const char *title;
        bool prompt;
        bool overwrite;
        std::int32_t answer; // 0 for no callback at all
        std::size_t asked;
        bool replaced;
    } rows[] = {
        {"neither asks and keeps", false, false, no, 2, false},
        {"neither, without callback", false, false, 0, 0, false},
        {"neither, answered yes", false, false, yes, 2, true},
        {"overwrite does not ask", false, true, no, 0, true},
        {"prompt asks", true, false, yes, 2, true},
        {"prompt goes before overwrite", true, true, no, 2, false},
        {"all is asked once", true, false, all, 1, true},
        {"none is asked once", true, false, none, 1, false},
        {"an unknown answer keeps", true, false, 7, 2, false},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.title);
        const ScratchFolder scratch;
        writeFile(scratch / "a.txt", "mine");
        writeFile(scratch / "b.txt", "mine");
        std::vector<std::string> asked;
        UnzipCall call;
        call.options.PromptToOverwrite = row.prompt ? 1 : 0;
        call.options.noflag = row.overwrite ? 1 : 0;
        if (row.answer != 0) {
            call.replace = [&](const std::string &name) {
                asked.push_back(name);
                return row.answer;
            };
        }
        EXPECT_EQ(call.extract(dataFile(duplicates), scratch.path()), 0);
        EXPECT_EQ(asked.size(), row.asked);
        EXPECT_EQ(filesIn(scratch.path()), row.replaced
                                               ? (Files{{"a.txt", "new"}, {"b.txt", "b"}})
                                               : (Files{{"a.txt", "mine"}, {"b.txt", "mine"}}));
        EXPECT_EQ(call.processed.size(), 3U);
    }
}

TEST(Options, OnlyNewerEntriesReplaceFiles) {
    const std::int64_t stored = 987514662;
    const struct {
        std::int64_t onDisk;
        bool replaced;
    } rows[] = {{stored - 10, true}, {stored, false}, {stored + 1, false}, {stored + 10, false}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.onDisk);
        const ScratchFolder scratch;
        writeFile(scratch / "a.txt", "mine");
        setFileTime(scratch / "a.txt", row.onDisk);
        UnzipCall call;
        call.options.ExtractOnlyNewer = 1;
        EXPECT_EQ(call.extract(dataFile(duplicates), scratch.path()), 0);
        EXPECT_EQ(contentOf(scratch / "a.txt"), row.replaced ? "new" : "mine");
        EXPECT_EQ(contentOf(scratch / "b.txt"), "b");
    }
}

TEST(Options, LineEndsOfTextBecomeTheSystemsOwn) {
    const ScratchFolder scratch;
    UnzipCall call;
    call.options.naflag = 1;
    EXPECT_EQ(call.extract(dataFile("archives/lines.vl2"), scratch.path()), 0);
    using std::string_literals::operator""s;
    const std::string end = platform::linesEndInCrLf() ? "\r\n" : "\n";
    EXPECT_EQ(filesIn(scratch.path()), (Files{{"crlf.txt", "a" + end + "b" + end + "\rc\r"},
                                              {"bytes.bin", "\0\r\n\1"s},
                                              {"marked.bin", "\0"s + end}}));
}

TEST(Options, TestingWritesNothingAndFindsDamage) {
    const ScratchFolder scratch;
    for (const auto &[archive, code] :
         std::map<std::string, std::int32_t>{{"archives/python-zipfile", 0},
                                             {"hostile/checksum-wrong", 2},
                                             {"hostile/name-dotdot", 0},
                                             {"hostile/overlap-quoted", 2}}) {
        SCOPED_TRACE(archive);
        UnzipCall call;
        call.options.ntflag = 1;
        EXPECT_EQ(call.run(dataFile(archive + ".vl2"), scratch.path().string()), code);
        EXPECT_TRUE(filesIn(scratch.path()).empty());
        EXPECT_FALSE(call.processed.empty());
    }
}

TEST(Options, FewerMessagesAreTold) {
    const struct {
        std::int32_t quiet;
        std::size_t messages;
    } rows[] = {{0, 2}, {1, 1}, {2, 0}};
    for (const auto &row : rows) {
        const ScratchFolder scratch;
        UnzipCall call;
        call.options.fQuiet = row.quiet;
        EXPECT_EQ(call.extract(dataFile("hostile/checksum-wrong.vl2"), scratch.path()), 2);
        // Damage first, then what went well, then once more what went wrong.
        EXPECT_EQ(call.messages.size(), row.messages + (row.quiet == 0 ? 1 : 0));
        if (row.quiet < 2) {
            EXPECT_NE(call.messages.back().find("a.txt is damaged"), std::string::npos);
        }
    }
}
