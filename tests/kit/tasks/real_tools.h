// The kit on the system's own processes, threads and clock.
#pragma once

#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "kit/log/QVLog.h"
#include "platform/Services.h"
#include "platform/linux/run_loop.h"
#include "platform/linux/services.h"
#include "tests/platform/linux/scratch_folder.h"
#include "tests/support/fake_identity.h"
#include "tests/support/time_limit.h"

namespace quorvane {

/// What the installed services use: it stays, because watchdogs use it until the process ends.
struct RealSystem {
    explicit RealSystem(const Path& home) {
        identity->home = home;
        services.userIdentity = identity;
        services.standardDirectories = std::make_shared<testing::FakeDirectories>(*identity);
        platform::installServices(&services);
    }

    std::shared_ptr<platform::linux_::RunLoop> loop = std::make_shared<platform::linux_::RunLoop>();
    std::shared_ptr<testing::FakeIdentity> identity = std::make_shared<testing::FakeIdentity>();
    platform::Services services = platform::linux_::makeServices(loop);
};

/// The Linux services, with a home of its own for the log.
class RealTools : public ::testing::Test {
protected:
    RealTools() { QVLog::createNewLog(); }

    /// Performs the work on a worker while the main thread turns its loop; answers what it printed.
    template <class Work>
    std::string printedBy(Work work) {
        ::testing::internal::CaptureStdout();
        std::thread worker([&] {
            work();
            system_.loop->performOnMainThreadAndWait([this] { system_.loop->terminate(); });
        });
        system_.loop->run();
        worker.join();
        QVLog::finishWriting();
        return ::testing::internal::GetCapturedStdout();
    }

    std::string log() {
        QVLog::finishWriting();
        const auto logs = QVLog::availableLogs();
        return logs.empty() ? std::string() : testing::contentOf(logs.front());
    }

    const testing::TimeLimit timeLimit_;
    const testing::ScratchFolder home_;
    RealSystem& system_ = *new RealSystem(home_.path());
};

} // namespace quorvane
