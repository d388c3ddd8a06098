// Deleting items and trees.
#pragma once

#include <compare>
#include <cstdint>
#include <set>

#include <sys/stat.h>

#include "platform/Values.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {

/// Items as they were when they were copied. Some hundred bytes each.
class CopiedItems {
public:
    /// With the status from before the copy, so that what is written meanwhile counts as a change.
    void add(const struct stat& status);
    /// Whether the item is one of these, unchanged since; a folder whatever it holds by now.
    bool contain(const struct stat& status) const;

private:
    struct Version {
        std::uint64_t device;
        std::uint64_t inode;
        std::uint64_t kind;
        std::uint64_t size;
        std::uint64_t modified;
        std::uint64_t changed;

        // NOLINTNEXTLINE(modernize-use-nullptr): the linter takes a compared zero for a pointer
        auto operator<=>(const Version&) const = default;
    };
    enum class Names { one, several };

    static Version versionOf(const struct stat& status, Names names);

    std::set<Version> versions_;
};

/// Deletes an item, a folder with all below it. Walks by descriptor, so that neither the depth of a
/// tree nor a folder that is swapped for a link meanwhile leads astray. What another process
/// deletes meanwhile counts as deleted. Where something is mounted on the item or below it, nothing
/// is removed: EBUSY. What is mounted meanwhile is not touched.
Result<void> removeTree(const Path& path);
Result<void> removeTree(const ItemPlace& place);

/// The same for what the process made itself, whatever the modes of its folders are by now.
Result<void> removeUnfinished(const ItemPlace& place);

/// Deletes what was copied and leaves what is new or changed since, and the folders that hold such:
/// ESTALE where there is any. What is gone already is success.
Result<void> removeCopied(const ItemPlace& place, const CopiedItems& copied);

/// What keeps the process from deleting an item, as far as the item itself and its folder tell;
/// EBUSY for what is mounted there.
Result<void> checkRemovable(int folder, const char* name);

} // namespace quorvane::platform::linux_
