// The uninstaller's controller: its two windows, its two options, and the uninstall itself.
#pragma once

#include <memory>

#include "app/services/uninstaller_services.h"
#include "kit/files/QVFileManager.h"
#include "platform/Application.h"
#include "platform/Values.h"

namespace brightkeel {

/// What the interface connects the controller with; set once, when the interface has been loaded.
struct Outlets {
    std::shared_ptr<quorvane::platform::Window> windowMain;
    /// Also remove the maker's shared applications and resources.
    std::shared_ptr<quorvane::platform::CheckBox> removeSharedCheck;
    /// Also remove the tools' preference files.
    std::shared_ptr<quorvane::platform::CheckBox> removeConfigCheck;
    std::shared_ptr<quorvane::platform::Window> windowProgress;
    std::shared_ptr<quorvane::platform::ProgressIndicator> progressBar;
};

/// Lives as long as the process: the worker thread uses it until the application ends.
class AppController {
public:
    /// With the services that the uninstall runs on: without them it could delete things.
    explicit AppController(const UninstallerServices& services)
        : reasons_(services.failureReasons()) {}

    void setOutlets(Outlets outlets) { outlets_ = std::move(outlets); }
    /// `awakeFromNib`: the interface has been loaded; there is nothing to do.
    void awakeFromNib() {}

    /// `uninstall:`, the Uninstall button: shows the progress window and starts the worker. Main
    /// thread.
    void uninstall();
    /// `cancel:`, the Cancel button: ends the application with nothing removed. Main thread.
    void cancel();

    /// `beginUninstall`: the whole uninstall, from quitting the tools to the completion alert.
    /// Nothing stops it and no failure is shown: what cannot be moved stays, and the console log
    /// tells why. Worker thread.
    void beginUninstall();
    /// `endProgress`: tells the user and ends the application. Main thread.
    void endProgress();

    /// `trashFile:`: moves an item to the Trash and waits until it is gone, for at most 10 seconds.
    /// Leaves alone: null, items directly inside a folder named Release, items of a build tree
    /// ("/Structure/Applications/"), whatever begins like the Trash's path or is in a Trash by
    /// any path, and absent items. The console log tells of an item that did not go.
    /// Without `shouldAuth`, nobody is asked for administrator rights: what cannot be moved without
    /// them stays.
    void trashFile(const quorvane::MaybePath& item,
                   quorvane::ShouldAuth shouldAuth = quorvane::ShouldAuth::yes);

private:
    std::shared_ptr<FailureReasons> reasons_;
    Outlets outlets_;
};

} // namespace brightkeel
