// The real services as the file layer's tests use them.
#pragma once

#include <memory>

#include "platform/Services.h"
#include "platform/linux/run_loop.h"
#include "platform/linux/services.h"
#include "tests/support/fake_identity.h"
#include "tests/support/fake_queues.h"
#include "tests/support/fake_system.h"

namespace quorvane::testing {

/// Installs the Linux services for a user whose home is in a folder of the test, with a console log
/// that the test reads. Made once a process, and never destroyed: threads of the kit use it to the
/// end.
struct RealSystem {
    explicit RealSystem(const Path& home) {
        identity->home = home;
        services.userIdentity = identity;
        services.standardDirectories = std::make_shared<FakeDirectories>(*identity);
        services.consoleLog = consoleLog;
        platform::installServices(&services);
    }
    RealSystem(const RealSystem&) = delete;
    RealSystem& operator=(const RealSystem&) = delete;
    ~RealSystem() = delete;

    /// From now on what is put on the concurrent queue is done at once, by whoever puts it there.
    void answerAtOnce() {
        const auto queues = std::make_shared<FakeQueues>(journal);
        queues->setMode(Detached::inlined);
        services.queues = queues;
    }

    Journal journal;
    std::shared_ptr<platform::linux_::RunLoop> loop = std::make_shared<platform::linux_::RunLoop>();
    std::shared_ptr<FakeIdentity> identity = std::make_shared<FakeIdentity>();
    std::shared_ptr<FakeConsoleLog> consoleLog = std::make_shared<FakeConsoleLog>(journal);
    platform::Services services = platform::linux_::makeServices(loop);
};

} // namespace quorvane::testing
