// What is in a folder, for comparisons.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {

inline struct stat statusOf(const Path& item) {
    struct stat status {};
    EXPECT_EQ(lstat(item.c_str(), &status), 0) << item;
    return status;
}

/// All items below a folder, sorted: name, type, permissions, whole seconds, content.
inline std::vector<std::string> itemsOf(const Path& folder) {
    std::vector<std::string> items;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        const struct stat status = statusOf(entry.path());
        std::string line = entry.path().string().substr(folder.size());
        line += " " + std::to_string(status.st_mode) + " " + std::to_string(status.st_mtime);
        if (S_ISLNK(status.st_mode)) {
            line += " -> " + std::filesystem::read_symlink(entry.path()).string();
        } else if (S_ISREG(status.st_mode)) {
            line += " = " + contentOf(entry.path());
        }
        items.push_back(line);
    }
    std::sort(items.begin(), items.end());
    return items;
}

/// The names in a folder alone, sorted.
inline std::vector<std::string> namesIn(const Path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace quorvane::testing
