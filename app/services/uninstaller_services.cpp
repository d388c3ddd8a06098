#include "app/services/uninstaller_services.h"

#include "app/services/authorization.h"
#include "app/services/file_manager.h"
#include "app/services/processes.h"
#include "app/services/workspace.h"

namespace brightkeel {

using quorvane::platform::installServices;

UninstallerServices::UninstallerServices()
    : services_(quorvane::platform::services()), before_(&quorvane::platform::services()) {
    services_.authorization = askedOnce(std::move(services_.authorization), reasons_);
    services_.makeFileManager = [make = std::move(services_.makeFileManager), reasons = reasons_] {
        return withoutDeletion(make(), reasons);
    };
    services_.processes = withoutDeletion(std::move(services_.processes));
    services_.workspace = withReasons(std::move(services_.workspace), reasons_);
    installServices(&services_);
}

UninstallerServices::~UninstallerServices() { installServices(before_); }

} // namespace brightkeel
