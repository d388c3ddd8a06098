#include "tests/support/fake_disk.h"

#include <algorithm>
#include <stdexcept>

#include "kit/base/components.h"

namespace quorvane::testing {
namespace {

unsigned long usualPermissions(FakeItem::Kind kind) {
    switch (kind) {
    case FakeItem::Kind::folder:
        return 0755;
    case FakeItem::Kind::link:
        return 0777;
    case FakeItem::Kind::file:
        break;
    }
    return 0644;
}

Path withoutFinalSlashes(Path path) {
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    return path;
}

void collectPaths(const FakeItem& folder, const Path& path, std::vector<Path>& paths) {
    for (const auto& [name, item] : folder.entries) {
        const Path below = joinPath(path, name);
        paths.push_back(below);
        collectPaths(*item, below, paths);
    }
}

} // namespace

// Building

std::shared_ptr<FakeItem> FakeDisk::makeItem(FakeItem::Kind kind, Bytes content) const {
    auto item = std::make_shared<FakeItem>();
    item->kind = kind;
    item->content = std::move(content);
    item->permissions = usualPermissions(kind);
    item->creationDate = now_;
    item->modificationDate = now_;
    return item;
}

FakePlace FakeDisk::placeFor(const Path& path) {
    const Path folder(withoutLastComponent(path));
    const bool made = makeFolders(folder).ok();
    const Place place = findPlace(root_, path, FinalLink::keep);
    if (!made || !place || !place.value().folder)
        throw std::logic_error("no place for an item at " + path);
    return place.value();
}

void FakeDisk::add(const Path& path, FakeItem::Kind kind, Bytes content) {
    const std::lock_guard lock(mutex_);
    const FakePlace place = placeFor(path);
    place.folder->removeEntry(place.name);
    place.folder->entries.emplace_back(place.name, makeItem(kind, std::move(content)));
}

void FakeDisk::addFolder(const Path& path) { add(path, FakeItem::Kind::folder, {}); }

void FakeDisk::addFile(const Path& path, Bytes content) {
    add(path, FakeItem::Kind::file, std::move(content));
}

void FakeDisk::addLink(const Path& path, const Path& target) {
    add(path, FakeItem::Kind::link, target);
}

void FakeDisk::erase(const Path& path) {
    const std::lock_guard lock(mutex_);
    const Place place = findItem(root_, path, FinalLink::keep);
    if (!place || !place.value().folder) throw std::logic_error("no item at " + path);
    place.value().folder->removeEntry(place.value().name);
}

// Setting

FakeItem& FakeDisk::item(const Path& path) const {
    const Place place = findItem(root_, path, FinalLink::keep);
    if (!place) throw std::logic_error("no item at " + path);
    return *place.value().item;
}

void FakeDisk::setImmutable(const Path& path, bool immutable) {
    const std::lock_guard lock(mutex_);
    item(path).immutable = immutable;
}

void FakeDisk::setPermissions(const Path& path, unsigned long permissions) {
    const std::lock_guard lock(mutex_);
    item(path).permissions = permissions;
}

void FakeDisk::setWritable(const Path& path, bool writable) {
    const std::lock_guard lock(mutex_);
    item(path).writable = writable;
}

void FakeDisk::setCreationDate(const Path& path, platform::FileTime date) {
    const std::lock_guard lock(mutex_);
    item(path).creationDate = date;
}

void FakeDisk::setModificationDate(const Path& path, platform::FileTime date) {
    const std::lock_guard lock(mutex_);
    item(path).modificationDate = date;
}

void FakeDisk::setNow(platform::FileTime now) {
    const std::lock_guard lock(mutex_);
    now_ = now;
}

// Looking

bool FakeDisk::contains(const Path& path) const {
    const std::lock_guard lock(mutex_);
    return findItem(root_, path, FinalLink::keep).ok();
}

bool FakeDisk::isFolder(const Path& path) const {
    const std::lock_guard lock(mutex_);
    return item(path).isFolder();
}

bool FakeDisk::isLink(const Path& path) const {
    const std::lock_guard lock(mutex_);
    return item(path).isLink();
}

bool FakeDisk::isImmutable(const Path& path) const {
    const std::lock_guard lock(mutex_);
    return item(path).immutable;
}

Bytes FakeDisk::content(const Path& path) const {
    const std::lock_guard lock(mutex_);
    return item(path).content;
}

std::vector<Path> FakeDisk::paths() const {
    const std::lock_guard lock(mutex_);
    std::vector<Path> paths;
    collectPaths(*root_, "/", paths);
    std::sort(paths.begin(), paths.end());
    return paths;
}

std::size_t FakeDisk::openStreams() const {
    const std::lock_guard lock(mutex_);
    return streams_.size();
}

// Failures

void FakeDisk::failNext(const std::string& operation, const Path& path, platform::Error error) {
    const std::lock_guard lock(mutex_);
    failures_.push_back({operation, withoutFinalSlashes(path), std::move(error), false});
}

void FakeDisk::failAlways(const std::string& operation, const Path& path, platform::Error error) {
    const std::lock_guard lock(mutex_);
    failures_.push_back({operation, withoutFinalSlashes(path), std::move(error), true});
}

void FakeDisk::stopFailing(const std::string& operation, const Path& path) {
    const std::lock_guard lock(mutex_);
    std::erase_if(failures_, [&](const Failure& failure) {
        return failure.operation == operation &&
               (path == kAnyPath || failure.path == withoutFinalSlashes(path));
    });
}

std::optional<platform::Error> FakeDisk::scriptedFailure(const std::string& operation,
                                                         const Path& path) {
    const std::lock_guard lock(mutex_);
    return failure(operation, path);
}

std::optional<platform::Error> FakeDisk::failure(const std::string& operation, const Path& path) {
    const Path plain = withoutFinalSlashes(path);
    const auto found = std::find_if(failures_.begin(), failures_.end(), [&](const Failure& each) {
        return each.operation == operation && (each.path == kAnyPath || each.path == plain);
    });
    if (found == failures_.end()) return std::nullopt;
    platform::Error error = found->error;
    if (!found->always) failures_.erase(found);
    return error;
}

} // namespace quorvane::testing
