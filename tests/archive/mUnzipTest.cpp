#include "archive/libraryEvents.h"
#include "platform/error.h"
#include "tests/archive/fixtures.h"
#include "tests/archive/narrowText.h"

#include <QTimeZone>

#include <stdexcept>

namespace {

using mUnzipTest = UnzipTest;

TEST_F(mUnzipTest, ListedPathsAreSplitAtTheLastSlash) {
    struct Row {
        const char *path;
        const char *folder;
        const char *name;
    };
    const Row rows[] = {
        {"readme.txt", "", "readme.txt"},
        {"dir/b.txt", "dir", "b.txt"},
        {"maps/base/a.png", "maps\\base", "a.png"},
        {"/x/y.txt", "\\x", "y.txt"},
        {"/y.txt", "", "y.txt"},
        {"a//b", "a\\", "b"},
        {"a\\b.txt", "", "a\\b.txt"}, // only "/" separates here
        {"a\\b/c.txt", "a\\b", "c.txt"},
        {"\xC3\xBC/\xC3\xA4.cs", "\xC3\xBC", "\xC3\xA4.cs"},
    };
    for (const Row &row : rows)
        list({{.path = narrowText(row.path)}});
    list({{.path = "scripts/"}, {.path = "/"}, {.path = ""}});
    ASSERT_EQ(unzip.FileCount(), static_cast<std::int32_t>(std::size(rows)));
    for (std::size_t row = 0; row < std::size(rows); ++row) {
        SCOPED_TRACE(rows[row].path);
        const auto index = static_cast<std::int32_t>(row) + 1;
        EXPECT_EQ(unzip.FileDirectory(index), QString::fromUtf8(rows[row].folder));
        EXPECT_EQ(unzip.Filename(index), QString::fromUtf8(rows[row].name));
    }
}

TEST_F(mUnzipTest, ListedTextsAreReadUpToTheirNulAndNoFurtherThan256Bytes) {
    during([](const USERFUNCTIONS &library) {
        std::vector<char> path(256, 'p'); // no NUL: the 257th byte is not the callback's to read
        path[3] = '/';
        std::vector<char> method(256, 'm');
        library.SendApplicationMessage(0, 0, 0, 1, 1, 2001, 0, 0, ' ', path.data(), method.data(),
                                       0, ' ');
        report(library, {.path = std::string("a\0b", 3), .method = std::string("De\0f", 4)});
    });
    ASSERT_EQ(unzip.FileCount(), 2);
    EXPECT_EQ(unzip.FileDirectory(1), "ppp");
    EXPECT_EQ(unzip.Filename(1), QString(252, u'p'));
    EXPECT_EQ(unzip.FileCompressionMethod(1), QString(256, u'm'));
    EXPECT_EQ(unzip.Filename(2), "a");
    EXPECT_EQ(unzip.FileCompressionMethod(2), "De");
}

TEST_F(mUnzipTest, DatesAreReadToTheMinute) {
    struct Row {
        std::int32_t year, month, day, hour, minute;
        QDateTime expected;
    };
    const auto at = [](int y, int mo, int d, int h, int mi) {
        return QDateTime(QDate(y, mo, d), QTime(h, mi), QTimeZone::utc());
    };
    const Row rows[] = {
        {2001, 11, 30, 23, 59, at(2001, 11, 30, 23, 59)},
        {0, 1, 1, 0, 0, at(2000, 1, 1, 0, 0)},
        {29, 1, 1, 0, 0, at(2029, 1, 1, 0, 0)},
        {30, 1, 1, 0, 0, at(1930, 1, 1, 0, 0)},
        {99, 12, 31, 0, 0, at(1999, 12, 31, 0, 0)},
        {100, 1, 1, 0, 0, at(100, 1, 1, 0, 0)},
        {2107, 12, 31, 1, 2, at(2107, 12, 31, 1, 2)},
        {2024, 3, 31, 2, 30, at(2024, 3, 31, 2, 30)}, // an hour that some zones leave out
        {1980, 0, 0, 0, 0, at(1979, 11, 30, 0, 0)},   // no date given
        {2001, 13, 32, 24, 60, at(2002, 2, 2, 1, 0)},
        {2001, 2, 30, 0, -1, at(2001, 3, 1, 23, 59)},
    };
    for (const Row &row : rows) {
        list({{.month = row.month,
               .day = row.day,
               .year = row.year,
               .hour = row.hour,
               .minute = row.minute}});
        EXPECT_EQ(unzip.FileDate(unzip.FileCount()), row.expected) << row.year;
    }
}

TEST_F(mUnzipTest, NumbersKeepTheirBitsAndBit6OfTheFlagMeansEncrypted) {
    list({{.packed = 0xFFFFFFFE, .factor = -7, .crc = 0xDEADBEEF, .crypt = 'E'},
          {.packed = 5, .factor = 32767, .crypt = ' '},
          {.crypt = '@'},
          {.crypt = '?'}});
    EXPECT_EQ(unzip.FileSize(1), -2);
    EXPECT_EQ(unzip.FileCompressionRatio(1), -7);
    EXPECT_EQ(unzip.FileCRC(1), static_cast<std::int32_t>(0xDEADBEEF));
    EXPECT_EQ(unzip.FileSize(2), 5);
    EXPECT_EQ(unzip.FileCompressionRatio(2), 32767);
    EXPECT_TRUE(unzip.FileEncrypted(1));
    EXPECT_FALSE(unzip.FileEncrypted(2));
    EXPECT_TRUE(unzip.FileEncrypted(3));
    EXPECT_FALSE(unzip.FileEncrypted(4));
    EXPECT_TRUE(unzip.FileSelected(1));
}

TEST_F(mUnzipTest, TheCallRegistersFiveCallbacksAndItsObjectUntilThatEnds) {
    {
        cUnzip other;
        other.Directory();
        EXPECT_EQ(mUnzip::m_cCurrentUnzip, &other);
    }
    EXPECT_EQ(mUnzip::m_cCurrentUnzip, nullptr);
    fake.calls.clear();
    unzip.Directory();
    const USERFUNCTIONS &functions = fake.calls.at(0).functions;
    EXPECT_TRUE(functions.print != nullptr && functions.replace != nullptr &&
                functions.password != nullptr && functions.SendApplicationMessage != nullptr &&
                functions.ServCallBk != nullptr);
    EXPECT_EQ(functions.sound, nullptr);
    EXPECT_TRUE(functions.TotalSizeComp == 0 && functions.TotalSize == 0 &&
                functions.CompFactor == 0 && functions.NumMembers == 0 &&
                functions.cchComment == 0);
    EXPECT_EQ(mUnzip::m_cCurrentUnzip, &unzip);
}

TEST_F(mUnzipTest, MessagesOf2To31999BytesRaiseProgress) {
    QStringList messages;
    unzip.Progress = [&](std::int32_t count, const QString &message) {
        EXPECT_EQ(count, 1);
        messages.append(message);
        throw std::bad_alloc(); // dropped
    };
    during([](const USERFUNCTIONS &library) {
        std::string text(40000, 'x');
        for (const std::uint32_t size : {0U, 1U, 2U, 31999U, 32000U, 0x80000000U})
            EXPECT_EQ(library.print(text.data(), size), 0);
        std::string cut("a/b/\0c", 6);
        EXPECT_EQ(library.print(cut.data(), 6), 0);
        std::string last("/y/z cannot be written\n");
        library.print(last.data(), static_cast<std::uint32_t>(last.size()));
    });
    ASSERT_EQ(messages.size(), 4);
    EXPECT_EQ(messages[0], "xx");
    EXPECT_EQ(messages[1].size(), 31999);
    EXPECT_EQ(messages[2], "a\\b\\");
    EXPECT_EQ(messages[3], "\\y\\z cannot be written\n");
    EXPECT_EQ(unzip.LastMessage(), "/y/z cannot be written");
    during([](const USERFUNCTIONS &) {});
    EXPECT_EQ(unzip.LastMessage(), QString()); // of the last call only
}

TEST_F(mUnzipTest, AnExistingFileStaysUnlessTheHandlerSaysOtherwise) {
    const auto ask = [this](std::string name) {
        std::int32_t answer = 0;
        during([&](const USERFUNCTIONS &library) { answer = library.replace(name.data()); });
        return answer;
    };
    EXPECT_EQ(ask("a"), 100);
    QString asked;
    for (const std::int32_t answer : {100, 102, 103, 104, -5}) {
        unzip.OverwritePrompt = [&](const QString &file, std::int32_t &response) {
            asked = file;
            EXPECT_EQ(response, 100);
            response = answer;
            throw 1; // dropped; the answer stands
        };
        EXPECT_EQ(ask("/w/a.cs"), answer);
        EXPECT_EQ(asked, "\\w\\a.cs");
    }
    unzip.OverwritePrompt = [&](const QString &file, std::int32_t &) { asked = file; };
    ask(std::string(40000, 'n'));
    EXPECT_EQ(asked.size(), 32801);
}

TEST_F(mUnzipTest, PasswordsAreTrimmedCutAndNeverOverrunTheBuffer) {
    struct Row {
        QString given;
        std::int32_t size;
        std::string expected;
    };
    const Row rows[] = {
        {"secret", 80, "secret"},
        {"  a b  ", 80, "a b"},
        {"\tx\n", 80, "\tx\n"}, // only blanks are trimmed
        {QString(300, u'p'), 1000, std::string(254, 'p')},
        {"secret", 4, "sec"},
        {"secret", 1, ""},
        {QString(300, u'\u00FC'), 1000, narrowText(QString(300, u'\u00FC')).substr(0, 254)},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.given.toStdString());
        unzip.PasswordRequest = [&](QString &password, bool &cancel) {
            EXPECT_TRUE(password.isEmpty());
            EXPECT_FALSE(cancel);
            password = row.given;
            throw platform::RuntimeError(platform::ErrorNumber::Overflow, {}); // dropped
        };
        during([&](const USERFUNCTIONS &library) {
            std::string buffer(1000, '#');
            EXPECT_EQ(library.password(buffer.data(), row.size, nullptr, nullptr), 0);
            EXPECT_STREQ(buffer.c_str(), row.expected.c_str());
            EXPECT_EQ(buffer[row.expected.size() + 1], '#');
        });
    }
}

