#include "tests/archive/expectError.h"
#include "tests/archive/fixtures.h"
#include "tests/archive/narrowText.h"

#include <QDir>
#include <QTemporaryDir>

#include <stdexcept>

using platform::ErrorNumber;

namespace {

using mZipTest = ZipTest;

TEST_F(mZipTest, TheThreeFunctionsAreCalledInOrderWithTheArchiveAndTheSpecs) {
    zip.AddFileSpec("*");
    zip.AddFileSpec("\u00FCber/*.cs");
    const QString lacking = "\u6F22\u0101.cs"; // letters that a code page may lack
    zip.AddFileSpec(lacking);
    zip.Zip();
    EXPECT_EQ(fake.order, (std::vector<std::string>{"ZpInit", "ZpSetOptions", "ZpArchive"}));
    const FakeZip::Call &call = fake.calls.at(0);
    EXPECT_EQ(call.zipFile, narrowPath("/game/base/x.vl2"));
    EXPECT_EQ(call.count, 3);
    EXPECT_EQ(call.names[0], "*");
    EXPECT_EQ(call.names[1], narrowText("\u00FCber/*.cs"));
    const std::string name = call.names[2].value();
    EXPECT_TRUE(platform::fromNarrow(name) == lacking || name == "\x1A\x1A.cs") << name;
    EXPECT_EQ(call.names[3], std::nullopt); // the end mark comes one slot later
    EXPECT_EQ(call.names[4], "");
    EXPECT_EQ(call.names[5], std::nullopt);
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
    zip.AddFileSpec("one more");
    expectError(ErrorNumber::SubscriptOutOfRange, {}, [&] { zip.Zip(); });
    EXPECT_EQ(fake.order, (std::vector<std::string>{"ZpInit", "ZpSetOptions"}));
    EXPECT_EQ(mZip::m_cCurrentZip, &zip);
    EXPECT_FALSE(zip.LastResult().ok());
}

TEST_F(mZipTest, TheBaseFolderMustExistUnlessItIsBlank) {
    const QTemporaryDir folder;
    ASSERT_TRUE(QDir(folder.path()).mkpath("pack/a b"));
    QFile file(folder.path() + "/file");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    const QString before = QDir::currentPath();
    struct Row {
        QString base;
        std::optional<std::string> crossed; // none: error 76
    };
    const Row rows[] = {
        {folder.path() + "\\pack\\a b", narrowPath(folder.path() + "/pack/a b")},
        {QString(), ""},
        {"   ", "   "},
        {folder.path() + "\\missing", {}},
        {folder.path() + "\\file", {}},
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
    zip.setBasePath(folder.path() + "\\pack\\");
    zip.Zip();
    EXPECT_EQ(QDir::cleanPath(platform::fromNarrow(*fake.calls.back().rootDir)),
              QDir::cleanPath(platform::nativePath(folder.path() + "/pack")));
}

// What the handlers throw is dropped, and their answers stand.
TEST_F(mZipTest, MessagesAndNamesOf2To31999BytesRaiseEvents) {
    QStringList messages;
    QStringList names;
    bool stop = false;
    zip.Progress = [&](std::int32_t count, const QString &message) {
        EXPECT_EQ(count, 1);
        messages.append(message);
        throw std::bad_alloc();
    };
    zip.Cancel = [&](const QString &name, bool &cancel) {
        EXPECT_FALSE(cancel);
        names.append(name);
        cancel = stop;
        throw std::runtime_error("handler");
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
        EXPECT_EQ(library.comment(cut.data()), cut.data());
    });
    ASSERT_EQ(messages.size(), 3);
    EXPECT_EQ(messages[0], "xx");
    EXPECT_EQ(messages[1].size(), 31999);
    EXPECT_EQ(messages[2], "a\\b");
    EXPECT_EQ(zip.LastResult().message, "a/b");
    ASSERT_EQ(names.size(), 3);
    EXPECT_EQ(names[1].size(), 31999);
    EXPECT_EQ(names[2], "a/b"); // separators as the library wrote them
}

// What was packed is known after a call that ends well, and given away once.
TEST_F(mZipTest, TheFilesThatTheLibraryHasPackedAreKeptAsItReportsThem) {
    const auto never = [](platform::InputFile &) {
        return platform::Status(platform::Failure::NotFound, {});
    };
    for (const std::int32_t code : {0, 12, 1, 14}) {
        SCOPED_TRACE(code);
        platform::FileInfo seen;
        seen.device = 1;
        seen.id = 2;
        seen.size = 3;
        seen.modified = 4;
        seen.changed = 5;
        fake.script = [&](const ZIPUSERFUNCTIONS &) {
            const ZPPACKED file{"sub/\xc3\xbc.cs", 1, 2, 3, 4, 5, 6, 7};
            fake.packed(&file);
            return code;
        };
        zip.Zip();
        const auto packed = zip.TakePacked();
        ASSERT_EQ(packed.has_value(), code == 0 || code == 12);
        EXPECT_FALSE(zip.TakePacked().has_value());
        if (!packed)
            continue;
        EXPECT_TRUE(packed->hold(u"sub\\\u00dc.cs", seen, true, never));
        EXPECT_FALSE(packed->hold(u"sub\\u.cs", seen, true, never));
        EXPECT_FALSE(packed->hold(u"sub\\\u00dc.cs", seen, false, never));
        for (auto *const number : {&seen.device, &seen.id, &seen.size}) {
            ++*number;
            EXPECT_FALSE(packed->hold(u"sub\\\u00dc.cs", seen, true, never));
            --*number;
        }
        for (auto *const time : {&seen.modified, &seen.changed}) {
            ++*time;
            EXPECT_FALSE(packed->hold(u"sub\\\u00dc.cs", seen, true, never));
            --*time;
        }
    }
}

TEST_F(mZipTest, ADeclinedPasswordIsAskedForOnceACallAndAGivenOneCrosses) {
    int asked = 0;
    for (const char *given : {"   ", "secret"}) {
        zip.PasswordRequest = [&](QString &password, bool &) {
            ++asked;
            password = given;
            throw 1;
        };
        char buffer[16] = "kept";
        const bool isGiven = *given != ' ';
        during([&](const ZIPUSERFUNCTIONS &library) {
            for (int request = 0; request < 3; ++request)
                EXPECT_EQ(library.password(buffer, 16, nullptr, nullptr), isGiven ? 0 : 1);
        });
        EXPECT_STREQ(buffer, isGiven ? given : "kept");
    }
    EXPECT_EQ(asked, 1 + 3);
}

} // namespace
