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
    std::vector<std::unique_ptr<Scratch>> scratch; // one for each worker, one for the caller
    platform::KeepGoing keepGoing;
    std::atomic<Times> times{Times::Unknown}; // of the target's disk
    OwnFiles own;
};

// One entry on its way through the pipeline: to be extracted or tested, or settled already.
class ExtractTask : public Pipeline::Task {
  public:
    enum class Kind { Settled, Test, Extract };

    ExtractTask(TaskContext &context, std::uint32_t entryIndex, std::string entryPath)
        : index(entryIndex), path(std::move(entryPath)), m_context(context) {}

    void run(unsigned worker) noexcept override;

    std::uint32_t index = 0;
    std::string path;   // of the entry, for messages and callbacks
    std::string report; // what to say where it went well
    Kind kind = Kind::Settled;
    platform::Status status;
    std::optional<Cipher> cipher;
    int passwordTries = 0;

    // Where to write; only for Extract.
    std::shared_ptr<const platform::OpenFolder> folder;
    std::string name;
    platform::NewFile::Replace replace = platform::NewFile::Replace::No;
    bool convertLineEnds = false;
    // An earlier entry has the file; settled when this one's turn comes.
    bool second = false;

  private:
    platform::Status perform(Scratch &scratch) const;

    TaskContext &m_context;
};

} // namespace ziplib
