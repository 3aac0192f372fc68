#include "tests/archive/expectError.h"
#include "tests/archive/narrowText.h"
#include "tests/archive/zipFixture.h"

#include <QDir>
#include <QTemporaryDir>

#include <stdexcept>

using platform::ErrorNumber;

namespace {

using mZipTest = ZipTest;

TEST_F(mZipTest, TheThreeFunctionsAreCalledInOrderWithTheArchiveAndTheSpecs) {
    zip.AddFileSpec(QStringLiteral("*"));
    zip.AddFileSpec(QStringLiteral("\u00FCber/*.cs"));
    zip.Zip();
    EXPECT_EQ(fake.order, (std::vector<std::string>{"ZpInit", "ZpSetOptions", "ZpArchive"}));
    const FakeZip::Call &call = fake.calls.at(0);
    EXPECT_EQ(call.zipFile, narrowPath("/game/base/x.vl2"));
    EXPECT_EQ(call.count, 2);
    EXPECT_EQ(call.names[0], "*");
    EXPECT_EQ(call.names[1], narrowText(QStringLiteral("\u00FCber/*.cs")));
    EXPECT_EQ(call.names[2], std::nullopt); // the end mark comes one slot later
    EXPECT_EQ(call.names[3], "");
    EXPECT_EQ(call.names[4], std::nullopt);
    EXPECT_EQ(mZip::m_cCurrentZip, &zip);
}

TEST_F(mZipTest, AThousandAndTwentyTwoSpecsPassAndOneMoreIsRefused) {
    for (int spec = 0; spec < 1022; ++spec)
        zip.AddFileSpec(QString::number(spec));
    zip.Zip();
    EXPECT_EQ(fake.calls.at(0).names[1021], "1021");
    EXPECT_EQ(fake.calls.at(0).names[1022], std::nullopt);
    EXPECT_EQ(fake.calls.at(0).names[1023], "");

    fake.order.clear();
    zip.AddFileSpec(QStringLiteral("one more"));
    expectError(ErrorNumber::SubscriptOutOfRange, {}, [&] { zip.Zip(); });
    EXPECT_EQ(fake.order, (std::vector<std::string>{"ZpInit", "ZpSetOptions"}));
    EXPECT_EQ(mZip::m_cCurrentZip, &zip);
    EXPECT_FALSE(zip.LastResult().ok());
}

TEST_F(mZipTest, TheBaseFolderMustExistUnlessItIsBlank) {
    const QTemporaryDir folder;
    ASSERT_TRUE(QDir(folder.path()).mkpath(QStringLiteral("pack/a b")));
    QFile file(folder.path() + QStringLiteral("/file"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    const QString before = QDir::currentPath();
    struct Row {
        QString base;
        std::optional<std::string> crossed; // none: error 76
    };
    const Row rows[] = {
        {folder.path() + QStringLiteral("\\pack\\a b"), narrowPath(folder.path() + "/pack/a b")},
        {QString(), ""},
        {QStringLiteral("   "), "   "},
        {folder.path() + QStringLiteral("\\missing"), {}},
        {folder.path() + QStringLiteral("\\file"), {}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.base.toStdString());
        fake.order.clear();
        zip.setBasePath(row.base);
        if (row.crossed) {
            zip.Zip();
            EXPECT_EQ(fake.calls.back().rootDir, *row.crossed);
        } else {
            expectError(ErrorNumber::PathNotFound, {}, [&] { zip.Zip(); });
            EXPECT_TRUE(fake.order.empty());
        }
        EXPECT_EQ(zip.BasePath(), row.base);
    }
    EXPECT_EQ(QDir::currentPath(), before);
    // With the separator at its end, as a work folder is given.
    zip.setBasePath(folder.path() + QStringLiteral("\\pack\\"));
    zip.Zip();
    EXPECT_EQ(QDir::cleanPath(platform::fromNarrow(*fake.calls.back().rootDir)),
              QDir::cleanPath(platform::nativePath(folder.path() + QStringLiteral("/pack"))));
}

TEST_F(mZipTest, MessagesAndNamesOf2To31999BytesRaiseEvents) {
    QStringList messages;
    QStringList names;
    bool stop = false;
    zip.Progress = [&](std::int32_t count, const QString &message) {
        EXPECT_EQ(count, 1);
        messages.append(message);
    };
    zip.Cancel = [&](const QString &name, bool &cancel) {
        EXPECT_FALSE(cancel);
        names.append(name);
        cancel = stop;
    };
    during([&](const ZIPUSERFUNCTIONS &library) {
        std::string text(40000, 'x');
        for (const std::uint32_t size : {0U, 1U, 2U, 31999U, 32000U}) {
            EXPECT_EQ(library.print(text.data(), size), 0);
            EXPECT_EQ(library.ServiceApplication(text.data(), size), 0);
        }
        stop = true;
        std::string cut("a/b\0c", 5);
        EXPECT_EQ(library.print(cut.data(), 5), 0);
        EXPECT_EQ(library.ServiceApplication(cut.data(), 5), 1);
        EXPECT_EQ(library.ServiceApplication(cut.data(), 2), 1);
        EXPECT_EQ(library.comment(cut.data()), cut.data());
    });
    ASSERT_EQ(messages.size(), 3);
    EXPECT_EQ(messages[0], QStringLiteral("xx"));
    EXPECT_EQ(messages[1].size(), 31999);
    EXPECT_EQ(messages[2], QStringLiteral("a\\b"));
    ASSERT_EQ(names.size(), 4);
    EXPECT_EQ(names[1].size(), 31999);
    EXPECT_EQ(names[2], QStringLiteral("a/b")); // separators as the library wrote them
    EXPECT_EQ(names[3], QStringLiteral("a/"));
}

TEST_F(mZipTest, ADeclinedPasswordIsAskedForOnceACallAndAGivenOneCrosses) {
    int asked = 0;
    QString given = QStringLiteral("   ");
    bool decline = false;
    zip.PasswordRequest = [&](QString &password, bool &cancel) {
        ++asked;
        password = given;
        cancel = decline;
    };
    const auto request = [this](int times, std::int32_t expected) {
        std::string buffer(400, '#');
        during([&](const ZIPUSERFUNCTIONS &library) {
            for (int number = 0; number < times; ++number)
                EXPECT_EQ(library.password(buffer.data(), 300, nullptr, nullptr), expected);
        });
        return buffer.substr(0, buffer.find('\0'));
    };
    EXPECT_EQ(request(3, 1), std::string(400, '#'));
    EXPECT_EQ(asked, 1);
    given = QString(300, u'p');
    EXPECT_EQ(request(2, 0), std::string(254, 'p'));
    EXPECT_EQ(asked, 3);
    decline = true;
    request(2, 1);
    EXPECT_EQ(asked, 4);
    zip.PasswordRequest = nullptr;
    request(1, 1);
}

TEST_F(mZipTest, WhatAHandlerThrowsIsDroppedAndItsAnswerStands) {
    zip.Cancel = [](const QString &, bool &cancel) {
        cancel = true;
        throw std::runtime_error("handler");
    };
    zip.PasswordRequest = [](QString &password, bool &) {
        password = QStringLiteral("given");
        throw 1;
    };
    zip.Progress = [](std::int32_t, const QString &) { throw std::bad_alloc(); };
    during([](const ZIPUSERFUNCTIONS &library) {
        char name[] = "name";
        EXPECT_EQ(library.ServiceApplication(name, 5), 1);
        EXPECT_EQ(library.print(name, 5), 0);
        char buffer[16] = "";
        EXPECT_EQ(library.password(buffer, 16, nullptr, nullptr), 0);
        EXPECT_STREQ(buffer, "given");
    });
    EXPECT_EQ(zip.LastResult().message, QStringLiteral("name"));
}

} // namespace
