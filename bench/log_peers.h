// The logs that a program would use instead.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace quorvane::bench {

/// A log that several threads write to. All of them make the same lines, in a file of at most
/// 500000 bytes with four older generations beside it.
class Log {
public:
    Log() = default;
    virtual ~Log() = default;
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    virtual void append(int thread, long number) = 0;
    /// Returns when all lines are in the file.
    virtual void finish() = 0;
};

/// Makes a log in an empty folder.
using LogMaker = std::function<std::unique_ptr<Log>(const std::string& folder)>;

std::unique_ptr<Log> makeSpdlogAsync(const std::string& folder);
std::unique_ptr<Log> makeSpdlogSync(const std::string& folder);
/// One lock, one write for each line.
std::unique_ptr<Log> makeWritePerLine(const std::string& folder);

} // namespace quorvane::bench
