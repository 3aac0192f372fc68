#include "platform/library.h"
#include "tests/platform/filesFixture.h"

namespace {

using platform::ErrorNumber;
using platform::Library;

class LibraryTest : public FilesFixture {
  protected:
    ~LibraryTest() override { Library::setFolder({}); }

    static int call(Library &library) { return library.function<int (*)()>("orvelTestAnswer")(); }
};

TEST_F(LibraryTest, AFunctionIsFoundAtItsFirstUse) {
    Library::setFolder(ORVEL_TEST_LIBRARIES);
    Library good("good");
    EXPECT_EQ(call(good), 42);
    // Loaded for good: where it lay no longer matters.
    Library::setFolder(folder());
    EXPECT_EQ(call(good), 42);
}

TEST_F(LibraryTest, WhatCannotBeUsedIsAnErrorOfTheCall) {
    Library::setFolder(folder());
    Library missing("vl2uzip");
    expectError(ErrorNumber::FileNotFound, [&] { call(missing); });
    // It may come later.
    makeFile("libvl2uzip.so", "no library");
    expectError(ErrorNumber::LoadingLibrary, [&] { call(missing); });

    Library::setFolder(ORVEL_TEST_LIBRARIES);
    Library good("good");
    expectError(ErrorNumber::EntryPointNotFound, [&] { good.function<void (*)()>("missing"); });
}

TEST_F(LibraryTest, TheMessageNamesTheLibrary) {
    Library missing("no-such-library");
    try {
        call(missing);
        FAIL() << "no error was raised";
    } catch (const platform::RuntimeError &error) {
        EXPECT_EQ(error.description(), QString("File not found: no-such-library"));
    }
}

} // namespace
