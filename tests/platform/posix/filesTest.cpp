#include "platform/files.h"
#include "storage/storage.h"
#include "tests/platform/filesFixture.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

using namespace platform; // NOLINT(google-build-using-namespace): its functions are the subject

class PosixFilesTest : public FilesFixture {};

TEST_F(PosixFilesTest, LinksAreFollowedAndNamesNeedNotBeUtf8) {
    makeFile("real.txt", "old");
    makeFile("keep.cs");
    makeFolders("folder");
    ASSERT_TRUE(makeLink("real.txt", pathOf(at("link.txt"))));
    ASSERT_TRUE(makeLink("folder", pathOf(at("linked"))));
    ASSERT_TRUE(makeLink("nowhere", pathOf(at("dangling.txt"))));
    EXPECT_EQ(findFirst(at("LINK.txt"), 0), QString("link.txt"));
    EXPECT_EQ(findFirst(at("linked"), 0), QString());
    EXPECT_EQ(findFirst(at("dangling.txt"), 0), QString());
    copyFile(at("keep.cs"), at("link.txt"));
    EXPECT_TRUE(QFileInfo(at("link.txt")).isSymLink());
    EXPECT_EQ(readFile(at("real.txt")), QByteArray("content"));
    makeFile("caf\xe9.txt");
    makeFile(".dot.txt");
    const QStringList names = listFiles(folder(), "*.txt");
    EXPECT_EQ(names.size(), 4);
    for (const QString &name : names)
        EXPECT_EQ(findFirst(at(name), 0), name);
}

TEST_F(PosixFilesTest, AttributesAreReadFromTextsAndFromSambasRecords) {
    const auto record = [](const char *hex) { return QByteArray::fromHex(hex); };
    constexpr int kHidden = kAttributeHidden;
    struct Row {
        QByteArray value;
        int bits;
        mode_t mode = 0644;
    };
    for (const Row &row : {
             Row{"0x26", kHidden | kAttributeSystem},
             Row{QByteArray("0x6\0", 4), kHidden | kAttributeSystem}, Row{"0X4", kAttributeSystem},
             Row{"0x10", 0}, Row{"2", 0},
             Row{record("0000050005000000110000002200000012345678"), kHidden},
             Row{record("0000030003000000110000000400000000000000"), kAttributeSystem},
             Row{record("00000300030000001100000002000000") + QByteArray(400, 'x'), kHidden},
             Row{record("0000050005000000100000002200000012345678"), 0}, // the bits are not valid
             Row{record("0000020002000000000000000200000012345678"), kHidden},
             Row{record("00000100010000000200000000000000"), kHidden},
             Row{record("0000ffffffff00000400000000000000"), kAttributeSystem},
             Row{record("00000500050000001100"), 0}, // cut off
             Row{"0x2", kHidden | kAttributeReadOnly, 0444}, Row{"0x2", kHidden, 0200},
             Row{"0x0", kAttributeReadOnly, 0464}, // others may write, the owner may not
         }) {
        SCOPED_TRACE(row.value.toHex().constData());
        const QByteArray path = makeFile("kept").toUtf8();
        ASSERT_EQ(::setxattr(path.constData(), "user.DOSATTRIB", row.value.constData(),
                             static_cast<std::size_t>(row.value.size()), 0),
                  0);
        ASSERT_EQ(::chmod(path.constData(), row.mode), 0);
        // Only the superuser reads the attribute of a file that its owner may not read.
        const bool readable = ::access(path.constData(), R_OK) == 0;
        EXPECT_EQ(dosOf(at("kept")), readable ? row.bits : row.bits & kAttributeReadOnly);
        EXPECT_TRUE(QFile::remove(at("kept")));
    }
}

} // namespace
