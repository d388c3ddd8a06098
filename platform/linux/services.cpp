#include "platform/linux/services.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <utility>

#include "platform/linux/authorization/authorization.h"
#include "platform/linux/console_log.h"
#include "platform/linux/digests.h"
#include "platform/linux/exceptions.h"
#include "platform/linux/extended_attributes.h"
#include "platform/linux/file_manager.h"
#include "platform/linux/posix.h"
#include "platform/linux/presentation/change_notices.h"
#include "platform/linux/presentation/presentation.h"
#include "platform/linux/processes.h"
#include "platform/linux/property_lists.h"
#include "platform/linux/queues.h"
#include "platform/linux/standard_directories.h"
#include "platform/linux/system_info.h"
#include "platform/linux/tools.h"
#include "platform/linux/user_identity.h"
#include "platform/linux/workspace.h"

namespace quorvane::platform::linux_ {
namespace {

/// In a program started without standard streams no log file may take the number of one.
void fillStandardStreams() {
    Descriptor opened;
    do {
        opened.release();                                 // this one stays open
        opened = Descriptor(::open("/dev/null", O_RDWR)); // children inherit it
    } while (opened && opened.get() <= STDERR_FILENO);
}

/// A reader that has gone is an error of one write, not the end of the program.
void ignoreClosedPipes() { ignore(std::signal(SIGPIPE, SIG_IGN)); }

} // namespace

Services makeServices(std::shared_ptr<Application> application) {
    fillStandardStreams();
    ignoreClosedPipes();
    const auto identity = std::make_shared<LinuxUserIdentity>();
    const auto tools = makeTools();
    const auto propertyLists = std::make_shared<LinuxPropertyLists>();
    const auto notices = std::make_shared<ChangeNotices>();
    return {.application = std::move(application),
            .authorization = makeAuthorization(identity),
            .consoleLog = makeConsoleLog(),
            .digests = makeDigests(),
            .exceptions = makeExceptions(),
            .extendedAttributes = makeExtendedAttributes(),
            .makeFileManager = makeFileManager,
            .presentation = makePresentation(identity, propertyLists, notices),
            .processes = makeProcesses(tools),
            .propertyLists = propertyLists,
            .queues = makeQueues(),
            .standardDirectories = std::make_shared<LinuxStandardDirectories>(identity),
            .systemInfo = makeSystemInfo(),
            .tools = tools,
            .userIdentity = identity,
            .workspace = std::make_shared<LinuxWorkspace>(identity, propertyLists, notices)};
}

} // namespace quorvane::platform::linux_
