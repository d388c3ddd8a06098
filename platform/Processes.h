// Child processes and the pipes that lead to them.
#pragma once

#include <memory>
#include <optional>

#include "platform/Values.h"

namespace quorvane::platform {

/// A one-way channel into or out of a child.
class Pipe {
public:
    virtual ~Pipe() = default;
    /// Appends whatever is there to read to the buffer; blocks until something is. False at the
    /// end, when all writing ends or the reading end are closed. The buffer may be given ample room
    /// for more. One thread. Throws Exception on a read error.
    virtual bool appendAvailableData(Bytes& buffer) = 0;
    /// The same by itself; empty at the end.
    Bytes availableData() {
        Bytes data;
        appendAvailableData(data);
        return data;
    }
    /// Closes the reading end: later reads, and one under way on another thread, find the end. Any
    /// thread.
    virtual void closeReading() = 0;
};

/// What a child's standard stream is connected to.
struct StandardStream {
    enum class Kind { inherited, nullDevice, pipe };
    Kind kind = Kind::inherited;
    std::shared_ptr<Pipe> pipe;

    static StandardStream inherit() { return {}; }
    static StandardStream null() { return {Kind::nullDevice, nullptr}; }
    static StandardStream to(std::shared_ptr<Pipe> pipe) { return {Kind::pipe, std::move(pipe)}; }
};

/// How to start a child. The child has these three streams open, default signal dispositions, no
/// blocked signals, and nothing else of its parent's.
struct LaunchDescription {
    /// The tool; what is started stands where Tools::locate says.
    Path path;
    Arguments arguments;
    /// The child's whole environment; null: the parent's.
    std::optional<Environment> environment;
    StandardStream input;
    StandardStream output;
    StandardStream error;
};

/// A child process. Letting go of the last reference neither ends nor waits for the child; it is
/// reaped when it ends. Any thread; `launch` once.
class Process {
public:
    virtual ~Process() = default;
    /// Starts the child. Throws Exception with the system's reason when it cannot be executed, or
    /// was launched before. The parent keeps no writing end of its output pipes and no reading end
    /// of its input pipe open.
    virtual void launch(const LaunchDescription& description) = 0;
    /// The path given to launch; empty before.
    virtual Path launchPath() const = 0;
    virtual bool isRunning() = 0;
    virtual void waitUntilExit() = 0;
    /// The exit status of an ended child; of one ended by a signal, the signal's number. Throws
    /// Exception while the child runs or was never launched.
    virtual int terminationStatus() = 0;
    /// Asks the child to end (SIGTERM). Does nothing to one that has ended: a reused process id is
    /// never signalled.
    virtual void terminate() = 0;
};

/// Any thread.
class Processes {
public:
    virtual ~Processes() = default;
    virtual std::shared_ptr<Process> makeProcess() = 0;
    /// Throws Exception when the process is out of descriptors.
    virtual std::shared_ptr<Pipe> makePipe() = 0;
};

} // namespace quorvane::platform
