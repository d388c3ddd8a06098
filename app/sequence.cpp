// The uninstall, step by step. The order is fixed.

#include <cerrno>
#include <string>

#include "app/AppController.h"
#include "app/Catalogue.h"
#include "app/failure_report.h"
#include "app/name_predicate.h"
#include "kit/base/components.h"
#include "kit/files/QVFileManager.h"
#include "kit/paths/QVLocalPaths.h"
#include "kit/tasks/QVTaskEx.h"
#include "platform/FileManager.h"
#include "platform/Services.h"
#include "platform/UserIdentity.h"
#include "platform/Workspace.h"

namespace brightkeel {
namespace {

using namespace quorvane;

using Names = std::span<const std::string_view>;

constexpr const char* kQuitTool = "/usr/bin/killall";

/// Whether a found application may be moved with administrator rights. What a look-up finds is the
/// choice of whoever can write among the user's desktop entries: it may be another user's bundle,
/// or one on a volume that somebody brought. So rights are used only where nobody but the superuser
/// can have put the bundle or can put another in its place, below the machine-wide applications
/// folder. This is asked here because only the sequence knows an item of its catalogue from one
/// that was found, and because it must be known before anybody is asked for a password.
bool mayMoveWithRights(const Path& application) {
    const MaybePath folder = QVLocalPaths::applicationDirectory(UserDomain::no);
    return folder && application.starts_with(*folder + '/') &&
           platform::services().workspace->isSuperusersPlace(application);
}

bool runsAsSuperuser() {
    return platform::services().userIdentity->realUserId() == platform::kSuperuserId;
}

struct Options {
    bool removeShared;
    bool removeConfig;
};

/// One run of the uninstall on its worker thread.
class Sequence {
public:
    Sequence(AppController& controller, FailureReasons& reasons, Options options)
        : controller_(controller), reasons_(reasons), options_(options) {}

    void run() {
        quitTools();
        if (options_.removeShared) trashRegisteredApplications();
        trashApplications();
        trashSupportFolder(UserDomain::yes);
        trashSupportFolder(UserDomain::no);
        if (options_.removeShared) trashSharedResources();
        trashCaches();
        if (options_.removeConfig) {
            trashPreferences(UserDomain::yes);
            trashPreferences(UserDomain::no);
        }
        trashAll(QVLocalPaths::libraryDirectory(UserDomain::yes), catalogue::kLaunchAgents);
        if (options_.removeShared) {
            trashMatches(UserDomain::yes, catalogue::kScheduledTasks);
            trashMatches(UserDomain::no, catalogue::kRootScheduledTasks);
        }
        trashMatches(UserDomain::no, catalogue::kOldReceipts);
        for (const std::string_view receipt : catalogue::kReceipts)
            controller_.trashFile(Path(receipt));
        removeEmptyApplicationFolders();
    }

private:
    /// The shared tools too, whatever the options say. Names that are not running make the tool
    /// fail; that is no concern here.
    static void quitTools() {
        const Names names = catalogue::kToolsToQuit;
        QVTaskEx::runTask(kQuitTool, Arguments(names.begin(), names.end()));
    }

    void trashRegisteredApplications() {
        for (const std::string_view identifier : catalogue::kSharedIdentifiers)
            trashFound(platform::services().workspace->bundlePath(std::string(identifier)));
    }

    void trashFound(const MaybePath& application) {
        if (!application) return;
        if (mayMoveWithRights(*application))
            controller_.trashFile(application);
        else if (!runsAsSuperuser())
            controller_.trashFile(application, ShouldAuth::no);
        else // who cannot do without rights
            reportFailure("Unable to move %@ to the Trash: %@", *application,
                          "others than the superuser decide what is there");
    }

    void trashApplications() {
        const MaybePath folder = QVLocalPaths::applicationDirectory(UserDomain::no);
        trashAll(folder, catalogue::kApplications);
        if (options_.removeShared) trashAll(folder, catalogue::kSharedApplications);
    }

