#pragma once

#include "storage/storage.h"
#include "ziplib/codec/lineEnds.h"
#include "ziplib/common/buffer.h"
#include "ziplib/common/returnCode.h"

#include <chrono>
#include <functional>
#include <string>

namespace ziplib {

// A file of the folder, read as the bytes that go into the archive: in one version, with converted
// line ends if requested.
class SourceFile {
  public:
    // The file `name` (UTF-8) below the folder `root`.
    SourceFile(std::string root, std::string name, LineEnds lineEnds);

    // Makes open() use the file's folder, which is faster. The folder must outlive this.
    void setFolder(const platform::Folder &folder) { m_folder = &folder; }
    // Called after each part that is read, and about every 20 ms while it waits for another
    // program. The function must outlive this.
    void setIdle(const std::function<void()> &idle) { m_idle = &idle; }
    // Opens the file and stores its version.
    Status open();
    const platform::FileInfo &version() const { return m_version; }
    const std::string &name() const { return m_location.below; }

    // Reads the next bytes, about `size`, into `out`; none at the end.
    Status read(std::size_t size, Bytes &out);
    // Reads the rest and returns its CRC-32 and size.
    Status measure(std::uint32_t &crc, std::uint64_t &size);
    // Starts again at the first byte.
    void rewind();
    // True if the file was read to its end and is still the version that was opened.
    bool unchanged() const;
    // The same, but its times may differ.
    bool unchangedButTimes() const;
    // Waits until no program has the open file open for writing, which may have written half of it,
    // or the file does not change for a second. True if it has waited: open the file again. All
    // files of a save together wait for three seconds at most, from the first wait on.
    bool waitForWriter();
    // Whether a program has the open file open for writing.
    bool findWriter();
    // Whether one had, when that was last asked. What it writes through a memory mapping later may
    // show in no time of the file.
    bool isWritten() const { return m_isWritten; }
    // Waits that long.
    void pause(std::chrono::milliseconds time) const;
    // Begins a save: resets that time.
    static void allowWaiting();
    // DOS attributes.
    std::uint8_t attributes() const;
    // Finds out whether the open file, before conversion, looks like text.
    Status judgeText(bool &text);

  private:
    bool converts() const { return m_lineEnds != LineEnds::Keep; }
    Status readRaw(std::size_t size, Bytes &out);
    void callIdle() const;
    Status readConverted(std::size_t size, Bytes &out);

    platform::Location m_location;
    const std::function<void()> *m_idle = nullptr;
    const platform::Folder *m_folder = nullptr;
    LineEnds m_requestedLineEnds;
    LineEnds m_lineEnds = LineEnds::Keep; // conversion of this version
    LineEndConverter m_converter;
    platform::InputFile m_file;
    platform::FileInfo m_version;
    std::uint64_t m_position = 0;
    bool m_ended = false;
    bool m_isWritten = false;
    Bytes m_raw;
};

// Repeats `attempt`, which sets `crc` to the CRC-32 of all that it has read, until it has read one
// version of the file from beginning to end, as far as times show. On a disk where reading changes
// the times, two attempts that read the same bytes show it. Fails with Busy if the file keeps
// changing.
template<typename Attempt>
Status readWhole(SourceFile &file, const std::uint32_t &crc, Attempt attempt) {
    constexpr int kTries = 4;
    constexpr std::chrono::milliseconds kPause{20};
    std::uint32_t before = 0;
    for (int i = 0; i < kTries; ++i) {
        if (i > 0)
            file.pause(kPause * i);
        if (auto opened = file.open(); !opened.ok())
            return opened;
        if (i == 0 && file.waitForWriter()) {
            if (auto opened = file.open(); !opened.ok())
                return opened;
        }
        if (auto read = attempt(); !read.ok())
            return read;
        if (file.unchanged() || (i > 0 && crc == before && file.unchangedButTimes()))
            return {};
        before = crc;
    }
    return {Failure::Busy, file.name() + ": another program keeps writing to it"};
}

} // namespace ziplib
