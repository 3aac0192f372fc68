#pragma once

#include "ziplib/vl2uzip/callResult.h"
#include "ziplib/vl2uzip/caller.h"
#include "ziplib/vl2uzip/extractTask.h"
#include "ziplib/vl2uzip/folderTree.h"
#include "ziplib/vl2uzip/passwords.h"
#include "ziplib/vl2uzip/plan.h"

#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <string>

namespace ziplib {

// Extracts or tests the planned entries. Worker threads read, inflate and write; the callbacks run
// in the caller's thread, in stored order.
class Extraction {
  public:
    Extraction(const platform::InputFile &file, const Directory &directory, const Request &request,
               Caller &caller, CallResult &result);

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
    void resolveTakenName(ExtractTask &task);
    ExtractTask *laterTaskWithFile(const platform::FileInfo &file);
    // Repeats a call that opens a folder while another program has that open without sharing, until
    // all of them together have waited for m_patience.
    template<typename Open>
    platform::Status openPatiently(Open open);
    platform::Status folderFor(std::string_view path,
                               std::shared_ptr<const platform::OpenFolder> &folder);
    void collect(std::unique_ptr<ExtractTask> task);
    void collectNext();
    std::unique_ptr<ExtractTask> nextTask();
    void drain();
    void retry(ExtractTask &task);
    void reportExtracted(std::uint32_t index, const std::string &path,
                         const platform::FileInfo *written);
    void stop(ReturnCode code, const std::string &message);

    const Directory &m_directory;
    const Request &m_request;
    Caller &m_caller;
    CallResult &m_result;
    Extents m_extents;
    platform::MemoryBudget m_budget;
    std::atomic<bool> m_stopped{false};
    TaskContext m_context;
    Passwords m_passwords;
    std::optional<FolderTree> m_folders;
    bool m_replaceAll;
    bool m_keepAll = false;
    OwnFiles m_replaced; // files that existed before and are being replaced
    std::chrono::milliseconds m_patience{500};
    std::size_t m_complete = 0; // entries that ended as planned
    std::size_t m_collected = 0;
    // Finished tasks that come before those in the thread pool.
    std::deque<std::unique_ptr<ExtractTask>> m_done;
    // The last member, so that it is destroyed first: its threads use the others.
    std::unique_ptr<platform::ThreadPool> m_pipeline;
};

} // namespace ziplib
