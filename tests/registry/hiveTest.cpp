#include "registry/posix/hive.h"

#include "tests/registry/printBytes.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace platform::hive; // NOLINT(google-build-using-namespace): the subject

constexpr std::int64_t kNow = 1695645672;
const QByteArray kKeyLines = "[New\\\\Key] 1695645672\n#time=1d9efad90b06400\n";

QByteArray narrow(const Hive &hive, QStringView path, QStringView name) {
    const std::optional<Value> value = hive.value(path, name);
    return value ? narrowData(*value) : QByteArray("(missing)");
}

Value text(const QByteArray &bytes) {
    return valueFromNarrow(TypeText, bytes);
}

const QByteArray kFile = R"(WINE REGISTRY Version 2
;; All keys relative to REGISTRY\\Machine

#arch=win64

[Software\\Adobe\\Photoshop\\6.0\\ApplicationPath] 1695645672
#time=1d9efa8c2a1e3f0
@="C:\\Photoshop\\"

[Software\\Classes\\.bmp] 1695645672
#class="A class"
#time=1d9efa8c2a1e3f0
"Bytes"=hex:01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,\
  16,17
"List"=str(7):"one\0two\0"
"Number"=dword:0000002a
"Path"=str(2):"%ProgramFiles%\\x"
an unknown line
"Text"="plain"

;; about the next key
[Software\\Linked] 1695645672
#link
"SymbolicLinkValue"=hex(6):5c,00,52,00

[With \[brackets\] and \x00e9]
"a"="b"
)";

TEST(Hive, KeysAndValuesAreFoundWithoutRegardToCase) {
    const Hive hive(kFile);
    EXPECT_EQ(narrow(hive, u"SOFTWARE\\ADOBE\\photoshop\\6.0\\ApplicationPath", u""),
              QByteArray("C:\\Photoshop\\\0", 14));
    EXPECT_EQ(narrow(hive, u"software\\classes\\.BMP", u"TEXT"), QByteArray("plain\0", 6));
    EXPECT_EQ(narrow(hive, u"Software\\Linked", u"SymbolicLinkValue"), QByteArray("\\\0R\0", 4));
    EXPECT_EQ(narrow(hive, u"WITH [BRACKETS] AND \u00c9", u"A"), QByteArray("b\0", 2));
    EXPECT_EQ(hive.valueNames(u"Software\\Classes\\.bmp"),
              QStringList({"Bytes", "List", "Number", "Path", "Text"}));
    EXPECT_FALSE(hive.value(u"Software\\Classes", u"Text"));
    EXPECT_FALSE(hive.value(u"Software\\Classes\\.bmp", u""));
}

TEST(Hive, AKeyIsFoundInEverySpellingOfItsPath) {
    const auto holds = [](const QByteArray &line) {
        return Hive(line + "\n\"v\"=\"1\"\n").value(u"one\\t\u00e9", u"v").has_value();
    };
    for (const QByteArray line : {"  [ONE\\\\t\xc3\xa9] 1695645672", R"([O\x006ee\\T\x00C9] #)",
                                  R"([\\One\\\\T\xe9\\])", "[One\\134T\xe9]"})
        EXPECT_TRUE(holds(line)) << line.toStdString();
    for (const QByteArray line :
         {"[One\\\\T\xe9", "[One]", "[OneT\xe9]", "[One\\\\T\xe9\\\\Three]", "[]"})
        EXPECT_FALSE(holds(line)) << line.toStdString();
}

TEST(Hive, SettingAValueLeavesEveryOtherByteAsItWas) {
    const struct {
        QStringView path;
        QStringView name;
        QByteArray from;
        QByteArray to;
    } rows[] = {
        {u"software\\adobe\\photoshop\\6.0\\applicationpath", u"", R"(@="C:\\Photoshop\\")",
         R"(@=str:"new")"},
        {u"Software\\Classes\\.bmp", u"TEXT", R"("Text"="plain")", R"("Text"=str:"new")"},
        {u"Software\\Classes\\.bmp", u"bytes",
         "hex:01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,\\\n  16,17",
         R"(str:"new")"},
        {u"Software\\Classes\\.bmp", u"Fresh", R"("Text"="plain")",
         "\"Text\"=\"plain\"\n\"Fresh\"=str:\"new\""},
        {u"Software\\Linked", u"", "hex(6):5c,00,52,00", "hex(6):5c,00,52,00\n@=str:\"new\""},
        {u"with [brackets] and \u00e9", u"c", R"("a"="b")", "\"a\"=\"b\"\n\"c\"=str:\"new\""},
    };
    for (const bool isDos : {false, true}) {
        for (const auto &row : rows) {
            QByteArray before = kFile;
            QByteArray expected = QByteArray(kFile).replace(row.from, row.to);
            ASSERT_EQ(kFile.count(row.from), 1);
            if (isDos) {
                before.replace('\n', "\r\n");
                expected.replace('\n', "\r\n");
            }
            const QByteArray after = Hive(before).withValue(row.path, row.name, text("new"), kNow);
            EXPECT_EQ(after, expected);
            EXPECT_EQ(narrow(Hive(after), row.path, row.name), "new");
        }
    }
}

