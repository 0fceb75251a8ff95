// A container of the project keyed by identifier that notes which keys were
// changed until it is told to forget them. The undo history then compares
// only those entries with its recorded state, so recording a point or
// stepping through the history costs what the edit changed, not the size of
// the timeline.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

template <class Object>
class TrackedMap {
  public:
    using Map = std::map<std::string, std::shared_ptr<Object>>;

    const Map& entries() const { return entries_; }

    // Keeps an entry already held under the key.
    void emplace(const std::string& key, std::shared_ptr<Object> object) {
        if (entries_.emplace(key, std::move(object)).second) {
            noteChanged(key);
        }
    }
    void insert_or_assign(const std::string& key, std::shared_ptr<Object> object) {
        entries_.insert_or_assign(key, std::move(object));
        noteChanged(key);
    }
    size_t erase(const std::string& key) {
        const size_t erased = entries_.erase(key);
        if (erased > 0) {
            noteChanged(key);
        }
        return erased;
    }
    void clear() {
        if (!entries_.empty()) {
            entries_.clear();
            allChanged_ = true;
        }
    }
    void assign(const Map& entries) {
        entries_ = entries;
        allChanged_ = true;
    }

    // Every key may have changed: whole-container edits say so rather than
    // naming each key.
    bool allChanged() const { return allChanged_; }
    // The keys changed since forgetChanges, possibly repeated.
    const std::vector<std::string>& changedKeys() const { return changedKeys_; }
    void forgetChanges() {
        changedKeys_.clear();
        allChanged_ = false;
    }

  private:
    // Edits that no history point follows (compose-clip edits) must not
    // make the list grow past the container itself.
    static constexpr size_t kFewKeys = 64;

    void noteChanged(const std::string& key) {
        if (allChanged_) {
            return;
        }
        if (changedKeys_.size() >= kFewKeys && changedKeys_.size() > entries_.size()) {
            changedKeys_.clear();
            allChanged_ = true;
            return;
        }
        changedKeys_.push_back(key);
    }

    Map entries_;
    std::vector<std::string> changedKeys_;
    bool allChanged_ = false;
};
