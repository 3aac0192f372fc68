#include "tests/support/disk.h"
#include "tests/ziplib/vl2zip/packer.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace packer; // NOLINT: the tests speak this language

namespace {

using Names = std::vector<std::string>;

class PackOptions : public testing::Test {
  protected:
    TestFolder folder;
    fs::path archive = folder / "classic.vl2";
    fs::path work = folder / "work";
    Call call() { return {archive, work}; }
};

TEST_F(PackOptions, PatternsChooseFilesByNameOrByPath) {
    struct Row {
        Names patterns;
        Names expected;
        int recurse;
        int code;
    };
    const Names all{".dot", "a.cs", "b.png", "sub/a.cs", "sub/deep/c.cs", "sub/x[1].cs"};
    for (const auto &name : all)
        writeFile(work / name, name);
    const Row rows[] = {
        {{"*"}, all, 2, 0},
        {{"*"}, {".dot", "a.cs", "b.png"}, 0, 0},
        {{"*.cs"}, {"a.cs", "sub/a.cs", "sub/deep/c.cs", "sub/x[1].cs"}, 2, 0},
        {{"a.cs"}, {"a.cs", "sub/a.cs"}, 2, 0},
        {{"a.cs"}, {"a.cs"}, 0, 0},
        {{"?.png", "sub/*.cs"}, {"b.png", "sub/a.cs", "sub/x[1].cs"}, 0, 0},
        {{"sub\\*"}, {"sub/a.cs", "sub/deep/c.cs", "sub/x[1].cs"}, 2, 0},
        {{"./sub/x[1].cs"}, {"sub/x[1].cs"}, 0, 0},
        {{"a.cs", "miss\ning.cs"}, {"a.cs"}, 0, 1},
        {{"missing.cs"}, {}, 2, 11},
        {{}, {}, 2, 11},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.patterns) + std::to_string(row.recurse));
        fs::remove(archive);
        auto pack = call();
        pack.patterns = row.patterns;
        pack.options.fRecurse = row.recurse;
        const auto result = run(pack);
        EXPECT_EQ(result.code, row.code) << result.all();
        EXPECT_EQ(result.code == 11, !fs::exists(archive));
        EXPECT_EQ(row.expected.empty() ? Names{} : names(archive), row.expected);
        if (row.code != 0) {
            EXPECT_FALSE(result.last().empty());
            EXPECT_EQ(result.last().find('\n'), std::string::npos);
        }
    }
}

TEST_F(PackOptions, FolderNamesCanBeDroppedUnlessTwoFilesThenHaveOneName) {
    writeFile(work / "a.txt", "a");
    writeFile(work / "sub/b.txt", "b");
    auto pack = call();
    pack.options.fJunkDir = 1;
    ASSERT_EQ(run(pack).code, 0);
    EXPECT_EQ(names(archive), (Names{"a.txt", "b.txt"}));

    const auto before = readFile(archive);
    writeFile(work / "sub/a.txt", "another");
    const auto result = run(pack);
    EXPECT_EQ(result.code, 18);
    EXPECT_NE(result.last().find("sub/a.txt"), std::string::npos) << result.last();
    EXPECT_EQ(readFile(archive), before);
}

// Those that a pattern names, and those of the files that are packed.
TEST_F(PackOptions, FoldersGetEntriesOnceWhereThatIsAskedFor) {
    struct Row {
        Names patterns;
        int recurse;
        Names expected;
    };
    const Row rows[] = {
        {{"*"}, 2, {"b.cs", "sub/deep/a.txt", "other/", "sub/", "sub/deep/", "void/"}},
        {{"*.txt"}, 2, {"sub/deep/a.txt", "sub/", "sub/deep/"}},
        {{"*.cs"}, 2, {"b.cs"}},
        {{"void"}, 2, {"void/"}},
        {{"*", "sub/deep/*"}, 0, {"b.cs", "sub/deep/a.txt", "sub/", "sub/deep/"}},
    };
    writeFile(work / "b.cs", "b");
    writeFile(work / "sub/deep/a.txt", "a");
    fs::create_directories(work / "void");
    fs::create_directories(work / "other");
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.patterns));
        fs::remove(archive);
        auto pack = call();
        pack.patterns = row.patterns;
        pack.options.fRecurse = row.recurse;
        pack.options.fNoDirEntries = 0;
        const auto result = run(pack);
        EXPECT_EQ(result.code, 0) << result.all();
        EXPECT_EQ(names(archive), row.expected);
        EXPECT_TRUE(judge({"check", archive}));
        const auto before = readFile(archive);
        EXPECT_EQ(run(pack).code, 0);
        EXPECT_EQ(readFile(archive), before);
    }
}

