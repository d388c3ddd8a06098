#include "tests/platform/contract/disk_world.h"
#include "tests/support/fake_extended_attributes.h"
#include "tests/support/fake_file_manager.h"

namespace quorvane::testing {
namespace {

class FakeDiskWorld : public DiskWorld {
public:
    FakeDiskWorld() { disk_->addFolder("/world"); }

    platform::FileManager& files() override { return files_; }
    platform::ExtendedAttributes& extendedAttributes() override { return extendedAttributes_; }
    Path operator/(std::string_view relative) const override { return "/world/" + Path(relative); }
    void addFile(const Path& path, std::string_view content) override {
        disk_->addFile(path, Bytes(content));
    }
    void addFolder(const Path& path) override { disk_->addFolder(path); }
    void addLink(const Path& path, const Path& target) override { disk_->addLink(path, target); }
    bool contains(const Path& path) const override { return disk_->contains(path); }
    bool isLink(const Path& path) const override { return disk_->isLink(path); }
    std::string content(const Path& path) const override { return disk_->content(path); }

private:
    std::shared_ptr<FakeDisk> disk_ = std::make_shared<FakeDisk>();
    std::shared_ptr<Journal> journal_ = std::make_shared<Journal>();
    FakeFileManager files_{disk_, journal_};
    FakeExtendedAttributes extendedAttributes_{disk_, journal_};
};

} // namespace

const WorldKind kFakeWorld{
    "Fake", []() -> std::unique_ptr<DiskWorld> { return std::make_unique<FakeDiskWorld>(); }};

} // namespace quorvane::testing
