// What the fakes were asked, in order: tests assert whole sequences on it.
#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace quorvane::testing {

/// Any thread.
class Journal {
public:
    void add(std::string entry) {
        const std::lock_guard lock(mutex_);
        entries_.push_back(std::move(entry));
    }

    std::vector<std::string> entries() const {
        const std::lock_guard lock(mutex_);
        return entries_;
    }

    /// The entries that begin with a prefix, such as "workspace.".
    std::vector<std::string> entries(const std::string& prefix) const {
        std::vector<std::string> found;
        for (const std::string& entry : entries())
            if (entry.starts_with(prefix)) found.push_back(entry);
        return found;
    }

    void clear() {
        const std::lock_guard lock(mutex_);
        entries_.clear();
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> entries_;
};

} // namespace quorvane::testing