TEST_F(PackOptions, UpdateAndFreshenGoByTheTimeOfTheFile) {
    struct Row {
        const char *title;
        int update;
        int freshen;
        std::int64_t time; // of the file; its entry has 1000000000
        const char *edit;  // what the file holds by then; its entry holds "before"
        int code;
        const char *content;
        std::size_t entries;
    };
    const Row rows[] = {
        {"update, newer", 1, 0, 1000000002, "after", 0, "after", 2},
        {"update, within the 2 s of an entry's time", 1, 0, 999999999, "AFTER!", 1, "before", 2},
        {"update, older", 1, 0, 999000000, "after", 1, "before", 2},
        {"update, older and the same", 1, 0, 999000000, "before", 0, "before", 2},
        {"freshen, newer", 0, 1, 1000000002, "after", 0, "after", 1},
        {"freshen, older", 0, 1, 999000000, "after", 1, "before", 1},
        {"freshen, older and the same", 0, 1, 999000000, "before", 12, "before", 1},
        {"freshen, newer and the same", 0, 1, 1000000002, "before", 12, "before", 1},
        {"neither, older", 0, 0, 999000000, "after", 0, "after", 2},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.title);
        fs::remove_all(work);
        fs::remove(archive);
        writeFile(work / "a.txt", "before");
        setFileTime(work / "a.txt", 1000000000);
        ASSERT_EQ(run(call()).code, 0);
        writeFile(work / "a.txt", row.edit);
        setFileTime(work / "a.txt", row.time);
        writeFile(work / "new.txt", "new");
        auto pack = call();
        pack.options.fUpdate = row.update;
        pack.options.fFreshen = row.freshen;
        const auto result = run(pack);
        EXPECT_EQ(result.code, row.code) << result.all();
        EXPECT_EQ(row.code == 1, result.last().find("a.txt: is not newer") != std::string::npos);
        EXPECT_EQ(content(archive, "a.txt"), row.content);
        EXPECT_EQ(names(archive).size(), row.entries);
    }
}

TEST_F(PackOptions, LineEndsOfTextFilesAreConvertedAndOfOthersNot) {
    const std::string binary("\r\n\0\r\n", 5);
    writeFile(work / "dos.txt", "one\r\ntwo\r\n\rlone\r");
    writeFile(work / "unix.txt", "one\ntwo\r\nthree");
    writeFile(work / "binary.dat", binary);
    auto pack = call();
    pack.options.fCRLF_LF = 1;
    ASSERT_EQ(run(pack).code, 0);
    EXPECT_EQ(content(archive, "dos.txt"), "one\ntwo\n\rlone\r");
    EXPECT_EQ(content(archive, "unix.txt"), "one\ntwo\nthree");
    EXPECT_EQ(content(archive, "binary.dat"), binary);
    const auto before = readFile(archive);
    EXPECT_EQ(run(pack).code, 0); // what is converted is compared as it is packed
    EXPECT_EQ(readFile(archive), before);

    pack.options.fCRLF_LF = 0;
    pack.options.fLF_CRLF = 1;
    ASSERT_EQ(run(pack).code, 0);
    EXPECT_EQ(content(archive, "unix.txt"), "one\r\ntwo\r\nthree");
    EXPECT_EQ(content(archive, "binary.dat"), binary);
}

TEST_F(PackOptions, EncryptedEntriesOpenWithThePasswordAndNoOther) {
    writeFile(work / "a.txt", std::string(5000, 'a'));
    writeFile(work / "noise.bin", noise(3000));
    writeFile(work / "large.bin", std::string(17U << 20U, 'l'));
    auto pack = call();
    pack.options.fEncrypt = 1;
    pack.password = "secret";
    const auto result = run(pack);
    ASSERT_EQ(result.code, 0) << result.all();
    EXPECT_EQ(result.passwordsAsked, 1);
    EXPECT_TRUE(judge({"check", archive, "secret"}));
    EXPECT_FALSE(judge({"check", archive, "wrong"}));
    EXPECT_EQ(judge({"read", archive, "a.txt", "secret"}).output, std::string(5000, 'a'));

    // They stay as they are where the files are the same and no encryption is asked for.
    const auto before = readFile(archive);
    EXPECT_EQ(run(call()).code, 0);
    EXPECT_TRUE(readFile(archive) == before);
}

void hide(const fs::path &path) {
    ASSERT_TRUE(setDosAttributes(path, 0x22)) << "the test's file system holds no attributes";
}

