#pragma once

#include "platform/workFolderCleaner.h"
#include "tests/platform/filesFixture.h"

// A work folder, and what a save saw in it.
class CleanerFixture : public FilesFixture {
  protected:
    static constexpr std::uint32_t kContentCrc = 0xFEC530A9; // of "content"

    QString work() const { return at("temp\\Classic"); }
    platform::FileInfo stateOf(const QByteArray &path, const char *name) const {
        platform::Folder folder;
        platform::FileInfo info;
        EXPECT_TRUE(folder.open(bytesAt(path).toStdString()).ok() && folder.info(name, info).ok());
        return info;
    }
};
