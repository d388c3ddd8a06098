// A file manager that deletes nothing but empty folders.
#pragma once

#include <memory>

#include "app/services/failure_reasons.h"
#include "platform/FileManager.h"

namespace brightkeel {

/// Removing an item takes empty folders alone, and tells why it fails. The log's oldest file may
/// still go, to make room for a new one. All else is done by the given file manager.
std::unique_ptr<quorvane::platform::FileManager>
withoutDeletion(std::unique_ptr<quorvane::platform::FileManager> files,
                std::shared_ptr<FailureReasons> reasons);

} // namespace brightkeel
