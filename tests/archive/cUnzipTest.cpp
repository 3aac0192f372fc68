#include "archive/libraryEvents.h"
#include "tests/archive/fixtures.h"

#include <stdexcept>

using platform::ErrorNumber;

namespace {

using cUnzipTest = UnzipTest;
using mUnzipTest = UnzipTest;

TEST_F(cUnzipTest, EachOptionHasAFieldOfTheRecord) {
    for (const auto set :
         {&cUnzip::setExtractOnlyNewer, &cUnzip::setSpaceToUnderScore, &cUnzip::setTestZip,
          &cUnzip::setUseFolderNames, &cUnzip::setConvertCRToCRLF})
        (unzip.*set)(true);
    unzip.setMessageLevel(2);
    unzip.Unzip();
    EXPECT_EQ(options(), "110201000101000");
    for (const auto set : {&cUnzip::setPromptToOverwrite, &cUnzip::setOverwriteExisting,
                           &cUnzip::setCaseSensitiveFileNames})
        (unzip.*set)(true);
    unzip.Unzip();
    EXPECT_EQ(options(), "111201000111010");
}

TEST_F(cUnzipTest, DirectoryListsTheWholeArchiveBehindTheEntriesOfEarlierCalls) {
    unzip.setUnzipFolder("/work");
    EXPECT_EQ(list({{.path = "a"}, {.path = "b"}}, 9), 9);
    EXPECT_EQ(unzip.LastCode(), 9);
    const FakeUnzip::Call &call = fake.calls.at(0);
    EXPECT_EQ(options(), "000000100000000");
    EXPECT_EQ(call.zipFile, narrowPath("/game/base/x.vl2"));
    EXPECT_EQ(call.folder, "");
    EXPECT_EQ(call.includeCount + call.excludeCount, 0);
    list({{.path = "c"}});
    ASSERT_EQ(unzip.FileCount(), 3);
    EXPECT_EQ(unzip.Filename(3), "c");
    unzip.setZipFile({}); // any archive path empties the list
    EXPECT_EQ(unzip.FileCount(), 0);
    // An empty one is listed as it is but never extracted.
    list({});
    EXPECT_EQ(fake.calls.back().zipFile, "");
    const std::size_t calls = fake.calls.size();
    EXPECT_FALSE(unzip.Unzip());
    EXPECT_EQ(fake.calls.size(), calls);
}

TEST_F(cUnzipTest, IndexesOutsideTheListAreErrors) {
    listNumbered(2);
    for (const std::int32_t index : {-2147483647 - 1, 0, 3}) {
        const auto number = ErrorNumber::SubscriptOutOfRange;
        expectError(
            number, [&] { unzip.Filename(index); });
        expectError(number, [&] { unzip.setFileSelected(index, true); });
    }
}

TEST_F(cUnzipTest, PackedSizeIsSizeTimesFactorInHundredthsTowardZero) {
    const struct {
        std::uint32_t size;
        std::int32_t factor;
        std::optional<std::int32_t> expected; // none: overflow
    } rows[] = {
        {1000, 25, 250},           {199, -1, -1},       {0xFFFFFF38, 50, -100},
        {21474836, 100, 21474836}, {21474837, 100, {}}, {0x80000000, -1, {}},
    };
    for (const auto &row : rows) {
        unzip.setZipFile(unzip.ZipFile());
        list({{.size = row.size, .factor = row.factor}});
        if (row.expected)
            EXPECT_EQ(unzip.FilePackedSize(1), *row.expected) << row.size << " x " << row.factor;
        else
            expectError(ErrorNumber::Overflow, [&] { unzip.FilePackedSize(1); });
    }
}

TEST_F(cUnzipTest, PartialSelectionsGoByNameAndOthersExtractEverything) {
    list({{.path = "a.txt"}, {.path = "d/e/b.txt"}, {.path = "/x/y.txt"}, {.path = "odd\\n"}});
    EXPECT_FALSE(unzip.Unzip());
    EXPECT_EQ(fake.calls.back().includeCount, 0);
    unzip.setFileSelected(1, false);
    fake.script = [](USERFUNCTIONS &) { return 1; };
    fake.missing = 2;
    EXPECT_TRUE(unzip.Unzip()); // true reports a problem
    EXPECT_EQ(unzip.MissingCount(), 2);
    const FakeUnzip::Call call = fake.calls.back();
    EXPECT_EQ(call.options.nvflag, 0);
    EXPECT_EQ(call.includeCount, 3);
    // In the archive's own notation; at the root the name as it is; an empty text at the end.
    EXPECT_EQ(std::vector<Text>(call.include.begin(), call.include.begin() + 5),
              (std::vector<Text>{"d/e/b.txt", "/x/y.txt", "odd\\n", "", std::nullopt}));
    EXPECT_EQ(call.excludeCount, 0);
    EXPECT_EQ(call.exclude[0], "");
    EXPECT_EQ(call.exclude[1], std::nullopt);
}

TEST_F(cUnzipTest, AThousandAndTwentyThreeNamesPassAndOneMoreIsRefused) {
    listNumbered(1025);
    unzip.setFileSelected(1, false);
    unzip.setFileSelected(2, false);
    EXPECT_FALSE(unzip.Unzip());
    EXPECT_EQ(fake.calls.back().include[1022], "1025");
    EXPECT_EQ(fake.calls.back().include[1023], "");
    const std::size_t calls = fake.calls.size();
    unzip.setFileSelected(2, true);
    expectError(
        ErrorNumber::SubscriptOutOfRange, [&] { unzip.Unzip(); }, "Orvel.VBUnzip");
    EXPECT_EQ(fake.calls.size(), calls);
    EXPECT_EQ(mUnzip::m_cCurrentUnzip, nullptr);
    EXPECT_EQ(unzip.LastCode(), -1);
    EXPECT_EQ(unzip.MissingCount(), 1);
    unzip.setFileSelected(1, true);
    EXPECT_FALSE(unzip.Unzip()); // a full selection needs no names
}

TEST_F(cUnzipTest, TheVersionIsTheOneOfTheLibrary) {
    fake.version.windll = {5, 4, 1, 0};
    std::int32_t numbers[3] = {};
    QDateTime date;
    QString extra;
    unzip.GetVersion(numbers[0], numbers[1], numbers[2], date, extra);
    EXPECT_EQ(digits(numbers, 3), "541");
}

TEST_F(mUnzipTest, ListedPathsAreSplitAtTheLastSlash) {
    const struct {
        const char *path, *folder, *name;
    } rows[] = {
        {"readme.txt", "", "readme.txt"},
        {"maps/base/a.png", "maps\\base", "a.png"},
        {"/y.txt", "", "y.txt"},
        {"a//b", "a\\", "b"},
        {"a\\b/c.txt", "a\\b", "c.txt"}, // only "/" separates here
        {"\xC3\xBC/\xC3\xA4.cs", "\xC3\xBC", "\xC3\xA4.cs"},
    };
    for (const auto &row : rows)
        list({{.path = narrowText(row.path)}});
    list({{.path = "scripts/"}, {.path = "/"}, {.path = ""}}); // these have no name
    ASSERT_EQ(unzip.FileCount(), static_cast<std::int32_t>(std::size(rows)));
    std::int32_t index = 0;
    for (const auto &row : rows) {
        EXPECT_EQ(unzip.FileDirectory(++index), QString::fromUtf8(row.folder)) << row.path;
        EXPECT_EQ(unzip.Filename(index), QString::fromUtf8(row.name)) << row.path;
    }
}

TEST_F(mUnzipTest, ListedTextsAreReadUpToTheirNulAndNoFurtherThan256Bytes) {
    during([](const USERFUNCTIONS &library) {
        std::vector<char> path(256, 'p'); // no NUL: the callback must not read the 257th byte
        std::vector<char> method(256, 'm');
        library.SendApplicationMessage(0, 0, 0, 1, 1, 2001, 0, 0, ' ', path.data(), method.data(),
                                       0, ' ');
        report(library, {.path = std::string("a\0b", 3), .method = std::string("De\0f", 4)});
    });
    ASSERT_EQ(unzip.FileCount(), 2);
    EXPECT_EQ(unzip.Filename(1), QString(256, u'p'));
    EXPECT_EQ(unzip.FileCompressionMethod(1), QString(256, u'm'));
    EXPECT_EQ(unzip.Filename(2), "a");
    EXPECT_EQ(unzip.FileCompressionMethod(2), "De");
}

TEST_F(mUnzipTest, DatesAreReadToTheMinute) {
    const struct {
        std::int32_t year, month, day, hour, minute;
        const char *expected;
    } rows[] = {
        {2001, 11, 30, 23, 59, "2001-11-30T23:59:00Z"}, {29, 1, 1, 0, 0, "2029-01-01T00:00:00Z"},
        {30, 1, 1, 0, 0, "1930-01-01T00:00:00Z"},       {100, 1, 1, 0, 0, "0100-01-01T00:00:00Z"},
        {2024, 3, 31, 2, 30, "2024-03-31T02:30:00Z"}, // an hour that some zones leave out
        {1980, 0, 0, 0, 0, "1979-11-30T00:00:00Z"},   // no date given
        {2001, 13, 32, 24, 60, "2002-02-02T01:00:00Z"},
    };
    for (const auto &row : rows) {
        list({{"a.txt", 0, 0, row.month, row.day, row.year, row.hour, row.minute}});
        EXPECT_EQ(unzip.FileDate(unzip.FileCount()).toString(Qt::ISODate), row.expected);
    }
}

TEST_F(mUnzipTest, NumbersKeepTheirBitsAndBit6OfTheFlagMeansEncrypted) {
    list({{.size = 0xFFFFFFFE, .factor = -7, .crc = 0xDEADBEEF, .crypt = 'E'},
          {.size = 5, .factor = 32767, .crypt = ' '}});
    EXPECT_EQ(unzip.FileSize(1), -2);
    EXPECT_EQ(unzip.FileCompressionRatio(1), -7);
    EXPECT_EQ(unzip.FileCRC(1), static_cast<std::int32_t>(0xDEADBEEF));
    EXPECT_TRUE(unzip.FileEncrypted(1));
    EXPECT_FALSE(unzip.FileEncrypted(2));
}

TEST_F(mUnzipTest, ACallHasItsObjectUntilThatEnds) {
    {
        cUnzip other;
        other.Directory();
        EXPECT_EQ(mUnzip::m_cCurrentUnzip, &other);
    }
    EXPECT_EQ(mUnzip::m_cCurrentUnzip, nullptr);
}

// Exceptions of the handlers are dropped and their answers count.
TEST_F(mUnzipTest, CallbacksRaiseTheEventsOfTheObject) {
    QStringList seen;
    bool stop = false;
    unzip.Progress = [&](std::int32_t, const QString &message) {
        seen.append(message);
        throw std::bad_alloc();
    };
    unzip.OverwritePrompt = [&](const QString &file, std::int32_t &response) {
        seen.append(file);
        EXPECT_EQ(response, 100);
        response = 103;
        throw 1;
    };
    unzip.Cancel = [&](const QString &name, bool &cancel) {
        seen.append(name);
        cancel = stop;
        throw std::runtime_error("handler");
    };
    during([&](const USERFUNCTIONS &library) {
        std::string text(40000, 'x');
        for (const std::uint32_t size : {0U, 1U, 2U, 31999U, 32000U, 0x80000000U}) {
            EXPECT_EQ(library.print(text.data(), size), 0);
            EXPECT_EQ(library.ServCallBk(text.data(), size), 0);
        }
        EXPECT_EQ(library.replace(text.data()), 103);
        std::string path("/w/a.cs failed\n\0c", 16);
        EXPECT_EQ(library.print(path.data(), 16), 0);
        stop = true;
        EXPECT_EQ(library.ServCallBk(path.data(), 4), 1);
        unzip.OverwritePrompt = nullptr;
        EXPECT_EQ(library.replace(path.data()), 100); // the file stays
    });
    const QString longest(31999, u'x');
    EXPECT_EQ(seen, QStringList({"xx", "xx", longest, longest, QString(32801, u'x'),
                                 "\\w\\a.cs failed\n", "\\w\\a"}));
    EXPECT_EQ(unzip.LastMessage(), "/w/a.cs failed");
    during([](const USERFUNCTIONS &) {});
    EXPECT_EQ(unzip.LastMessage(), QString()); // of the last call only
}

TEST_F(mUnzipTest, PasswordsAreTrimmedAndCutAndADeclinedOneIsAskedForOnceACall) {
    const struct {
        QString given;
        bool cancel;
        std::int32_t size;
        std::string expected; // "" if declined
    } rows[] = {
        {"  a b\t ", false, 80, "a b\t"}, // only blanks are trimmed
        {QString(300, u'\u00FC'), false, 1000, narrowText(QString(300, u'\u00FC')).substr(0, 254)},
        {"secret", false, 4, "sec"},
        {"   ", false, 80, ""},
        {"x", true, 80, ""},
    };
    for (const auto &row : rows) {
        int asked = 0;
        unzip.PasswordRequest = [&](QString &password, bool &cancel) {
            ++asked, password = row.given, cancel = row.cancel;
        };
        during([&](const USERFUNCTIONS &library) {
            const bool declined = row.expected.empty();
            std::string buffer(1000, '#');
            for (int request = 0; request < 3; ++request)
                EXPECT_EQ(library.password(buffer.data(), row.size, nullptr, nullptr), declined);
            const std::string written = declined ? "" : row.expected + '\0';
            EXPECT_EQ(buffer, written + std::string(1000 - written.size(), '#'));
            EXPECT_EQ(asked, declined ? 1 : 3);
        });
    }
}

TEST_F(mUnzipTest, EveryCallbackKeepsTheWindowsPainted) {
    static int idleCalls;
    idleCalls = 0;
    setIdleHandler([] {
        ++idleCalls;
        throw std::runtime_error("painting");
    });
    during([](const USERFUNCTIONS &library) {
        char text[] = "text";
        library.print(text, 0);
        library.ServCallBk(text, 5);
        library.replace(text);
        library.password(text, 5, nullptr, nullptr);
        report(library, {});
    });
    setIdleHandler(nullptr);
    EXPECT_EQ(idleCalls, 5);
}

} // namespace
