#include "registry/posix/hiveValue.h"
#include "registry/posix/registryText.h"

#include <QByteArrayList>

#include "tests/registry/printBytes.h"

#include <gtest/gtest.h>

namespace {

using namespace platform::hive; // NOLINT(google-build-using-namespace): the subject

// A string literal with NULs in it.
#define BYTES(literal) QByteArray(literal, sizeof(literal) - 1)

ValueLine parse(const QByteArray &text) {
    return readValue(text, lineAt(text, 0));
}

TEST(HiveValue, EveryFormOfAValueIsRead) {
    const struct {
        QByteArray text;
        QString name;
        std::uint32_t type;
        QByteArray narrow;
    } rows[] = {
        {R"(@="default")", "", 1, BYTES("default\0")},
        {R"("a"=str(7):"one\0two\0")", "a", 7, BYTES("one\0two\0\0")},
        {R"("a"=dword:FEDCBA98)", "a", 4, BYTES("\x98\xba\xdc\xfe")},
        {R"("a"=hex:01,ff,00)", "a", 3, BYTES("\x01\xff\0")},
        {R"("a"=hex(80000001):61)", "a", 0x80000001U, "a"},
        {R"("a"=hex(1):61,00,62)", "a", 1, "a"},
        {"\"a\"=hex:01,02,\\\n  03,\\\r\n\t04", "a", 3, BYTES("\1\2\3\4")},
        {"  \"a\" = \"text\" ; a comment", "a", 1, BYTES("text\0")},
        {R"("C:\\x=\"y\""="z")", "C:\\x=\"y\"", 1, BYTES("z\0")},
        {R"("a"=str:"\n\r\t\\\"\[\q")", "a", 1, "\n\r\t\\\"[q"},
        {R"("a"=str:"\a\e\101\7\0012")", "a", 1,
         "\a\x1b"
         "A\7\0012"},
        {R"("a"=str:"\x41\xe9\x00e9e\x20ac.\x9z\xg")", "a", 1, "A\u00e9\u00e9e\u20ac.\tzxg"},
        {R"("a"=str:"\xd83d!")", "a", 1, "\uFFFD!"},
        {"\"a\"=str:\"\xf0\x9f\x98\x80\"", "a", 1, "\U0001F600"},
        {"\"a\"=str:\"h\xe9\"", "a", 1, "h\u00e9"},
        {R"("\x00c9"=str:"")", "\u00c9", 1, ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text.toStdString());
        const ValueLine line = parse(row.text);
        ASSERT_TRUE(line.value);
        EXPECT_EQ(line.name, row.name);
        EXPECT_EQ(line.value->type, row.type);
        EXPECT_EQ(narrowData(*line.value), row.narrow);
        EXPECT_EQ(line.end, row.text.size());
    }
}

TEST(HiveValue, ADamagedLineHasNoValueAndTakesUpOneLine) {
    for (const char *row :
         {R"("a)", R"("a"text)", R"("a"=)", R"("a"="text\")", R"("a"="text\)", R"("a"=dword:)",
          R"("a"=dword:123456789)", R"("a"=hex:1g)", R"("a"=hex:123)", R"("a"=hex(:01)",
          R"("a"=str(2:"text")", R"("a"=hex:01,02,\)", "\"a\"=hex:01,\\\n",
          "\"a\"=hex:01,\\\n\"b\"=\"c\"\n", "@"}) {
        SCOPED_TRACE(row);
        const ValueLine line = parse(row);
        EXPECT_FALSE(line.value);
        EXPECT_EQ(line.next, lineAt(QByteArrayView(row), 0).next);
    }
}

TEST(HiveValue, AWrittenValueReadsBackByteForByte) {
    const struct {
        std::uint32_t type;
        QByteArray narrow;
        QByteArray text;
    } rows[] = {
        {1, "bare", R"(str:"bare")"},
        {1, BYTES("closed\0"), R"("closed")"},
        {1, "", R"(str:"")"},
        {1, BYTES("\0\0"), R"("\000")"},
        {1,
         BYTES("a\0"
               "7\0"),
         R"("a\0007")"},
        {1, "C:\\\"x\"", R"(str:"C:\\\"x\"")"},
        {1, "[\n\r\t\x01\x7f]", R"(str:"[\n\r\t\001\x007f]")"},
        {1, "\u00e9e", R"(str:"\x00e9e")"},
        {1, "\U0001F600", R"(str:"\xd83d\xde00")"},
        {1, "\xEF\xBB\xBF", R"(str:"\xfeff")"},
        {1, "\xc0\x80\xf4\x90\x80\x80", R"(str:"\xdcc0\xdc80\xdcf4\xdc90\xdc80\xdc80")"},
        {2, BYTES("%X%\0"), R"(str(2):"%X%")"},
        {2, "%", "hex(2):25,00"},
        {7, BYTES("a\0b\0\0"), R"(str(7):"a\000b\000")"},
        {3, BYTES("\0\xff"), "hex:00,ff"},
        {3, QByteArray(26, 'x'), // long ones span several lines
         "hex:" + QByteArray("78,").repeated(25) + "\\\n  78"},
        {4, BYTES("\x2a\0\0\0"), "dword:0000002a"},
        {4, "abc", "hex(4):61,62,63"},
        {11, "12", "hex(b):31,32"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.text.toStdString());
        const Value value = valueFromNarrow(row.type, row.narrow);
        EXPECT_EQ(writeData(value, "\n"), row.text);
        const ValueLine line = parse("\"n\"=" + row.text);
        ASSERT_TRUE(line.value);
        EXPECT_EQ(narrowData(*line.value), row.narrow);
    }
}

TEST(HiveValue, EveryShortRunOfBytesSurvivesAsText) {
    // All pairs of bytes, in front of a tail that can complete or break a sequence.
    for (const QByteArray tail : {"", "\x80", "\x80\x80", "z"}) {
        for (int pair = 0; pair < 0x10000; ++pair) {
            const QByteArray bytes =
                QByteArray(1, static_cast<char>(pair >> 8)) + static_cast<char>(pair) + tail;
            ASSERT_EQ(narrowText(wideText(bytes)), bytes) << bytes.toHex().toStdString();
        }
    }
}

} // namespace
