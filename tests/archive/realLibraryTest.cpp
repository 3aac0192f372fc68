#include "archive/cUnzip.h"
#include "archive/cZip.h"
#include "archive/idle.h"
#include "tests/support/archives.h"
#include "tests/support/tool.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

// The two classes over the real companion libraries, judged by Python, 7-Zip and bsdtar.

namespace {

int idleCalls = 0;

using Contents = std::map<QString, QByteArray>;

const QString kScript = QStringLiteral("scripts/client/a.cs");
const QString kUmlaut = QStringLiteral("textures/\u00FCber/s.png");
const QString kRoot = QStringLiteral("readme.txt");

Contents sample() {
    return {{kScript, "exec(\"b.cs\");\n"},
            {kUmlaut, QByteArray("\x89PNG\r\n\x1a\n", 8) + QByteArray(100000, 'x')},
            {kRoot, ""}};
}

class RealLibraryTest : public testing::Test {
  protected:
    RealLibraryTest() {
        unzip.setUseFolderNames(true);
        unzip.setUnzipFolder(work);
        zip.setZipFile(archive);
        zip.setBasePath(work + u'\\');
        zip.setStoreFolderNames(true);
        zip.setRecurseSubDirs(true);
        QDir().mkpath(work);
    }

    // Makes the sample archive and lists it.
    void listSample() {
        makeArchive(archive, {{QStringLiteral("scripts/"), {}, 16},
                              {kRoot, sample()[kRoot]},
                              {kScript, sample()[kScript]},
                              {kUmlaut, sample()[kUmlaut]}});
        unzip.setZipFile(archive);
        EXPECT_EQ(unzip.Directory(), 0) << unzip.LastMessage().toStdString();
    }

    // Packs everything in the work folder.
    void pack() {
        zip.ClearFileSpecs();
        zip.AddFileSpec(QStringLiteral("*"));
        zip.Zip();
    }

    void write(const QString &name, const QByteArray &bytes) const {
        const QString path = work + u'/' + name;
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }

    // What is on disk at a path, or none.
    static std::optional<QByteArray> bytesOf(const QString &path) {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return file.readAll();
    }
    std::optional<QByteArray> extracted(const QString &name) const {
        return bytesOf(work + u'/' + name);
    }

    static void expectSound(const QString &path) {
        EXPECT_EQ(runTool({"7z", "t", path.toStdString()}).code, 0);
        EXPECT_EQ(runTool({"bsdtar", "-tf", path.toStdString()}).code, 0);
    }

