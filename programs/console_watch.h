// What the kit says on the console while a program has a line of progress there.
#pragma once

#include <memory>
#include <string>

#include "platform/Services.h"
#include "programs/progress_line.h"

namespace quorvane::programs {

/// During its life the kit's messages take the line off, and each is passed on once: on a full disk
/// the kit says the same of every chunk. While it is made and destroyed nobody else uses the
/// services, which takes a kit whose log is disabled. Any thread may ask.
class ConsoleWatch {
public:
    explicit ConsoleWatch(std::shared_ptr<ProgressLine> line);
    ConsoleWatch(const ConsoleWatch&) = delete;
    ConsoleWatch& operator=(const ConsoleWatch&) = delete;
    ~ConsoleWatch();

    bool hasHeard(const std::string& message) const;
    /// Whether a message came after which nothing is copied.
    bool hasHeardWhyItFailed() const;

private:
    class Console;

    std::shared_ptr<Console> console_;
    platform::Services services_;
    const platform::Services* before_;
};

} // namespace quorvane::programs
