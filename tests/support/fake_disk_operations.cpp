// What the fake services do on a fake disk.
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "kit/base/components.h"
#include "tests/support/errors.h"
#include "tests/support/fake_disk.h"

namespace quorvane::testing {
namespace {

using platform::Result;

/// What keeps the process from changing an item's place in its folder; 0: nothing.
int protection(const FakePlace& place) {
    if (!place.folder) return EBUSY;
    if (place.folder->immutable || place.item->immutable) return EPERM;
    return place.folder->writable ? 0 : EACCES;
}

bool holds(const FakeItem& folder, const FakeItem* sought) {
    return &folder == sought ||
           std::any_of(folder.entries.begin(), folder.entries.end(),
                       [&](const auto& entry) { return holds(*entry.second, sought); });
}

/// An item of its own with the same content, and its own copies of all below it.
std::shared_ptr<FakeItem> copyOf(const FakeItem& item) {
    auto copy = std::make_shared<FakeItem>(item);
    copy->immutable = false;
    for (auto& [name, below] : copy->entries) below = copyOf(*below);
    return copy;
}

/// The name without the namespace that a name has when it does not say one.
std::string withoutUserNamespace(const std::string& name) {
    constexpr std::string_view kNamespace = "user.";
    return name.starts_with(kNamespace) ? name.substr(kNamespace.size()) : name;
}

} // namespace

platform::Existence FakeDisk::existence(const Path& path) const {
    const std::lock_guard lock(mutex_);
    const Place place = findItem(root_, path, FinalLink::follow);
    if (!place) return {};
    const FakeItem& item = *place.value().item;
    return {true, item.isFolder(), identityOf(item)};
}

bool FakeDisk::isBelow(const Path& path, const Path& folder) const {
    const std::lock_guard lock(mutex_);
    const Place place = findPlace(root_, path, FinalLink::keep);
    const Place above = findItem(root_, folder, FinalLink::follow);
    return place && above && place.value().folder &&
           holds(*above.value().item, place.value().folder.get());
}

Result<std::vector<std::string>> FakeDisk::contentsOfDirectory(const Path& path) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("contentsOfDirectory", path)) return *error;
    const Place place = findItem(root_, path, FinalLink::follow);
    if (!place) return place.error();
    if (!place.value().item->isFolder()) return errorFor(ENOTDIR);
    std::vector<std::string> names;
    for (const auto& [name, item] : place.value().item->entries) names.push_back(name);
    return names;
}

Result<Path> FakeDisk::linkDestination(const Path& path) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("linkDestination", path)) return *error;
    const Place place = findItem(root_, path, FinalLink::keep);
    if (!place) return place.error();
    if (!place.value().item->isLink()) return errorFor(EINVAL);
    return place.value().item->content;
}

Result<void> FakeDisk::removeItem(const Path& path) {
    const std::lock_guard lock(mutex_);
    const Place place = findItem(root_, path, FinalLink::keep);
    if (auto error = failure("removeItem", path)) return *error;
    if (!place) return place.error();
    return removeTree(place.value(), path);
}

Result<void> FakeDisk::removeTree(const FakePlace& place, const Path& path) {
    const auto entries = place.item->entries;
    for (const auto& [name, item] : entries) {
        const Path below = joinPath(path, name);
        if (auto error = failure("removeItem", below)) return *error;
        if (auto removed = removeTree({place.item, name, item}, below); !removed) return removed;
    }
    if (const int code = protection(place)) return errorFor(code);
    place.folder->removeEntry(place.name);
    return {};
}

Result<void> FakeDisk::checkEmptyFolders(const Path& path) {
    const std::lock_guard lock(mutex_);
    const Place place = findItem(root_, path, FinalLink::keep);
    if (!place) return place.error();
    if (!place.value().item->isFolder()) return errorFor(ENOTDIR);
    return checkEmpty(*place.value().item, path);
}

