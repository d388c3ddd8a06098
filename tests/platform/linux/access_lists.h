// Access control lists as the file system keeps them.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include <sys/types.h>
#include <sys/xattr.h>

#include "platform/Values.h"

namespace quorvane::testing {

inline constexpr const char* kAccessList = "system.posix_acl_access";
inline constexpr const char* kDefaultList = "system.posix_acl_default";

/// A list that gives one named user all that the mask lets through. Its owning group has nothing.
inline std::string listFor(uid_t user, std::uint16_t mask = 7) {
    constexpr std::uint32_t kNobody = ~0U;
    struct Entry {
        std::uint16_t tag;
        std::uint16_t may;
        std::uint32_t who;
    };
    const Entry entries[] = {{0x01, 7, kNobody}, // the owner
                             {0x02, 7, user},
                             {0x04, 0, kNobody},    // the owning group
                             {0x10, mask, kNobody}, // the mask
                             {0x20, 0, kNobody}};   // others
    const std::uint32_t version = 2;
    std::string bytes(sizeof version + sizeof entries, '\0');
    std::memcpy(bytes.data(), &version, sizeof version);
    std::memcpy(bytes.data() + sizeof version, entries, sizeof entries);
    return bytes;
}

/// Whether the volume keeps the list.
inline bool giveList(const Path& item, const char* kind, const std::string& list) {
    return setxattr(item.c_str(), kind, list.data(), list.size(), 0) == 0;
}

/// Whether the item has a list of this kind; links are not followed.
inline bool hasAttribute(const Path& item, const char* name) {
    return lgetxattr(item.c_str(), name, nullptr, 0) > 0;
}

} // namespace quorvane::testing

/// Ends the test where the volume keeps no lists.
#define QV_NEEDS_ACCESS_LISTS(folder)                                                              \
    do {                                                                                           \
        if (!quorvane::testing::giveList(folder, quorvane::testing::kDefaultList,                  \
                                         quorvane::testing::listFor(0)))                           \
            GTEST_SKIP() << "the volume keeps no access control lists";                            \
        removexattr((folder).c_str(), quorvane::testing::kDefaultList);                            \
    } while (false)
