#include "storage/windows/system.h"
#include "tests/workspace/extracted.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <map>
#include <system_error>
#include <thread>

// Files of the work folder that another program has open, as a virus scanner or an editor does.
namespace {

namespace fs = std::filesystem;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

platform::Handle held(const fs::path &file, DWORD access, DWORD share) {
    return platform::Handle(CreateFileW(file.c_str(), access, share, nullptr, OPEN_EXISTING,
                                        FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

// Opens each file and folder below a folder as soon as it is there, and closes it after a while.
class Scanner {
  public:
    Scanner(const QString &folder, DWORD share, std::chrono::milliseconds time)
        : m_thread([this, top = pathOf(folder), share, time] { scan(top, share, time); }) {}
    ~Scanner() {
        m_ends = true;
        m_thread.join();
    }
    Scanner(const Scanner &) = delete;
    Scanner &operator=(const Scanner &) = delete;

    int count() const { return m_count; }

  private:
    void scan(const fs::path &folder, DWORD share, std::chrono::milliseconds time) {
        struct Opened {
            platform::Handle file;
            std::chrono::steady_clock::time_point since;
        };
        std::map<fs::path, Opened> opened;
        while (!m_ends) {
            std::error_code ignored;
            for (fs::recursive_directory_iterator at(folder, ignored), end; !ignored && at != end;
                 at.increment(ignored)) {
                if (opened.contains(at->path()))
                    continue;
                platform::Handle file = held(at->path(), GENERIC_READ, share);
                m_count += file.isOpen() ? 1 : 0;
                if (file.isOpen())
                    opened[at->path()] = {std::move(file), std::chrono::steady_clock::now()};
            }
            for (auto &[path, file] : opened)
                if (std::chrono::steady_clock::now() - file.since > time)
                    file.file.close();
        }
    }

    std::atomic<bool> m_ends = false;
    std::atomic<int> m_count = 0;
    std::thread m_thread;
};

TEST(heldFiles, are_extracted_whole_while_a_scanner_opens_each) {
    constexpr std::chrono::milliseconds kMoment{150};
    constexpr std::chrono::minutes kLong{10};
    const struct {
        const char *what;
        DWORD share;
        std::chrono::milliseconds time;
    } rows[] = {{"alone, for a moment", 0, kMoment},
                {"with readers, for a moment", FILE_SHARE_READ, kMoment},
                {"with all, for a moment", kShareAll, kMoment},
                {"with readers, for long", FILE_SHARE_READ, kLong},
                {"with all, for long", kShareAll, kLong}};
    std::vector<ArchiveFile> files = kFiles;
    for (int i = 0; i < 60; ++i)
        files.push_back({QString("textures/%1.png").arg(i), QByteArray(20'000, 'x')});
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        std::unique_ptr<Scanner> scanner;
        Extracted job(files, "Classic", [&](const TempGame &game) {
            scanner = std::make_unique<Scanner>(game.temp(), row.share, row.time);
        });
        EXPECT_EQ(job.window->note(), "");
        EXPECT_GT(scanner->count(), 60);
        scanner.reset();
        const auto record = WorkRecord::read(job.game.temp(), "Classic");
        ASSERT_TRUE(record && record->entries().size() == files.size());
        // The record that was written before the extraction stays if it is open for too long.
        for (const WorkRecord::Entry &entry : record->entries())
            EXPECT_TRUE(entry.written || row.time == kLong) << entry.path;
        for (const ArchiveFile &file : files)
            EXPECT_EQ(readFile(job.folder + file.name), file.bytes) << file.name.toStdString();
        writeFile(job.folder + "scripts/a.cs", "mine");
        files[0].bytes += "theirs";
        job.replaceArchive(files);
        const Answers answers;
        job.window->click("cmdSaveChanges");
        EXPECT_EQ(said(answers), "");
        const auto saved = readArchive(job.archive);
        EXPECT_EQ(saved.at("scripts/a.cs"), "mine");
        EXPECT_EQ(saved.at("readme.txt"), files[0].bytes);
    }
}

TEST(heldFiles, stay_with_a_note_or_go_as_those_that_are_not_open) {
    const struct {
        const char *what, *button;
        DWORD access, share;
        bool stay;
    } rows[] = {
        {"alone", "cmdCancel", GENERIC_READ, 0, true},
        {"with readers", "cmdCancel", GENERIC_READ, FILE_SHARE_READ, true},
        {"with all", "cmdCancel", GENERIC_READ, kShareAll, false},
        {"written, with all", "cmdCancel", GENERIC_READ | GENERIC_WRITE, kShareAll, true},
        {"with readers and writers", "cmdSaveChanges", GENERIC_READ,
         FILE_SHARE_READ | FILE_SHARE_WRITE, true},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        const bool cancels = QByteArrayView(row.button) == "cmdCancel";
        Extracted job;
        writeFile(job.folder + "scripts/a.cs", "edited");
        QStringList notes;
        {
            const auto plain = held(pathOf(job.folder + "readme.txt"), row.access, row.share);
            const auto edited = held(pathOf(job.folder + "scripts/a.cs"), row.access, row.share);
            ASSERT_TRUE(plain.isOpen() && edited.isOpen());
            job.window->click(row.button);
            notes.append(job.window->note());
        }
        EXPECT_EQ(readFile(job.folder + "scripts/a.cs"), row.stay ? "edited" : "");
        EXPECT_EQ(QFile::exists(job.folder + "readme.txt"), row.stay);
        if (row.stay) {
            EXPECT_TRUE(notes[0].contains("open") &&
                        notes[0].endsWith(": readme.txt, scripts/a.cs"))
                << notes[0].toStdString();
            job.window->click("cmdCancel");
            notes.append(job.window->note());
        }
        EXPECT_FALSE(QFile::exists(job.folder + "scripts/a.cs"));
        EXPECT_EQ(readArchive(job.archive).at("scripts/a.cs"), cancels ? "a" : "edited");
        EXPECT_EQ(notes.last().startsWith("1 edited file was ") &&
                      notes.last().endsWith(": scripts/a.cs"),
                  cancels)
            << notes.last().toStdString();
    }
}

} // namespace
