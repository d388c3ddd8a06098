#include "platform/linux/services.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include <gtest/gtest.h>

#include "platform/Authorization.h"
#include "platform/FileManager.h"
#include "platform/linux/run_loop.h"

namespace quorvane::platform::linux_ {
namespace {

class LinuxServicesTest : public ::testing::Test {
protected:
    const std::shared_ptr<RunLoop> loop_ = std::make_shared<RunLoop>();
    const Services services_ = makeServices(loop_);
};

TEST_F(LinuxServicesTest, HasEveryService) {
    EXPECT_EQ(services_.application, loop_);
    EXPECT_TRUE(services_.authorization);
    EXPECT_TRUE(services_.consoleLog);
    EXPECT_TRUE(services_.exceptions);
    EXPECT_TRUE(services_.extendedAttributes);
    EXPECT_TRUE(services_.makeFileManager);
    EXPECT_TRUE(services_.processes);
    EXPECT_TRUE(services_.propertyLists);
    EXPECT_TRUE(services_.queues);
    EXPECT_TRUE(services_.standardDirectories);
    EXPECT_TRUE(services_.systemInfo);
    EXPECT_TRUE(services_.userIdentity);
    EXPECT_TRUE(services_.workspace);
}

TEST_F(LinuxServicesTest, SurvivesAPipeWithoutAReader) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    ::close(ends[0]);
    EXPECT_EQ(::write(ends[1], "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
    ::close(ends[1]);
}

TEST_F(LinuxServicesTest, FillsMissingStandardStreams) {
    EXPECT_EXIT(
        {
            ::close(STDIN_FILENO);
            ::close(STDOUT_FILENO);
            makeServices(loop_);
            const bool filled =
                ::fcntl(STDIN_FILENO, F_GETFD) == 0 && ::fcntl(STDOUT_FILENO, F_GETFD) == 0;
            ::_exit(filled ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST_F(LinuxServicesTest, MakesAFileManagerForEachOperation) {
    const auto first = services_.makeFileManager();
    const auto second = services_.makeFileManager();
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    EXPECT_NE(first, second);
}

TEST_F(LinuxServicesTest, GrantsNoAdministratorRightsUnasked) {
    Authorization& authorization = *services_.authorization;
    const auto created = authorization.create({}, {}, kAuthorizationDefaults);
    EXPECT_EQ(created.status, kAuthorizationSuccess);
    const auto execution = authorization.executeWithPrivileges(created.reference, "/bin/rm",
                                                               kAuthorizationDefaults, {});
    EXPECT_EQ(execution.status, kAuthorizationDenied);
    EXPECT_FALSE(execution.pipe);
    authorization.free(created.reference, kAuthorizationDefaults);
}

} // namespace
} // namespace quorvane::platform::linux_
