#include "ziplib/format/names.h"
#include "storage/utf8.h"
#include "ziplib/common/interfaceText.h"

#include <gtest/gtest.h>

TEST(Names, AreDecodedAsUtf8OrCodePage437) {
    const std::pair<std::string, std::string> rows[] = {
        {"maps\\base\\a.png", "maps/base/a.png"},
        {"caf\xC3\xA9", "café"},
        {"caf\x82", "café"},
        {".\\./a", "a"},
        {"./", "./"},
        {".//a", "/a"}, // still no relative path
        {"\x80\xFF", "Ç\xC2\xA0"},
        {"\xC3", "├"},           // cut UTF-8
        {"\xC0\xAF", "└»"},      // overlong
        {"\xED\xA0\x80", "φáÇ"}, // surrogate
        {std::string("a\0b", 3), "a\xEF\xBF\xBD"
                                 "b"},
    };
    for (const auto &[raw, path] : rows)
        EXPECT_EQ(ziplib::decodeName(raw), path);
}

TEST(Messages, HoldNoControlCharacterOfTheNamesInThem) {
    EXPECT_EQ(ziplib::messageToProgram("a\n\x1B[2J\x7F\xC2\x9B\xC3\xBC\xC2\xA0"),
              ziplib::toProgram("a??[2J??\xC3\xBC\xC2\xA0"));
}

TEST(Names, AreSafeOrAreNot) {
    for (const char *path :
         {"a.txt", "a/b/c", "dir/", "...a", ".hidden", "..a/b", "console.txt", "com10.txt",
          "nullify", "a b/c d", "comet.png", "Привет.txt", "lpt/com.cs", "a..b", ".orvel-x.part"})
        EXPECT_EQ(ziplib::unsafeReason(path), nullptr) << path;
    // Unsafe names are among the hostile archives.
    std::string deep;
    while (deep.size() < 3000)
        deep += "folder/abc";
    EXPECT_EQ(ziplib::unsafeReason(deep), nullptr);
    EXPECT_NE(ziplib::unsafeReason(deep + "d"), nullptr);
    EXPECT_EQ(ziplib::unsafeReason("a/" + std::string(255, 'x')), nullptr);
    EXPECT_NE(ziplib::unsafeReason("a/" + std::string(256, 'x') + "/b"), nullptr);
}

TEST(Names, FoldTheirCaseForComparison) {
    for (const auto &[a, b] : {std::pair{"MAPS/Base.PNG", "maps/base.png"},
                               {"ÄÖÜŸ", "äöüÿ"},
                               {"ПРИВЕТ", "привет"},
                               {"ŁÓDŹ", "łódź"},
                               {"ΑΒΓΣ", "αβγσ"}}) {
        EXPECT_EQ(platform::foldCase(std::string_view(a)), b);
        EXPECT_EQ(platform::foldCase(std::string_view(b)), b);
    }
    for (const char *other : {"×÷", "ß", "a[`{", "ſ", "\xFF\xC3"})
        EXPECT_EQ(platform::foldCase(std::string_view(other)), other);
}
