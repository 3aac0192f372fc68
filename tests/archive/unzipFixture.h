#pragma once

#include "archive/cUnzip.h"
#include "archive/mUnzip.h"
#include "platform/library.h"
#include "tests/archive/fake/fakeUnzip.h"

#include <gtest/gtest.h>

// One entry as the library reports it.
struct Reported {
    std::string path = "a.txt";
    std::uint32_t packed = 0;
    std::int32_t factor = 0;
    std::int32_t month = 1, day = 1, year = 2001, hour = 0, minute = 0;
    std::string method = "Deflated";
    std::uint32_t crc = 0;
    char crypt = ' ';
};

// A cUnzip over the stand-in library.
class UnzipTest : public testing::Test {
  protected:
    UnzipTest() : fake(stand()) {
        fake = {};
        unzip.setZipFile(QStringLiteral("/game/base/x.vl2"));
    }

    static void report(const USERFUNCTIONS &library, Reported entry) {
        library.SendApplicationMessage(7, entry.packed, entry.factor, entry.month, entry.day,
                                       entry.year, entry.hour, entry.minute, '+', entry.path.data(),
                                       entry.method.data(), entry.crc, entry.crypt);
    }

    // Lists an archive of these entries.
    std::int32_t list(const std::vector<Reported> &entries, std::int32_t code = 0) {
        fake.script = [&](const USERFUNCTIONS &library) {
            for (const Reported &entry : entries)
                report(library, entry);
            return code;
        };
        const std::int32_t returned = unzip.Directory();
        fake.script = nullptr;
        return returned;
    }

    // Lists `count` entries with names 1, 2, ...
    void listNumbered(int count) {
        std::vector<Reported> entries;
        for (int number = 1; number <= count; ++number)
            entries.push_back({.path = std::to_string(number)});
        list(entries);
    }

    FakeUnzip &fake;
    cUnzip unzip;

  private:
    static FakeUnzip &stand() {
        platform::Library::setFolder(QStringLiteral(ORVEL_FAKE_LIBRARIES));
        platform::Library library(QStringLiteral("vl2uzip"));
        return *library.function<FakeUnzip *(*)()>("fakeUnzipState")();
    }
};
