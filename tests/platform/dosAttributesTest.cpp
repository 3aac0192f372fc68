#include "platform/posix/dosAttributes.h"
#include "platform/files.h"
#include "tests/platform/filesFixture.h"

#include <sys/xattr.h>
#include <unistd.h>

namespace {

using namespace platform; // NOLINT(google-build-using-namespace): tables of its constants

class DosAttributesTest : public FilesFixture {
  protected:
    QByteArray kept(const QString &path) const {
        char value[64];
        const ssize_t size =
            ::getxattr(path.toUtf8().constData(), "user.DOSATTRIB", value, sizeof value);
        return size < 0 ? QByteArray() : QByteArray(value, size);
    }
    mode_t modeOf(const QString &path) const {
        struct stat info = {};
        return ::stat(path.toUtf8().constData(), &info) == 0 ? info.st_mode & 07777U : 0;
    }
};

TEST_F(DosAttributesTest, ReadOnlyIsTheWriteBitAndTheOthersAreKeptAsText) {
    const QString file = makeFile("file.cs");
    struct Row {
        int value;
        const char *kept;
        bool writable;
    };
    // One file goes from each state to the next.
    for (const Row &row :
         {Row{AttributeHidden, "0x2", true}, Row{AttributeReadOnly | AttributeSystem, "0x4", false},
          Row{AttributeHidden | AttributeSystem | AttributeArchive, "0x26", true},
          Row{AttributeReadOnly, "", false}, Row{AttributeReadOnly | AttributeHidden, "0x2", false},
          Row{AttributeNormal, "", true}}) {
        setAttributes(file, row.value);
        EXPECT_EQ(attributes(file), row.value);
        EXPECT_EQ(kept(file), QByteArray(row.kept));
        EXPECT_EQ((modeOf(file) & 0200U) != 0, row.writable);
    }
}

TEST_F(DosAttributesTest, FoldersHaveAttributesToo) {
    makeFolders("folder");
    EXPECT_EQ(attributes(at("FOLDER")), AttributeDirectory);
    setAttributes(at("folder"), AttributeHidden);
    EXPECT_EQ(attributes(at("folder")), AttributeDirectory | AttributeHidden);
}

TEST_F(DosAttributesTest, OtherModeBitsStay) {
    const QString file = makeFile("tool");
    ASSERT_EQ(::chmod(file.toUtf8().constData(), 0755), 0);
    setAttributes(file, AttributeReadOnly);
    EXPECT_EQ(modeOf(file), 0555U);
    setAttributes(file, AttributeNormal);
    EXPECT_EQ(modeOf(file), 0755U);
}

TEST_F(DosAttributesTest, AMissingFileIsAnError) {
    expectError(ErrorNumber::FileNotFound, [&] { attributes(at("missing")); });
    expectError(ErrorNumber::FileNotFound, [&] { setAttributes(at("missing"), 0); });
}

TEST_F(DosAttributesTest, WhereNothingNeedsKeepingAFileSystemWithoutAttributesIsNoError) {
    // /proc has files, modes and no extended attributes.
    const QString file = "/proc/self/comm";
    EXPECT_NO_THROW(setAttributes(file, AttributeArchive));
    expectError(ErrorNumber::PathFileAccess, [&] { setAttributes(file, AttributeHidden); });
}

TEST(StoredBitsTest, TextsAndSambasRecordAreUnderstood) {
    const auto record = [](const char *hex) { return QByteArray::fromHex(hex); };
    struct Row {
        QByteArray value;
        int bits;
    };
    for (const Row &row : {
             Row{"0x2", AttributeHidden},
             Row{"0x26", AttributeHidden | AttributeSystem | AttributeArchive},
             Row{QByteArray("0x6\0", 4), AttributeHidden | AttributeSystem},
             Row{"0X4", AttributeSystem}, Row{"0x10", 0}, Row{"0xzz", 0}, Row{"2", 0}, Row{"", 0},
             Row{record("0000050005000000110000002200000012345678"),
                 AttributeHidden | AttributeArchive},
             Row{record("0000030003000000110000000400000000000000"), AttributeSystem},
             Row{record("0000050005000000100000002200000012345678"), 0}, // the bits are not valid
             Row{record("00000500050000001100"), 0},                     // cut off
         })
        EXPECT_EQ(parseStoredBits(row.value), row.bits) << row.value.toHex().constData();
}

} // namespace
