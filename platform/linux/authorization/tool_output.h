// What a tool with administrator rights prints.
#pragma once

#include <memory>
#include <mutex>

#include "platform/Authorization.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {

/// Callers keep the outputs of all tools as long as the process lives, so the output of an ended
/// tool costs no descriptor: what is left of it is kept in memory. Any thread.
class ToolOutput {
public:
    /// Of a tool whose output comes through a pipe; without a descriptor, of one that printed
    /// nothing.
    explicit ToolOutput(Descriptor pipe) : pipe_(std::move(pipe)) {}

    /// The next byte (0 to 255), waiting for it, or -1 at the end.
    int readCharacter();
    /// Whether the tool has closed its output and the pipe is closed; closes it if the tool has.
    /// Never waits: false while another thread reads.
    bool settle();

private:
    bool fill();
    bool isClosedByTool() const;

    std::mutex mutex_;
    Descriptor pipe_;
    Bytes read_;
    std::size_t position_ = 0; ///< of the next byte in `read_`
};

/// A caller's hold on the output.
std::unique_ptr<CommunicationsPipe> communicationsPipe(std::shared_ptr<ToolOutput> output);

} // namespace quorvane::platform::linux_
