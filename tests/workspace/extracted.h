#pragma once

#include "archive/workRecord.h"
#include "tests/workspace/window.h"

#include <functional>
#include <memory>

inline const std::vector<ArchiveFile> kFiles{{"readme.txt", "r"},
                                             {"scripts/a.cs", "a"},
                                             {"shapes/c.dts", "c"},
                                             {"textures/sky.png", QByteArray(5000, 's')}};

// A game whose one archive is extracted in the window.
struct Extracted {
    TempGame game;
    QString archive;
    QString folder;
    std::unique_ptr<MainWindow> window;

    // Calls `before` before it extracts.
    explicit Extracted(const std::vector<ArchiveFile> &files = kFiles,
                       const QString &shown = "Classic",
                       const std::function<void(const TempGame &)> &before = {})
        : archive(game.archive(shown.toUpper() + ".vl2")), folder(game.temp() + '/' + shown + '/') {
        makeArchive(game.archive("made"), files);
        EXPECT_TRUE(QFile::rename(game.archive("made"), archive));
        window = std::make_unique<MainWindow>();
        window->pick(shown);
        if (before)
            before(game);
        window->click("cmdExtract");
        EXPECT_EQ(joined(window->enabledButtons()), kExtracted);
    }
    // Another program replaces the archive.
    void replaceArchive(const std::vector<ArchiveFile> &files) const {
        makeArchive(game.archive("made"), files);
        QFile::remove(archive);
        EXPECT_TRUE(QFile::rename(game.archive("made"), archive));
    }
    QString record() const {
        return game.temp() + '/' + WorkRecord::fileName(QDir(folder).dirName());
    }
    std::string shownFolder() const {
        return QDir::toNativeSeparators(QDir::cleanPath(folder)).toStdString();
    }
};
