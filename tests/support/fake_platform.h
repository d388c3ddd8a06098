// All fakes in one, installed as the platform's services.
#pragma once

#include <memory>

#include "platform/Services.h"
#include "tests/support/fake_application.h"
#include "tests/support/fake_authorization.h"
#include "tests/support/fake_digests.h"
#include "tests/support/fake_disk.h"
#include "tests/support/fake_extended_attributes.h"
#include "tests/support/fake_file_manager.h"
#include "tests/support/fake_identity.h"
#include "tests/support/fake_presentation.h"
#include "tests/support/fake_processes.h"
#include "tests/support/fake_queues.h"
#include "tests/support/fake_system.h"
#include "tests/support/fake_workspace.h"
#include "tests/support/journal.h"

namespace quorvane::testing {

/// The installed services during its life; the set before is put back at its end. The thread that
/// makes it is the main thread. At its end what waits for the main thread goes on, and detached
/// threads are waited for.
class FakePlatform {
public:
    FakePlatform();
    ~FakePlatform();
    FakePlatform(const FakePlatform&) = delete;
    FakePlatform& operator=(const FakePlatform&) = delete;

    const std::shared_ptr<Journal> journal = std::make_shared<Journal>();
    const std::shared_ptr<FakeDisk> disk = std::make_shared<FakeDisk>();
    const std::shared_ptr<FakeApplication> application =
        std::make_shared<FakeApplication>(*journal);
    const std::shared_ptr<FakeAuthorization> authorization =
        std::make_shared<FakeAuthorization>(*journal);
    const std::shared_ptr<FakeConsoleLog> consoleLog = std::make_shared<FakeConsoleLog>(*journal);
    const std::shared_ptr<FakeDigests> digests = std::make_shared<FakeDigests>();
    const std::shared_ptr<FakeExceptions> exceptions = std::make_shared<FakeExceptions>();
    const std::shared_ptr<FakeExtendedAttributes> extendedAttributes =
        std::make_shared<FakeExtendedAttributes>(disk, journal);
    const std::shared_ptr<FakeProcesses> processes = std::make_shared<FakeProcesses>(*journal);
    const std::shared_ptr<FakePropertyLists> propertyLists = std::make_shared<FakePropertyLists>();
    const std::shared_ptr<FakeQueues> queues = std::make_shared<FakeQueues>(*journal);
    const std::shared_ptr<FakeIdentity> identity = std::make_shared<FakeIdentity>();
    const std::shared_ptr<FakeDirectories> directories =
        std::make_shared<FakeDirectories>(*identity);
    const std::shared_ptr<FakeSystemInfo> systemInfo = std::make_shared<FakeSystemInfo>();
    const std::shared_ptr<FakeTools> tools = std::make_shared<FakeTools>();
    const std::shared_ptr<FakeWorkspace> workspace = std::make_shared<FakeWorkspace>(disk, journal);
    const std::shared_ptr<FakePresentation> presentation =
        std::make_shared<FakePresentation>(disk, workspace, propertyLists, journal);

    /// The installed set, in which a test may put a service of its own in a fake's place.
    platform::Services services;

private:
    const platform::Services* before_;
};

} // namespace quorvane::testing
