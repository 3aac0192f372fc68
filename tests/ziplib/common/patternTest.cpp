#include "ziplib/common/pattern.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

using Cases = std::vector<std::pair<const char *, const char *>>;

TEST(Patterns, MatchWholeNames) {
    const auto expect = [](bool matches, ziplib::PatternRules rules, const Cases &cases) {
        for (const auto &[pattern, name] : cases)
            EXPECT_EQ(ziplib::matchesPattern(pattern, name, rules), matches) << pattern << name;
    };
    const Cases matching = {{"*", ""},         {"", ""},         {"a*b*c", "a1b2b3c"},
                            {"?", "é"},        {"[abc]x", "bx"}, {"[!a-c]x", "dx"},
                            {"[]]x", "]x"},    {"[a-]x", "-x"},  {"[abc", "[abc"},
                            {"\xFF*", "\xFFz"}};
    expect(true, {false, true}, matching);
    const Cases others = {
        {"", "a"}, {"a*b*c", "a1b2b3"}, {"*.png", "a.PNG"}, {"??", "é"}, {"[a-c]x", "dx"}};
    expect(false, {false, true}, others);
    expect(true, {true, true}, {{"*.png", "maps/a.PNG"}, {"É*", "école"}, {"[A-C]x", "bx"}});
    expect(true, {false, false}, {{"[abc]x", "[abc]x"}});
    expect(false, {false, false}, {{"[abc]x", "bx"}});
}

TEST(Patterns, WithManyStarsStayFast) {
    std::string pattern;
    for (int i = 0; i < 40; ++i)
        pattern += "*a";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(ziplib::matchesPattern(pattern + "b", std::string(5000, 'a'), {}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}
