#include "tests/archive/fixtures.h"

using platform::ErrorNumber;

namespace {

class cZipTest : public ZipTest {
  protected:
    // The numbers that follow the three texts of the last call's options.
    std::string options() const { return digits(&fake.calls.back().options.fTemp, 29); }
};

TEST_F(cZipTest, EachOptionHasAFieldOfTheRecord) {
    zip.Zip();
    EXPECT_EQ(options(), "00000010000001000000000000000");
    EXPECT_EQ(fake.calls[0].rootDir, "");
    for (const auto set : {&cZip::setStoreFolderNames, &cZip::setRecurseSubDirs}) // as in a save
        (zip.*set)(true);
    zip.Zip();
    EXPECT_EQ(options(), "00000010000000000000000000200");
    for (const auto set :
         {&cZip::setEncrypt, &cZip::setIncludeSystemAndHiddenFiles, &cZip::setStoreVolumeLabel,
          &cZip::setStoreDirectories, &cZip::setConvertCRLFToLF, &cZip::setConvertLFToCRLF,
          &cZip::setAllowAppend, &cZip::setUpdateOnlyIfNewer, &cZip::setFreshenFiles})
        (zip.*set)(true);
    zip.setMessageLevel(0);
    zip.Zip();
    EXPECT_EQ(options(), "00111000010110100011000000200");
    for (const std::int32_t level : {1, 3, -1}) // unknown levels change nothing
        zip.setMessageLevel(level);
    zip.Zip();
    EXPECT_EQ(options(), "00111000001110100011000000200");
}

TEST_F(cZipTest, DeletingEndsWithTheCallHoweverItEnds) {
    zip.Delete();
    EXPECT_EQ(options(), "00000010000001000100000000000");
    zip.setBasePath("/no such folder");
    expectError(ErrorNumber::PathNotFound, [&] { zip.Delete(); });
    zip.setBasePath({});
    zip.Zip();
    EXPECT_EQ(options(), "00000010000001000000000000000");
}

TEST_F(cZipTest, TheLastResultTellsWhetherEveryFileIsInTheArchive) {
    for (const std::int32_t code : {0, 1, 12, 14}) {
        const auto prints = [](const ZIPUSERFUNCTIONS &library) {
            for (std::string text : {"adding: a", VL2ZIP_LEFTOVER "a/b~", "/game/x.vl2: done\n"})
                library.print(text.data(), static_cast<std::uint32_t>(text.size()));
        };
        during(prints, code);
        EXPECT_EQ(zip.LastResult().code, code);
        EXPECT_EQ(zip.LastResult().ok(), code == 0 || code == 12) << code;
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
