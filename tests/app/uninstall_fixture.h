// An uninstall from its button to its end, on a fake machine with the whole suite installed.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/AppController.h"
#include "tests/app/fake_installation.h"
#include "tests/support/fake_platform.h"
#include "tests/support/log_reader.h"

namespace brightkeel::testing {

class UninstallTest : public ::testing::Test {
protected:
    UninstallTest() : log(system) {
        install(system);
        system.queues->setMode(quorvane::testing::Detached::onThread);
        system.application->setMode(quorvane::testing::MainThread::pumped);
        const auto main = system.application->makeWindow(
            {.title = "Main",
             .elements = {quorvane::platform::CheckBoxElement{"removeSharedCheck", "", ""},
                          quorvane::platform::CheckBoxElement{"removeConfigCheck", "", ""}},
             .closeAction = {}});
        const auto progress = system.application->makeWindow(
            {.title = "Progress",
             .elements = {quorvane::platform::ProgressElement{"progressBar", "", ""}},
             .closeAction = {}});
        controller.setOutlets({.windowMain = main,
                               .removeSharedCheck = main->checkBox("removeSharedCheck"),
                               .removeConfigCheck = main->checkBox("removeConfigCheck"),
                               .windowProgress = progress,
                               .progressBar = progress->progressIndicator("progressBar")});
        controller.awakeFromNib();
        system.journal->clear();
    }

    /// Presses Uninstall, and answers what was done, without the unlocking of each item.
    std::vector<std::string> run(int removeShared, int removeConfig) {
        system.application->setCheckBoxState("removeSharedCheck", removeShared);
        system.application->setCheckBoxState("removeConfigCheck", removeConfig);
        controller.uninstall();
        EXPECT_TRUE(
            system.application->pumpUntil([this] { return system.application->terminated(); }));
        system.queues->join();
        std::vector<std::string> done;
        for (const std::string& entry : system.journal->entries())
            if (!entry.starts_with("files.setAttributes ") && !entry.starts_with("queues.") &&
                entry.find("/Logs/Quorvane/") == std::string::npos)
                done.push_back(entry);
        return done;
    }

    quorvane::testing::FakePlatform system;
    quorvane::testing::LogReader log;
    UninstallerServices services;
    AppController controller{services};
};

} // namespace brightkeel::testing
