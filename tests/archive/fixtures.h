#pragma once

#include "archive/cUnzip.h"
#include "archive/cZip.h"
#include "archive/mUnzip.h"
#include "archive/mZip.h"
#include "platform/files.h"
#include "platform/library.h"
#include "platform/narrow.h"
#include "tests/archive/fake/fakeLibraries.h"
#include "tests/support/expectError.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

// Text and paths as they are passed to the libraries, on either system.
inline std::string narrowText(const QString &text) {
    return platform::toNarrow(text).toStdString();
}
inline std::string narrowPath(const QString &path) {
    return narrowText(platform::nativePath(path));
}

// The fields of an options record from `first` on, in its order, one digit each.
inline std::string digits(const void *first, std::size_t count) {
    std::vector<std::int32_t> values(count);
    std::memcpy(values.data(), first, count * sizeof values[0]);
    std::string text;
    for (const std::int32_t value : values)
        text += std::to_string(value);
    return text;
}

// The state of a stand-in library, as new.
template<typename Fake>
Fake &standIn(const QString &library, const char *state) {
    platform::Library::setFolder(ORVEL_FAKE_LIBRARIES);
    Fake &fake = *platform::Library(library).function<Fake *(*)()>(state)();
    return fake = {};
}

// One entry as the library reports it.
struct Reported {
    std::string path = "a.txt";
    std::uint32_t size = 0;
    std::int32_t factor = 0;
    std::int32_t month = 1, day = 1, year = 2001, hour = 0, minute = 0;
    std::string method = "Deflated";
    std::uint32_t crc = 0;
    char crypt = ' ';
};

// A cUnzip over the stand-in library.
class UnzipTest : public testing::Test {
  protected:
    UnzipTest() { unzip.setZipFile("/game/base/x.vl2"); }

    static void report(const USERFUNCTIONS &library, Reported entry) {
        library.SendApplicationMessage(7, entry.size, entry.factor, entry.month, entry.day,
                                       entry.year, entry.hour, entry.minute, '+', entry.path.data(),
                                       entry.method.data(), entry.crc, entry.crypt);
    }

    // Makes a library call that runs this step and ends with a code, which is returned.
    std::int32_t during(const std::function<void(const USERFUNCTIONS &)> &step,
                        std::int32_t code = 0) {
        fake.script = [&](const USERFUNCTIONS &library) {
            step(library);
            return code;
        };
        const std::int32_t returned = unzip.Directory();
        fake.script = nullptr;
        return returned;
    }

    // Lists an archive of these entries.
    std::int32_t list(const std::vector<Reported> &entries, std::int32_t code = 0) {
        const auto reportAll = [&](const USERFUNCTIONS &library) {
            for (const Reported &entry : entries)
                report(library, entry);
        };
        return during(reportAll, code);
    }

    // Lists `count` entries with names 1, 2, ...
    void listNumbered(int count) {
        std::vector<Reported> entries;
        for (int number = 1; number <= count; ++number)
            entries.push_back({.path = std::to_string(number)});
        list(entries);
    }

    // The numbers of the last call's options.
    std::string options() const { return digits(&fake.calls.back().options, 15); }

    FakeUnzip &fake = standIn<FakeUnzip>("vl2uzip", "fakeUnzipState");
    cUnzip unzip;
};

// A cZip over the stand-in library.
class ZipTest : public testing::Test {
  protected:
    ZipTest() { zip.setZipFile("/game/base/x.vl2"); }

    // Makes a library call that runs this step and ends with a code.
    void during(const std::function<void(const ZIPUSERFUNCTIONS &)> &step, std::int32_t code = 0) {
        fake.script = [&](const ZIPUSERFUNCTIONS &library) {
            step(library);
            return code;
        };
        zip.Zip();
        fake.script = nullptr;
    }

    // The numbers of the last call's options, which follow three texts.
    std::string options() const { return digits(&fake.calls.back().options.fTemp, 29); }

    FakeZip &fake = standIn<FakeZip>("vl2zip", "fakeZipState");
    cZip zip;
};
