// Telling file managers that items changed.
#pragma once

#include "platform/linux/presentation/session_bus.h"

namespace quorvane::platform::linux_ {

/// File managers watch the folders that they show, but not all that changes can be watched: network
/// volumes, attributes. Those that stand on KDE's libraries listen to signals of the session bus as
/// well, which is heard by whoever wants to and costs nothing where nobody does. Any thread.
class ChangeNotices {
public:
    /// Something changed: a folder's entries, or a file, which may have gone. Waits for no
    /// listener, and for a bus that hangs 0.1 s at most.
    Result<void> announce(const Path& item);

private:
    SessionBus bus_;
};

} // namespace quorvane::platform::linux_
