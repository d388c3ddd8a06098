// What the command-line tools share: how they start, complain and end.
#pragma once

#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>

#include <sys/types.h>

#include "platform/Values.h"

namespace quorvane::platform::linux_::tools {

/// How a tool ends. The number for wrong usage is the one of BSD's sysexits.
enum ExitStatus : int { kDone = 0, kFailed = 1, kWrongUsage = 64 };

/// Arguments that a tool does not understand.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What keeps a tool from going on.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
    /// "ITEM: REASON".
    Failure(const Path& item, const std::string& reason);
    Failure(const Path& item, const Error& error);
};

/// What a tool says about single items while it goes on with the others.
class Report {
public:
    Report(std::string tool, std::ostream& output) : tool_(std::move(tool)), output_(output) {}

    /// Something worth knowing, such as an item that is left out on purpose.
    void note(const Path& item, const std::string& text);
    /// An item that could not be dealt with: the tool will end with kFailed.
    void failure(const Path& item, const std::string& reason);
    bool hasFailed() const { return hasFailed_; }

private:
    std::string tool_;
    std::ostream& output_;
    bool hasFailed_ = false;
};

struct Program {
    std::string name;
    /// What --help prints; ends with a line break.
    std::string usage;
    /// Prints results on standard output; throws UsageError or Failure.
    std::function<void(const Arguments&, Report&)> body;
};

/// Runs a tool and answers its exit status. Results that standard output does not take, such as on
/// a full disk, are a failure.
int run(const Program& program, int count, const char* const* texts);

/// An absolute path to the item, links and ".." parts as they stand. Fails for an empty path.
Path absolutePath(const Path& path);

/// The permissions that new items get of those given.
mode_t withoutMask(mode_t permissions);

} // namespace quorvane::platform::linux_::tools
