// Items to be copied and moved in a folder of the test's own.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <sys/stat.h>

#include <gmock/gmock.h>

#include "platform/linux/file_manager.h"
#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {

class FileCopying : public ::testing::Test {
protected:
    platform::Result<void> copy(std::string_view source, std::string_view destination) {
        return files_->copyItem(scratch_ / source, scratch_ / destination);
    }
    platform::Result<void> move(std::string_view source, std::string_view destination) {
        return files_->moveItem(scratch_ / source, scratch_ / destination);
    }
    bool contains(std::string_view relative) const {
        return std::filesystem::symlink_status(scratch_ / relative).type() !=
               std::filesystem::file_type::not_found;
    }
    struct stat statusOf(std::string_view relative) const {
        struct stat status {};
        EXPECT_EQ(lstat((scratch_ / relative).c_str(), &status), 0) << relative;
        return status;
    }
    /// What a folder holds, hidden names included.
    std::vector<std::string> names(std::string_view folder) {
        return files_->contentsOfDirectory(scratch_ / folder).value();
    }
    /// A volume of its own, in private mounts.
    void addVolume(const char* name, const std::string& options = "size=1m") {
        mountVolume("tmpfs", scratch_.addFolder(name), options);
    }

    ScratchFolder scratch_;
    std::unique_ptr<platform::FileManager> files_ = platform::linux_::makeFileManager();
};

} // namespace quorvane::testing
