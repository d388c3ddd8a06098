// The uninstaller's two windows.
#pragma once

#include "platform/Application.h"

namespace brightkeel {

/// Installs the uninstaller's services, makes both windows and the controller behind them, wires
/// the buttons to it, and shows the main window. Once per process, on the main thread; the
/// platform's application main function calls it.
void loadInterface(quorvane::platform::Application& application);

} // namespace brightkeel
