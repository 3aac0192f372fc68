#include "tests/archive/fixtures.h"

#include <QDir>
#include <QTemporaryDir>

#include <stdexcept>

using platform::ErrorNumber;

namespace {

using cZipTest = ZipTest;
using mZipTest = ZipTest;

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

TEST_F(mZipTest, TheThreeFunctionsAreCalledInOrderWithTheArchiveAndTheSpecs) {
    const QString lacking = "\u6F22\u0101.cs"; // letters that a code page may lack
    for (const QString &spec : {QString("*"), QString("\u00FCber/*.cs"), lacking})
        EXPECT_EQ(zip.AddFileSpec(spec), 0);
    EXPECT_EQ(zip.FileSpec(2), QVariant("\u00FCber/*.cs"));
    for (const std::int32_t index : {0, 4})
        expectError(ErrorNumber::SubscriptOutOfRange, [&] { zip.FileSpec(index); });
    zip.Zip();
    EXPECT_EQ(fake.order, (std::vector<std::string>{"ZpInit", "ZpSetOptions", "ZpArchive"}));
    const FakeZip::Call &call = fake.calls.at(0);
    EXPECT_EQ(call.zipFile, narrowPath("/game/base/x.vl2"));
    EXPECT_EQ(call.count, 3);
    EXPECT_EQ(call.names[0], "*");
    EXPECT_EQ(call.names[1], narrowText("\u00FCber/*.cs"));
    const std::string name = call.names[2].value();
    EXPECT_TRUE(platform::fromNarrow(name) == lacking || name == "\x1A\x1A.cs") << name;
    EXPECT_EQ(call.names[3], std::nullopt); // the end mark comes one slot later
    EXPECT_EQ(call.names[4], "");
    EXPECT_EQ(mZip::m_cCurrentZip, &zip);
    zip.ClearFileSpecs();
    EXPECT_EQ(zip.FileSpecCount(), 0);
}

TEST_F(mZipTest, AThousandAndTwentyTwoSpecsPassAndOneMoreIsRefused) {
    for (int spec = 0; spec < 1022; ++spec)
        zip.AddFileSpec(QString::number(spec));
    zip.Zip();
    EXPECT_EQ(fake.calls.at(0).names[1021], "1021");
    EXPECT_EQ(fake.calls.at(0).names[1023], "");
    fake.order.clear();
    zip.AddFileSpec("one more");
    expectError(ErrorNumber::SubscriptOutOfRange, [&] { zip.Zip(); });
    EXPECT_EQ(fake.order, (std::vector<std::string>{"ZpInit", "ZpSetOptions"}));
    EXPECT_FALSE(zip.LastResult().ok());
}

TEST_F(mZipTest, TheBaseFolderMustExistUnlessItIsBlank) {
    const QTemporaryDir folder;
    ASSERT_TRUE(QDir(folder.path()).mkpath("pack/a b"));
    const QString before = QDir::currentPath();
    for (const QString &base : {folder.path() + "\\missing", QDir::rootPath() + "\\missing\\"}) {
        zip.setBasePath(base);
        expectError(ErrorNumber::PathNotFound, [&] { zip.Zip(); });
    }
    EXPECT_TRUE(fake.order.empty());
    zip.setBasePath("   ");
    zip.Zip();
    EXPECT_EQ(fake.calls.back().rootDir, "   ");
    zip.setBasePath(folder.path() + "\\pack\\a b\\"); // with a separator, as a work folder's
    zip.Zip();
    EXPECT_EQ(QDir::cleanPath(platform::fromNarrow(*fake.calls.back().rootDir)),
              QDir::cleanPath(platform::nativePath(folder.path() + "/pack/a b")));
    EXPECT_EQ(QDir::currentPath(), before);
}

// Exceptions of the handlers are dropped and their answers count.
TEST_F(mZipTest, CallbacksRaiseTheEventsOfTheObject) {
    QStringList seen;
    zip.Progress = [&](std::int32_t, const QString &message) {
        seen.append(message);
        throw std::bad_alloc();
    };
    zip.Cancel = [&](const QString &name, bool &cancel) {
        seen.append(name);
        cancel = true;
        throw std::runtime_error("handler");
    };
    during([&](const ZIPUSERFUNCTIONS &library) {
        std::string text("a/b\0c", 5);
        EXPECT_EQ(library.print(text.data(), 5), 0);
        EXPECT_EQ(library.ServiceApplication(text.data(), 1), 0);
        EXPECT_EQ(library.ServiceApplication(text.data(), 5), 1);
        EXPECT_EQ(library.comment(text.data()), text.data());
        EXPECT_EQ(library.password(text.data(), 5, nullptr, nullptr), 1);
    });
    EXPECT_EQ(seen, QStringList({"a\\b", "a/b"})); // names with separators as written
    EXPECT_EQ(zip.LastResult().message, "a/b");
}

TEST_F(mZipTest, PackedFilesAreKnownAfterACallThatEndsWell) {
    platform::InputFile unreadable;
    const auto open = [&] { return &unreadable; };
    const auto never = [] { return nullptr; };
    platform::FileInfo seen;
    seen.device = 1, seen.id = 2, seen.size = 3, seen.modified = 4, seen.changed = 5;
    platform::FileInfo other = seen;
    ++other.id;
    const ZPPACKED file{"sub/\xc3\xbc.cs", 1, 2, 3, 4, 5, 6, 7, VL2ZIP_ADDED};
    for (const std::int32_t code : {0, 12, 1}) {
        during([&](const ZIPUSERFUNCTIONS &) { fake.packed(&file); }, code);
        const auto packed = zip.TakePacked();
        ASSERT_EQ(packed.has_value(), code != 1) << code;
        EXPECT_FALSE(zip.TakePacked().has_value());
        const std::deque<SavedFile> &saved = zip.LastResult().saved;
        EXPECT_TRUE(saved.size() == 1 && saved[0].outcome == SavedFile::Outcome::Added &&
                    saved[0].path == file.path && sameFile(saved[0].file, seen));
        if (!packed)
            continue;
        EXPECT_TRUE(packed->hold(u"sub\\\u00dc.cs", seen, true, open));
        // Whether a program writes to it is not known then.
        EXPECT_FALSE(packed->hold(u"sub\\\u00dc.cs", seen, true, never));
        EXPECT_FALSE(packed->hold(u"sub\\u.cs", seen, true, open));
        EXPECT_FALSE(packed->hold(u"sub\\\u00dc.cs", seen, false, open));
        EXPECT_FALSE(packed->hold(u"sub\\\u00dc.cs", other, true, open));
    }
}

} // namespace