TEST_F(mUnzipTest, ADeclinedPasswordIsAskedForOnceACall) {
    int asked = 0;
    const std::function<void(QString &, bool &)> declines[] = {
        [&](QString &, bool &) { ++asked; },
        [&](QString &password, bool &) { ++asked, password = "   "; },
        [&](QString &password, bool &cancel) { ++asked, password = u'x', cancel = true; },
        [&](QString &, bool &) {
            ++asked;
            throw std::runtime_error("handler");
        },
        nullptr,
    };
    for (const auto &decline : declines) {
        asked = 0;
        unzip.PasswordRequest = decline;
        for (int call = 1; call <= 2; ++call) {
            during([](const USERFUNCTIONS &library) {
                char buffer[8] = "kept";
                for (int request = 0; request < 3; ++request)
                    EXPECT_EQ(library.password(buffer, 8, nullptr, nullptr), 1);
                EXPECT_STREQ(buffer, "kept");
            });
            EXPECT_EQ(asked, decline ? call : 0);
        }
    }
}

TEST_F(mUnzipTest, EachEntryDoneCanStopTheCall) {
    QStringList names;
    bool stop = false;
    unzip.Cancel = [&](const QString &name, bool &cancel) {
        EXPECT_FALSE(cancel);
        names.append(name);
        cancel = stop;
        throw std::runtime_error("handler"); // dropped; the answer stands
    };
    during([&](const USERFUNCTIONS &library) {
        std::string name = "d/a.cs";
        for (const std::uint32_t size : {0U, 1U, 32000U})
            EXPECT_EQ(library.ServCallBk(name.data(), size), 0);
        EXPECT_EQ(library.ServCallBk(name.data(), 3), 0);
        EXPECT_EQ(library.ServCallBk(name.data(), 7), 0);
        EXPECT_EQ(library.ServCallBk(name.data(), 31999), 0);
        stop = true;
        EXPECT_EQ(library.ServCallBk(name.data(), 7), 1);
    });
    const QString whole = "d\\a.cs";
    EXPECT_EQ(names, QStringList({"d\\a", whole, whole, whole}));
}

TEST_F(mUnzipTest, EveryCallbackKeepsTheWindowsPainted) {
    static int idleCalls;
    idleCalls = 0;
    setIdleHandler([] {
        ++idleCalls;
        throw std::runtime_error("painting");
    });
    const auto callAll = [](const USERFUNCTIONS &library) {
        char text[] = "text";
        library.print(text, 0);
        library.ServCallBk(text, 5);
        library.replace(text);
        library.password(text, 5, nullptr, nullptr);
        report(library, {});
    };
    during(callAll);
    EXPECT_EQ(idleCalls, 5);
    setIdleHandler(nullptr);
    during(callAll);
    EXPECT_EQ(idleCalls, 5);
}

} // namespace
