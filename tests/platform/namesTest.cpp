#include "platform/namePattern.h"

#include <QByteArrayList>

#include <gtest/gtest.h>

namespace {

TEST(NamePatternTest, WildcardsWorkAsInADosSearch) {
    struct Row {
        const char *pattern;
        QByteArrayList matches;
        QByteArrayList others;
    };
    const Row rows[] = {
        {"*", {"readme"}, {}},
        {"*.*", {"readme", ".hidden"}, {}},
        {"*.vl2", {"Base.VL2", ".vl2"}, {"base.vl2x"}},
        {"*.", {"readme"}, {"a.txt"}},
        {"a*c*e", {"abcde"}, {"abcd"}},
        {"file?.cs", {"file1.cs"}, {"file12.cs"}},
        {"file??.cs", {"file1.cs"}, {}},
        {"file?", {"file"}, {}},
        {"?", {}, {"ab"}},
        {"readme.*", {"readme", "readme.txt"}, {}},
        {"readme.?", {}, {"readme.txt"}},
        {"*a*", {"BANANA"}, {}},
        {"\xc3\xa4*", {"\xc3\x84ther"}, {}},
        {"?.txt", {"\xc3\xa4.txt"}, {}},
        {"caf?.txt", {"caf\xe9.txt"}, {}},
        {"", {}, {"a"}},
        {"[a]*", {}, {"a"}},
    };
    for (const Row &row : rows) {
        const platform::NamePattern pattern(QString::fromUtf8(row.pattern));
        for (const QByteArray &name : row.matches)
            EXPECT_TRUE(pattern.matches(name)) << row.pattern << " on " << name.constData();
        for (const QByteArray &name : row.others)
            EXPECT_FALSE(pattern.matches(name)) << row.pattern << " on " << name.constData();
    }
}

TEST(NamePatternTest, ManyStarsCostNoMoreThanTheirProduct) {
    const QString pattern = QString("a*").repeated(100) + "b";
    EXPECT_FALSE(platform::NamePattern(pattern).matches(QByteArray(250, 'a')));
}

} // namespace