Result<void> FakeDisk::checkEmpty(const FakeItem& folder, const Path& path) {
    if (auto error = failure("contentsOfDirectory", path)) return *error;
    for (const auto& [name, item] : folder.entries) {
        const bool isMetadata =
            item->kind == FakeItem::Kind::file && platform::isDesktopMetadata(name);
        if (!isMetadata && !item->isFolder()) return errorFor(ENOTEMPTY);
        if (!item->isFolder()) continue;
        if (auto checked = checkEmpty(*item, joinPath(path, name)); !checked) return checked;
    }
    return {};
}

Result<void> FakeDisk::removeEmptyFolders(const Path& path) {
    if (auto checked = checkEmptyFolders(path); !checked) return checked;
    const std::lock_guard lock(mutex_);
    if (auto error = failure("removeEmptyFolders", path)) return *error;
    const Place place = findItem(root_, path, FinalLink::keep);
    return place ? removeTree(place.value(), path) : place.error();
}

Result<void> FakeDisk::moveItem(const Path& source, const Path& destination) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("moveItem", source)) return *error;
    return move(source, destination);
}

Result<void> FakeDisk::move(const Path& source, const Path& destination) {
    const Place from = findItem(root_, source, FinalLink::keep);
    if (!from) return from.error();
    const Place to = findPlace(root_, destination, FinalLink::keep);
    if (!to) return to.error();
    if (to.value().item == from.value().item) return {};
    if (to.value().item) return errorFor(EEXIST);
    if (const int code = protection(from.value())) return errorFor(code);
    if (holds(*from.value().item, to.value().folder.get())) return errorFor(EINVAL);
    if (to.value().folder->immutable) return errorFor(EPERM);
    if (!to.value().folder->writable) return errorFor(EACCES);
    from.value().folder->removeEntry(from.value().name);
    to.value().folder->entries.emplace_back(to.value().name, from.value().item);
    return {};
}

Result<void> FakeDisk::copyItem(const Path& source, const Path& destination) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("copyItem", source)) return *error;
    const Place from = findItem(root_, source, FinalLink::keep);
    if (!from) return from.error();
    const Place to = findPlace(root_, destination, FinalLink::keep);
    if (!to) return to.error();
    if (to.value().item) return errorFor(EEXIST);
    if (holds(*from.value().item, to.value().folder.get())) return errorFor(EINVAL);
    if (to.value().folder->immutable) return errorFor(EPERM);
    if (!to.value().folder->writable) return errorFor(EACCES);
    to.value().folder->entries.emplace_back(to.value().name, copyOf(*from.value().item));
    return {};
}

Result<void> FakeDisk::createDirectories(const Path& path) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("createDirectories", path)) return *error;
    return makeFolders(path);
}

Result<void> FakeDisk::makeFolders(const Path& path) {
    for (std::size_t slash = 0; slash != Path::npos;) {
        slash = path.find('/', slash + 1);
        const Path prefix = path.substr(0, slash);
        const Place followed = findItem(root_, prefix, FinalLink::follow);
        if (followed && followed.value().item->isFolder()) continue;
        const Place place = findPlace(root_, prefix, FinalLink::keep);
        if (!place) return place.error();
        const FakePlace& here = place.value();
        if (here.item) return errorFor(slash == Path::npos ? EEXIST : ENOTDIR);
        if (here.folder->immutable) return errorFor(EPERM);
        if (!here.folder->writable) return errorFor(EACCES);
        here.folder->entries.emplace_back(here.name, makeItem(FakeItem::Kind::folder, {}));
    }
    return {};
}

Result<platform::ItemAttributes> FakeDisk::attributes(const Path& path) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("attributes", path)) return *error;
    const Place place = findItem(root_, path, FinalLink::keep);
    if (!place) return place.error();
    const FakeItem& found = *place.value().item;
    return platform::ItemAttributes{found.immutable, found.permissions, found.creationDate,
                                    found.modificationDate, found.content.size()};
}

