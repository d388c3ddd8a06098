// Labels, progress, events to the file manager, and applications that the desktop knows.

#include "platform/Presentation.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <string>

#include "kit/base/format.h"
#include "kit/files/QVFileManager.h"
#include "kit/tasks/QVTaskEx.h"
#include "platform/Services.h"

namespace quorvane {
namespace {

using namespace std::chrono_literals;

constexpr const char* kAttributeTool = "/usr/bin/xattr";
constexpr const char* kProgressAttribute = "com.apple.progress.fractionCompleted";
/// File managers draw a bar only on files that claim to have been made at this time.
constexpr platform::FileTime kProgressDate =
    std::chrono::sys_days(std::chrono::year(1984) / std::chrono::January / 24) + 8h;

/// "The item that the alias names has changed", to the file manager by its signature.
const platform::EventDescription kItemChanged{.eventClass = "fndr",
                                              .eventId = "fupd",
                                              .addressType = "sign",
                                              .address = "MACS",
                                              .returnId = -1, // made by the platform
                                              .transaction = 0,
                                              .parameters = "'----':alis(@@)"};
constexpr std::int32_t kDefaultTimeout = -1;

/// By label number, from 1 on.
constexpr std::array<QVFileManager::Color, 7> kLabelColors = {{
    {0.0, 0.0, 0.72},     // grey
    {0.2056, 0.5, 0.85},  // green
    {0.7917, 0.26, 0.86}, // purple
    {0.5789, 0.56, 0.98}, // blue
    {0.1388, 0.54, 0.95}, // yellow
    {0.0083, 0.54, 1.0},  // red
    {0.0888, 0.52, 0.98}, // orange
}};

platform::Presentation& presentation() { return *platform::services().presentation; }

std::int32_t statusOf(const platform::Result<void>& result) {
    return result ? 0 : result.error().code;
}

/// Builds and sends the event, and disposes of all but the alias.
std::int32_t sendItemChanged(const platform::Alias& alias) {
    platform::Result<platform::Event> event = presentation().buildEvent(kItemChanged, alias);
    if (!event) return event.error().code;
    platform::Event reply;
    const std::int32_t status = statusOf(
        presentation().send(event.value(), reply, platform::SendMode::noReply, kDefaultTimeout));
    presentation().dispose(reply);
    presentation().dispose(event.value());
    return status;
}

/// All attributes are written, so that the item keeps what it had when it was read.
platform::AttributeChanges allOf(const platform::ItemAttributes& attributes) {
    return {.immutable = attributes.immutable,
            .posixPermissions = attributes.posixPermissions,
            .creationDate = attributes.creationDate,
            .modificationDate = attributes.modificationDate};
}

} // namespace

std::int32_t SendFinderSyncEvent(const platform::FileReference* reference) {
    platform::Result<platform::Alias> alias = presentation().makeMinimalAlias(
        reference == nullptr ? platform::FileReference() : *reference);
    if (!alias) return alias.error().code;
    const std::int32_t status = sendItemChanged(alias.value());
    presentation().dispose(alias.value());
    return status;
}

void QVFileManager::notifyFileSystemChanged(const MaybePath& path) {
    if (!path) return;
    const platform::FileReference reference = stringToFSRef(path);
    (void)SendFinderSyncEvent(&reference);
}

platform::FileReference QVFileManager::stringToFSRef(const MaybePath& path) {
    if (!path) return {};
    const auto reference = presentation().fileReference(*path);
    return reference ? reference.value() : platform::FileReference();
}

MaybePath QVFileManager::stringWithFSRef(const platform::FileReference* reference) {
    if (reference == nullptr) return std::nullopt;
    const auto path = presentation().path(*reference);
    return path ? MaybePath(path.value()) : std::nullopt;
}

void QVFileManager::setFinderProgress(float fraction, const MaybePath& file) {
    if (!file) return;
    const bool shown = fraction >= 0; // not for NaN
    QVTaskEx::runTask(kAttributeTool, shown ? Arguments{"-w", kProgressAttribute,
                                                        formatText("%0.3f", {fraction}), *file}
                                            : Arguments{"-d", kProgressAttribute, *file});
    const auto files = platform::services().makeFileManager();
    const auto attributes = files->attributes(*file);
    if (!attributes) return;
    platform::AttributeChanges changes = allOf(attributes.value());
    changes.creationDate = shown ? kProgressDate : attributes.value().modificationDate;
    (void)files->setAttributes(*file, changes); // without creation dates there is just no bar
}

void QVFileManager::removeFinderProgressForFile(const MaybePath& file) {
    setFinderProgress(-1.0F, file);
}

bool QVFileManager::registerApplicationWithLaunchServices(const MaybePath& bundle) {
    return bundle && presentation().registerApplication(*bundle, platform::ForceUpdate::yes).ok();
}

int QVFileManager::finderColorIndexForPath(const MaybePath& path) {
    return path ? presentation().labelNumber(*path).value_or(0) : 0;
}

void QVFileManager::setFinderColorIndex(int label, const MaybePath& path) {
    if (path) (void)presentation().setLabelNumber(*path, label);
}

std::optional<QVFileManager::Color> QVFileManager::finderColorForColorIndex(int label) {
    if (label < 1 || label > static_cast<int>(kLabelColors.size())) return std::nullopt;
    return kLabelColors[static_cast<std::size_t>(label) - 1];
}

std::optional<QVFileManager::Color> QVFileManager::finderColorForPath(const MaybePath& path) {
    return finderColorForColorIndex(finderColorIndexForPath(path));
}

} // namespace quorvane