    QTemporaryDir folder;
    QString archive = folder.filePath(QStringLiteral("x.vl2"));
    QString work = folder.filePath(QStringLiteral("work"));
    cUnzip unzip;
    cZip zip;
};

TEST_F(RealLibraryTest, ListsWhatPythonPackedWithoutTheFolderEntries) {
    listSample();
    ASSERT_EQ(unzip.FileCount(), 3);
    EXPECT_EQ(unzip.Filename(1), kRoot);
    EXPECT_EQ(unzip.FileDirectory(1), QString());
    EXPECT_EQ(unzip.FileDirectory(2), QStringLiteral("scripts\\client"));
    EXPECT_EQ(unzip.FileDirectory(3), QStringLiteral("textures\\\u00FCber"));
    EXPECT_EQ(unzip.Filename(3), QStringLiteral("s.png"));
    EXPECT_EQ(unzip.FileDate(3), QDateTime(QDate(2001, 3, 4), QTime(12, 30), Qt::UTC));
    EXPECT_GT(unzip.FileSize(3), 0);
    EXPECT_LT(unzip.FileSize(3), 1000); // the compressed size
    EXPECT_NE(unzip.FileCRC(3), 0);
    EXPECT_FALSE(unzip.FileEncrypted(3));
    EXPECT_FALSE(unzip.FileCompressionMethod(3).isEmpty());
}

TEST_F(RealLibraryTest, ExtractsEverythingOrTheSelectedEntries) {
    listSample();
    EXPECT_FALSE(unzip.Unzip()) << unzip.LastMessage().toStdString();
    for (const auto &[name, bytes] : sample())
        EXPECT_EQ(extracted(name), bytes) << name.toStdString();

    QDir(work).removeRecursively();
    unzip.setFileSelected(1, false);
    unzip.setFileSelected(2, false);
    EXPECT_FALSE(unzip.Unzip());
    EXPECT_EQ(extracted(kUmlaut), sample()[kUmlaut]);
    EXPECT_EQ(extracted(kScript), std::nullopt);
    EXPECT_EQ(extracted(kRoot), std::nullopt);
}

TEST_F(RealLibraryTest, AnExistingFileIsKeptUnlessItIsToBeReplaced) {
    listSample();
    write(kScript, "mine");
    unzip.Unzip();
    EXPECT_EQ(extracted(kScript), "mine");
    QString asked;
    unzip.OverwritePrompt = [&](const QString &file, std::int32_t &response) {
        asked = file;
        response = 102;
    };
    unzip.Unzip();
    EXPECT_EQ(extracted(kScript), sample()[kScript]);
    EXPECT_FALSE(asked.isEmpty());
    EXPECT_FALSE(asked.contains(u'/'));
}

TEST_F(RealLibraryTest, AHandlerCanStopAnExtraction) {
    listSample();
    int done = 0;
    unzip.Cancel = [&](const QString &, bool &cancel) {
        ++done;
        cancel = true;
    };
    EXPECT_TRUE(unzip.Unzip());
    EXPECT_EQ(unzip.LastCode(), 80);
    EXPECT_EQ(done, 1);
}

TEST_F(RealLibraryTest, PacksANewArchiveThatOtherToolsRead) {
    for (const auto &[name, bytes] : sample())
        write(name, bytes);
    pack();
    EXPECT_TRUE(zip.LastResult().ok()) << zip.LastResult().message.toStdString();
    EXPECT_EQ(readArchive(archive), sample());
    expectSound(archive);
}

TEST_F(RealLibraryTest, ASaveChangesWhatWasEditedAndKeepsTheRest) {
    listSample();
    unzip.Unzip();
    write(kScript, "edited");
    write(QStringLiteral("new/n.cs"), "new");
    QFile::remove(work + u'/' + kRoot);
    pack();
    EXPECT_TRUE(zip.LastResult().ok()) << zip.LastResult().message.toStdString();
    Contents expected = sample();
    expected[kScript] = "edited";
    expected[QStringLiteral("new/n.cs")] = "new";
    expected[QStringLiteral("scripts/")] = "";
    EXPECT_EQ(readArchive(archive), expected); // what is not in the folder stays in the archive
    expectSound(archive);
}

TEST_F(RealLibraryTest, DeletesTheEntriesThatMatch) {
    listSample();
    zip.AddFileSpec(QStringLiteral("*.png"));
    zip.Delete();
    EXPECT_TRUE(zip.LastResult().ok()) << zip.LastResult().message.toStdString();
    const Contents left = readArchive(archive);
    EXPECT_FALSE(left.contains(kUmlaut));
    EXPECT_EQ(left.at(kScript), sample()[kScript]);
}

TEST_F(RealLibraryTest, AFailureSaysWhyAndLeavesTheArchiveAsItWas) {
    unzip.setZipFile(folder.filePath(QStringLiteral("missing.vl2")));
    EXPECT_EQ(unzip.Directory(), 9);
    EXPECT_FALSE(unzip.LastMessage().isEmpty());

    QFile file(archive);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("this is not an archive");
    file.close();
    write(kScript, "edited");
    pack();
    EXPECT_FALSE(zip.LastResult().ok());
    EXPECT_TRUE(zip.LastResult().message.contains(QStringLiteral("x.vl2")))
        << zip.LastResult().message.toStdString();
    EXPECT_EQ(bytesOf(archive), "this is not an archive");
    EXPECT_EQ(extracted(kScript), "edited");
}

TEST_F(RealLibraryTest, WindowsArePaintedThroughoutALongCall) {
    makeBigArchive(archive, 64);
    idleCalls = 0;
    setIdleHandler([] { ++idleCalls; });
    unzip.setZipFile(archive);
    unzip.Directory();
    unzip.Unzip();
    const int extracting = idleCalls;
    write(QStringLiteral("sounds/noise.wav"), QByteArray(64 << 20, 'n'));
    pack();
    setIdleHandler(nullptr);
    EXPECT_GT(extracting, 2);
    EXPECT_GT(idleCalls, extracting);
    EXPECT_TRUE(zip.LastResult().ok());
}

} // namespace
