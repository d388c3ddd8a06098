#include "tests/support/fake_tree.h"

#include <algorithm>
#include <cerrno>
#include <deque>

#include "tests/support/errors.h"

namespace quorvane::testing {
namespace {

constexpr std::size_t kLongestName = 255;
constexpr int kMostLinks = 40;

std::deque<std::string> split(std::string_view path) {
    std::deque<std::string> names;
    while (!path.empty()) {
        const std::size_t slash = std::min(path.find('/'), path.size());
        if (slash > 0) names.emplace_back(path.substr(0, slash));
        path.remove_prefix(std::min(slash + 1, path.size()));
    }
    return names;
}

} // namespace

std::shared_ptr<FakeItem> FakeItem::entry(const std::string& name) const {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&](const auto& each) { return each.first == name; });
    return found == entries.end() ? nullptr : found->second;
}

void FakeItem::removeEntry(const std::string& name) {
    std::erase_if(entries, [&](const auto& each) { return each.first == name; });
}

platform::FileIdentity identityOf(const FakeItem& item) {
    return {0, reinterpret_cast<std::uintptr_t>(&item)};
}

platform::Result<FakePlace> findPlace(const std::shared_ptr<FakeItem>& root, const Path& path,
                                      FinalLink finalLink) {
    if (!path.starts_with('/')) return errorFor(ENOENT);
    if (path.find('\0') != Path::npos) return errorFor(EINVAL);
    std::deque<std::string> pending = split(path);
    std::vector<FakePlace> trail = {{nullptr, "/", root}};
    int links = 0;
    while (!pending.empty()) {
        const std::string name = std::move(pending.front());
        pending.pop_front();
        const std::shared_ptr<FakeItem> folder = trail.back().item;
        if (!folder->isFolder()) return errorFor(ENOTDIR);
        if (name.size() > kLongestName) return errorFor(ENAMETOOLONG);
        if (name == ".") continue;
        if (name == "..") {
            if (trail.size() > 1) trail.pop_back();
            continue;
        }
        const std::shared_ptr<FakeItem> item = folder->entry(name);
        const bool last = pending.empty();
        if (!item && !last) return errorFor(ENOENT);
        if (item && item->isLink() && (!last || finalLink == FinalLink::follow)) {
            if (++links > kMostLinks) return errorFor(ELOOP);
            if (item->content.starts_with('/')) trail.resize(1);
            const std::deque<std::string> target = split(item->content);
            pending.insert(pending.begin(), target.begin(), target.end());
            continue;
        }
        trail.push_back({folder, name, item});
    }
    return trail.back();
}

platform::Result<FakePlace> findItem(const std::shared_ptr<FakeItem>& root, const Path& path,
                                     FinalLink finalLink) {
    platform::Result<FakePlace> place = findPlace(root, path, finalLink);
    if (place && !place.value().item) return errorFor(ENOENT);
    return place;
}

} // namespace quorvane::testing
