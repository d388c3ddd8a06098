// half_listed_volume FOLDER MOUNT_POINT
//
// Shows a folder as a volume of its own, whose listings break off with an error after two entries
// for everybody but the superuser, as those of network volumes and failing disks may. What is not
// listed is there all the same. Ends when it is unmounted.

#define FUSE_USE_VERSION 31 // NOLINT(cppcoreguidelines-macro-usage): the library's own switch

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <fuse.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr std::size_t kListed = 2;

std::string place(const char* path) {
    return static_cast<const char*>(fuse_get_context()->private_data) + std::string(path);
}

int status(int result) { return result == 0 ? 0 : -errno; }

int getAttributes(const char* path, struct stat* attributes, fuse_file_info* /*info*/) {
    return status(lstat(place(path).c_str(), attributes));
}

int list(const char* path, void* buffer, fuse_fill_dir_t add, off_t offset,
         fuse_file_info* /*info*/, fuse_readdir_flags /*flags*/) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(place(path)))
        names.push_back(entry.path().filename());
    std::ranges::sort(names);
    const bool whole = fuse_get_context()->uid == 0;
    for (auto next = static_cast<std::size_t>(offset); next < names.size(); ++next) {
        // The entries before it are passed on first, as a part of the listing.
        if (!whole && next == kListed) return next == static_cast<std::size_t>(offset) ? -EIO : 0;
        if (add(buffer, names[next].c_str(), nullptr, static_cast<off_t>(next + 1),
                fuse_fill_dir_flags{}) != 0)
            break;
    }
    return 0;
}

int readBytes(const char* path, char* buffer, std::size_t size, off_t offset,
              fuse_file_info* /*info*/) {
    std::FILE* const file = std::fopen(place(path).c_str(), "rbe");
    if (file == nullptr) return -errno;
    const bool there = std::fseek(file, offset, SEEK_SET) == 0;
    const std::size_t count = there ? std::fread(buffer, 1, size, file) : 0;
    std::fclose(file);
    return static_cast<int>(count);
}

int removeFile(const char* path) { return status(unlink(place(path).c_str())); }
int removeFolder(const char* path) { return status(rmdir(place(path).c_str())); }

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    fuse_operations operations{};
    operations.getattr = getAttributes;
    operations.readdir = list;
    operations.read = readBytes;
    operations.unlink = removeFile;
    operations.rmdir = removeFolder;
    // In the foreground, one request at a time, for all users, with the owners and modes as shown.
    std::array<std::string, 5> words{"half-listed-volume", "-f", "-s",
                                     "-oallow_other,default_permissions", argv[2]};
    std::array<char*, words.size()> pointers{};
    std::ranges::transform(words, pointers.begin(), [](std::string& word) { return word.data(); });
    return fuse_main(static_cast<int>(pointers.size()), pointers.data(), &operations, argv[1]);
}
