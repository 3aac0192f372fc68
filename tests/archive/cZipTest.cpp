#include "tests/archive/expectError.h"
#include "tests/archive/fixtures.h"

#include <array>
#include <cstring>

using platform::ErrorNumber;

namespace {

// The numbers of the options record, in its order: all that follows the three texts.
using Numbers = std::array<std::int32_t, 29>;
Numbers numbers(const ZPOPT &options) {
    Numbers values{};
    static_assert(sizeof(ZPOPT) >= 3 * sizeof(char *) + sizeof values);
    std::memcpy(values.data(), &options.fTemp, sizeof values);
    return values;
}

constexpr std::size_t kNoDirEntries = 6;
constexpr std::size_t kVerbose = 9;
constexpr std::size_t kQuiet = 10;
constexpr std::size_t kJunkDir = 13;
constexpr std::size_t kDeleteEntries = 17;
constexpr std::size_t kRecurse = 26;

Numbers initialNumbers() {
    Numbers values{};
    values[kNoDirEntries] = 1;
    values[kJunkDir] = 1;
    return values;
}

using cZipTest = ZipTest;

TEST_F(cZipTest, EachOptionHasItsFieldOfTheRecordAndNoOther) {
    struct Row {
        bool (cZip::*read)() const;
        void (cZip::*write)(bool);
        std::size_t field;
        std::int32_t on;
        std::int32_t off;
    };
    const Row rows[] = {
        {&cZip::Encrpyt, &cZip::setEncrypt, 2, 1, 0},
        {&cZip::IncludeSystemAndHiddenFiles, &cZip::setIncludeSystemAndHiddenFiles, 3, 1, 0},
        {&cZip::StoreVolumeLabel, &cZip::setStoreVolumeLabel, 4, 1, 0},
        {&cZip::StoreDirectories, &cZip::setStoreDirectories, kNoDirEntries, 0, 1},
        {&cZip::ConvertCRLFToLF, &cZip::setConvertCRLFToLF, 11, 1, 0},
        {&cZip::ConvertLFToCRLF, &cZip::setConvertLFToCRLF, 12, 1, 0},
        {&cZip::StoreFolderNames, &cZip::setStoreFolderNames, kJunkDir, 0, 1},
        {&cZip::AllowAppend, &cZip::setAllowAppend, 14, 1, 0},
        {&cZip::UpdateOnlyIfNewer, &cZip::setUpdateOnlyIfNewer, 18, 1, 0},
        {&cZip::FreshenFiles, &cZip::setFreshenFiles, 19, 1, 0},
        {&cZip::RecurseSubDirs, &cZip::setRecurseSubDirs, kRecurse, 2, 0},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.field);
        EXPECT_FALSE((zip.*row.read)());
        for (const bool state : {true, false}) { // off again, for the next row
            (zip.*row.write)(state);
            EXPECT_EQ((zip.*row.read)(), state);
            zip.Zip();
            Numbers expected = initialNumbers();
            expected[row.field] = state ? row.on : row.off;
            EXPECT_EQ(numbers(fake.calls.back().options), expected);
        }
    }
    EXPECT_EQ(fake.calls[0].date, std::nullopt);
    EXPECT_EQ(fake.calls[0].rootDir, "");
    EXPECT_EQ(fake.calls[0].tempDir, std::nullopt);
}

TEST_F(cZipTest, MessageLevelsSetTwoFieldsAndUnknownOnesChangeNothing) {
    struct Row {
        std::int32_t written, read, verbose, quiet;
    };
    const Row rows[] = {{0, 0, 1, 0}, {5, 0, 1, 0},  {1, 1, 0, 1},
                        {3, 1, 0, 1}, {-1, 1, 0, 1}, {2, 2, 0, 0}};
    EXPECT_EQ(zip.MessageLevel(), 2);
    for (const Row &row : rows) {
        SCOPED_TRACE(row.written);
        zip.setMessageLevel(row.written);
        EXPECT_EQ(zip.MessageLevel(), row.read);
        zip.Zip();
        Numbers expected = initialNumbers();
        expected[kVerbose] = row.verbose;
        expected[kQuiet] = row.quiet;
        EXPECT_EQ(numbers(fake.calls.back().options), expected);
    }
}

TEST_F(cZipTest, SpecsKeepTheirOrderUntilCleared) {
    for (const char *spec : {"*", "", "a\\b.cs"})
        EXPECT_EQ(zip.AddFileSpec(QString::fromUtf8(spec)), 0);
    EXPECT_EQ(zip.FileSpecCount(), 3);
    EXPECT_EQ(zip.FileSpec(1), QVariant("*"));
    EXPECT_EQ(zip.FileSpec(3), QVariant("a\\b.cs"));
    for (const std::int32_t index : {-1, 0, 4})
        expectError(ErrorNumber::SubscriptOutOfRange, {}, [&] { zip.FileSpec(index); });
    zip.Zip();
    EXPECT_EQ(zip.FileSpecCount(), 3);
    zip.ClearFileSpecs();
    EXPECT_EQ(zip.FileSpecCount(), 0);
    expectError(ErrorNumber::SubscriptOutOfRange, {}, [&] { zip.FileSpec(1); });
}

TEST_F(cZipTest, DeletingEndsWithTheCallHoweverItEnds) {
    zip.AddFileSpec("*.cs");
    zip.Delete();
    zip.Zip();
    zip.setBasePath("/no such folder");
    expectError(ErrorNumber::PathNotFound, {}, [&] { zip.Delete(); });
    zip.setBasePath({});
    zip.Zip();
    Numbers deleting = initialNumbers();
    deleting[kDeleteEntries] = 1;
    ASSERT_EQ(fake.calls.size(), 3U);
    EXPECT_EQ(numbers(fake.calls[0].options), deleting);
    EXPECT_EQ(numbers(fake.calls[1].options), initialNumbers());
    EXPECT_EQ(numbers(fake.calls[2].options), initialNumbers());
}

TEST_F(cZipTest, TheLastResultTellsWhetherEveryFileIsInTheArchive) {
    struct Row {
        std::int32_t code;
        bool fine;
    };
    for (const Row &row : {Row{0, true}, Row{1, false}, Row{11, false}, Row{12, true},
                           Row{14, false}, Row{50, false}, Row{80, false}}) {
        SCOPED_TRACE(row.code);
        fake.script = [&](const ZIPUSERFUNCTIONS &library) {
            for (std::string early : {"adding: a", VL2ZIP_LEFTOVER "a/b~"})
                library.print(early.data(), static_cast<std::uint32_t>(early.size()));
            std::string text = "/game/base/x.vl2: " + std::to_string(row.code) + "\n";
            library.print(text.data(), static_cast<std::uint32_t>(text.size()));
            library.print(text.data(), 0);
            return row.code;
        };
        zip.Zip();
        EXPECT_EQ(zip.LastResult().code, row.code);
        EXPECT_EQ(zip.LastResult().ok(), row.fine);
        EXPECT_EQ(zip.LastResult().leftovers, QStringList("a/b~"));
        EXPECT_EQ(zip.LastResult().message, QString("/game/base/x.vl2: %1").arg(row.code));
    }
    fake.script = nullptr;
    zip.Delete();
    EXPECT_TRUE(zip.LastResult().ok());
    EXPECT_EQ(zip.LastResult().message, QString());
    EXPECT_EQ(zip.LastResult().leftovers, QStringList());
    zip.setBasePath("/no such folder");
    EXPECT_THROW(zip.Zip(), platform::RuntimeError);
    EXPECT_FALSE(zip.LastResult().ok());
}

} // namespace
