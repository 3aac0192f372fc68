#include "tests/archive/fixtures.h"
#include "tests/support/files.h"

using platform::ErrorNumber;

namespace {

// In a process of its own, as ctest runs each test: a library that was loaded once stays loaded.
TEST(MissingLibraryTest, ALibraryThatCannotBeLoadedIsAnErrorOfTheCallAndNotOfTheStart) {
    const TestFolder folder;
    platform::Library::setFolder(QString::fromStdString(folder.path().string()));
    cUnzip unzip;
    unzip.setZipFile("/game/base/x.vl2");
    cZip zip;
    const auto expectErrors = [&](ErrorNumber number) {
        const char *source = "Orvel.VBUnzip";
        expectError(
            number, [&] { unzip.Directory(); }, source);
        EXPECT_EQ(mUnzip::m_cCurrentUnzip, nullptr);
        expectError(
            number, [&] { unzip.Unzip(); }, source);
        EXPECT_EQ(unzip.LastCode(), -1);
        expectError(number, [&] { zip.Zip(); });
        EXPECT_EQ(mZip::m_cCurrentZip, &zip);
        EXPECT_FALSE(zip.LastResult().ok());
    };
    expectErrors(ErrorNumber::FileNotFound);
    // A file may come later; it is no library, under the name that either system looks for.
    for (const char *name : {"libvl2uzip.so", "libvl2zip.so", "vl2uzip.dll", "vl2zip.dll"})
        writeFile(folder / name, "not a library");
    expectErrors(ErrorNumber::LoadingLibrary);
    // A missing base folder is found before the library is looked for.
    zip.setBasePath("/no such folder");
    expectError(ErrorNumber::PathNotFound, [&] { zip.Zip(); });
    platform::Library::setFolder(ORVEL_FAKE_LIBRARIES);
    expectError(ErrorNumber::EntryPointNotFound,
                [] { platform::Library("vl2uzip").function<void (*)()>("missing"); });
}

} // namespace
