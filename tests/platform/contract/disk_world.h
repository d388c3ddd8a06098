// A disk with the services that work on it: what the contract tests run on.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "platform/ExtendedAttributes.h"
#include "platform/FileManager.h"

namespace quorvane::testing {

/// The services under test, and means to arrange and look at the disk without them.
class DiskWorld {
public:
    virtual ~DiskWorld() = default;

    virtual platform::FileManager& files() = 0;
    virtual platform::ExtendedAttributes& extendedAttributes() = 0;

    /// A path below the test's own empty folder.
    virtual Path operator/(std::string_view relative) const = 0;
    // Each makes the folders above.
    virtual void addFile(const Path& path, std::string_view content) = 0;
    virtual void addFolder(const Path& path) = 0;
    virtual void addLink(const Path& path, const Path& target) = 0;
    /// Whether the item itself is there; a final link is not followed.
    virtual bool contains(const Path& path) const = 0;
    virtual bool isLink(const Path& path) const = 0;
    virtual std::string content(const Path& path) const = 0;
};

/// A kind of world, with the name that its tests bear.
struct WorldKind {
    const char* name;
    std::unique_ptr<DiskWorld> (*make)();
};
extern const WorldKind kFakeWorld;
extern const WorldKind kLinuxWorld;

class DiskContract : public ::testing::TestWithParam<const WorldKind*> {
protected:
    DiskWorld& world() { return *world_; }
    platform::FileManager& files() { return world_->files(); }
    Path path(std::string_view relative) const { return *world_ / relative; }

private:
    std::unique_ptr<DiskWorld> world_ = GetParam()->make();
};

inline std::string worldName(const ::testing::TestParamInfo<const WorldKind*>& info) {
    return info.param->name;
}

} // namespace quorvane::testing
