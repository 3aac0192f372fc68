#pragma once

#include "storage/storage.h"
#include "tests/support/disk.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

using platform::Failure;
using platform::FileInfo;
using platform::Folder;
using platform::InputFile;
using platform::NewFile;
using Replace = NewFile::Replace;
using Files = std::map<std::string, std::string>;

// An open folder, and the files in it.
class Storage : public testing::Test {
  protected:
    Storage() { EXPECT_TRUE(folder.open(root.path().string()).ok()); }

    platform::Status commit(const std::string &name, const std::string &bytes, Replace replace,
                            InputFile *replaced = nullptr) const {
        NewFile file;
        if (auto made = file.create(folder); !made.ok())
            return made;
        if (auto written = file.write(bytes.data(), bytes.size()); !written.ok())
            return written;
        return file.commit(name, replace, replaced);
    }

    TestFolder root;
    Folder folder;
};
