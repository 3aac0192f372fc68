#pragma once

#include "storage/storage.h"
#include "ziplib/codec/lineEnds.h"
#include "ziplib/common/buffer.h"
#include "ziplib/common/returnCode.h"

#include <chrono>
#include <string>
#include <thread>

namespace ziplib {

// One file of the folder, read as the bytes that the archive is to hold: whole in one version, with
// its line ends converted where that is asked for.
class SourceFile {
  public:
    // The file `name` (UTF-8) below the folder `root`.
    SourceFile(std::string root, std::string name, LineEnds lineEnds);

    // From now on opens it directly in its folder, which is quicker. The folder must outlive this.
    void lieIn(const platform::Folder &folder) { m_folder = &folder; }
    // Opens it and notes which version of it this is.
    Status open();
    const platform::FileInfo &version() const { return m_version; }
    const std::string &name() const { return m_place.below; }

    // The next bytes, about `wanted` of them, into `out`; none at the end.
    Status read(std::size_t wanted, Bytes &out);
    // Reads the rest: CRC-32 and number of the bytes.
    Status measure(std::uint32_t &crc, std::uint64_t &size);
    // Starts again at the first byte.
    void rewind();
    // True where the file was read to its end and is still the version that was opened.
    bool settled() const;
    // DOS attributes.
    std::uint8_t attributes() const;
    // Whether the file as it is stored reads as text. To be asked while it is open.
    Status judgeText(bool &text);

  private:
    bool converts() const { return m_lineEnds != LineEnds::Keep; }
    Status readRaw(std::size_t wanted, Bytes &out);
    Status readConverted(std::size_t wanted, Bytes &out);

    platform::Location m_place;
    const platform::Folder *m_folder = nullptr;
    LineEnds m_wanted;
    LineEnds m_lineEnds = LineEnds::Keep; // what is done to this version of the file
    LineEndConverter m_converter;
    platform::InputFile m_file;
    platform::FileInfo m_version;
    std::uint64_t m_position = 0;
    bool m_ended = false;
    Bytes m_raw;
};

// Tries `attempt` on the file until it saw one version of it from beginning to end, as far as times
// tell; gives up, with a failure that names the file, where it keeps changing.
template<typename Attempt>
Status readWhole(SourceFile &file, Attempt attempt) {
    constexpr int kTries = 4;
    constexpr std::chrono::milliseconds kPause{20};
    for (int i = 0; i < kTries; ++i) {
        if (i > 0)
            std::this_thread::sleep_for(kPause * i);
        if (auto opened = file.open(); !opened.ok())
            return opened;
        if (auto read = attempt(); !read.ok())
            return read;
        if (file.settled())
            return {};
    }
    return {Failure::CannotOpen, file.name() + ": another program keeps writing to it"};
}

} // namespace ziplib
