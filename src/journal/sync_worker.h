// Runs a sync on a thread of its own, so that the disk works while the
// request it protects is carried out: the caller asks for a sync after
// writing, does its work, and waits for the sync before it answers. One sync
// covers everything written before it started, so requests that pile up
// while a sync runs share the next one.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

namespace journal {

class SyncWorker {
  public:
    explicit SyncWorker(std::function<bool()> sync);
    ~SyncWorker();
    SyncWorker(const SyncWorker&) = delete;
    SyncWorker& operator=(const SyncWorker&) = delete;

    // Asks for a sync of everything written so far.
    void request();
    // Waits until a sync that started after the last request has ended;
    // false when any sync since the previous wait failed.
    bool wait();

  private:
    void run();

    std::function<bool()> sync_;
    std::mutex mutex_;
    std::condition_variable changed_;
    uint64_t requested_ = 0;
    uint64_t completed_ = 0;
    bool failed_ = false;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace journal
