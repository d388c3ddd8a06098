// The platform's services as the uninstaller uses them.
#pragma once

#include <memory>

#include "app/services/failure_reasons.h"
#include "platform/Services.h"

namespace brightkeel {

/// The uninstaller deletes nothing but empty folders, asks for administrator rights once, and tells
/// why it fails. The kit below it promises none of that: it deletes whole trees, asks anew for each
/// item, and keeps reasons to itself. These services stand between the kit and the platform's, for
/// as long as they live:
/// - removing an item takes nothing but empty folders, plainly and with administrator rights, and
///   no tool is started to delete anything; only the log may still drop its oldest file;
/// - with administrator rights items are moved, and empty folders removed, and that is all;
/// - the first answer to the question for these rights holds for the whole run.
/// While other threads use the kit, none may be made or destroyed.
class UninstallerServices {
public:
    /// Over the set that is installed.
    UninstallerServices();
    ~UninstallerServices();
    UninstallerServices(const UninstallerServices&) = delete;
    UninstallerServices& operator=(const UninstallerServices&) = delete;

    const std::shared_ptr<FailureReasons>& failureReasons() const { return reasons_; }

private:
    std::shared_ptr<FailureReasons> reasons_ = std::make_shared<FailureReasons>();
    quorvane::platform::Services services_;
    const quorvane::platform::Services* before_;
};

} // namespace brightkeel
