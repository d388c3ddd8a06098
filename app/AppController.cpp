#include "app/AppController.h"

#include <chrono>

#include "app/failure_report.h"
#include "kit/base/components.h"
#include "kit/files/QVFileManager.h"
#include "kit/paths/QVLocalPaths.h"
#include "platform/FileManager.h"
#include "platform/Queues.h"
#include "platform/Services.h"
#include "platform/Workspace.h"

namespace brightkeel {
namespace {

using namespace quorvane;

constexpr std::chrono::seconds kTrashTimeout{10};

/// Whether the item must not be touched wherever it is found.
bool isOffLimits(const Path& item) {
    if (lastComponent(withoutLastComponent(item)) == "Release") return true;
    if (item.find("/Structure/Applications/") != Path::npos) return true;
    // Plain text without a final slash: a neighbour whose name begins like the Trash's is left
    // alone too, and users rely on nothing beside their Trash being moved.
    const MaybePath trash = QVLocalPaths::trashDirectory();
    if (trash && item.starts_with(*trash)) return true;
    // The Trash has other paths, too, and volumes have their own: what is in one is on record as it
    // lies there.
    return platform::services().workspace->isInTrash(item);
}

} // namespace

void AppController::uninstall() {
    outlets_.progressBar->setUsesThreadedAnimation(true);
    outlets_.progressBar->startAnimation();
    outlets_.windowProgress->makeKeyAndOrderFront();
    outlets_.windowMain->orderOut();
    platform::services().queues->detachThread([this] { beginUninstall(); });
}

void AppController::cancel() { platform::services().application->terminate(); }

void AppController::endProgress() {
    platform::Application& application = *platform::services().application;
    outlets_.windowProgress->orderOut();
    application.runAlertPanel("Uninstall complete", "Items have been placed in your Trash.");
    application.terminate();
}

void AppController::trashFile(const MaybePath& item, ShouldAuth shouldAuth) {
    if (!item || isOffLimits(*item)) return;
    const auto files = platform::services().makeFileManager();
    if (!files->existence(*item).exists) return;
    reasons_->clear();
    const bool moved = shouldAuth == ShouldAuth::yes ? QVFileManager::trashFile(item, kTrashTimeout)
                                                     : QVFileManager::trashFile(item, shouldAuth);
    if (!moved) reportFailure("Unable to move %@ to the Trash: %@", *item, reasons_->text());
}

} // namespace brightkeel
