// Users and standard folders that the test sets: at first anna, at the console, with an ordinary
// account.
#pragma once

#include <algorithm>
#include <atomic>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/StandardDirectories.h"
#include "platform/UserIdentity.h"

namespace quorvane::testing {

/// Set the members before other threads ask.
class FakeIdentity : public platform::UserIdentity {
public:
    unsigned userId = 501;
    MaybeText name = "anna";
    MaybePath home = "/Users/anna";
    std::map<std::string, Path> homes = {{"anna", "/Users/anna"}, {"root", "/var/root"}};
    MaybeText console = "anna";
    MaybePath temporary = "/private/var/folders/a1/T/";

    /// The superuser's process, with anna at the console.
    void becomeSuperuser() {
        userId = platform::kSuperuserId;
        name = "root";
        home = "/var/root";
    }

    unsigned realUserId() override { return userId; }
    MaybeText userName() override { return name; }
    MaybePath homeDirectory() override { return home; }
    MaybePath homeDirectoryForUser(const MaybeText& user) override {
        if (!user) return std::nullopt;
        const auto found = homes.find(*user);
        return found == homes.end() ? MaybePath() : found->second;
    }
    MaybeText consoleUser() override { return console; }
    MaybePath temporaryDirectory() override { return temporary; }
    /// "UNIQUE-1", "UNIQUE-2", ...
    std::string globallyUniqueString() override {
        return "UNIQUE-" + std::to_string(++uniqueStrings_);
    }

private:
    std::atomic<int> uniqueStrings_ = 0;
};

/// The platform's layout below the identity's home, /var/root for the superuser.
class FakeDirectories : public platform::StandardDirectories {
public:
    explicit FakeDirectories(FakeIdentity& identity) : identity_(identity) {}

    /// Answers that stand in place of the layout's.
    std::map<std::pair<platform::DirectoryKind, platform::Domain>, std::vector<Path>> overrides;
    MaybePath userCache = "/private/var/folders/a1/C/";

    std::vector<Path> searchPaths(platform::DirectoryKind kind, platform::Domain domain) override {
        const auto found = overrides.find({kind, domain});
        if (found != overrides.end()) return found->second;
        const MaybePath base = baseOf(domain);
        const char* folder = folderOf(kind, domain);
        if (!base || folder == nullptr) return {};
        return {*base + folder};
    }

    std::size_t configurationString(int name, std::span<char> buffer) override {
        if (name != platform::kUserCacheDirectoryName || !userCache) return 0;
        const std::size_t kept =
            buffer.empty() ? 0 : std::min(buffer.size() - 1, userCache->size());
        std::copy_n(userCache->begin(), kept, buffer.begin());
        if (!buffer.empty()) buffer[kept] = '\0';
        return userCache->size() + 1;
    }

private:
    MaybePath baseOf(platform::Domain domain) const {
        switch (domain) {
        case platform::Domain::user:
            return identity_.userId == platform::kSuperuserId ? "/var/root" : identity_.home;
        case platform::Domain::local:
            return "";
        case platform::Domain::system:
            return "/System";
        }
        return std::nullopt;
    }

    static const char* folderOf(platform::DirectoryKind kind, platform::Domain domain) {
        using platform::DirectoryKind;
        if (kind == DirectoryKind::library) return "/Library";
        if (domain == platform::Domain::system) return nullptr;
        switch (kind) {
        case DirectoryKind::applications:
            return "/Applications";
        case DirectoryKind::adminApplications:
            return "/Applications/Utilities";
        case DirectoryKind::documentation:
            return "/Library/Documentation";
        case DirectoryKind::caches:
            return "/Library/Caches";
        case DirectoryKind::applicationSupport:
            return "/Library/Application Support";
        default:
            return domain == platform::Domain::user ? userFolderOf(kind) : nullptr;
        }
    }

    static const char* userFolderOf(platform::DirectoryKind kind) {
        switch (kind) {
        case platform::DirectoryKind::documents:
            return "/Documents";
        case platform::DirectoryKind::desktop:
            return "/Desktop";
        case platform::DirectoryKind::movies:
            return "/Movies";
        default:
            return nullptr;
        }
    }

    FakeIdentity& identity_;
};

} // namespace quorvane::testing
