#include "tests/support/disk.h"
#include "tests/ziplib/vl2zip/packer.h"
#include "ziplib/vl2zip/select/leftovers.h"

#include <sstream>

using namespace packer; // NOLINT: the tests speak this language

namespace {

using PackOptions = Pack;

// Names between blanks, and back.
Names split(const std::string &text) {
    Names found;
    std::istringstream stream(text);
    for (std::string name; std::getline(stream, name, ' ');)
        found.push_back(name);
    return found;
}

std::string joined(const Names &names) {
    std::string text;
    for (const auto &name : names)
        text += (text.empty() ? "" : " ") + name;
    return text;
}

TEST_F(PackOptions, PatternsAndFolderOptionsSelectTheEntries) {
    enum { Nothing, Junk, Folders }; // store names without folders, store entries for folders
    const char *const all = ".dot a.cs b.png sub/a.cs sub/deep/c.cs sub/x[1].cs";
    const struct {
        const char *patterns;
        const char *expected;
        int recurse;
        int code = 0;
        int option = Nothing;
        const char *named = ""; // in the last message
    } rows[] = {
        {"*", all, 2},
        {"*", ".dot a.cs b.png", 0},
        {"*.cs", "a.cs sub/a.cs sub/deep/c.cs sub/x[1].cs", 2},
        {"a.cs", "a.cs sub/a.cs", 2},
        {"a.cs", "a.cs", 0},
        {"?.png sub/*.cs", "b.png sub/a.cs sub/x[1].cs", 0},
        {"sub\\*", "sub/a.cs sub/deep/c.cs sub/x[1].cs", 2},
        {"./sub/x[1].cs", "sub/x[1].cs", 0},
        {"a.cs miss\ning.cs", "a.cs", 0, 1, Nothing, "ing.cs"},
        {"missing.cs", "", 2, 11},
        {"", "", 2, 11},
        {"b.png sub/deep/*", "b.png c.cs", 0, 0, Junk},
        {"*", "", 2, 18, Junk, "sub/a.cs"}, // two files would have one name
        {"a.cs c.cs", "a.cs sub/a.cs sub/deep/c.cs sub/ sub/deep/", 2, 0, Folders},
        {"*.png", "b.png", 2, 0, Folders},
        {"void", "void/", 2, 0, Folders},
        {"b.png sub/deep/*", "b.png sub/deep/c.cs sub/ sub/deep/", 0, 0, Folders},
    };
    for (const auto &name : split(all))
        writeFile(work / name, name);
    fs::create_directories(work / "void");
    for (const auto &row : rows) {
        SCOPED_TRACE(row.patterns + std::to_string(row.recurse));
        fs::remove(archive);
        auto pack = call();
        pack.patterns = split(row.patterns);
        pack.options.fRecurse = row.recurse;
        pack.options.fJunkDir = row.option == Junk ? 1 : 0;
        pack.options.fNoDirEntries = row.option == Folders ? 0 : 1;
        const auto result = run(pack);
        EXPECT_EQ(result.code, row.code) << result.all();
        EXPECT_EQ(row.code > 1, !fs::exists(archive));
        EXPECT_EQ(*row.expected == '\0' ? "" : joined(names(archive)), row.expected);
        EXPECT_NE(result.last().find(row.named), std::string::npos) << result.last();
        EXPECT_EQ(row.code == 0, result.last().starts_with("adding")) << result.last();
        EXPECT_EQ(result.last().find('\n'), std::string::npos);
        if (row.option == Folders) {
            EXPECT_TRUE(check(archive));
            const auto before = readFile(archive);
            EXPECT_EQ(run(pack).code, 0);
            EXPECT_EQ(readFile(archive), before);
        }
    }
}

TEST_F(PackOptions, UpdateAndFreshenCompareTheTimesOfFileAndEntry) {
    const struct {
        const char *title;
        int update;
        int freshen;
        std::int64_t time; // of the file; its entry has 1000000000
        const char *edit;  // the file's content; its entry holds "before"
        int code;
        const char *expected;
    } rows[] = {
        {"update, newer", 1, 0, 1000000002, "after", 0, "after"},
        {"update, within the 2 s of an entry's time", 1, 0, 999999999, "AFTER!", 1, "before"},
        {"update, older and equal", 1, 0, 999000000, "before", 0, "before"},
        {"freshen, newer", 0, 1, 1000000002, "after", 0, "after"},
        {"freshen, older", 0, 1, 999000000, "after", 1, "before"},
        {"freshen, older and equal", 0, 1, 999000000, "before", 12, "before"},
        {"freshen, newer and equal", 0, 1, 1000000002, "before", 12, "before"},
        {"neither, older", 0, 0, 999000000, "after", 0, "after"},
    };
    for (const auto &row : rows) {
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
        Files expected{{"a.txt", row.expected}, {"new.txt", "new"}};
        expected.resize(row.freshen == 1 ? 1 : 2);
        EXPECT_EQ(files(archive), expected);
    }
}

TEST_F(PackOptions, LineEndsOfTextFilesAreConvertedAndOfOthersNot) {
    const std::string binary("\r\n\0\r\n", 5);
    writeFile(work / "b.txt", "one\ntwo\r\n\rthree");
    writeFile(work / "binary.dat", binary);
    const std::pair<int, std::string> rows[] = {{0, "one\ntwo\n\rthree"},
                                                {1, "one\r\ntwo\r\n\rthree"}};
    for (const auto &[toCrLf, text] : rows) {
        auto pack = call();
        pack.options.fCRLF_LF = 1 - toCrLf;
        pack.options.fLF_CRLF = toCrLf;
        ASSERT_EQ(run(pack).code, 0);
        EXPECT_EQ(files(archive), (Files{{"b.txt", text}, {"binary.dat", binary}}));
        const auto before = readFile(archive);
        EXPECT_EQ(run(pack).code, 0); // the converted text is compared
        EXPECT_EQ(readFile(archive), before);
    }
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
    // They stay as they are if the files are unchanged and no encryption is requested.
    const auto before = readFile(archive);
    EXPECT_EQ(run(call()).code, 0);
    EXPECT_TRUE(readFile(archive) == before);
}

TEST_F(PackOptions, HiddenFilesAreLeftOutAndTheirEntriesStay) {
    writeFile(work / "a.txt", "a");
    writeFile(work / "held.txt", "held");
    ASSERT_EQ(run(call()).code, 0);
    writeFile(work / "new.txt", "new");
    for (const char *name : {"held.txt", "new.txt"})
        ASSERT_TRUE(setDosAttributes(work / name, 0x22)) << "the disk holds no attributes";
    const auto whole = run(call());
    EXPECT_EQ(whole.code, 0);
    EXPECT_EQ(names(archive), (Names{"a.txt", "held.txt"}));
    ASSERT_EQ(whole.packed.size(), 2U); // not the new one, which must not be deleted
    ASSERT_EQ(whole.packed.count("held.txt"), 1U);

    auto pack = call();
    pack.patterns = {"new.txt"};
    const auto nothing = run(pack);
    EXPECT_EQ(nothing.code, 11);
    EXPECT_NE(nothing.last().find("new.txt: is hidden"), std::string::npos) << nothing.all();

    pack.patterns = {"held.txt"};
    pack.password = "secret";
    for (const int encrypt : {0, 1}) {
        pack.options.fEncrypt = encrypt;
        writeFile(work / "held.txt", "held");
        EXPECT_EQ(run(pack).code, 0);
        writeFile(work / "held.txt", "edited"); // an edit that only the folder holds is reported
        const auto result = run(pack);
        EXPECT_EQ(result.code, 1);
        EXPECT_NE(result.last().find("held.txt"), std::string::npos) << result.all();
        EXPECT_EQ(content(archive, "held.txt"), "held");
    }

    pack = call();
    pack.options.fSystem = 1;
    EXPECT_EQ(run(pack).code, 0);
    EXPECT_EQ(files(archive), (Files{{"a.txt", "a"}, {"held.txt", "edited"}, {"new.txt", "new"}}));
    EXPECT_NE(entries(archive).back().find("|2|20|0"), std::string::npos); // hidden in the archive
}

TEST_F(PackOptions, MatchingEntriesAreDeletedAndTheOthersKept) {
    const struct {
        const char *pattern;
        int code;
        const char *left;
        std::vector<fs::path> deleted;
    } rows[] = {
        {"edit.txt", 0, "keep.txt sub/last.bin", {"edit.txt"}},
        {"*.bin", 0, "keep.txt edit.txt", {"sub/last.bin"}},
        {"sub\\*", 0, "keep.txt edit.txt", {"sub/last.bin"}},
        {"keep.txt missing", 1, "edit.txt sub/last.bin", {"keep.txt"}},
        {"missing", 11, "keep.txt edit.txt sub/last.bin", {}},
        {"*", 0, "", {"keep.txt", "edit.txt", "sub/last.bin"}},
    };
    make("prefix");
    auto removal = call();
    removal.options.fDeleteEntries = 1;
    for (const auto &row : rows) {
        SCOPED_TRACE(row.pattern);
        writeFile(archive, readFile(folder / "old.vl2"));
        removal.patterns = split(row.pattern);
        const auto result = run(removal);
        EXPECT_EQ(result.code, row.code) << result.all();
        EXPECT_EQ(joined(names(archive)), row.left);
        std::vector<fs::path> arguments{"kept", folder / "old.vl2", archive};
        arguments.insert(arguments.end(), row.deleted.begin(), row.deleted.end());
        const auto kept = judge(arguments);
        EXPECT_TRUE(kept) << kept.output;
    }
    fs::remove(archive);
    EXPECT_EQ(run(removal).code, 9);
}

TEST_F(PackOptions, MessagesDependOnTheQuietAndVerboseLevels) {
    writeFile(work / "a.txt", "a");
    auto pack = call();
    pack.options.fQuiet = 1;
    EXPECT_EQ(run(pack).messages, Names{});
    fs::remove(archive);
    pack.options.fQuiet = 0;
    pack.options.fVerbose = 1;
    EXPECT_EQ(run(pack).messages,
              (Names{"adding: a.txt (stored 0%)", archive.string() + ": saved"}));
    // An editor's backup file is reported when it is packed for the first time.
    writeFile(work / "sub/a.txt~", "a");
    EXPECT_EQ(run(call()).messages,
              (Names{"adding: sub/a.txt~ (stored 0%)", VL2ZIP_LEFTOVER "sub/a.txt~"}));
    writeFile(work / "sub/a.txt~", "once more");
    EXPECT_EQ(run(call()).messages, (Names{"updating: sub/a.txt~ (stored 0%)"}));
}

TEST_F(PackOptions, ADeclinedPasswordOrAStopLeavesTheArchiveAsItWas) {
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

TEST(Names, AreThoseOfLeftoversOrAreNot) {
    const char *const leftovers[] = {"a/x.cs~",      "#x#",         ".#x",         "a/.x.cs.swp",
                                     "THUMBS.DB",    "desktop.ini", "a/.DS_Store", "._sky.png",
                                     "~$notes.doc",  ".directory",  "a.bak",       "~wrl0001.tmp",
                                     ".~lock.a.odt#"};
    for (const char *path : leftovers)
        EXPECT_TRUE(ziplib::isLeftover(path)) << path;
    const char *const others[] = {"a.cs",  "~",     "a~b",          "##",         "x#",
                                  "#x",    "a.swp", ".x.swf",       "._",         "thumbs.db.cs",
                                  "bak",   ".bak",  "x~/a.cs",      "desktop.in", "a.tmp.cs",
                                  "a.nfs", "~a.cs", "mydesktop.ini"};
    for (const char *path : others)
        EXPECT_FALSE(ziplib::isLeftover(path)) << path;
}

} // namespace
