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

    bool appendAvailableData(Bytes& buffer) override;
    void closeReading() override;
    void closeWriting();

    /// The ends; null once closed. Whoever holds one keeps it open.
    std::shared_ptr<Descriptor> readingEnd() const;
    std::shared_ptr<Descriptor> writingEnd() const;

private:
    std::shared_ptr<Descriptor> beginReading();
    bool endReading();
    void enlarge(const Descriptor& end);

    bool isLarge_ = false; ///< the reading thread's
    mutable std::mutex mutex_;
    bool isReading_ = false;
    std::shared_ptr<Descriptor> readingEnd_;
    std::shared_ptr<Descriptor> writingEnd_;
};

} // namespace quorvane::platform::linux_
