// Pipes between this process and its children.
#pragma once

#include <memory>
#include <mutex>

#include "platform/Processes.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {

/// Both ends are closed in children unless a launch puts one in place. Both lie above the standard
/// streams, so that putting streams in place overwrites neither.
class LinuxPipe : public Pipe {
public:
    /// Throws Exception when the process is out of descriptors.
    LinuxPipe();

    Bytes availableData() override;
    void closeReading() override;
    void closeWriting();

    /// The ends; null once closed. Whoever holds one keeps it open.
    std::shared_ptr<Descriptor> readingEnd() const;
    std::shared_ptr<Descriptor> writingEnd() const;

private:
    mutable std::mutex mutex_;
    std::shared_ptr<Descriptor> readingEnd_;
    std::shared_ptr<Descriptor> writingEnd_;
};

} // namespace quorvane::platform::linux_
