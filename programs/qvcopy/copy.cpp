#include "programs/qvcopy/copy.h"

#include <atomic>
#include <memory>

#include "kit/files/QVFileManager.h"
#include "programs/checksum_line.h"
#include "programs/console_watch.h"
#include "programs/progress_line.h"
#include "programs/qvcopy/places.h"

namespace quorvane::programs::qvcopy {
namespace {

/// What the delegate knows; it may be called after the end of the copy.
struct Run {
    explicit Run(std::shared_ptr<ProgressLine> shown) : line(std::move(shown)) {}

    const std::shared_ptr<ProgressLine> line;
    std::atomic<bool> isCancelled = false;
    MaybeText sourceDigest;
    std::vector<MaybeText> digests; ///< of the destinations, none without verification
};

std::shared_ptr<const FileCopyDelegate> delegateFor(const std::shared_ptr<Run>& run,
                                                    const platform::CommandLine& commandLine) {
    auto delegate = std::make_shared<FileCopyDelegate>();
    delegate->fileCopyBytesWritten = [run](std::uint64_t bytes, const CopySettings&) {
        run->line->reached(bytes);
    };
    delegate->fileCopyShouldContinue = [run, &commandLine](const CopySettings&) {
        if (commandLine.isInterrupted()) run->isCancelled = true;
        return !run->isCancelled;
    };
    delegate->fileCopyFinished = [run](const CopySettings& settings) {
        run->sourceDigest = settings->sourceChecksum();
        run->digests = settings->destChecksums().value_or(std::vector<MaybeText>());
    };
    return delegate;
}

/// Whether a destination holds what the source does, as far as anybody looked: without digests all
/// that is known are the failures that the kit told the console.
bool holdsSource(std::size_t number, const Path& destination, const Run& run,
                 const ConsoleWatch& console) {
    if (number < run.digests.size())
        return run.sourceDigest && run.digests[number] == run.sourceDigest;
    return !console.hasHeard("Error writing file " + destination + ": 1");
}

ExitStatus tellOutcome(const Places& places, const Run& run, const ConsoleWatch& console,
                       std::ostream& output) {
    ExitStatus status = ExitStatus::done;
    if (run.sourceDigest) output << checksumLine(*run.sourceDigest, places.source.name);
    for (std::size_t i = 0; i < places.destinations.size(); ++i) {
        const Place& destination = places.destinations[i];
        if (!holdsSource(i, destination.path, run, console)) {
            complain(kName, destination.name + ": differs from the source");
            status = ExitStatus::differs;
        } else if (run.sourceDigest) {
            output << checksumLine(*run.sourceDigest, destination.name);
        }
    }
    return status;
}

ExitStatus tellFailure(const Places& places, const Run& run, const ConsoleWatch& console) {
    if (run.isCancelled) {
        complain(kName, "cancelled, the destinations are not whole");
        return ExitStatus::cancelled;
    }
    // All else is told on the console; what the log would tell is a source that is not read whole.
    if (!console.hasHeardWhyItFailed())
        complain(kName, places.source.name + ": could not be read to its end");
    return ExitStatus::failed;
}

} // namespace

ExitStatus copy(const Command& command, const platform::CommandLine& commandLine,
                std::ostream& output) {
    const Places places = placesOf(command);
    makeFolders(places);
    std::vector<Path> destinations;
    for (const Place& each : places.destinations) destinations.push_back(each.path);

    const auto run = std::make_shared<Run>(progressLine(places.source.size, commandLine));
    const ConsoleWatch console(run->line);
    run->line->reached(0);
    const bool isCopied = QVFileManager::copyFileWithProgress(
        places.source.path, destinations, command.verification, delegateFor(run, commandLine));
    run->line->finish();
    return isCopied ? tellOutcome(places, *run, console, output)
                    : tellFailure(places, *run, console);
}

} // namespace quorvane::programs::qvcopy
