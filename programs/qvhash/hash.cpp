#include "programs/qvhash/hash.h"

#include "programs/checksum_line.h"
#include "programs/console_watch.h"
#include "programs/qvhash/file_digest.h"
#include "programs/source_file.h"

namespace quorvane::programs::qvhash {
namespace {

/// Whether the user lets the program go on with the next file.
bool hashFile(const std::string& name, const Command& command,
              const platform::CommandLine& commandLine, std::ostream& output) {
    const SourceFile file = sourceFile(name);
    const auto line = progressLine(file.size, commandLine);
    const ConsoleWatch console(line);
    const FileDigest digest = digestOf(file.path, command.algorithm, line, commandLine);
    line->finish();
    if (digest.isCancelled) return false;
    if (!digest.text) throw Failure(name, "could not be hashed");
    output << checksumLine(*digest.text, name) << std::flush;
    return true;
}

} // namespace

ExitStatus hash(const Command& command, const platform::CommandLine& commandLine,
                std::ostream& output) {
    needStandardOutput(commandLine);
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
