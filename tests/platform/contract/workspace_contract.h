// What every workspace does, whatever the desktop.
#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "platform/Workspace.h"

namespace quorvane::testing {

/// A workspace on a disk, where paths begin in a folder of the world's own.
class WorkspaceWorld {
public:
    virtual ~WorkspaceWorld() = default;
    virtual platform::Workspace& workspace() = 0;
    /// An empty folder in which a test works.
    virtual Path folder() = 0;
    /// A folder that the superuser alone can change.
    virtual Path superusersFolder() = 0;
    /// Where callers expect recycled items.
    virtual Path trash() = 0;

    virtual void addFile(const Path& path, const std::string& content) = 0;
    virtual void addFolder(const Path& path) = 0;
    virtual void addLink(const Path& path, const Path& target) = 0;
    /// Lets the desktop know an application with this identifier, whose folder is there already.
    virtual void addApplication(const std::string& identifier, const Path& bundle) = 0;
    /// Whether an item, a link included, is at the path.
    virtual bool contains(const Path& path) = 0;
    virtual std::string content(const Path& path) = 0;
    /// How many items the Trash holds.
    virtual std::size_t trashedItems() = 0;
};

template <class World>
class WorkspaceContract : public ::testing::Test {
protected:
    World world;
    Path folder = world.folder();
    platform::Workspace& workspace = world.workspace();
};

TYPED_TEST_SUITE_P(WorkspaceContract);

TYPED_TEST_P(WorkspaceContract, RecycledItemsAreInTheTrash) {
    this->world.addFile(this->folder + "/a.txt", "first");
    this->world.addFile(this->folder + "/b/inner", "second");
    this->world.addFile(this->folder + "/kept", "kept");
    EXPECT_TRUE(this->workspace.recycle(this->folder, this->world.trash(), {"a.txt", "b"}));
    EXPECT_FALSE(this->world.contains(this->folder + "/a.txt"));
    EXPECT_FALSE(this->world.contains(this->folder + "/b"));
    EXPECT_TRUE(this->world.contains(this->folder + "/kept"));
    EXPECT_EQ(this->world.content(this->world.trash() + "/a.txt"), "first");
    EXPECT_EQ(this->world.content(this->world.trash() + "/b/inner"), "second");
}

TYPED_TEST_P(WorkspaceContract, ALinkIsRecycledItself) {
    this->world.addFile(this->folder + "/target", "x");
    this->world.addLink(this->folder + "/link", this->folder + "/target");
    this->world.addLink(this->folder + "/dangling", "/nowhere");
    EXPECT_TRUE(this->workspace.recycle(this->folder, this->world.trash(), {"link", "dangling"}));
    EXPECT_TRUE(this->world.contains(this->folder + "/target"));
    EXPECT_FALSE(this->world.contains(this->folder + "/link"));
    EXPECT_TRUE(this->world.contains(this->world.trash() + "/dangling"));
}

TYPED_TEST_P(WorkspaceContract, ATakenNameLosesNothing) {
    for (const char* content : {"first", "second"}) {
        this->world.addFile(this->folder + "/a.txt", content);
        EXPECT_TRUE(this->workspace.recycle(this->folder, this->world.trash(), {"a.txt"}));
    }
    EXPECT_EQ(this->world.content(this->world.trash() + "/a.txt"), "first");
    EXPECT_EQ(this->world.trashedItems(), 2U);
}

TYPED_TEST_P(WorkspaceContract, RecyclingStopsAtTheFirstFailure) {
    this->world.addFile(this->folder + "/a", "x");
    this->world.addFile(this->folder + "/c", "x");
    const auto result =
        this->workspace.recycle(this->folder, this->world.trash(), {"a", "missing", "c"});
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, ENOENT);
    EXPECT_EQ(result.error().text, "No such file or directory");
    EXPECT_FALSE(this->world.contains(this->folder + "/a"));
    EXPECT_TRUE(this->world.contains(this->folder + "/c"));
}

