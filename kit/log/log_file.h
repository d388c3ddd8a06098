// The open current log file.
#pragma once

#include "platform/FileManager.h"
#include "platform/Services.h"

namespace quorvane {

/// Closes the file with its last reference, so that a handle is never closed under the writer.
class LogFile {
public:
    explicit LogFile(platform::StreamHandle handle) : handle_(handle) {}
    ~LogFile() { platform::services().makeFileManager()->close(handle_); }
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    platform::StreamHandle handle() const { return handle_; }

    /// Whether the file may end inside a line, of a process that was ended or found the disk full.
    /// For the lane only.
    bool mayBeTorn() const { return mayBeTorn_; }
    void setMayBeTorn(bool mayBeTorn) { mayBeTorn_ = mayBeTorn; }

private:
    platform::StreamHandle handle_;
    bool mayBeTorn_ = true;
};

} // namespace quorvane
