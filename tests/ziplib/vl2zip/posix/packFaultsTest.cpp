#include "tests/ziplib/vl2zip/packFaults.h"

#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace packer; // NOLINT: the tests speak this language

namespace {

TEST_F(PackFaults, LinksToFilesArePackedAndOtherSpecialFilesAreSkippedAndReported) {
    writeFile(folder / "outside/secret.txt", "linked");
    fs::create_symlink(folder / "outside/secret.txt", work / "link.txt");
    EXPECT_EQ(run(call()).code, 0);
    EXPECT_EQ(content(archive, "link.txt"), "linked");

    fs::create_directory_symlink(folder / "outside", work / "linked folder");
    ASSERT_EQ(::mkfifo((work / "pipe").c_str(), 0600), 0);
    fs::create_symlink("nothing", work / "broken");
    writeFile(work / "a.txt", "after that");
    const auto result = run(call());
    EXPECT_EQ(result.code, 1);
    for (const char *name : {"linked folder", "pipe", "broken"})
        EXPECT_NE(result.all().find(name), std::string::npos) << name;
    EXPECT_EQ(files(archive), (Files{{"a.txt", "after that"}, {"link.txt", "linked"}}));
}

// The file has the time of the first store; the second one, into the same page, sets none.
TEST_F(PackFaults, AStoreThroughAMappingDuringTheSaveIsInTheArchive) {
    writeFile(work / "a.txt", "seen");
    const int file = ::open((work / "a.txt").c_str(), O_RDWR | O_CLOEXEC);
    void *const bytes = ::mmap(nullptr, 4, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    ASSERT_NE(bytes, MAP_FAILED);
    ::close(file);
    std::memcpy(bytes, "edit", 4);
    const auto result = runWhile([&] {
        std::memcpy(bytes, "last", 4);
        ::munmap(bytes, 4);
    });
    ASSERT_EQ(result.code, 0) << result.all();
    EXPECT_EQ(content(archive, "a.txt"), "last");
}

TEST_F(PackFaults, ALinkToTheArchiveIsWrittenThroughAndModeAndOwnerStay) {
    fs::rename(archive, folder / "real.vl2");
    fs::create_symlink("../real.vl2", archive);
    ::chmod((folder / "real.vl2").c_str(), 0640);
    const bool root = ::geteuid() == 0;
    ASSERT_TRUE(!root || ::chown((folder / "real.vl2").c_str(), 1234, 4321) == 0);
    ASSERT_EQ(run(call()).code, 0);
    EXPECT_TRUE(fs::is_symlink(archive));
    EXPECT_EQ(content(folder / "real.vl2", "a.txt"), "after");
    struct stat info {};
    ASSERT_EQ(::stat((folder / "real.vl2").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777U, 0640U);
    EXPECT_EQ(info.st_uid, root ? 1234U : ::getuid());
}

TEST_F(PackFaults, NewFilesWithNamesThatReadersCannotTakeAreLeftOutAndReported) {
    const std::string refused[] = {
        std::string(210, 'n'), "back\\slash", "a.png:Zone.Identifier", "aux.txt", "dot.", "\xff"};
    for (const auto &name : refused) {
        SCOPED_TRACE(name);
        writeFile(work / "a.txt", name);
        writeFile(work / name, "x");
        const auto result = run(call());
        EXPECT_EQ(result.code, 1) << result.all();
        EXPECT_NE(result.last().find(name), std::string::npos) << result.all();
        EXPECT_EQ(files(archive), (Files{{"a.txt", name}}));
        before = readFile(archive);
        auto alone = call();
        alone.patterns = {name == "back\\slash" ? "back?slash" : name};
        expectRefused(run(alone), {11}, name);
        fs::remove(work / name);
    }
    writeFile(work / std::string(209, 'n'), "x");
    EXPECT_EQ(run(call()).code, 0);
}

// Names that differ in case only.
TEST_F(PackFaults, AFileIsNewIfAnotherFileHasTheOnlyEntryOfItsNameInAnotherCase) {
    make("case");
    writeFile(work / "sub/edit.txt", "lower");
    writeFile(work / "SUB/EDIT.TXT", "upper");
    ASSERT_EQ(run(call()).code, 0);
    EXPECT_EQ(names(archive),
              (Names{"Sub/Edit.TXT", "keep.txt", "SUB/EDIT.TXT", "a.txt", "sub/edit.txt"}));
    EXPECT_EQ(content(archive, "Sub/Edit.TXT"), "before");
}

} // namespace
