#pragma once

#include "ziplib/vl2uzip/callResult.h"
#include "ziplib/vl2uzip/caller.h"
#include "ziplib/vl2uzip/extractTask.h"
#include "ziplib/vl2uzip/folderTree.h"
#include "ziplib/vl2uzip/passwords.h"
#include "ziplib/vl2uzip/plan.h"
#include "ziplib/vl2uzip/request.h"

#include <atomic>
#include <deque>
#include <memory>
#include <optional>
#include <string>

namespace ziplib {

// Extracts or tests the planned entries. Workers read, inflate and write; questions are asked and
// results told in the caller's thread, in stored order.
class Extraction {
  public:
    Extraction(const platform::InputFile &file, const Directory &directory, const Request &request,
               Caller &caller, CallResult &outcome);

    void run(const Plan &plan);

  private:
    void runTasks(const Plan &plan);
    bool openTarget(const Plan &plan);
    bool fits(const Plan &plan, const platform::Folder &target);
    void start(const PlanItem &item);
    void prepareFile(ExtractTask &task);
    bool mayWrite(ExtractTask &task, const platform::FileInfo &existing);
    bool mayReplace(const ExtractTask &task);
    bool askReplace(const std::string &path);
    void settleName(ExtractTask &task);
    ExtractTask *laterTaskWithFile(const platform::FileInfo &file);
    platform::Status folderFor(std::string_view path, std::shared_ptr<const platform::OpenFolder> &folder);
    void collect(std::unique_ptr<ExtractTask> task);
    void collectNext();
    std::unique_ptr<ExtractTask> nextTask();
    void drain();
    void again(ExtractTask &task);
    void stop(ReturnCode code, const std::string &message);

    const Directory &m_directory;
    const Request &m_request;
    Caller &m_caller;
    CallResult &m_outcome;
    Extents m_extents;
    MemoryBudget m_budget;
    std::atomic<bool> m_stopped{false};
    TaskContext m_context;
    Passwords m_passwords;
    std::optional<FolderTree> m_folders;
    bool m_replaceAll;
    bool m_keepAll = false;
    OwnFiles m_replaced;     // files that were there before and are being replaced
    std::size_t m_whole = 0; // entries that ended as they should
    // Tasks that are done and come before those in the pipeline.
    std::deque<std::unique_ptr<ExtractTask>> m_done;
    // Last, so that it ends first: its threads use what is above.
    std::unique_ptr<Pipeline> m_pipeline;
};

} // namespace ziplib
