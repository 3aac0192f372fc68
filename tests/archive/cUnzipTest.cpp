#include "tests/archive/expectError.h"
#include "tests/archive/fixtures.h"
#include "tests/archive/narrowText.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTimeZone>

#include <array>
#include <cstring>

using platform::ErrorNumber;

namespace {

// The flags of the options record, in its order.
std::array<std::int32_t, 15> flags(const DCL &options) {
    std::array<std::int32_t, 15> values{};
    std::memcpy(values.data(), &options, sizeof values);
    return values;
}

constexpr std::size_t kListFlag = 6;

using cUnzipTest = UnzipTest;

TEST_F(cUnzipTest, EachOptionHasItsFieldOfTheRecordAndNoOther) {
    struct Row {
        bool (cUnzip::*read)() const;
        void (cUnzip::*write)(bool);
        std::size_t field;
    };
    const Row rows[] = {
        {&cUnzip::ExtractOnlyNewer, &cUnzip::setExtractOnlyNewer, 0},
        {&cUnzip::SpaceToUnderScore, &cUnzip::setSpaceToUnderScore, 1},
        {&cUnzip::PromptToOverwrite, &cUnzip::setPromptToOverwrite, 2},
        {&cUnzip::TestZip, &cUnzip::setTestZip, 5},
        {&cUnzip::UseFolderNames, &cUnzip::setUseFolderNames, 9},
        {&cUnzip::OverwriteExisting, &cUnzip::setOverwriteExisting, 10},
        {&cUnzip::ConvertCRToCRLF, &cUnzip::setConvertCRToCRLF, 11},
        {&cUnzip::CaseSensitiveFileNames, &cUnzip::setCaseSensitiveFileNames, 13},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.field);
        EXPECT_FALSE((unzip.*row.read)());
        (unzip.*row.write)(true);
        EXPECT_TRUE((unzip.*row.read)());
        unzip.Unzip();
        std::array<std::int32_t, 15> expected{};
        expected[row.field] = 1;
        EXPECT_EQ(flags(fake.calls.back().options), expected);
        (unzip.*row.write)(false);
    }
    unzip.setMessageLevel(2);
    EXPECT_EQ(unzip.MessageLevel(), 2);
    unzip.Unzip();
    EXPECT_EQ(fake.calls.back().options.fQuiet, 2);
}

TEST_F(cUnzipTest, DirectoryAsksForAListingOfTheWholeArchiveAndNoFolder) {
    unzip.setUnzipFolder("/work");
    EXPECT_EQ(list({}, 9), 9);
    EXPECT_EQ(unzip.LastCode(), 9);
    ASSERT_EQ(fake.calls.size(), 1U);
    const FakeUnzip::Call &call = fake.calls[0];
    std::array<std::int32_t, 15> expected{};
    expected[kListFlag] = 1;
    EXPECT_EQ(flags(call.options), expected);
    EXPECT_EQ(call.zipFile, narrowPath("/game/base/x.vl2"));
    EXPECT_EQ(call.folder, "");
    EXPECT_EQ(call.includeCount, 0);
    EXPECT_EQ(call.excludeCount, 0);
}

TEST_F(cUnzipTest, AnEmptyArchivePathIsListedAsItIsButNeverExtracted) {
    unzip.setZipFile({});
    EXPECT_EQ(list({}, 9), 9);
    EXPECT_EQ(fake.calls.at(0).zipFile, "");
    EXPECT_EQ(unzip.FileCount(), 0);
    EXPECT_FALSE(unzip.Unzip());
    EXPECT_EQ(fake.calls.size(), 1U);
}

TEST_F(cUnzipTest, DirectoryAppendsAndAnArchivePathEmptiesTheList) {
    list({{.path = "a"}, {.path = "b"}}, 2);
    list({{.path = "c"}});
    ASSERT_EQ(unzip.FileCount(), 3); // what came before a failure stays
    EXPECT_EQ(unzip.Filename(3), "c");
    unzip.setZipFile(unzip.ZipFile());
    EXPECT_EQ(unzip.FileCount(), 0);
}

TEST_F(cUnzipTest, IndexesOutsideTheListAreRefusedByEveryProperty) {
    const auto refused = [](const auto &read) {
        expectError(ErrorNumber::SubscriptOutOfRange, {}, read);
    };
    refused([&] { unzip.Filename(1); });
    listNumbered(2);
    for (const std::int32_t index : {-2147483647 - 1, 0, 3}) {
        refused([&] { unzip.Filename(index); });
        refused([&] { unzip.FileDirectory(index); });
        refused([&] { unzip.FileSize(index); });
        refused([&] { unzip.FilePackedSize(index); });
        refused([&] { unzip.FileCompressionRatio(index); });
        refused([&] { unzip.FileDate(index); });
        refused([&] { unzip.FileCRC(index); });
        refused([&] { unzip.FileCompressionMethod(index); });
        refused([&] { unzip.FileEncrypted(index); });
        refused([&] { unzip.FileSelected(index); });
        refused([&] { unzip.setFileSelected(index, true); });
    }
}

