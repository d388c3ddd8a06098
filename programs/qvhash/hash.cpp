#include "programs/qvhash/hash.h"

#include <cerrno>
#include <iostream>
#include <memory>
#include <system_error>

#include "platform/FileManager.h"
#include "platform/Queues.h"
#include "platform/Services.h"
#include "programs/checksum_line.h"
#include "programs/console_watch.h"
#include "programs/qvhash/file_digest.h"

namespace quorvane::programs::qvhash {
namespace {

/// The size of a file, 0 where it has none. Throws Failure for what cannot be read.
std::uint64_t checkedSize(const std::string& name, const Path& path) {
    const auto files = platform::services().makeFileManager();
    const auto opened = files->openForReading(path);
    if (!opened) throw Failure(name, opened.error().text);
    const auto size = files->seekToEnd(opened.value());
    files->close(opened.value());
    if (files->existence(path).isDirectory)
        throw Failure(name, std::generic_category().message(EISDIR));
    return size ? size.value() : 0;
}

/// Whether the user lets the program go on with the next file.
bool hashFile(const std::string& name, const Command& command,
              const platform::CommandLine& commandLine, std::ostream& output) {
    const Path path = absolutePath(name);
    const auto line =
        std::make_shared<ProgressLine>(checkedSize(name, path), commandLine, std::cerr,
                                       [] { return platform::services().queues->uptime(); });
    const ConsoleWatch console(line);
    const FileDigest digest = digestOf(path, command.algorithm, line, commandLine);
    line->finish();
    if (digest.isCancelled) return false;
    if (!digest.text) throw Failure(name, "could not be hashed");
    output << checksumLine(*digest.text, name) << std::flush;
    return true;
}

} // namespace

ExitStatus hash(const Command& command, const platform::CommandLine& commandLine,
                std::ostream& output) {
    ExitStatus status = ExitStatus::done;
    for (const std::string& name : command.files) {
        try {
            if (commandLine.isInterrupted() || !hashFile(name, command, commandLine, output)) {
                complain(kName, "cancelled");
                return ExitStatus::cancelled;
            }
        } catch (const Failure& failure) {
            complain(kName, failure.what());
            status = ExitStatus::failed;
        }
        if (!output) break; // which is told at the end
    }
    return status;
}

} // namespace quorvane::programs::qvhash
