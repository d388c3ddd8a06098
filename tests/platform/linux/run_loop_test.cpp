#include "platform/linux/run_loop.h"

#include <gtest/gtest.h>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {
namespace {

TEST(RunLoopTest, HasNoWindows) {
    RunLoop loop;
    try {
        loop.makeWindow({.title = "Uninstall", .elements = {}, .closeAction = {}});
        FAIL() << "made a window";
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.name(), "ApplicationException");
        EXPECT_EQ(exception.reason(), "This program has no windows");
    }
}

TEST(RunLoopTest, PrintsAnAlertAndGoesOn) {
    RunLoop loop;
    ::testing::internal::CaptureStderr();
    loop.runAlertPanel("100%s", "%n of it\nis gone");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "100%s\n%n of it\nis gone\n");
}

} // namespace
} // namespace quorvane::platform::linux_