TYPED_TEST_P(WorkspaceContract, ItemsInTheTrashAreKnownByAnyPath) {
    this->world.addFile(this->folder + "/b/inner", "x");
    this->world.addFile(this->folder + "/kept/inner", "x");
    EXPECT_FALSE(this->workspace.isInTrash(this->folder + "/b"));
    EXPECT_TRUE(this->workspace.recycle(this->folder, this->world.trash(), {"b"}));
    const Path trashed = this->world.trash() + "/b";
    for (const Path& path : {trashed, trashed + "/", trashed + "/inner",
                             this->world.trash() + "//./b", trashed + "/missing"})
        EXPECT_TRUE(this->workspace.isInTrash(path)) << path;
    this->world.addLink(this->folder + "/link", trashed);
    EXPECT_TRUE(this->workspace.isInTrash(this->folder + "/link/inner"));
    EXPECT_FALSE(this->workspace.isInTrash(this->folder + "/link"));
    this->world.addLink(trashed + "/out", this->folder + "/kept");
    EXPECT_TRUE(this->workspace.isInTrash(trashed + "/out"));
    EXPECT_FALSE(this->workspace.isInTrash(trashed + "/out/inner"));
    for (const Path& path : {this->world.trash(), this->folder + "/kept", Path("/"), Path()})
        EXPECT_FALSE(this->workspace.isInTrash(path)) << path;
}

TYPED_TEST_P(WorkspaceContract, BundlesAreFoundByIdentifier) {
    const Path bundle = this->folder + "/Stage Tidy.app";
    this->world.addFolder(bundle);
    this->world.addApplication("com.quorvane.StageTidy", bundle);
    EXPECT_EQ(this->workspace.bundlePath("com.quorvane.StageTidy"), MaybePath(bundle));
    EXPECT_EQ(this->workspace.bundlePath("com.quorvane.stagetidy"), std::nullopt);
    EXPECT_EQ(this->workspace.bundlePath("com.quorvane.Other"), std::nullopt);
    EXPECT_EQ(this->workspace.bundlePath(""), std::nullopt);
}

TYPED_TEST_P(WorkspaceContract, PlacesOfTheSuperuserAreNamedPlainlyAndReachedWithoutLinks) {
    const Path place = this->world.superusersFolder();
    EXPECT_TRUE(this->workspace.isSuperusersPlace(place + "/A.app"));
    for (const Path& path : {this->folder + "/A.app", this->folder + "/.." + place + "/A.app",
                             place + "/./A.app", place + "//A.app", place + "/A.app/",
                             place + "/..", place.substr(1) + "/A.app", Path("/"), Path()})
        EXPECT_FALSE(this->workspace.isSuperusersPlace(path)) << path;
    this->world.addLink(this->folder + "/link", place);
    EXPECT_FALSE(this->workspace.isSuperusersPlace(this->folder + "/link/A.app"));
}

TYPED_TEST_P(WorkspaceContract, PackagesAreFoldersWithABundlesExtension) {
    for (const char* name : {"A.app", "b.bundle", "c.prefPane", "d.kext", "e.plugin", "f.pkg"}) {
        this->world.addFolder(this->folder + "/" + name);
        EXPECT_TRUE(this->workspace.isFilePackage(this->folder + "/" + name)) << name;
    }
    this->world.addFolder(this->folder + "/folder");
    this->world.addFile(this->folder + "/file.app", "");
    EXPECT_FALSE(this->workspace.isFilePackage(this->folder + "/folder"));
    EXPECT_FALSE(this->workspace.isFilePackage(this->folder + "/file.app"));
    EXPECT_FALSE(this->workspace.isFilePackage(this->folder + "/missing.app"));
}

TYPED_TEST_P(WorkspaceContract, NotingAChangeNeedsNoItem) {
    this->workspace.noteFileSystemChanged(this->folder + "/missing");
    this->workspace.noteFileSystemChanged("");
}

REGISTER_TYPED_TEST_SUITE_P(WorkspaceContract, RecycledItemsAreInTheTrash, ALinkIsRecycledItself,
                            ATakenNameLosesNothing, RecyclingStopsAtTheFirstFailure,
                            ItemsInTheTrashAreKnownByAnyPath, BundlesAreFoundByIdentifier,
                            PlacesOfTheSuperuserAreNamedPlainlyAndReachedWithoutLinks,
                            PackagesAreFoldersWithABundlesExtension, NotingAChangeNeedsNoItem);

} // namespace quorvane::testing
