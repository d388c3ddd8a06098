#include <cerrno>
#include <filesystem>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/presentation/change_notices.h"
#include "platform/linux/presentation/presentation.h"
#include "platform/linux/property_lists.h"
#include "platform/linux/workspace.h"
#include "tests/platform/linux/sample_bundle.h"
#include "tests/platform/linux/stub_identity.h"
#include "tests/support/fake_platform.h"

namespace quorvane::testing {
namespace {

/// The services under test, and means to arrange the disk without them.
class PresentationWorld {
public:
    virtual ~PresentationWorld() = default;
    virtual platform::Presentation& presentation() = 0;
    virtual platform::Workspace& workspace() = 0;
    /// A path below the test's own empty folder.
    virtual Path operator/(const std::string& relative) const = 0;
    virtual void addFile(const Path& path) = 0;
    virtual void addBundle(const Path& path, const std::string& identifier) = 0;
};

class FakeWorld final : public PresentationWorld {
public:
    FakeWorld() { system_.disk->addFolder("/world"); }

    platform::Presentation& presentation() override { return *system_.presentation; }
    platform::Workspace& workspace() override { return *system_.workspace; }
    Path operator/(const std::string& relative) const override { return "/world/" + relative; }
    void addFile(const Path& path) override { system_.disk->addFile(path); }
    void addBundle(const Path& path, const std::string& identifier) override {
        system_.disk->addFolder(path);
        platform::PropertyList info;
        info.value = platform::PropertyList::Dictionary{{"CFBundleIdentifier", {identifier}}};
        system_.propertyLists->files[path + "/Contents/Info.plist"] = info;
    }

private:
    FakePlatform system_;
};

class LinuxWorld final : public PresentationWorld {
public:
    LinuxWorld() {
        for (const char* name : {"XDG_DATA_HOME", "DBUS_SESSION_BUS_ADDRESS", "XDG_RUNTIME_DIR"})
            ::unsetenv(name);
        identity_->home = scratch_.addFolder("home");
    }

    platform::Presentation& presentation() override { return *presentation_; }
    platform::Workspace& workspace() override { return workspace_; }
    Path operator/(const std::string& relative) const override { return scratch_ / relative; }
    void addFile(const Path& path) override { std::ofstream(path).close(); }
    void addBundle(const Path& path, const std::string& identifier) override {
        testing::addBundle(scratch_, path.substr(scratch_.path().size() + 1),
                           {{"CFBundleIdentifier", identifier}});
    }

private:
    ScratchFolder scratch_;
    std::shared_ptr<StubIdentity> identity_ = std::make_shared<StubIdentity>();
    std::shared_ptr<platform::PropertyLists> propertyLists_ =
        std::make_shared<platform::linux_::LinuxPropertyLists>();
    std::shared_ptr<platform::linux_::ChangeNotices> notices_ =
        std::make_shared<platform::linux_::ChangeNotices>();
    std::shared_ptr<platform::Presentation> presentation_ =
        platform::linux_::makePresentation(identity_, propertyLists_, notices_);
    platform::linux_::LinuxWorkspace workspace_{identity_, propertyLists_, notices_};
};

struct WorldKind {
    const char* name;
    std::unique_ptr<PresentationWorld> (*make)();
};

class PresentationContract : public ::testing::TestWithParam<WorldKind> {
protected:
    platform::Presentation& presentation() { return world_->presentation(); }
    Path path(const std::string& relative) const { return *world_ / relative; }

    std::unique_ptr<PresentationWorld> world_ = GetParam().make();
};

template <class World>
std::unique_ptr<PresentationWorld> make() {
    return std::make_unique<World>();
}

std::string nameOf(const ::testing::TestParamInfo<WorldKind>& kind) { return kind.param.name; }

INSTANTIATE_TEST_SUITE_P(Of, PresentationContract,
                         ::testing::Values(WorldKind{"Fake", make<FakeWorld>},
                                           WorldKind{"Linux", make<LinuxWorld>}),
                         nameOf);

const platform::EventDescription kItemChanged{"fndr", "fupd", "sign",           "MACS",
                                              -1,     0,      "'----':alis(@@)"};

TEST_P(PresentationContract, ReferencesGoThereAndBack) {
    world_->addFile(path("a b"));
    const auto reference = presentation().fileReference(path("a b"));
    ASSERT_TRUE(reference);
    EXPECT_EQ(presentation().path(reference.value()).value(), path("a b"));
}

TEST_P(PresentationContract, ReferencesNeedAnItem) {
    for (const Path& none : {path("missing"), Path()})
        EXPECT_EQ(presentation().fileReference(none).error().code, ENOENT);
    EXPECT_EQ(presentation().path({}).error().code, ENOENT);
    EXPECT_EQ(presentation().makeMinimalAlias({}).error().code, ENOENT);
}

TEST_P(PresentationContract, EventsAreBuiltAroundTheItem) {
    world_->addFile(path("a"));
    auto alias = presentation().makeMinimalAlias(presentation().fileReference(path("a")).value());
    ASSERT_TRUE(alias);
    auto event = presentation().buildEvent(kItemChanged, alias.value());
    ASSERT_TRUE(event);
    platform::Event reply;
    // Whether there is anybody to send it to depends on the desktop.
    (void)presentation().send(event.value(), reply, platform::SendMode::noReply, -1);
    presentation().dispose(reply);
    presentation().dispose(event.value());
    presentation().dispose(alias.value());
    EXPECT_EQ(alias.value().item.path, "");
    EXPECT_EQ(event.value().directParameter.item.path, "");
}

TEST_P(PresentationContract, LabelsGoThereAndBack) {
    world_->addFile(path("a"));
    EXPECT_EQ(presentation().labelNumber(path("a")), std::nullopt);
    EXPECT_TRUE(presentation().setLabelNumber(path("a"), 6));
    EXPECT_EQ(presentation().labelNumber(path("a")), 6);
    EXPECT_EQ(presentation().setLabelNumber(path("a"), 8).error().code, EINVAL);
    EXPECT_EQ(presentation().setLabelNumber(path("a"), -1).error().code, EINVAL);
    EXPECT_TRUE(presentation().setLabelNumber(path("a"), 0));
    EXPECT_EQ(presentation().labelNumber(path("a")), std::nullopt);
    EXPECT_EQ(presentation().labelNumber(path("missing")), std::nullopt);
    EXPECT_EQ(presentation().setLabelNumber(path("missing"), 1).error().code, ENOENT);
}

TEST_P(PresentationContract, TheWorkspaceFindsARegisteredApplication) {
    const auto find = [&] { return world_->workspace().bundlePath("com.quorvane.A"); };
    world_->addBundle(path("A.app"), "com.quorvane.A");
    world_->addBundle(path("B.app"), "com.quorvane.A");
    EXPECT_EQ(find(), std::nullopt);
    for (const Path& bundle : {path("A.app"), path("B.app")}) {
        EXPECT_TRUE(presentation().registerApplication(bundle, platform::ForceUpdate::yes));
        EXPECT_EQ(find(), MaybePath(bundle));
    }
}

TEST_P(PresentationContract, WhatIsNoBundleIsNotRegistered) {
    world_->addFile(path("file.app"));
    for (const Path& none : {path("file.app"), path("missing.app"), Path()})
        EXPECT_FALSE(presentation().registerApplication(none, platform::ForceUpdate::yes));
}

} // namespace
} // namespace quorvane::testing
