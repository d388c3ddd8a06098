// A user whom a test makes up.
#pragma once

#include <map>
#include <string>

#include "platform/UserIdentity.h"

namespace quorvane::testing {

struct StubIdentity final : platform::UserIdentity {
    unsigned userId = 1000;
    MaybeText name = "anna";
    MaybePath home;
    MaybeText console = "anna";
    std::map<std::string, Path> homes;

    unsigned realUserId() override { return userId; }
    MaybeText userName() override { return name; }
    MaybePath homeDirectory() override { return home; }
    MaybePath homeDirectoryForUser(const MaybeText& user) override {
        if (!user) return std::nullopt;
        const auto found = homes.find(*user);
        if (found == homes.end()) return std::nullopt;
        return found->second;
    }
    MaybeText consoleUser() override { return console; }
    MaybePath temporaryDirectory() override { return "/tmp"; }
    std::string globallyUniqueString() override { return "unique"; }
};

} // namespace quorvane::testing
