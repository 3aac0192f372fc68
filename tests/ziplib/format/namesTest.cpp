#include "ziplib/format/names.h"
#include "ziplib/common/interfaceText.h"
#include "ziplib/common/utf8.h"

#include <gtest/gtest.h>

using std::string_literals::operator""s;

TEST(Names, AreDecodedAsUtf8OrCodePage437) {
    const std::pair<std::string, std::string> rows[] = {
        {"maps/a.png", "maps/a.png"},
        {"maps\\base\\a.png", "maps/base/a.png"},
        {"caf\xC3\xA9", "café"},
        {"caf\x82", "café"},
        {"./maps/a.png", "maps/a.png"},
        {".\\./a", "a"},
        {"./", "./"},
        {"././", "./"},
        {".//a", "/a"}, // still no relative path
        {"../a", "../a"},
        {".a", ".a"},
        {"a/./b", "a/./b"},
        {"\x80\xFF", "Ç\xC2\xA0"},
        {"\xC3", "├"},           // cut UTF-8
        {"\xC0\xAF", "└»"},      // overlong
        {"\xED\xA0\x80", "φáÇ"}, // surrogate
        {"a\0b"s, "a\xEF\xBF\xBD"
                  "b"},
    };
    for (const auto &[raw, path] : rows)
        EXPECT_EQ(ziplib::decodeName(raw), path);
}

TEST(Messages, HoldNoControlCharacterOfTheNamesInThem) {
    const std::pair<const char *, const char *> rows[] = {
        {"a\n\x1B[2J\x7F.txt", "a??[2J?.txt"},
        {"\xC2\x9B"
         "31m\xC2\x80",
         "?31m?"},
        {"\xC3\xBC\xC2\xA0", "\xC3\xBC\xC2\xA0"},
    };
    for (const auto &[text, shown] : rows)
        EXPECT_EQ(ziplib::messageToProgram(text), ziplib::toProgram(shown));
}

TEST(Names, AreSafeOrAreNot) {
    const char *const safe[] = {"a.txt",      "a/b/c",   "dir/",         "...a",
                                ".hidden",    "..a/b",   "console.txt",  "com10.txt",
                                "nullify",    "a b/c d", "comet.png",    "Привет.txt",
                                "lpt/com.cs", "a..b",    ".orvel-x.part"};
    for (const char *path : safe)
        EXPECT_EQ(ziplib::unsafeReason(path), nullptr) << path;
    // More of them are among the hostile archives.
    const char *const unsafe[] = {"/",     "..",     "a/..",     "../a",   ".",    "a//",
                                  "a:b",   "com0",   "LPT9.x",   "a ",     "a./b", "a\tb",
                                  "a\x7F", "conin$", "CLOCK$.x", "aux .c", "... "};
    for (const char *path : unsafe)
        EXPECT_NE(ziplib::unsafeReason(path), nullptr) << path;
    std::string deep;
    while (deep.size() < 3000)
        deep += "folder/abc";
    EXPECT_EQ(ziplib::unsafeReason(deep), nullptr);
    EXPECT_NE(ziplib::unsafeReason(deep + "d"), nullptr);
    EXPECT_EQ(ziplib::unsafeReason("a/" + std::string(255, 'x')), nullptr);
    EXPECT_NE(ziplib::unsafeReason("a/" + std::string(256, 'x') + "/b"), nullptr);
}

TEST(Names, FoldTheirCaseForComparison) {
    const std::pair<const char *, const char *> same[] = {{"MAPS/Base.PNG", "maps/base.png"},
                                                          {"ÄÖÜ", "äöü"},
                                                          {"ПРИВЕТ", "привет"},
                                                          {"Ÿ", "ÿ"},
                                                          {"ŁÓDŹ", "łódź"},
                                                          {"ΑΒΓΣ", "αβγσ"}};
    for (const auto &[a, b] : same) {
        EXPECT_EQ(ziplib::foldCase(std::string_view(a)), b);
        EXPECT_EQ(ziplib::foldCase(std::string_view(b)), b);
    }
    for (const char *other : {"×÷", "ß", "a[`{", "ſ", "\xFF\xC3"})
        EXPECT_EQ(ziplib::foldCase(std::string_view(other)), other);
}
