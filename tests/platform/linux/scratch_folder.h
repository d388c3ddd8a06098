// A folder of its own for each test, gone with all below it at the end.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>

#include "platform/Values.h"

namespace quorvane::testing {

class ScratchFolder {
public:
    ScratchFolder() {
        std::string name = std::filesystem::temp_directory_path() / "quorvane-test-XXXXXX";
        if (::mkdtemp(name.data()) == nullptr)
            throw std::system_error(errno, std::generic_category());
        path_ = name;
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder(ScratchFolder&&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ScratchFolder& operator=(ScratchFolder&&) = delete;
    ~ScratchFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }

    const Path& path() const { return path_; }
    Path operator/(std::string_view relative) const { return path_ + "/" + Path(relative); }

    /// Makes the folder and those above it.
    Path addFolder(std::string_view relative) const {
        std::filesystem::create_directories(*this / relative);
        return *this / relative;
    }
    /// Makes the file and the folders above it.
    Path addFile(std::string_view relative, std::string_view content = {}) const {
        Path file = *this / relative;
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        std::ofstream(file, std::ios::binary) << content;
        return file;
    }

private:
    Path path_;
};

/// The content of a file; empty without one.
inline std::string contentOf(const Path& path) {
    std::ostringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

} // namespace quorvane::testing
