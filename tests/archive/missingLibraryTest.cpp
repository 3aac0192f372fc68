#include "archive/cUnzip.h"
#include "archive/cZip.h"
#include "archive/mUnzip.h"
#include "archive/mZip.h"
#include "platform/library.h"
#include "tests/archive/expectError.h"

#include <QFile>
#include <QTemporaryDir>

using platform::ErrorNumber;

namespace {

class MissingLibraryTest : public testing::Test {
  protected:
    MissingLibraryTest() {
        platform::Library::setFolder(folder.path());
        unzip.setZipFile("/game/base/x.vl2");
        zip.setZipFile("/game/base/x.vl2");
    }

    // Puts something there that is no library, under the names of every system.
    void spoil() const {
        for (const char *name : {"libvl2uzip.so", "libvl2zip.so", "vl2uzip.dll", "vl2zip.dll"}) {
            QFile file(folder.filePath(QString::fromLatin1(name)));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write("not a library");
        }
    }

    void expectUnzipErrors(ErrorNumber number) {
        const QString source = "Orvel.VBUnzip";
        expectError(number, source, [&] { unzip.Directory(); });
        EXPECT_EQ(mUnzip::m_cCurrentUnzip, nullptr);
        expectError(number, source, [&] { unzip.Unzip(); });
        EXPECT_EQ(unzip.LastCode(), -1);
        expectError(number, {}, [&] {
            std::int32_t part = 0;
            QDateTime date;
            QString extra;
            unzip.GetVersion(part, part, part, date, extra);
        });
    }

    void expectZipErrors(ErrorNumber number) {
        expectError(number, {}, [&] { zip.Zip(); });
        EXPECT_EQ(mZip::m_cCurrentZip, &zip);
        expectError(number, {}, [&] { zip.Delete(); });
        EXPECT_FALSE(zip.LastResult().ok());
    }

    QTemporaryDir folder;
    cUnzip unzip;
    cZip zip;
};

TEST_F(MissingLibraryTest, WhatCannotBeLoadedIsAnErrorOfTheCallAndNotOfTheStart) {
    expectUnzipErrors(ErrorNumber::FileNotFound);
    expectZipErrors(ErrorNumber::FileNotFound);
    try {
        unzip.Directory();
    } catch (const platform::RuntimeError &error) {
        EXPECT_EQ(error.description(), "File not found: vl2uzip");
    }
    spoil(); // a file may come later
    expectUnzipErrors(ErrorNumber::LoadingLibrary);
    expectZipErrors(ErrorNumber::LoadingLibrary);
}

TEST_F(MissingLibraryTest, AMissingBaseFolderIsToldBeforeTheLibraryIsLookedFor) {
    zip.setBasePath("/no such folder");
    expectZipErrors(ErrorNumber::PathNotFound);
}

} // namespace