    void trashSupportFolder(UserDomain domain) {
        const MaybePath folder =
            joinPath(QVLocalPaths::appSupportDirectory(domain), catalogue::kSupportFolder.folder);
        for (const std::string& name : matches(folder, catalogue::kSupportFolder.predicate))
            controller_.trashFile(joinPath(folder, name));
        removeIfEmpty(folder);
    }

    void trashSharedResources() {
        controller_.trashFile(joinPath(QVLocalPaths::appSupportDirectory(UserDomain::yes),
                                       catalogue::kSharedResources));
    }

    void trashCaches() {
        const MaybePath folder = QVLocalPaths::cacheDirectory(UserDomain::yes);
        trashAll(folder, catalogue::kCaches);
        if (options_.removeShared) trashAll(folder, catalogue::kSharedIdentifiers);
    }

    void trashPreferences(UserDomain domain) {
        const MaybePath folder = QVLocalPaths::prefsDirectory(domain);
        trashAll(folder, catalogue::kPreferences);
        if (options_.removeShared) trashAll(folder, catalogue::kSharedPreferences);
    }

    /// The matching entries of a folder of the library.
    void trashMatches(UserDomain domain, const catalogue::Scan& scan) {
        const MaybePath folder = joinPath(QVLocalPaths::libraryDirectory(domain), scan.folder);
        for (const std::string& name : matches(folder, scan.predicate))
            controller_.trashFile(*folder + '/' + name);
    }

    void removeEmptyApplicationFolders() {
        const MaybePath folder = QVLocalPaths::applicationDirectory(UserDomain::no);
        removeIfEmpty(joinPath(folder, catalogue::kSuiteFolder));
        removeIfEmpty(joinPath(folder, catalogue::kMakerFolder));
    }

    /// Looks first: the kit takes for empty whatever cannot be listed.
    void removeIfEmpty(const MaybePath& folder) {
        if (!folder) return;
        const auto files = platform::services().makeFileManager();
        if (const auto found = files->checkEmptyFolders(*folder); !found) {
            const int code = found.error().code;
            if (code != ENOENT && code != ENOTEMPTY)
                reportFailure("Unable to tell whether the folder %@ is empty: %@", *folder,
                              found.error().text);
            return;
        }
        reasons_.clear();
        // For the superuser the kit claims success whatever happened.
        if (!QVFileManager::removeFolderIfEmpty(folder) || files->existence(*folder).exists)
            reportFailure("Unable to remove the empty folder %@: %@", *folder, reasons_.text());
    }

    void trashAll(const MaybePath& folder, Names names) {
        for (const std::string_view name : names) controller_.trashFile(joinPath(folder, name));
    }

    /// The names in the folder that match, in the order of the listing; none if it cannot be
    /// listed.
    static std::vector<std::string> matches(const MaybePath& folder, std::string_view predicate) {
        if (!folder) return {};
        auto listing = platform::services().makeFileManager()->contentsOfDirectory(*folder);
        if (!listing) {
            if (listing.error().code != ENOENT)
                reportFailure("Unable to list the folder %@: %@", *folder, listing.error().text);
            return {};
        }
        std::erase_if(listing.value(),
                      [&](const std::string& name) { return !nameMatches(name, predicate); });
        return std::move(listing.value());
    }

    AppController& controller_;
    FailureReasons& reasons_;
    Options options_;
};

bool isOn(const platform::CheckBox& box) { return box.state() == platform::CheckBox::kOn; }

} // namespace

void AppController::beginUninstall() {
    const Options options{.removeShared = isOn(*outlets_.removeSharedCheck),
                          .removeConfig = isOn(*outlets_.removeConfigCheck)};
    Sequence(*this, *reasons_, options).run();
    platform::services().application->performOnMainThreadAndWait([this] { endProgress(); });
}

} // namespace brightkeel