Result<void> FakeDisk::setAttributes(const Path& path, const platform::AttributeChanges& changes) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("setAttributes", path)) return *error;
    const Place place = findItem(root_, path, FinalLink::keep);
    if (!place) return place.error();
    FakeItem& changed = *place.value().item;
    if (changes.immutable) {
        if (changed.isLink() && *changes.immutable) return errorFor(EOPNOTSUPP);
        changed.immutable = *changes.immutable;
    }
    const auto change = [&](auto& attribute, const auto& value) {
        if (!value || attribute == *value) return true;
        if (changed.immutable) return false;
        attribute = *value;
        return true;
    };
    if (changes.posixPermissions && changed.isLink() &&
        *changes.posixPermissions != changed.permissions)
        return errorFor(EOPNOTSUPP);
    if (!change(changed.permissions, changes.posixPermissions) ||
        !change(changed.creationDate, changes.creationDate) ||
        !change(changed.modificationDate, changes.modificationDate))
        return errorFor(EPERM);
    return {};
}

bool FakeDisk::isWritable(const Path& path) const {
    const std::lock_guard lock(mutex_);
    const Place place = findItem(root_, path, FinalLink::follow);
    return place && place.value().item->writable && !place.value().item->immutable;
}

bool FakeDisk::isExecutable(const Path& path) const {
    const std::lock_guard lock(mutex_);
    const Place place = findItem(root_, path, FinalLink::follow);
    return place && (place.value().item->permissions & 0111U) != 0;
}

Result<void> FakeDisk::writeAtomically(const Path& path, std::string_view content) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("writeAtomically", path)) return *error;
    const Place place = findPlace(root_, path, FinalLink::keep);
    if (!place) return place.error();
    const auto& [folder, name, old] = place.value();
    if (old && old->isFolder()) return errorFor(EISDIR);
    if (folder->immutable || (old && old->immutable)) return errorFor(EPERM);
    if (!folder->writable) return errorFor(EACCES);
    const auto made = makeItem(FakeItem::Kind::file, Bytes(content));
    if (old && !old->isLink()) made->permissions = old->permissions;
    folder->removeEntry(name);
    folder->entries.emplace_back(name, made);
    return {};
}

// Extended attributes

Result<Bytes> FakeDisk::extendedAttribute(const std::string& operation, const Path& path,
                                          const std::string& name) {
    if (auto error = failure(operation, path)) return *error;
    const Place place = findItem(root_, path, FinalLink::follow);
    if (!place) return place.error();
    const auto& attributes = place.value().item->extendedAttributes;
    const auto found = attributes.find(withoutUserNamespace(name));
    if (found == attributes.end()) return errorFor(ENODATA);
    return found->second;
}

Result<std::size_t> FakeDisk::sizeOfExtendedAttribute(const Path& path, const std::string& name) {
    const std::lock_guard lock(mutex_);
    const Result<Bytes> value = extendedAttribute("sizeOfExtendedAttribute", path, name);
    if (!value) return value.error();
    return value.value().size();
}

Result<std::size_t> FakeDisk::getExtendedAttribute(const Path& path, const std::string& name,
                                                   std::span<char> buffer) {
    const std::lock_guard lock(mutex_);
    const Result<Bytes> value = extendedAttribute("getExtendedAttribute", path, name);
    if (!value) return value.error();
    if (value.value().size() > buffer.size()) return errorFor(ERANGE);
    std::copy(value.value().begin(), value.value().end(), buffer.begin());
    return value.value().size();
}

Result<void> FakeDisk::setExtendedAttribute(const Path& path, const std::string& name,
                                            std::string_view value) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("setExtendedAttribute", path)) return *error;
    const Place place = findItem(root_, path, FinalLink::follow);
    if (!place) return place.error();
    FakeItem& found = *place.value().item;
    if (found.immutable) return errorFor(EPERM);
    if (!found.writable) return errorFor(EACCES);
    found.extendedAttributes[withoutUserNamespace(name)] = Bytes(value);
    return {};
}

// Trash

Result<void> FakeDisk::recycle(const Path& item, const Path& folder) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("recycle", item)) return *error;
    if (const Place place = findItem(root_, item, FinalLink::keep); !place) return place.error();
    if (auto made = makeFolders(folder); !made) return made;
    const Path wanted = joinPath(folder, lastComponent(item));
    Path free = wanted;
    for (int number = 2; findItem(root_, free, FinalLink::keep); ++number)
        free = wanted + " " + std::to_string(number);
    return move(item, free);
}

} // namespace quorvane::testing
