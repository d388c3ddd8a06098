// A user with a home of its own in a scratch folder, for tests of the Trash.
#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/trash.h"
#include "tests/platform/linux/scratch_folder.h"
#include "tests/platform/linux/stub_identity.h"

namespace quorvane::testing {

class TrashFixture : public ::testing::Test {
protected:
    TrashFixture() {
        ::unsetenv("XDG_DATA_HOME");
        identity->home = scratch.addFolder("home");
        scratch.addFolder("source");
    }

    /// Recycles items of the folder "source"; the error number, 0 for success.
    int recycle(const std::vector<std::string>& names) {
        const auto result = trash.recycle(source, names);
        return result ? 0 : result.error().code;
    }

    static bool exists(const Path& path) {
        struct stat status {};
        return ::lstat(path.c_str(), &status) == 0;
    }
    /// The entries of a folder, sorted.
    static std::vector<std::string> entries(const Path& folder) {
        std::vector<std::string> names;
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator(folder, ignored))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }
    /// The line of an info file that names the item's path.
    static std::string pathLine(const Path& info) {
        const std::string text = contentOf(info);
        const auto start = text.find("Path=");
        return text.substr(start, text.find('\n', start) - start);
    }

    ScratchFolder scratch;
    Path source = scratch / "source";
    Path trashFolder = scratch / "home/.local/share/Trash";
    Path files = trashFolder + "/files";
    Path infos = trashFolder + "/info";
    std::shared_ptr<StubIdentity> identity = std::make_shared<StubIdentity>();
    platform::linux_::Trash trash{identity};
};

} // namespace quorvane::testing
