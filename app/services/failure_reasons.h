// Why things fail that the uninstaller asks for.
#pragma once

#include <mutex>
#include <string>

namespace brightkeel {

/// What the services found in the way of the operation under way: its plain attempt first, then the
/// one with administrator rights. Any thread.
class FailureReasons {
public:
    /// Before an operation.
    void clear() {
        const std::lock_guard lock(mutex_);
        text_.clear();
    }
    void add(const std::string& reason) {
        const std::lock_guard lock(mutex_);
        if (!text_.empty()) text_ += "; ";
        text_ += reason;
    }
    /// All of them in a row.
    std::string text() const {
        const std::lock_guard lock(mutex_);
        return text_.empty() ? "no reason is known" : text_;
    }

private:
    mutable std::mutex mutex_;
    std::string text_;
};

} // namespace brightkeel
