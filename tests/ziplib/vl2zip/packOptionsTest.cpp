#include "tests/support/disk.h"
#include "tests/ziplib/vl2zip/packer.h"
#include "ziplib/vl2zip/select/leftovers.h"

#include <iterator>
#include <sstream>
#include <tuple>

using namespace packer; // NOLINT: the tests speak this language

namespace {

using PackOptions = Pack;

// Names between blanks.
Names split(const std::string &text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

TEST_F(PackOptions, PatternsAndFolderOptionsSelectTheEntries) {
    enum { Nothing, Junk, Folders }; // store names without folders, store entries for folders
    const char *const all = ".dot a.cs b.png sub/a.cs sub/deep/c.cs sub/x[1].cs";
    // The patterns, the selected entries, the recursion, the code, the option, and a text in the
    // last message.
    const std::tuple<std::string, const char *, int, int, int, const char *> rows[] = {
        {"*", all, 2, 0, Nothing, ""},
        {"*", ".dot a.cs b.png", 0, 0, Nothing, ""},
        {"a.cs", "a.cs sub/a.cs", 2, 0, Nothing, ""},
        {"?.png sub/*.cs", "b.png sub/a.cs sub/x[1].cs", 0, 0, Nothing, ""},
        {"sub\\*", "sub/a.cs sub/deep/c.cs sub/x[1].cs", 2, 0, Nothing, ""},
        {"./sub/x[1].cs", "sub/x[1].cs", 0, 0, Nothing, ""},
        {"a.cs miss\x1Bing.cs", "a.cs", 0, 1, Nothing, "ing.cs"},
        {"", "", 2, 11, Nothing, ""},
        {"b.png sub/deep/*", "b.png c.cs", 0, 0, Junk, ""},
        {"*", "", 2, 18, Junk, "sub/a.cs"}, // two files would have one name
        {"a.cs c.cs", "a.cs sub/a.cs sub/deep/c.cs sub/ sub/deep/", 2, 0, Folders, ""},
        {"void", "void/", 2, 0, Folders, ""},
        {"b.png sub/deep/*", "b.png sub/deep/c.cs sub/ sub/deep/", 0, 0, Folders, ""},
    };
    for (const auto &name : split(all))
        writeFile(work / name, name);
    fs::create_directories(work / "void");
    for (const auto &[patterns, expected, recurse, code, option, named] : rows) {
        SCOPED_TRACE(patterns + std::to_string(recurse));
        fs::remove(archive);
        auto pack = call();
        pack.patterns = split(patterns);
        pack.options.fRecurse = recurse;
        pack.options.fJunkDir = option == Junk ? 1 : 0;
        pack.options.fNoDirEntries = option == Folders ? 0 : 1;
        const auto result = run(pack);
        EXPECT_EQ(result.code, code) << result.all();
        EXPECT_EQ(code > 1, !fs::exists(archive));
        EXPECT_EQ(code > 1 ? Names{} : names(archive), split(expected));
        EXPECT_NE(result.last().find(named), std::string::npos) << result.last();
        EXPECT_EQ(code == 0, result.last().starts_with("adding")) << result.last();
        EXPECT_EQ(result.last().find('\x1B'), std::string::npos);
        if (option == Folders) {
            check(archive);
            const auto before = readFile(archive);
            EXPECT_EQ(run(pack).code, 0);
            EXPECT_EQ(readFile(archive), before);
        }
    }
}

TEST_F(PackOptions, UpdateAndFreshenCompareTheTimesOfFileAndEntry) {
    // Update, freshen, the time of the file (its entry has 1000000000), the content of the file
    // (its entry holds "before"), the code and the content of the entry.
    const std::tuple<int, int, std::int64_t, const char *, int, const char *> rows[] = {
        {1, 0, 1000000002, "after", 0, "after"},
        {1, 0, 999999999, "AFTER!", 1, "before"}, // within the 2 s of an entry's time
        {1, 0, 999000000, "before", 0, "before"},
        {0, 1, 1000000002, "after", 0, "after"},
        {0, 1, 999000000, "after", 1, "before"},
        {0, 1, 1000000002, "before", 12, "before"},
        {0, 0, 999000000, "after", 0, "after"},
    };
    for (const auto &[update, freshen, time, edit, code, stored] : rows) {
        SCOPED_TRACE(std::to_string(time) + edit);
        fs::remove_all(work);
        fs::remove(archive);
        writeFile(work / "a.txt", "before");
        setFileTime(work / "a.txt", 1000000000);
        ASSERT_EQ(run(call()).code, 0);
        writeFile(work / "a.txt", edit);
        setFileTime(work / "a.txt", time);
        writeFile(work / "new.txt", "new");
        auto pack = call();
        pack.options.fUpdate = update;
        pack.options.fFreshen = freshen;
        const auto result = run(pack);
        EXPECT_EQ(result.code, code) << result.all();
        EXPECT_EQ(code == 1, result.last().find("a.txt: is not newer") != std::string::npos);
        Files expected{{"a.txt", stored}, {"new.txt", "new"}};
        expected.resize(freshen == 1 ? 1 : 2);
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

TEST_F(PackOptions, AFileThatLineEndsMayTakeBeyond4GiBHasOneVersionInBothRecords) {
    writeFile(work / "large.bin", "");
    fs::resize_file(work / "large.bin", (1ULL << 31U) - 8);
    auto pack = call();
    pack.options.fLF_CRLF = 1;
    const auto result = run(pack);
    ASSERT_EQ(result.code, 0) << result.all();
    const auto bytes = readFile(archive);
    const auto central = bytes.find("PK\1\2");
    ASSERT_NE(central, std::string::npos);
    EXPECT_EQ(bytes.substr(4, 2), std::string("\x2D\0", 2)); // 4.5, as the sizes have 64 bits
    EXPECT_EQ(bytes.substr(central + 6, 2), bytes.substr(4, 2));
}

TEST_F(PackOptions, EncryptedEntriesOpenWithThePasswordAndNoOther) {
    writeFile(work / "a.txt", std::string(5000, 'a'));
    writeFile(work / "noise.bin", noise(3000));
    writeFile(work / "large.bin", std::string(17U << 20U, 'l'));
    auto pack = call();
    pack.options.fEncrypt = 1;
    pack.password = "secret";
    EXPECT_EQ(run(pack).passwordsAsked, 1);
    judge({"check", archive, "secret"});
    judge({"check", archive, "wrong"}, 1);
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
    EXPECT_FALSE(whole.packed.contains("new.txt")); // it must not be deleted

    auto pack = call();
    pack.patterns = {"new.txt"};
    EXPECT_NE(run(pack).last().find("new.txt: is hidden"), std::string::npos);

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
    // The patterns, the code, the entries that are left, and the deleted ones.
    const std::tuple<const char *, int, const char *, std::vector<fs::path>> rows[] = {
        {"edit.txt", 0, "keep.txt sub/last.bin", {"edit.txt"}},
        {"sub\\*", 0, "keep.txt edit.txt", {"sub/last.bin"}},
        {"keep.txt missing", 1, "edit.txt sub/last.bin", {"keep.txt"}},
        {"missing", 11, "keep.txt edit.txt sub/last.bin", {}},
        {"*", 0, "", {"keep.txt", "edit.txt", "sub/last.bin"}},
    };
    make("prefix");
    auto removal = call();
    removal.options.fDeleteEntries = 1;
    for (const auto &[patterns, code, left, deleted] : rows) {
        SCOPED_TRACE(patterns);
        writeFile(archive, readFile(folder / "old.vl2"));
        removal.patterns = split(patterns);
        const auto result = run(removal);
        EXPECT_EQ(result.code, code) << result.all();
        EXPECT_EQ(names(archive), split(left));
        std::vector<fs::path> arguments{"kept", folder / "old.vl2", archive};
        arguments.insert(arguments.end(), deleted.begin(), deleted.end());
        judge(arguments);
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
    for (const char *path : {"a/x.cs~", "#x#", ".#x", "a/.x.cs.swp", "THUMBS.DB", "desktop.ini",
                             "a/.DS_Store", "._sky.png", "~$notes.doc", ".directory", "a.bak",
                             "~wrl0001.tmp", ".~lock.a.odt#", "a.cs.orig", "a.rej", "VSSVER.SCC"})
        EXPECT_TRUE(ziplib::isLeftover(path)) << path;
    for (const char *path :
         {"a.cs", "~", "a~b", "##", "x#", "#x", "a.swp", ".x.swf", "._", "thumbs.db.cs", "bak",
          ".bak", "x~/a.cs", "desktop.in", "a.tmp.cs", "a.nfs", "~a.cs", "mydesktop.ini"})
        EXPECT_FALSE(ziplib::isLeftover(path)) << path;
}

} // namespace
