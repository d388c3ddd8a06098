// Digests of files, and their texts.

#include "kit/files/QVFileManager.h"

#include <string_view>
#include <utility>

#include "kit/auth/console.h"
#include "kit/files/cancel_flag.h"
#include "kit/files/digest_pipeline.h"
#include "kit/log/QVLog.h"
#include "platform/Services.h"

namespace quorvane {
namespace {

using platform::DigestAlgorithm;
using platform::DigestContext;
using platform::StreamHandle;
using DelegatePointer = std::shared_ptr<const ChecksumDelegate>;

/// Bytes between two questions to the delegate.
constexpr std::uint64_t kQuestionInterval = 52'428'800;

MaybeText digestText(DigestContext context, DigestAlgorithm algorithm) {
    // The digest of another algorithm must not pass for this one's.
    if (context.algorithm() != algorithm) return std::nullopt;
    const Bytes digest = context.finish();
    if (digest.empty()) return std::nullopt;
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    text.reserve(digest.size() * 2);
    for (const char each : digest) {
        const auto byte = static_cast<unsigned char>(each);
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 0xFU];
    }
    return text;
}

/// An open file, closed by its descriptor.
class OpenFile {
public:
    OpenFile(platform::FileManager& files, StreamHandle handle) : files_(files), handle_(handle) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    /// The handle is the descriptor, and descriptors have 32 bits.
    ~OpenFile() { files_.close(StreamHandle{static_cast<std::int32_t>(handle_)}); }

    platform::StreamRead read(std::span<char> buffer) { return files_.read(handle_, buffer); }

private:
    platform::FileManager& files_;
    StreamHandle handle_;
};

/// The context after the whole file; null when it was not read to its end.
std::optional<DigestContext> digestOf(OpenFile& stream, DigestAlgorithm algorithm,
                                      const MaybePath& file, const DelegatePointer& delegate) {
    DigestContext context = platform::services().digests->begin(algorithm);
    if (!context.isUsable()) {
        logToConsole("Error: This system does not allow the digest asked for of file %@.", file);
        return std::nullopt;
    }
    DigestPipeline digest(std::move(context));
    if (!digest.allocate()) {
        QVLog::appendLogAndPrint("Error reading file %@ - out of memory", file);
        return std::nullopt;
    }
    const CancelFlag cancelled;
    for (std::uint64_t bytes = 0; !cancelled.isSet();) {
        const platform::StreamRead read = stream.read(digest.buffer());
        if (read.count == 0 && read.atEnd) return digest.context();
        if (read.count == 0 && read.error) {
            QVLog::appendLogAndPrint("Error reading file %@ - aborting...", file);
            return std::nullopt;
        }
        digest.feed(read.count);
        bytes += read.count;
        if (bytes % kQuestionInterval == 0 && delegate && delegate->checksumShouldContinue)
            cancelled.ask([delegate, path = file.value_or(Path())] {
                return delegate->checksumShouldContinue(path);
            });
    }
    return std::nullopt;
}

MaybeText hashFile(DigestAlgorithm algorithm, const MaybePath& file,
                   const DelegatePointer& delegate) {
    const auto files = platform::services().makeFileManager();
    const auto opened = files->openForReading(file.value_or(Path()));
    if (!opened) {
        // Callers know this wording, by which a verification calls the file that it reads back.
        logToConsole("Error: Unable to open destination file %@. Aborting hash verification...",
                     file);
        return std::nullopt;
    }
    OpenFile stream(*files, opened.value());
    std::optional<DigestContext> context = digestOf(stream, algorithm, file, delegate);
    return context ? digestText(*std::move(context), algorithm) : std::nullopt;
}

} // namespace

MaybeText QVFileManager::md5HashWithContext(DigestContext context) {
    return digestText(std::move(context), DigestAlgorithm::md5);
}

MaybeText QVFileManager::sha1HashWithContext(DigestContext context) {
    return digestText(std::move(context), DigestAlgorithm::sha1);
}

MaybeText QVFileManager::sha256HashWithContext(DigestContext context) {
    return digestText(std::move(context), DigestAlgorithm::sha256);
}

MaybeText QVFileManager::sha512HashWithContext(DigestContext context) {
    return digestText(std::move(context), DigestAlgorithm::sha512);
}

MaybeText QVFileManager::md5HashForFile(const MaybePath& file, const DelegatePointer& delegate) {
    return hashFile(DigestAlgorithm::md5, file, delegate);
}

MaybeText QVFileManager::sha1HashForFile(const MaybePath& file, const DelegatePointer& delegate) {
    return hashFile(DigestAlgorithm::sha1, file, delegate);
}

MaybeText QVFileManager::sha512HashForFile(const MaybePath& file, const DelegatePointer& delegate) {
    return hashFile(DigestAlgorithm::sha512, file, delegate);
}

} // namespace quorvane
