#include "platform/namePattern.h"

#include <gtest/gtest.h>

namespace {

TEST(NamePatternTest, WildcardsWorkAsInADosSearch) {
    struct Row {
        const char *pattern;
        const char *name;
        bool matches;
    };
    for (const Row &row : {
             Row{"*", "readme", true},
             Row{"*.*", "readme", true},
             Row{"*.*", ".hidden", true},
             Row{"*.vl2", "Base.VL2", true},
             Row{"*.vl2", "base.vl2x", false},
             Row{"*.vl2", ".vl2", true},
             Row{"*.", "readme", true},
             Row{"*.", "a.txt", false},
             Row{"a*c*e", "abcde", true},
             Row{"a*c*e", "abcd", false},
             Row{"file?.cs", "file1.cs", true},
             Row{"file?.cs", "file12.cs", false},
             Row{"file??.cs", "file1.cs", true},
             Row{"file?", "file", true},
             Row{"?", "ab", false},
             Row{"readme.*", "readme", true},
             Row{"readme.*", "readme.txt", true},
             Row{"readme.?", "readme.txt", false},
             Row{"*a*", "BANANA", true},
             Row{"\xc3\xa4*", "\xc3\x84ther", true},
             Row{"?.txt", "\xc3\xa4.txt", true},
             Row{"caf?.txt", "caf\xe9.txt", true},
             Row{"", "a", false},
             Row{"[a]*", "a", false},
         })
        EXPECT_EQ(platform::NamePattern(QString::fromUtf8(row.pattern)).matches(row.name),
                  row.matches)
            << row.pattern << " on " << row.name;
}

TEST(NamePatternTest, ManyStarsCostNoMoreThanTheirProduct) {
    const QString pattern = QString("a*").repeated(100) + "b";
    EXPECT_FALSE(platform::NamePattern(pattern).matches(QByteArray(250, 'a')));
}

} // namespace
