#include "programs/qvcopy/copy.h"

#include <atomic>
#include <memory>

#include "kit/files/QVFileManager.h"
#include "programs/checksum_line.h"
#include "programs/console_watch.h"
#include "programs/progress_line.h"
#include "programs/qvcopy/destinations.h"
#include "programs/qvcopy/places.h"

namespace quorvane::programs::qvcopy {
namespace {

/// What the delegate knows; it may be called after the end of the copy.
struct Run {
    Run(std::shared_ptr<ProgressLine> shown, std::uint64_t bytes)
        : line(std::move(shown)), before(bytes) {}

    const std::shared_ptr<ProgressLine> line;
    const std::uint64_t before; ///< bytes of the sources that went before
    std::atomic<bool> isCancelled = false;
    MaybeText sourceDigest;
    std::vector<MaybeText> digests; ///< of the destinations, none without verification
};

std::shared_ptr<const FileCopyDelegate> delegateFor(const std::shared_ptr<Run>& run,
                                                    const platform::CommandLine& commandLine) {
    auto delegate = std::make_shared<FileCopyDelegate>();
    delegate->fileCopyBytesWritten = [run](std::uint64_t bytes, const CopySettings&) {
        run->line->reached(run->before + bytes);
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
    output.flush();
    return status;
}

ExitStatus tellFailure(const Places& places, const Run& run, const ConsoleWatch& console,
                       const std::vector<std::string>& parts) {
    if (run.isCancelled) {
        complain(kName, "cancelled, the destinations are not whole");
        return ExitStatus::cancelled;
    }
    // All else is told on the console; what the log would tell is a source that is not read whole.
    if (!console.hasHeardWhyItFailed())
        complain(kName, places.source.name + ": could not be read to its end");
    for (const std::string& part : parts) complain(kName, part + ": is not whole");
    return ExitStatus::failed;
}

ExitStatus worseOf(ExitStatus one, ExitStatus other) {
    for (const ExitStatus each : {ExitStatus::cancelled, ExitStatus::failed, ExitStatus::differs})
        if (one == each || other == each) return each;
    return ExitStatus::done;
}

/// Copies one source after the other.
class Copying {
public:
    Copying(const Command& command, const std::vector<Places>& all,
            const platform::CommandLine& commandLine, std::ostream& output)
        : command_(command), all_(all), commandLine_(commandLine), output_(output),
          line_(progressLine(sizeOf(all), commandLine)) {}

    ExitStatus run();

private:
    static std::uint64_t sizeOf(const std::vector<Places>& all) {
        std::uint64_t size = 0;
        for (const Places& each : all) size += each.source.size;
        return size;
    }
    TakenFiles sources() const;
    ExitStatus copy(const Places& places);
    ExitStatus copyOpened(const Places& places, Destinations& destinations);

    const Command& command_;
    const std::vector<Places>& all_;
    const platform::CommandLine& commandLine_;
    std::ostream& output_;
    const std::shared_ptr<ProgressLine> line_;
    TakenFiles taken_ = sources();
    std::uint64_t before_ = 0;
};

TakenFiles Copying::sources() const {
    const auto files = platform::services().makeFileManager();
    TakenFiles sources;
    for (const Places& each : all_)
        sources.emplace(files->existence(each.source.path).identity, each.source.name);
    return sources;
}

ExitStatus Copying::run() {
    ExitStatus status = ExitStatus::done;
    for (const Places& each : all_) {
        if (&each != &all_.front() && commandLine_.isInterrupted()) {
            line_->interrupt(
                [&] { complain(kName, "cancelled before " + each.source.name + " was copied"); });
            status = ExitStatus::cancelled;
        }
        if (status == ExitStatus::cancelled || !output_) break; // which is told at the end
        status = worseOf(status, copy(each));
        before_ += each.source.size;
    }
    line_->finish();
    return status;
}

ExitStatus Copying::copy(const Places& places) {
    try {
        Destinations destinations(places.destinations);
        destinations.open(command_.replaces, taken_);
        return copyOpened(places, destinations);
    } catch (const Failure& failure) {
        line_->interrupt([&] { complain(kName, failure.what()); });
        return failure.status;
    }
}

ExitStatus Copying::copyOpened(const Places& places, Destinations& destinations) {
    std::vector<Path> paths;
    for (const Place& each : places.destinations) paths.push_back(each.path);
    const auto run = std::make_shared<Run>(line_, before_);
    const ConsoleWatch console(line_);
    line_->reached(before_);
    const bool isCopied = QVFileManager::copyFileWithProgress(
        places.source.path, paths, command_.verification, delegateFor(run, commandLine_));
    if (isCopied) destinations.keep();
    const std::vector<std::string> parts = destinations.giveUp();
    ExitStatus status = ExitStatus::failed;
    line_->interrupt([&] {
        status = isCopied ? tellOutcome(places, *run, console, output_)
                          : tellFailure(places, *run, console, parts);
    });
    return status;
}

} // namespace

ExitStatus copy(const Command& command, const platform::CommandLine& commandLine,
                std::ostream& output) {
    if (command.verification != VerificationType::none) needStandardOutput(commandLine);
    const std::vector<Places> all = placesOf(command);
    makeFolders(all);
    return Copying(command, all, commandLine, output).run();
}

} // namespace quorvane::programs::qvcopy
