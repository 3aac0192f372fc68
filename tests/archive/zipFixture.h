#pragma once

#include "archive/cZip.h"
#include "archive/mZip.h"
#include "platform/library.h"
#include "tests/archive/fake/fakeZip.h"

#include <gtest/gtest.h>

// A cZip over the stand-in library.
class ZipTest : public testing::Test {
  protected:
    ZipTest() : fake(stand()) {
        fake = {};
        zip.setZipFile(QStringLiteral("/game/base/x.vl2"));
    }

    // Makes a library call that does this.
    void during(const std::function<void(const ZIPUSERFUNCTIONS &)> &step) {
        fake.script = [&](const ZIPUSERFUNCTIONS &library) {
            step(library);
            return 0;
        };
        zip.Zip();
        fake.script = nullptr;
    }

    FakeZip &fake;
    cZip zip;

  private:
    static FakeZip &stand() {
        platform::Library::setFolder(QStringLiteral(ORVEL_FAKE_LIBRARIES));
        platform::Library library(QStringLiteral("vl2zip"));
        return *library.function<FakeZip *(*)()>("fakeZipState")();
    }
};
