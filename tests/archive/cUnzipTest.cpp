#include "tests/archive/fixtures.h"

using platform::ErrorNumber;

namespace {

class cUnzipTest : public UnzipTest {
  protected:
    // The numbers of the last call's options.
    std::string options() const { return digits(&fake.calls.back().options, 15); }
};

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

} // namespace
