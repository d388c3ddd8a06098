#include "platform/linux/system_info.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "tests/platform/linux/child_process.h"

namespace quorvane::platform::linux_ {
namespace {

/// What the shell, whose syntax the file has, reads in it.
std::string nameReadByTheShell() {
    FILE* shell = ::popen(". /etc/os-release; printf %s \"$PRETTY_NAME\"", "r"); // NOLINT(cert-*)
    std::array<char, 1024> text{};
    const std::size_t length = std::fread(text.data(), 1, text.size(), shell);
    ::pclose(shell);
    return {text.data(), length};
}

class LinuxSystemInfoTest : public ::testing::Test {
protected:
    /// The system's name as a release file gives it. In private mounts, with an empty /etc.
    std::string nameGivenBy(const std::string& release) {
        std::ofstream("/etc/os-release", std::ios::binary) << release;
        return info_->operatingSystemVersion();
    }

    const std::shared_ptr<SystemInfo> info_ = makeSystemInfo();
};

TEST_F(LinuxSystemInfoTest, NamesTheSystemAsItNamesItself) {
    if (!std::filesystem::exists("/etc/os-release")) GTEST_SKIP() << "the system has no name";
    EXPECT_EQ(info_->operatingSystemVersion(), nameReadByTheShell());
}

TEST_F(LinuxSystemInfoTest, ReadsQuotedNames) {
    QV_NEEDS_SUPERUSER();
    testing::inPrivateMounts([this] {
        testing::mountVolume("tmpfs", "/etc");
        EXPECT_EQ(nameGivenBy("NAME=x\nPRETTY_NAME=\"Some System 12 (\\\"fun\\\" \\$5)\"\nID=y\n"),
                  "Some System 12 (\"fun\" $5)");
        EXPECT_EQ(nameGivenBy("PRETTY_NAME='Some System'\n"), "Some System");
        EXPECT_EQ(nameGivenBy("PRETTY_NAME=Bare"), "Bare");
        EXPECT_EQ(nameGivenBy("PRETTY_NAME=\"cut\\"), "cut\\");
    });
}

TEST_F(LinuxSystemInfoTest, HasAPlainNameForASystemThatStatesNone) {
    QV_NEEDS_SUPERUSER();
    testing::inPrivateMounts([this] {
        testing::mountVolume("tmpfs", "/etc");
        EXPECT_EQ(nameGivenBy(""), "Linux");
        EXPECT_EQ(nameGivenBy("#PRETTY_NAME=x\nNAME=y\n"), "Linux");
        EXPECT_EQ(nameGivenBy(std::string(1 << 20, '\n') + "PRETTY_NAME=far\n"), "Linux");
        std::filesystem::remove("/etc/os-release");
        EXPECT_EQ(info_->operatingSystemVersion(), "Linux");
        ASSERT_EQ(::mkfifo("/etc/os-release", 0600), 0);
        EXPECT_EQ(info_->operatingSystemVersion(), "Linux");
    });
}

TEST_F(LinuxSystemInfoTest, CountsProcessorsAndMemory) {
    EXPECT_EQ(info_->processorCount(), ::sysconf(_SC_NPROCESSORS_ONLN));
    EXPECT_GE(info_->processorCount(), 1);
    EXPECT_EQ(info_->physicalMemory(), static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
                                           static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)));
    EXPECT_GT(info_->physicalMemory(), 1U << 20U);
}

TEST_F(LinuxSystemInfoTest, FindsTheRunningProgram) {
    EXPECT_EQ(info_->executablePath(), std::filesystem::read_symlink("/proc/self/exe").string());
}

TEST_F(LinuxSystemInfoTest, StatesTheProgramsVersion) {
    ASSERT_TRUE(info_->bundleVersion());
    EXPECT_THAT(*info_->bundleVersion(), ::testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+"));
}

} // namespace
} // namespace quorvane::platform::linux_
