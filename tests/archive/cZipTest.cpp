#include "tests/archive/fixtures.h"

#include <array>

using platform::ErrorNumber;

namespace {

// The numbers of the options record, in its order: all that follows the three texts.
using Numbers = std::array<std::int32_t, 29>;

constexpr std::size_t kNoDirEntries = 6;
constexpr std::size_t kVerbose = 9;
constexpr std::size_t kQuiet = 10;
constexpr std::size_t kJunkDir = 13;
constexpr std::size_t kDeleteEntries = 17;

class cZipTest : public ZipTest {
  protected:
    // Expects that the last call had the initial options except for these.
    void expectOptions(const std::vector<std::pair<std::size_t, std::int32_t>> &changes) const {
        Numbers expected{};
        expected[kNoDirEntries] = expected[kJunkDir] = 1;
        for (const auto &[field, value] : changes)
            expected[field] = value;
        EXPECT_EQ(fieldsFrom<Numbers>(&fake.calls.back().options.fTemp), expected);
    }
};

TEST_F(cZipTest, EachOptionHasAFieldOfTheRecord) {
    zip.Zip();
    expectOptions({});
    EXPECT_EQ(fake.calls[0].date, std::nullopt);
    EXPECT_EQ(fake.calls[0].rootDir, "");
    EXPECT_EQ(fake.calls[0].tempDir, std::nullopt);
    for (const auto set : {&cZip::setStoreFolderNames, &cZip::setRecurseSubDirs}) // as in a save
        (zip.*set)(true);
    zip.Zip();
    expectOptions({{kJunkDir, 0}, {26, 2}});
    for (const auto set :
         {&cZip::setEncrypt, &cZip::setIncludeSystemAndHiddenFiles, &cZip::setStoreVolumeLabel,
          &cZip::setStoreDirectories, &cZip::setConvertCRLFToLF, &cZip::setConvertLFToCRLF,
          &cZip::setAllowAppend, &cZip::setUpdateOnlyIfNewer, &cZip::setFreshenFiles})
        (zip.*set)(true);
    zip.Zip();
    expectOptions({{2, 1},
                   {3, 1},
                   {4, 1},
                   {kNoDirEntries, 0},
                   {11, 1},
                   {12, 1},
                   {kJunkDir, 0},
                   {14, 1},
                   {18, 1},
                   {19, 1},
                   {26, 2}});
}

TEST_F(cZipTest, MessageLevelsSetTwoFieldsAndUnknownOnesChangeNothing) {
    zip.setMessageLevel(0);
    zip.Zip();
    expectOptions({{kVerbose, 1}, {kQuiet, 0}});
    for (const std::int32_t level : {1, 3, -1})
        zip.setMessageLevel(level);
    EXPECT_EQ(zip.MessageLevel(), 1);
    zip.Zip();
    expectOptions({{kVerbose, 0}, {kQuiet, 1}});
}

TEST_F(cZipTest, DeletingEndsWithTheCallHoweverItEnds) {
    zip.AddFileSpec("*.cs");
    zip.Delete();
    expectOptions({{kDeleteEntries, 1}});
    zip.Zip();
    expectOptions({});
    zip.setBasePath("/no such folder");
    expectError(ErrorNumber::PathNotFound, [&] { zip.Delete(); });
    zip.setBasePath({});
    zip.Zip();
    expectOptions({});
}

TEST_F(cZipTest, TheLastResultTellsWhetherEveryFileIsInTheArchive) {
    for (const std::int32_t code : {0, 1, 12, 14}) {
        SCOPED_TRACE(code);
        const auto prints = [](const ZIPUSERFUNCTIONS &library) {
            for (std::string text : {"adding: a", VL2ZIP_LEFTOVER "a/b~", "/game/x.vl2: done\n"})
                library.print(text.data(), static_cast<std::uint32_t>(text.size()));
        };
        during(prints, code);
        EXPECT_EQ(zip.LastResult().code, code);
        EXPECT_EQ(zip.LastResult().ok(), code == 0 || code == 12);
        EXPECT_EQ(zip.LastResult().leftovers, QStringList("a/b~"));
        EXPECT_EQ(zip.LastResult().message, "/game/x.vl2: done");
    }
    zip.Delete();
    EXPECT_EQ(zip.LastResult().message, QString());
    EXPECT_EQ(zip.LastResult().leftovers, QStringList());
    zip.setBasePath("/no such folder");
    EXPECT_THROW(zip.Zip(), platform::RuntimeError);
    EXPECT_FALSE(zip.LastResult().ok());
}

} // namespace
