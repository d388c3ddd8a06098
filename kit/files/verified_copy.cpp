// Copies of one file to several places in one pass, with progress and verification.

#include "kit/files/QVFileManager.h"

#include <utility>

#include "kit/auth/console.h"
#include "kit/base/components.h"
#include "kit/files/copy_run.h"
#include "kit/files/final_links.h"
#include "platform/Services.h"

namespace quorvane {
namespace {

using platform::DigestAlgorithm;
using platform::DigestContext;
using DelegatePointer = std::shared_ptr<const FileCopyDelegate>;

constexpr std::chrono::seconds kFolderTimeout{10};

bool isKnown(VerificationType type) {
    return type >= VerificationType::none && type <= VerificationType::sha512;
}

std::optional<DigestContext> digestFor(VerificationType type) {
    platform::Digests& digests = *platform::services().digests;
    switch (type) {
    case VerificationType::md5:
        return digests.begin(DigestAlgorithm::md5);
    case VerificationType::sha1:
        return digests.begin(DigestAlgorithm::sha1);
    case VerificationType::sha256:
        return digests.begin(DigestAlgorithm::sha256);
    case VerificationType::sha512:
        return digests.begin(DigestAlgorithm::sha512);
    case VerificationType::none:
        break;
    }
    return std::nullopt;
}

MaybeText digestText(const DigestContext& context) {
    switch (context.algorithm()) {
    case DigestAlgorithm::md5:
        return QVFileManager::md5HashWithContext(context);
    case DigestAlgorithm::sha1:
        return QVFileManager::sha1HashWithContext(context);
    case DigestAlgorithm::sha256:
        return QVFileManager::sha256HashWithContext(context);
    case DigestAlgorithm::sha512:
        break;
    }
    return QVFileManager::sha512HashWithContext(context);
}

bool makeFolderFor(const Path& source, const Path& destination) {
    const Path folder(withoutLastComponent(destination));
    if (QVFileManager::fileExistsAtPath(folder) ||
        QVFileManager::createDirectory(folder, kFolderTimeout))
        return true;
    logToConsole("Unable to copy file %@ - destination directory %@ doesn't exist. "
                 "Aborting copy process...",
                 source, folder);
    return false;
}

/// A destination without a digest, or beside a source without one, has not been verified.
void verify(CopyRun& run, const std::shared_ptr<FileCopySettings>& settings) {
    const DigestContext& sourceDigest = run.sourceDigest();
    const MaybeText expected = digestText(sourceDigest);
    settings->setSourceChecksum(expected);
    std::vector<MaybeText> found;
    const DelegatePointer& delegate = settings->delegate();
    for (const CopyDestination& destination : run.destinations()) {
        const MaybeText text = found.emplace_back(digestText(destination.digest(sourceDigest)));
        const bool verified = expected && text == expected;
        if (verified || !delegate || !delegate->fileCopyVerificationFailed) continue;
        settings->setDestChecksum(text);
        delegate->fileCopyVerificationFailed(settings, destination.path());
    }
    settings->setDestChecksums(std::move(found));
}

/// The source's dates, up to the first that it does not have.
platform::AttributeChanges datesOf(const platform::ItemAttributes& source) {
    platform::AttributeChanges dates;
    if (!source.creationDate) return dates;
    dates.creationDate = source.creationDate;
    dates.modificationDate = source.modificationDate;
    return dates;
}

void setDates(platform::FileManager& files, const platform::AttributeChanges& dates,
              const std::vector<Path>& destinations) {
    for (const Path& destination : destinations) {
        const Path file = withoutFinalLinks(files, destination);
        const auto set = files.setAttributes(file, dates);
        if (set) continue;
        logToConsole("Error setting metadata for file %@ - %@", destination, set.error().text);
        // Many disks have no room for a creation date; backups go by the other one.
        if (dates.modificationDate)
            (void)files.setAttributes(file, {.modificationDate = dates.modificationDate});
    }
}

/// The copy itself, once everything that it needs is there.
bool carryOut(const std::shared_ptr<FileCopySettings>& settings, VerificationType type) {
    const auto files = platform::services().makeFileManager();
    const Path& source = settings->source();
    CopyRun run(*files, settings, digestFor(type));
    if (!run.openSource()) return false;
    const auto read =
        platform::services().makeFileManager()->attributes(withoutFinalLinks(*files, source));
    const platform::ItemAttributes attributes = read ? read.value() : platform::ItemAttributes();
    if (!run.openDestinations() || !run.copy(attributes.size)) return false;
    run.close();
    if (run.wasCancelled()) return false;
    if (run.bytes() < attributes.size) {
        logToConsole("Error: copied file size does not match original source %@", source);
        return false;
    }
    const DelegatePointer& delegate = settings->delegate();
    if (delegate && delegate->fileCopyBytesWritten)
        delegate->fileCopyBytesWritten(run.bytes(), settings);
    if (type != VerificationType::none) verify(run, settings);
    setDates(*files, datesOf(attributes), settings->destinations());
    if (delegate && delegate->fileCopyFinished) delegate->fileCopyFinished(settings);
    return true;
}

} // namespace

bool QVFileManager::copyFileWithProgress(const MaybePath& source, const MaybePath& destination,
                                         const DelegatePointer& delegate, std::any object,
                                         std::any object2) {
    std::vector<Path> destinations;
    if (destination) destinations.push_back(*destination);
    return copyFileWithProgress(source, destinations, VerificationType::none, delegate,
                                std::move(object), std::move(object2));
}

bool QVFileManager::copyFileWithProgress(const MaybePath& source,
                                         const std::vector<Path>& destinations,
                                         VerificationType verificationType,
                                         const DelegatePointer& delegate, std::any object,
                                         std::any object2) {
    if (!isKnown(verificationType)) {
        logToConsole("Error: Unknown verification type %i. Aborting copy process...",
                     static_cast<int>(verificationType));
        return false;
    }
    if (!fileExistsAtPath(source)) {
        logToConsole("Error: File %@ doesn't exist. Aborting copy process...", source);
        return false;
    }
    if (destinations.empty()) {
        logToConsole("Error: You must have at least one destination. Aborting copy process...");
        return false;
    }
    for (const Path& destination : destinations)
        if (!makeFolderFor(*source, destination)) return false;
    return carryOut(std::make_shared<FileCopySettings>(*source, destinations, delegate,
                                                       std::move(object), std::move(object2)),
                    verificationType);
}

} // namespace quorvane
