// What every service of extended attributes owes its callers.
#include <array>
#include <cerrno>

#include "tests/platform/contract/disk_world.h"

namespace quorvane::testing {
namespace {

class ExtendedAttributesContract : public DiskContract {
protected:
    void SetUp() override { world().addFile(path("file"), "content"); }
    platform::ExtendedAttributes& attributes() { return world().extendedAttributes(); }
    std::string valueOf(const Path& item, const std::string& name) {
        std::array<char, 255> buffer{};
        const auto size = attributes().get(item, name, buffer);
        return size ? std::string(buffer.data(), size.value()) : size.error().text;
    }
};

INSTANTIATE_TEST_SUITE_P(Of, ExtendedAttributesContract,
                         ::testing::Values(&kFakeWorld, &kLinuxWorld), worldName);

TEST_P(ExtendedAttributesContract, KeepsBytes) {
    const std::string value("a\0\xFF\n", 4);
    EXPECT_TRUE(attributes().set(path("file"), "example.key", value).ok());
    EXPECT_EQ(attributes().size(path("file"), "example.key").value(), 4U);
    EXPECT_EQ(valueOf(path("file"), "example.key"), value);
}

TEST_P(ExtendedAttributesContract, ReplacesValues) {
    EXPECT_TRUE(attributes().set(path("file"), "key", "a long value").ok());
    EXPECT_TRUE(attributes().set(path("file"), "key", "short").ok());
    EXPECT_EQ(valueOf(path("file"), "key"), "short");
    EXPECT_TRUE(attributes().set(path("file"), "key", "").ok());
    EXPECT_EQ(attributes().size(path("file"), "key").value(), 0U);
    EXPECT_EQ(attributes().get(path("file"), "key", {}).value(), 0U);
}

TEST_P(ExtendedAttributesContract, BelongToTheTargetOfALink) {
    world().addFolder(path("folder"));
    world().addLink(path("link"), "folder");
    EXPECT_TRUE(attributes().set(path("link"), "key", "value").ok());
    EXPECT_EQ(valueOf(path("folder/"), "key"), "value");
}

TEST_P(ExtendedAttributesContract, StandInTheUsersNamespace) {
    EXPECT_TRUE(attributes().set(path("file"), "key", "value").ok());
    EXPECT_EQ(valueOf(path("file"), "user.key"), "value");
    EXPECT_TRUE(attributes().set(path("file"), "user.other", "value").ok());
    EXPECT_EQ(valueOf(path("file"), "other"), "value");
}

TEST_P(ExtendedAttributesContract, SmallBuffersStayEmpty) {
    EXPECT_TRUE(attributes().set(path("file"), "key", "value").ok());
    std::array<char, 4> buffer{};
    EXPECT_EQ(attributes().get(path("file"), "key", buffer).error().code, ERANGE);
    EXPECT_EQ(buffer, (std::array<char, 4>{}));
    EXPECT_EQ(attributes().get(path("file"), "key", {}).error().code, ERANGE);
}

TEST_P(ExtendedAttributesContract, TellsWhatIsMissing) {
    EXPECT_EQ(attributes().size(path("file"), "key").error().code, ENODATA);
    EXPECT_EQ(valueOf(path("file"), "key"), "No data available");
    EXPECT_EQ(attributes().size(path("missing"), "key").error().code, ENOENT);
    EXPECT_EQ(attributes().set(path("missing"), "key", "value").error().code, ENOENT);
    EXPECT_EQ(attributes().set("", "key", "value").error().code, ENOENT);
}

} // namespace
} // namespace quorvane::testing
