#include "app/interface.h"

#include "app/AppController.h"
#include "app/services/uninstaller_services.h"

namespace brightkeel {
namespace {

using namespace quorvane::platform;

constexpr const char* kRemoveSharedCheck = "removeSharedCheck";
constexpr const char* kRemoveConfigCheck = "removeConfigCheck";
constexpr const char* kProgressBar = "progressBar";

/// Once begun, an uninstall cannot be cancelled and quits tools that may hold unsaved work. So
/// Return starts it only where the user has gone to its button; Escape and the close button cancel.
ButtonRow mainButtons(AppController& controller) {
    return {{Button{.title = "&Cancel",
                    .description = "Closes the uninstaller without removing anything",
                    .key = Button::Key::escape,
                    .action = [&controller] { controller.cancel(); }},
             Button{.title = "&Uninstall",
                    .description = "Quits the running tools and moves Brightkeel to the Trash",
                    .prominent = true,
                    .action = [&controller] { controller.uninstall(); }}}};
}

WindowDescription mainWindow(AppController& controller) {
    return {
        .title = "Brightkeel Uninstaller",
        .elements =
            {IconElement{}, TextElement{"Uninstall Brightkeel", TextElement::Style::heading},
             TextElement{"The Brightkeel suite moves to your Trash: its tools, support files, "
                         "caches, launch agents and installation receipts. Nothing is deleted, so "
                         "you can put items back from the Trash."},
             TextElement{"Save your work first: all running Quorvane tools will quit."},
             CheckBoxElement{
                 kRemoveSharedCheck, "Also remove &shared applications and resources",
                 "Quorvane Switchboard, Quorvane Refresher, Job Planner, shared resources "
                 "and scheduled tasks. Other Quorvane tools may need them."},
             CheckBoxElement{kRemoveConfigCheck, "Also remove &preference files",
                             "The settings of every tool that is removed. If you install "
                             "Brightkeel again, its tools start with fresh settings."},
             TextElement{"You may be asked for an administrator’s password, once, to move items "
                         "that all users of this computer share. An administrator also puts these "
                         "back, or empties them from the Trash.",
                         TextElement::Style::note},
             mainButtons(controller)},
        .closeAction = [&controller] { controller.cancel(); },
    };
}

/// Nothing closes it: it goes when the work is done.
WindowDescription progressWindow() {
    return {
        .title = "Brightkeel Uninstaller",
        .elements = {IconElement{},
                     TextElement{"Uninstalling Brightkeel", TextElement::Style::heading},
                     TextElement{"Moving items to your Trash. This may take a few minutes."},
                     ProgressElement{kProgressBar, "Uninstalling",
                                     "Items are being moved to your Trash"}},
        .closeAction = {},
    };
}

} // namespace

void loadInterface(Application& application) {
    // They live as long as the process: the worker thread may outlast the main loop.
    static const UninstallerServices& services = *new UninstallerServices;
    static AppController& controller = *new AppController(services);
    const auto windowMain = application.makeWindow(mainWindow(controller));
    const auto windowProgress = application.makeWindow(progressWindow());
    controller.setOutlets({.windowMain = windowMain,
                           .removeSharedCheck = windowMain->checkBox(kRemoveSharedCheck),
                           .removeConfigCheck = windowMain->checkBox(kRemoveConfigCheck),
                           .windowProgress = windowProgress,
                           .progressBar = windowProgress->progressIndicator(kProgressBar)});
    controller.awakeFromNib();
    windowMain->makeKeyAndOrderFront();
}

} // namespace brightkeel
