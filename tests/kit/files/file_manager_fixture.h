// The fake platform as the file layer's tests use it.
#pragma once

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "kit/files/QVFileManager.h"
#include "tests/support/fake_platform.h"
#include "tests/support/log_reader.h"

namespace quorvane::testing {

class FileManagerTest : public ::testing::Test {
protected:
    FileManagerTest() : log(system) {
        for (const Path tool : {"/bin/rm", "/bin/mv", "/bin/cp", "/bin/mkdir", "/usr/bin/touch"})
            addTool(tool, {});
    }

    void addTool(const Path& path, FakeTool tool) {
        system.disk->addFile(path, "#!");
        system.disk->setPermissions(path, 0755);
        system.processes->script(path, std::move(tool));
    }

    std::vector<std::string> recycled() { return system.journal->entries("workspace.recycle"); }
    /// The tools run with administrator rights.
    std::vector<std::string> privileged() {
        return system.journal->entries("authorization.execute");
    }
    void failRecycling() {
        system.disk->failAlways("recycle", FakeDisk::kAnyPath, {1, "Operation not permitted"});
    }

    FakePlatform system;
    LogReader log;
};

} // namespace quorvane::testing
