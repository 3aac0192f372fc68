#include "tests/ziplib/vl2zip/packFaults.h"
#include "storage/windows/system.h"

#include <thread>

using namespace packer; // NOLINT: the tests speak this language

namespace {

// A file that another program has open.
platform::Handle held(const fs::path &file, DWORD share) {
    return platform::Handle(CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, share, nullptr,
                                        OPEN_EXISTING, 0, nullptr));
}

TEST_F(PackFaults, AFileOpenInAnEditorWithoutSharingStopsTheSaveAndIsNamed) {
    writeFile(work / "held.txt", "mine");
    {
        const auto editor = held(work / "held.txt", 0);
        expectRefused(run(call()), {18}, "held.txt");
    }
    EXPECT_EQ(run(call()).code, 0);
    EXPECT_EQ(content(archive, "held.txt"), "mine");
}

TEST_F(PackFaults, AFileThatAScannerOpensForAMomentIsPacked) {
    for (const DWORD share : {DWORD{0}, DWORD{FILE_SHARE_READ}}) {
        writeFile(work / "new.txt", "mine " + std::to_string(share));
        platform::Handle scanner = held(work / "new.txt", share);
        std::thread closes([&] {
            Sleep(150);
            scanner = platform::Handle();
        });
        const auto result = run(call());
        closes.join();
        EXPECT_EQ(result.code, 0) << result.all();
        EXPECT_EQ(content(archive, "new.txt"), "mine " + std::to_string(share));
    }
}

TEST_F(PackFaults, AnArchiveOpenInAnotherProgramStaysWholeAndIsSavedOnceItIsClosed) {
    {
        const auto game = held(archive, FILE_SHARE_READ | FILE_SHARE_WRITE);
        expectRefused(run(call()), {14, 15}, archive.string());
    }
    EXPECT_EQ(run(call()).code, 0);
    EXPECT_EQ(content(archive, "a.txt"), "after");
}

TEST_F(PackFaults, NoFolderIsOpenOrCurrentAfterwards) {
    const fs::path current = fs::current_path();
    ASSERT_EQ(run(call()).code, 0);
    EXPECT_EQ(fs::current_path(), current);
    fs::rename(work, folder / "moved");
    fs::rename(base, folder / "base moved");
}

TEST_F(PackFaults, PathsOfMoreThan260CharactersArePacked) {
    const std::string part(100, 'd');
    fs::path deep = L"\\\\?\\" + work.wstring();
    std::string name;
    for (int i = 0; i < 2; ++i) {
        deep /= part;
        ASSERT_TRUE(CreateDirectoryW(deep.c_str(), nullptr));
        name += part + '/';
    }
    writeFile(deep / "a.cs", "deep");
    const auto result = run(call());
    ASSERT_EQ(result.code, 0) << result.all();
    EXPECT_EQ(content(archive, name + "a.cs"), "deep");
}

} // namespace
