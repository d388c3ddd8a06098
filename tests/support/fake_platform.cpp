#include "tests/support/fake_platform.h"

#include "kit/log/QVLog.h"

namespace quorvane::testing {
namespace {

constexpr double kEventSlice = 0.01; // seconds that waiting for an event takes

} // namespace

FakePlatform::FakePlatform()
    : services{.application = application,
               .authorization = authorization,
               .consoleLog = consoleLog,
               .digests = digests,
               .exceptions = exceptions,
               .extendedAttributes = extendedAttributes,
               .makeFileManager = fakeFileManagerMaker(disk, journal),
               .presentation = presentation,
               .processes = processes,
               .propertyLists = propertyLists,
               .queues = queues,
               .standardDirectories = directories,
               .systemInfo = systemInfo,
               .tools = tools,
               .userIdentity = identity,
               .workspace = workspace},
      before_(platform::installServices(&services)) {
    application->onNextEvent([this] { queues->advance(kEventSlice); });
}

FakePlatform::~FakePlatform() {
    application->endLoop();
    queues->join();
    // The log's lane outlives the test and must not find its services gone.
    QVLog::finishWriting();
    QVLog::sharedController().setFileHandle(nullptr);
    platform::installServices(before_);
}

} // namespace quorvane::testing
