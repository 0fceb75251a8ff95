#include "journal/sync_worker.h"

#include <utility>

namespace journal {

SyncWorker::SyncWorker(std::function<bool()> sync)
    : sync_(std::move(sync)), thread_([this] { run(); }) {}

SyncWorker::~SyncWorker() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void SyncWorker::request() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ++requested_;
    }
    changed_.notify_all();
}

bool SyncWorker::wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return completed_ >= requested_; });
    const bool succeeded = !failed_;
    failed_ = false;
    return succeeded;
}

void SyncWorker::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return stopping_ || requested_ > completed_; });
        // Whatever was asked for before stopping is still synced.
        if (requested_ == completed_) {
            return;
        }
        const uint64_t covering = requested_;
        lock.unlock();
        const bool synced = sync_();
        lock.lock();
        failed_ = failed_ || !synced;
        completed_ = covering;
        changed_.notify_all();
    }
}

}  // namespace journal
