#include "tests/support/fake_platform.h"

namespace quorvane::testing {

FakePlatform::FakePlatform()
    : services{.application = application,
               .authorization = authorization,
               .consoleLog = consoleLog,
               .exceptions = exceptions,
               .extendedAttributes = extendedAttributes,
               .makeFileManager = fakeFileManagerMaker(disk, journal),
               .processes = processes,
               .propertyLists = propertyLists,
               .queues = queues,
               .standardDirectories = directories,
               .systemInfo = systemInfo,
               .userIdentity = identity,
               .workspace = workspace},
      before_(platform::installServices(&services)) {}

FakePlatform::~FakePlatform() {
    application->endLoop();
    queues->join();
    platform::installServices(before_);
}

} // namespace quorvane::testing
