// Where the standard folders stand.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/Values.h"

namespace quorvane::platform {

/// Kinds of standard folders; the numbers are the platform's search-path values.
enum class DirectoryKind : std::uint64_t {
    applications = 1,
    adminApplications = 4,
    library = 5,
    documentation = 8,
    documents = 9,
    desktop = 12,
    caches = 13,
    applicationSupport = 14,
    movies = 17,
};

/// Domain masks; the numbers are the platform's search-path values.
enum class Domain : std::uint64_t { user = 1, local = 2, system = 8 };

/// Name of the per-user cache folder in the configuration query (_CS_DARWIN_USER_CACHE_DIR).
inline constexpr int kUserCacheDirectoryName = 65538;

/// Any thread.
class StandardDirectories {
public:
    virtual ~StandardDirectories() = default;

    /// The folders of a kind in a domain, most important first, "~" expanded; whether they exist is
    /// not looked at. For the superuser "~" is /var/root. Empty for unknown kinds and domains.
    virtual std::vector<Path> searchPaths(DirectoryKind kind, Domain domain) = 0;
    /// Copies the value with its final NUL, cut to the buffer, and answers the length of the whole
    /// value, its NUL counted; 0 when there is none.
    virtual std::size_t configurationString(int name, std::span<char> buffer) = 0;
};

} // namespace quorvane::platform
