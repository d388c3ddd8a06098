#include <filesystem>

#include "platform/linux/extended_attributes.h"
#include "platform/linux/file_manager.h"
#include "tests/platform/contract/disk_world.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {
namespace {

namespace fs = std::filesystem;

class LinuxDiskWorld : public DiskWorld {
public:
    platform::FileManager& files() override { return *files_; }
    platform::ExtendedAttributes& extendedAttributes() override { return *extendedAttributes_; }
    Path operator/(std::string_view relative) const override { return scratch_ / relative; }
    void addFile(const Path& path, std::string_view content) override {
        addFolder(fs::path(path).parent_path());
        std::ofstream(path, std::ios::binary) << content;
    }
    void addFolder(const Path& path) override { fs::create_directories(path); }
    void addLink(const Path& path, const Path& target) override {
        addFolder(fs::path(path).parent_path());
        fs::create_symlink(target, path);
    }
    bool contains(const Path& path) const override {
        return fs::symlink_status(path).type() != fs::file_type::not_found;
    }
    bool isLink(const Path& path) const override { return fs::is_symlink(path); }
    std::string content(const Path& path) const override { return contentOf(path); }

private:
    ScratchFolder scratch_;
    std::unique_ptr<platform::FileManager> files_ = platform::linux_::makeFileManager();
    std::shared_ptr<platform::ExtendedAttributes> extendedAttributes_ =
        platform::linux_::makeExtendedAttributes();
};

} // namespace

const WorldKind kLinuxWorld{
    "Linux", []() -> std::unique_ptr<DiskWorld> { return std::make_unique<LinuxDiskWorld>(); }};

} // namespace quorvane::testing