TEST_F(cUnzipTest, PackedSizeIsSizeTimesFactorInHundredthsTowardZero) {
    struct Row {
        std::uint32_t size;
        std::int32_t factor;
        std::optional<std::int32_t> expected; // none: overflow
    };
    const Row rows[] = {
        {1000, 25, 250},
        {199, 1, 1},
        {199, -1, -1},
        {99, 1, 0},
        {0xFFFFFFFF, 50, 0},
        {0xFFFFFF38, 50, -100},
        {2147483647, 1, 21474836},
        {21474836, 100, 21474836},
        {21474837, 100, {}},
        {0x80000000, 1, -21474836},
        {0x80000000, -1, {}},
        {0x7FFFFFFF, 2, {}},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(testing::Message() << row.size << " x " << row.factor);
        unzip.setZipFile(unzip.ZipFile());
        list({{.packed = row.size, .factor = row.factor}});
        if (row.expected)
            EXPECT_EQ(unzip.FilePackedSize(1), *row.expected);
        else
            expectError(ErrorNumber::Overflow, {}, [&] { unzip.FilePackedSize(1); });
    }
}

TEST_F(cUnzipTest, PartialSelectionsGoByNameAndOthersExtractEverything) {
    list({{.path = "a.txt"}, {.path = "d/e/b.txt"}, {.path = "/x/y.txt"}, {.path = "odd\\n"}});
    EXPECT_TRUE(unzip.FileSelected(2));
    EXPECT_FALSE(unzip.Unzip());
    EXPECT_EQ(fake.calls.back().includeCount, 0);
    unzip.setFileSelected(1, false);
    fake.script = [](USERFUNCTIONS &) { return 1; };
    fake.missing = 2;
    EXPECT_TRUE(unzip.Unzip()); // true tells of a problem
    EXPECT_EQ(unzip.MissingCount(), 2);
    const FakeUnzip::Call call = fake.calls.back();
    EXPECT_EQ(call.options.nvflag, 0);
    EXPECT_EQ(call.includeCount, 3);
    EXPECT_EQ(call.include[0], "d/e/b.txt"); // in the archive's own notation
    EXPECT_EQ(call.include[1], "/x/y.txt");
    EXPECT_EQ(call.include[2], "odd\\n"); // at the root, so the name as it is
    EXPECT_EQ(call.include[3], "");
    EXPECT_EQ(call.include[4], std::nullopt);
    EXPECT_EQ(call.excludeCount, 0);
    EXPECT_EQ(call.exclude[0], "");
    EXPECT_EQ(call.exclude[1], std::nullopt);
    for (std::int32_t index = 2; index <= 4; ++index)
        unzip.setFileSelected(index, false);
    unzip.Unzip();
    EXPECT_EQ(fake.calls.back().includeCount, 0);
    EXPECT_EQ(fake.calls.back().include[0], "");
}

TEST_F(cUnzipTest, AThousandAndTwentyThreeNamesPassAndOneMoreIsRefused) {
    listNumbered(1024);
    unzip.setFileSelected(1, false);
    EXPECT_FALSE(unzip.Unzip());
    EXPECT_EQ(fake.calls.back().includeCount, 1023);
    EXPECT_EQ(fake.calls.back().include[1022], "1024");
    EXPECT_EQ(fake.calls.back().include[1023], "");

    unzip.setZipFile(unzip.ZipFile());
    listNumbered(1025);
    unzip.setFileSelected(7, false);
    const std::size_t calls = fake.calls.size();
    expectError(ErrorNumber::SubscriptOutOfRange, "Orvel.VBUnzip", [&] { unzip.Unzip(); });
    EXPECT_EQ(fake.calls.size(), calls);
    EXPECT_EQ(mUnzip::m_cCurrentUnzip, nullptr);
    EXPECT_EQ(unzip.LastCode(), -1);
    EXPECT_EQ(unzip.MissingCount(), 1);
    EXPECT_EQ(unzip.FileCount(), 1025);
    unzip.setFileSelected(7, true);
    EXPECT_FALSE(unzip.Unzip()); // a full selection needs no names
}

TEST_F(cUnzipTest, VersionComesFromTheLibraryAndTheExtraTextIsTenCharacters) {
    using namespace std::string_literals;
    const std::pair<std::string, std::string> texts[] = {
        {"beta"s, "beta      "s},
        {"beta\0xyz"s, "beta      "s},
        {"\0bcdefghi\0"s, "\0bcdefghi\0"s},
    };
    for (const auto &[betalevel, expected] : texts) {
        SCOPED_TRACE(betalevel);
        fake.version = {};
        std::memcpy(fake.version.betalevel, betalevel.data(), betalevel.size());
        fake.version.windll = {6, 255, 3, 9};
        const QDateTime before(QDate(1999, 2, 3), QTime(4, 5), QTimeZone::utc());
        QDateTime date = before;
        std::int32_t major = 0;
        std::int32_t minor = 0;
        std::int32_t revision = 0;
        QString extra;
        unzip.GetVersion(major, minor, revision, date, extra);
        EXPECT_EQ(major, 6);
        EXPECT_EQ(minor, 255);
        EXPECT_EQ(revision, 3);
        EXPECT_EQ(date, before);
        EXPECT_EQ(extra.toStdString(), expected);
    }
    EXPECT_EQ(fake.askedVersion.structlen, 64U);
    EXPECT_EQ(fake.askedVersion.flag, 0U);
    EXPECT_STREQ(fake.askedVersion.betalevel, "         ");
    EXPECT_STREQ(fake.askedVersion.date, "                   ");
    EXPECT_STREQ(fake.askedVersion.zlib_version, "         ");
}

TEST_F(cUnzipTest, ALibraryIsLoadedOnceAndLacksWhatItDoesNotOffer) {
    list({});
    platform::Library::setFolder("/no such folder");
    EXPECT_NO_THROW(list({}));
    platform::Library::setFolder(ORVEL_FAKE_LIBRARIES);
    expectError(ErrorNumber::EntryPointNotFound, {},
                [] { platform::Library("vl2uzip").function<void (*)()>("missing"); });
}

} // namespace
