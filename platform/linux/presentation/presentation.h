// How the desktop shows items, on Linux.
#pragma once

#include <memory>

#include "platform/Presentation.h"

namespace quorvane::platform {
class PropertyLists;
class UserIdentity;
} // namespace quorvane::platform

namespace quorvane::platform::linux_ {

class ChangeNotices;

/// References are paths with what tells the item from others (file_references.h), labels are
/// extended attributes (labels.h), and applications are registered in the user's folder of desktop
/// entries; for the superuser in the console user's. Of all events, only the file manager's "an
/// item changed" has somebody to go to: the listeners of change_notices.h.
std::shared_ptr<Presentation> makePresentation(std::shared_ptr<UserIdentity> identity,
                                               std::shared_ptr<PropertyLists> propertyLists,
                                               std::shared_ptr<ChangeNotices> notices);

} // namespace quorvane::platform::linux_
