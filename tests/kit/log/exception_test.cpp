// Caught and uncaught platform exceptions.
#include "kit/log/QVException.h"

#include <gmock/gmock.h>

#include "tests/kit/log/log_world.h"

namespace quorvane::testing {
namespace {

using ::testing::ElementsAre;

class Exceptions : public LogTest {
protected:
    Exceptions() { addCurrentLog(); }
};

TEST_F(Exceptions, AreLoggedPrintedAndAnswered) {
    const platform::Exception exception("NSInvalidArgumentException", "launch path not accessible");
    std::string answer;
    EXPECT_EQ(printed([&] { answer = QVException::logException(exception, "-[QVTaskEx launch]"); }),
              "Exception in -[QVTaskEx launch]. NSInvalidArgumentException - launch path not "
              "accessible.\n");
    EXPECT_EQ(answer, "Exception in -[QVTaskEx launch]. NSInvalidArgumentException - launch path "
                      "not accessible.");
    EXPECT_THAT(messages(), ElementsAre(answer));
}

TEST_F(Exceptions, AreLoggedAsAFormat) {
    const platform::Exception exception("Name", "50% of %@");
    EXPECT_EQ(QVException::logException(exception, nullptr),
              "Exception in (null). Name - 50% of %@.");
    EXPECT_THAT(messages(), ElementsAre("Exception in (null). Name - 50% of (null)."));
}

TEST_F(Exceptions, OfTimeOutsAreKnownByTheirExactName) {
    EXPECT_TRUE(QVException::didTimeout({"NSPortTimeoutException", ""}));
    EXPECT_FALSE(QVException::didTimeout({"NSPortTimeoutException2", ""}));
    EXPECT_FALSE(QVException::didTimeout({"nsporttimeoutexception", "NSPortTimeoutException"}));
    EXPECT_FALSE(QVException::didTimeout({"", ""}));
}

TEST_F(Exceptions, ThatNobodyCaughtReachTheFileBeforeTheProcessEnds) {
    log();
    ::testing::internal::CaptureStdout();
    system.exceptions->raise({"Name", "Reason is 100% %@"});
    EXPECT_TRUE(disk->content(kCurrent).ends_with(" - Reason is 100% (null)\n"));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Reason is 100%% (null)\n");
}

} // namespace
} // namespace quorvane::testing