TEST(Hive, ANewKeyFollowsTheOldTextWhateverItIs) {
    const QByteArray header = "WINE REGISTRY Version 2\n;; All keys relative to "
                              "\\\\REGISTRY\\\\Machine\n\n#arch=win64\n\n";
    const std::pair<QByteArray, QByteArray> rows[] = {
        {"\n \n", header},
        {kFile, "\n"},
        {kFile + "\n", ""},
        {kFile.chopped(1), "\n\n"},
        {"[Old\\\\Ke", "\n\n"},
        {"[Old]\n\"a\"=hex:01,\\", "\n\n"},
        {"[Old]\n\"a\"=hex:01,\\\n", "\n"},
        {QByteArray(100, '\0'), "\n\n"}, // as some disks leave them after a power cut
    };
    for (const auto &[before, between] : rows) {
        SCOPED_TRACE(before.toStdString());
        const Hive hive(before);
        EXPECT_EQ(hive.withKey(u"New\\Key", kNow), before + between + kKeyLines);
        const QByteArray after = hive.withValue(u"New\\Key", u"n", text("t"), kNow);
        EXPECT_EQ(after, before + between + kKeyLines + "\"n\"=str:\"t\"\n");
        EXPECT_EQ(narrow(Hive(after), u"new\\key", u"N"), "t");
        EXPECT_EQ(Hive(after).withKey(u"NEW\\key", kNow), after);
    }
}

TEST(Hive, ADamagedLineLeavesTheOthersReadable) {
    for (const QByteArray row : {"\"x\"=\"open", "\"x\"=hex:01,\\", "\"x\"=hex:0g,\\\n  01", "\\",
                                 "\xff\xfe\xfd", "\"x\"=hex:01,\\\n"}) {
        SCOPED_TRACE(row.toStdString());
        const QByteArray file = "[A]\n\"first\"=\"1\"\n" + row + "\n\"last\"=\"2\"\n" + row +
                                "\n[B]\n" + row + "\n\"b\"=\"3\"\n" + row;
        const Hive hive(file);
        EXPECT_EQ(hive.valueNames(u"a"), QStringList({"first", "last"}));
        EXPECT_EQ(hive.valueNames(u"b"), QStringList({"b"}));
        for (const QStringView key : {QStringView(u"A"), QStringView(u"B")}) {
            const QByteArray after = hive.withValue(key, u"new", text("n"), kNow);
            const Hive reread(after);
            EXPECT_EQ(narrow(reread, key, u"new"), "n");
            EXPECT_EQ(reread.valueNames(u"a").size() + reread.valueNames(u"b").size(), 4);
            EXPECT_EQ(after.count(row), file.count(row));
            EXPECT_FALSE(after.contains("\\\n\"new\"")) << "other readers would join these lines";
        }
    }
}

TEST(Hive, TheLastOfSeveralEqualNamesCountsAndIsTheOneThatIsSet) {
    // The values below a damaged key line belong to no key.
    const QByteArray before =
        "[A]\n\"v\"=\"1\"\n\"V\"=\"2\"\n[Brok\\\\en\n\"b\"=\"2\"\n[a]\n\"v\"=\"0\"\n";
    const QByteArray after = "\n\"v\"=\"open\n";
    const Hive hive(before + "\"v\"=\"3\"" + after);
    EXPECT_EQ(narrow(hive, u"A", u"v"), QByteArray("3\0", 2));
    EXPECT_EQ(hive.valueNames(u"A"), QStringList({"v"}));
    EXPECT_EQ(hive.withValue(u"A", u"V", text("n"), kNow), before + "\"v\"=str:\"n\"" + after);
}

} // namespace
