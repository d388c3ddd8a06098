#include "tests/support/fake_workspace.h"

#include <algorithm>
#include <array>
#include <utility>

#include "kit/base/components.h"

namespace quorvane::testing {
namespace {

constexpr std::array<std::string_view, 6> kPackageExtensions = {"app",  "bundle",   "plugin",
                                                                "kext", "prefpane", "pkg"};

std::string joinNames(const std::vector<std::string>& names) {
    std::string joined;
    for (const std::string& name : names) joined += (joined.empty() ? "" : ", ") + name;
    return joined;
}

/// Whether an absolute path has no part that means nothing or leads up.
bool isPlain(const Path& path) {
    const Path ended = path + "/";
    return path.starts_with('/') && ended.find("//") == Path::npos &&
           ended.find("/./") == Path::npos && ended.find("/../") == Path::npos;
}

std::string lowercased(std::string_view text) {
    std::string lower(text);
    for (char& letter : lower)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return lower;
}

} // namespace

FakeWorkspace::FakeWorkspace(std::shared_ptr<FakeDisk> disk, std::shared_ptr<Journal> journal)
    : disk_(std::move(disk)), journal_(std::move(journal)) {}

void FakeWorkspace::addBundle(const std::string& identifier, const Path& path) {
    const std::lock_guard lock(mutex_);
    bundles_[identifier] = path;
}

platform::Result<void> FakeWorkspace::recycle(const Path& sourceFolder,
                                              const Path& destinationFolder,
                                              const std::vector<std::string>& names) {
    journal_->add("workspace.recycle " + sourceFolder + " [" + joinNames(names) + "] -> " +
                  destinationFolder);
    for (const std::string& name : names) {
        auto recycled = disk_->recycle(joinPath(sourceFolder, name), destinationFolder);
        if (!recycled) return recycled;
    }
    return {};
}

bool FakeWorkspace::isInTrash(const Path& path) {
    return std::ranges::any_of(trashes,
                               [&](const Path& trash) { return disk_->isBelow(path, trash); });
}

MaybePath FakeWorkspace::bundlePath(const std::string& identifier) {
    const std::lock_guard lock(mutex_);
    const auto found = bundles_.find(identifier);
    if (found == bundles_.end()) return std::nullopt;
    return found->second;
}

bool FakeWorkspace::isSuperusersPlace(const Path& path) {
    if (!isPlain(path)) return false;
    for (Path folder(withoutLastComponent(path)); folder != "/";
         folder = withoutLastComponent(folder)) {
        if (disk_->contains(folder) && disk_->isLink(folder)) return false;
        if (std::ranges::find(superusersFolders, folder) != superusersFolders.end()) return true;
    }
    return false;
}

bool FakeWorkspace::isFilePackage(const Path& path) {
    const std::string extension = lowercased(pathExtension(path));
    return disk_->existence(path).isDirectory &&
           std::find(kPackageExtensions.begin(), kPackageExtensions.end(), extension) !=
               kPackageExtensions.end();
}

void FakeWorkspace::noteFileSystemChanged(const Path& path) {
    journal_->add("workspace.noteFileSystemChanged " + path);
}

} // namespace quorvane::testing