TEST_F(PackOptions, HiddenFilesAreLeftOutAndWhatTheArchiveHoldsOfThemStays) {
    writeFile(work / "a.txt", "a");
    writeFile(work / "held.txt", "held");
    ASSERT_EQ(run(call()).code, 0);
    hide(work / "held.txt");
    writeFile(work / "new.txt", "new");
    hide(work / "new.txt");
    const auto whole = run(call());
    EXPECT_EQ(whole.code, 0);
    EXPECT_EQ(names(archive), (Names{"a.txt", "held.txt"}));
    ASSERT_EQ(whole.packed.size(), 2U); // nobody may delete the new one now
    ASSERT_EQ(whole.packed.count("held.txt"), 1U);

    auto pack = call();
    pack.patterns = {"new.txt"};
    const auto nothing = run(pack);
    EXPECT_EQ(nothing.code, 11);
    EXPECT_NE(nothing.last().find("new.txt: is hidden"), std::string::npos) << nothing.all();

    pack = call();
    pack.patterns = {"held.txt"};
    pack.password = "secret";
    for (const int encrypt : {0, 1}) {
        pack.options.fEncrypt = encrypt;
        writeFile(work / "held.txt", "held");
        EXPECT_EQ(run(pack).code, 0);
        writeFile(work / "held.txt", "edited"); // this edit is in the folder alone: say so
        const auto result = run(pack);
        EXPECT_EQ(result.code, 1);
        EXPECT_NE(result.last().find("held.txt"), std::string::npos) << result.all();
        EXPECT_EQ(content(archive, "held.txt"), "held");
    }

    pack = call();
    pack.options.fSystem = 1;
    EXPECT_EQ(run(pack).code, 0);
    EXPECT_EQ(content(archive, "held.txt"), "edited");
    EXPECT_EQ(names(archive).size(), 3U);
    EXPECT_NE(entries(archive).back().find("|2|20|0"), std::string::npos); // hidden in the archive
}

TEST_F(PackOptions, MatchingEntriesAreDeletedAndTheOthersKept) {
    struct Row {
        Names patterns;
        int code;
        Names left;
    };
    const Row rows[] = {
        {{"edit.txt"}, 0, {"keep.txt", "sub/last.bin"}},
        {{"*.bin"}, 0, {"keep.txt", "edit.txt"}},
        {{"sub\\*"}, 0, {"keep.txt", "edit.txt"}},
        {{"keep.txt", "missing"}, 1, {"edit.txt", "sub/last.bin"}},
        {{"missing"}, 11, {"keep.txt", "edit.txt", "sub/last.bin"}},
        {{"*"}, 0, {}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.patterns));
        ASSERT_TRUE(judge({"make", "prefix", archive}));
        writeFile(folder / "old.vl2", readFile(archive));
        auto removal = call();
        removal.patterns = row.patterns;
        removal.options.fDeleteEntries = 1;
        const auto result = run(removal);
        EXPECT_EQ(result.code, row.code) << result.all();
        EXPECT_EQ(names(archive), row.left);
        std::vector<fs::path> arguments{"kept", folder / "old.vl2", archive};
        for (const auto &name : names(folder / "old.vl2"))
            if (std::find(row.left.begin(), row.left.end(), name) == row.left.end())
                arguments.emplace_back(name);
        const auto kept = judge(arguments);
        EXPECT_TRUE(kept) << kept.output;
    }
    fs::remove(archive);
    auto removal = call();
    removal.options.fDeleteEntries = 1;
    EXPECT_EQ(run(removal).code, 9);
}

TEST_F(PackOptions, MessagesAreAsManyAsWereAskedFor) {
    writeFile(work / "a.txt", "a");
    writeFile(work / "b.txt", "b");
    const auto messages = [&](int verbose, int quiet) {
        auto pack = call();
        pack.options.fVerbose = verbose;
        pack.options.fQuiet = quiet;
        fs::remove(archive);
        return run(pack).messages;
    };
    EXPECT_EQ(messages(0, 1), Names{});
    EXPECT_EQ(messages(0, 0), (Names{"adding: a.txt (stored 0%)", "adding: b.txt (stored 0%)"}));
    EXPECT_EQ(messages(1, 0).back(), archive.string() + ": saved");
    // Whoever packs an editor's backup for the first time is told.
    writeFile(work / "sub/a.txt~", "a");
    EXPECT_EQ(run(call()).messages,
              (Names{"adding: sub/a.txt~ (stored 0%)", VL2ZIP_LEFTOVER "sub/a.txt~"}));
    writeFile(work / "sub/a.txt~", "once more");
    EXPECT_EQ(run(call()).messages, (Names{"updating: sub/a.txt~ (stored 0%)"}));
}

TEST_F(PackOptions, WhoDeclinesAPasswordOrStopsAtAFileFindsTheArchiveAsItWas) {
    writeFile(work / "a.txt", "a");
    writeFile(work / "b.txt", "b");
    ASSERT_EQ(run(call()).code, 0);
    const auto before = readFile(archive);
    writeFile(work / "b.txt", "changed");
    auto declined = call();
    declined.options.fEncrypt = 1;
    const auto result = run(declined);
    EXPECT_EQ(result.code, 82);
    EXPECT_NE(result.last().find("password"), std::string::npos);
    for (const char *where : {"a.txt", "b.txt"}) {
        auto stopped = call();
        stopped.onFile = [where](const std::string &name) { return name == where ? 1 : 0; };
        EXPECT_EQ(run(stopped).code, 80);
    }
    EXPECT_EQ(readFile(archive), before);
    EXPECT_TRUE(temporaries(folder.path()).empty());
}

} // namespace
