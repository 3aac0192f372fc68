#include "tests/archive/fixtures.h"

#include <array>
#include <cstring>

using platform::ErrorNumber;

namespace {

using Flags = std::array<std::int32_t, 15>; // of the options record, in its order
constexpr std::size_t kListFlag = 6;

Flags flags(const DCL &options) {
    return fieldsFrom<Flags>(&options);
}

using cUnzipTest = UnzipTest;

TEST_F(cUnzipTest, EachOptionHasAFieldOfTheRecord) {
    for (const auto set :
         {&cUnzip::setExtractOnlyNewer, &cUnzip::setSpaceToUnderScore, &cUnzip::setTestZip,
          &cUnzip::setUseFolderNames, &cUnzip::setConvertCRToCRLF})
        (unzip.*set)(true);
    unzip.setMessageLevel(2);
    unzip.Unzip();
    EXPECT_EQ(flags(fake.calls.back().options),
              (Flags{1, 1, 0, 2, 0, 1, 0, 0, 0, 1, 0, 1, 0, 0, 0}));
    for (const auto set : {&cUnzip::setPromptToOverwrite, &cUnzip::setOverwriteExisting,
                           &cUnzip::setCaseSensitiveFileNames})
        (unzip.*set)(true);
    unzip.Unzip();
    EXPECT_EQ(flags(fake.calls.back().options),
              (Flags{1, 1, 1, 2, 0, 1, 0, 0, 0, 1, 1, 1, 0, 1, 0}));
}

TEST_F(cUnzipTest, DirectoryListsTheWholeArchiveBehindTheEntriesOfEarlierCalls) {
    unzip.setUnzipFolder("/work");
    EXPECT_EQ(list({{.path = "a"}, {.path = "b"}}, 9), 9);
    EXPECT_EQ(unzip.LastCode(), 9);
    const FakeUnzip::Call &call = fake.calls.at(0);
    Flags expected{};
    expected[kListFlag] = 1;
    EXPECT_EQ(flags(call.options), expected);
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
        expectError(
            ErrorNumber::SubscriptOutOfRange, [&] { unzip.Filename(index); });
        expectError(
            ErrorNumber::SubscriptOutOfRange, [&] { unzip.FileSelected(index); });
        expectError(ErrorNumber::SubscriptOutOfRange, [&] { unzip.setFileSelected(index, true); });
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
        SCOPED_TRACE(testing::Message() << row.size << " x " << row.factor);
        unzip.setZipFile(unzip.ZipFile());
        list({{.size = row.size, .factor = row.factor}});
        if (row.expected)
            EXPECT_EQ(unzip.FilePackedSize(1), *row.expected);
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

} // namespace
