#include "platform/linux/authorization/tool_output.h"

#include <array>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace quorvane::platform::linux_ {
namespace {

constexpr std::size_t kReadSize = 4096;

class ToolOutputPipe final : public CommunicationsPipe {
public:
    explicit ToolOutputPipe(std::shared_ptr<ToolOutput> output) : output_(std::move(output)) {}

    int readCharacter() override { return output_->readCharacter(); }

private:
    std::shared_ptr<ToolOutput> output_;
};

} // namespace

int ToolOutput::readCharacter() {
    const std::lock_guard lock(mutex_);
    if (position_ == read_.size()) {
        read_ = {};
        position_ = 0;
        if (!fill()) return -1;
    }
    return static_cast<unsigned char>(read_[position_++]);
}

bool ToolOutput::settle() {
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (!lock) return false;
    if (!pipe_) return true;
    if (!isClosedByTool()) return false;
    // Nobody writes any more, so this ends, with no more than a pipe holds.
    while (fill()) {
    }
    return true;
}

/// Takes what comes next into memory. At the end, or when reading fails, closes the pipe: false.
bool ToolOutput::fill() {
    if (!pipe_) return false;
    std::array<char, kReadSize> buffer; // NOLINT(*-member-init): the read fills what is used
    const auto count =
        retryInterrupted([&] { return ::read(pipe_.get(), buffer.data(), buffer.size()); });
    if (count <= 0) {
        pipe_.reset();
        return false;
    }
    read_.append(buffer.data(), static_cast<std::size_t>(count));
    return true;
}

bool ToolOutput::isClosedByTool() const {
    pollfd pipe{pipe_.get(), 0, 0};
    return ::poll(&pipe, 1, 0) == 1 && (pipe.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

std::unique_ptr<CommunicationsPipe> communicationsPipe(std::shared_ptr<ToolOutput> output) {
    return std::make_unique<ToolOutputPipe>(std::move(output));
}

} // namespace quorvane::platform::linux_
