#include "programs/qvhash/file_digest.h"

#include <atomic>
#include <optional>

#include "kit/files/QVFileManager.h"
#include "kit/files/digest_pipeline.h"
#include "platform/Services.h"

namespace quorvane::programs::qvhash {
namespace {

using platform::DigestAlgorithm;

/// How often the kit asks its delegates.
constexpr std::uint64_t kInterval = 52'428'800;

/// Is asked whether to go on after each interval; of a file that the kit reads also too late, and
/// on several threads at once.
class Watcher {
public:
    Watcher(std::shared_ptr<ProgressLine> line, const platform::CommandLine& commandLine)
        : line_(std::move(line)), commandLine_(commandLine) {}

    bool shouldContinue() {
        line_->reached(++intervals_ * kInterval);
        if (commandLine_.isInterrupted()) isCancelled_ = true;
        return !isCancelled_;
    }
    bool isCancelled() const { return isCancelled_; }

private:
    const std::shared_ptr<ProgressLine> line_;
    const platform::CommandLine& commandLine_;
    std::atomic<std::uint64_t> intervals_ = 0;
    std::atomic<bool> isCancelled_ = false;
};

/// The kit has no operation for whole files of this algorithm.
MaybeText sha256Digest(const Path& file, Watcher& watcher) {
    const auto files = platform::services().makeFileManager();
    const auto stream = files->openForReading(file);
    if (!stream) return std::nullopt;
    DigestPipeline digest(platform::services().digests->begin(DigestAlgorithm::sha256));
    MaybeText text;
    bool isGoingOn = digest.allocate();
    for (std::uint64_t bytes = 0; isGoingOn;) {
        const platform::StreamRead read = files->read(stream.value(), digest.buffer());
        digest.feed(read.count);
        bytes += read.count;
        if (read.atEnd) text = QVFileManager::sha256HashWithContext(digest.context());
        isGoingOn = !read.atEnd && !read.error &&
                    (read.count == 0 || bytes % kInterval != 0 || watcher.shouldContinue());
    }
    files->close(stream.value());
    return text;
}

MaybeText digestText(const Path& file, DigestAlgorithm algorithm,
                     const std::shared_ptr<Watcher>& watcher) {
    if (algorithm == DigestAlgorithm::sha256) return sha256Digest(file, *watcher);
    const auto delegate = std::make_shared<ChecksumDelegate>();
    delegate->checksumShouldContinue = [watcher](const Path&) { return watcher->shouldContinue(); };
    if (algorithm == DigestAlgorithm::md5) return QVFileManager::md5HashForFile(file, delegate);
    if (algorithm == DigestAlgorithm::sha1) return QVFileManager::sha1HashForFile(file, delegate);
    return QVFileManager::sha512HashForFile(file, delegate);
}

} // namespace

FileDigest digestOf(const Path& file, DigestAlgorithm algorithm,
                    const std::shared_ptr<ProgressLine>& line,
                    const platform::CommandLine& commandLine) {
    const auto watcher = std::make_shared<Watcher>(line, commandLine);
    const MaybeText text = digestText(file, algorithm, watcher);
    return {text, !text && watcher->isCancelled()};
}

} // namespace quorvane::programs::qvhash
