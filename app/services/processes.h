// Child processes, but none that deletes.
#pragma once

#include <memory>

#include "platform/Processes.h"

namespace brightkeel {

/// The given processes, none of which is rm: the kit starts it for a superuser who could not remove
/// an item plainly, but what such a process may not remove must stay.
std::shared_ptr<quorvane::platform::Processes>
withoutDeletion(std::shared_ptr<quorvane::platform::Processes> processes);

} // namespace brightkeel
