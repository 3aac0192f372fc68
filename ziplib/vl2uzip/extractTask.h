#pragma once

#include "ziplib/codec/entryReader.h"
#include "ziplib/vl2uzip/fileSink.h"
#include "ziplib/vl2uzip/folderTree.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ziplib {

// What the tasks of one call share.
struct TaskContext {
    Source source;
    std::vector<std::unique_ptr<Scratch>> scratch; // of each worker and of the caller's thread
    std::atomic<Times> times{Times::Unknown};      // of the target's disk
    OwnFiles own;
    bool wantsWritten = false; // tasks report their files
    bool isRemote = false;     // a disk may answer late
};

// One entry in the thread pool: to extract, to test, or settled, which is only reported.
class ExtractTask : public platform::ThreadPool::Task {
  public:
    enum class Kind { Settled, Test, Extract };

    ExtractTask(TaskContext &context, std::uint32_t entryIndex, std::string entryPath)
        : index(entryIndex), path(std::move(entryPath)), m_context(context) {}

    void run(unsigned worker) noexcept override;
    bool isShort() const override;

    std::uint32_t index = 0;
    std::string path;   // of the entry, for messages and callbacks
    std::string report; // the message if it succeeds
    Kind kind = Kind::Settled;
    platform::Status status;
    std::optional<Cipher> cipher;
    int passwordTries = 0;

    // The target; only for Extract.
    std::shared_ptr<const platform::OpenFolder> folder;
    std::string name;
    platform::NewFile::Replace replace = platform::NewFile::Replace::No;
    bool convertLineEnds = false;
    std::optional<platform::FileInfo> written; // the file, if wanted
    // An earlier entry goes to the same file; decided when this one is reported.
    bool sharesTarget = false;

  private:
    platform::Status perform(Scratch &scratch);
    platform::Status read(Scratch &scratch, FileSink *sink) const;

    TaskContext &m_context;
};

} // namespace ziplib
