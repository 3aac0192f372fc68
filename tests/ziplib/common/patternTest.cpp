#include "ziplib/common/pattern.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

TEST(Patterns, MatchWholeNames) {
    const struct {
        const char *pattern;
        const char *name;
        bool ignoreCase;
        bool brackets;
        bool matches;
    } rows[] = {
        {"*", "", false, true, true},
        {"", "", false, true, true},
        {"", "a", false, true, false},
        {"a*b*c", "a1b2b3c", false, true, true},
        {"a*b*c", "a1b2b3", false, true, false},
        {"*.png", "maps/a.PNG", false, true, false},
        {"*.png", "maps/a.PNG", true, true, true},
        {"?", "é", false, true, true},
        {"??", "é", false, true, false},
        {"É*", "école", true, true, true},
        {"[abc]x", "bx", false, true, true},
        {"[a-c]x", "dx", false, true, false},
        {"[!a-c]x", "dx", false, true, true},
        {"[A-C]x", "bx", true, true, true},
        {"[]]x", "]x", false, true, true},
        {"[a-]x", "-x", false, true, true},
        {"[abc", "[abc", false, true, true},
        {"[abc]x", "bx", false, false, false},
        {"[abc]x", "[abc]x", false, false, true},
        {"a\xFF*",
         "a\xFF"
         "b",
         false, true, true},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(ziplib::matchesPattern(row.pattern, row.name, {row.ignoreCase, row.brackets}),
                  row.matches)
            << row.pattern << " on " << row.name;
    }
}

TEST(Patterns, WithManyStarsStayFast) {
    std::string pattern;
    for (int i = 0; i < 40; ++i)
        pattern += "*a";
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(ziplib::matchesPattern(pattern + "b", std::string(5000, 'a'), {}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}
