#include "platform/shell.h"

#include "tests/support/environment.h"
#include "tests/support/expectError.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

namespace fs = std::filesystem;

class WindowsShell : public testing::Test {
  protected:
    WindowsShell() {
        setVariable("ORVEL_RECORD", (root / "record").string().c_str());
        const fs::path recorder = ORVEL_STAND_IN;
        fs::create_directories(root / "Program Files");
        fs::copy_file(recorder, root / "tool.exe");
        fs::copy_file(recorder, root / "Program Files" / "My Tool.exe");
    }
    ~WindowsShell() override { setVariable("ORVEL_RECORD", ""); }

    // Starts a command line, with @ for the folder, and returns that of the program.
    std::string started(std::string line) const {
        fs::remove(root / "record");
        platform::Shell(QString::fromStdString(filled(std::move(line))), platform::kShowNormal);
        std::string record; // the program creates it before it writes
        for (int wait = 0; wait < 500 && record.empty(); ++wait) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            record = fs::exists(root / "record") ? readFile(root / "record") : "";
        }
        return record;
    }
    std::string filled(std::string text) const {
        for (std::size_t at = text.find('@'); at != std::string::npos; at = text.find('@'))
            text.replace(at, 1, root.path().string());
        return text;
    }

    TestFolder root;
};

TEST_F(WindowsShell, AProgramGetsTheRestOfItsCommandLineAsItIs) {
    using Row = std::pair<const char *, const char *>;
    for (const auto &[given, seen] : {
             Row{"@\\tool.exe @\\a b.png", "\"@\\tool.exe\" @\\a b.png"},
             Row{"\"@\\Program Files\\My Tool.exe\" \"@\\x.png\"",
                 "\"@\\Program Files\\My Tool.exe\" \"@\\x.png\""},
             Row{"@\\Program Files\\My Tool.exe /play /close \"@\\x.wav\"",
                 "\"@\\Program Files\\My Tool.exe\" /play /close \"@\\x.wav\""},
             Row{"@\\Program Files\\My Tool x & y > z",
                 "\"@\\Program Files\\My Tool.exe\" x & y > z"},
             Row{"@/tool.exe", "\"@\\tool.exe\""},
         })
        EXPECT_EQ(started(given), filled(seen)) << given;
}

TEST_F(WindowsShell, AProgramThatIsMissingOrNoneIsAnError) {
    writeFile(root / "text.exe", "no program");
    for (const char *none : {"@\\none.exe x", "\"@\\Program Files\" x", ""})
        expectError(
            platform::ErrorNumber::FileNotFound, [&] { started(none); });
    expectError(platform::ErrorNumber::IllegalProcedureCall, [&] { started("@\\text.exe"); });
}

} // namespace
