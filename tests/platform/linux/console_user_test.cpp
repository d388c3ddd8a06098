#include "platform/linux/console_user.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utmpx.h>

#include <cstring>
#include <initializer_list>

#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::platform::linux_ {
namespace {

using quorvane::testing::ScratchFolder;

constexpr pid_t kEndedProcess = 0x3FFFFFFF;

utmpx record(const char* user, const char* line, const char* host = "", pid_t pid = ::getpid()) {
    utmpx result{};
    result.ut_type = USER_PROCESS;
    result.ut_pid = pid;
    std::strncpy(result.ut_user, user, sizeof result.ut_user);
    std::strncpy(result.ut_line, line, sizeof result.ut_line);
    std::strncpy(result.ut_host, host, sizeof result.ut_host);
    return result;
}

class ConsoleUserTest : public ::testing::Test {
protected:
    MaybeText ask() const { return consoleUser(scratch.path(), scratch / "utmp"); }

    void addRecords(std::initializer_list<utmpx> records) const {
        std::string bytes;
        for (const utmpx& each : records) {
            std::string piece(sizeof each, '\0');
            std::memcpy(piece.data(), &each, sizeof each);
            bytes += piece;
        }
        scratch.addFile("utmp", bytes);
    }

    ScratchFolder scratch;
};

TEST_F(ConsoleUserTest, TheActiveSessionOfTheFirstSeat) {
    scratch.addFile("seats/seat0", "IS_SEAT0=1\nACTIVE=c2\nACTIVE_UID=1000\nSESSIONS=c1 c2\n");
    scratch.addFile("sessions/c1", "UID=1001\nUSER=bert\nCLASS=user\n");
    scratch.addFile("sessions/c2", "UID=1000\nUSER=anna\nCLASS=user\nSEAT=seat0\n");
    addRecords({record("bert", ":0")});
    EXPECT_EQ(ask(), MaybeText("anna"));
}

TEST_F(ConsoleUserTest, AGreeterReadsLoginwindow) {
    scratch.addFile("seats/seat0", "ACTIVE=c1\n");
    scratch.addFile("sessions/c1", "UID=113\nUSER=gdm\nCLASS=greeter\n");
    EXPECT_EQ(ask(), MaybeText("loginwindow"));
}

TEST_F(ConsoleUserTest, ASeatWithoutActiveSessionIsNobodys) {
    addRecords({record("anna", ":0")});
    scratch.addFile("seats/seat0", "IS_SEAT0=1\nSESSIONS=\n");
    EXPECT_EQ(ask(), std::nullopt);
}

TEST_F(ConsoleUserTest, SessionsThatCannotBeReadAreNobodys) {
    scratch.addFile("seats/seat0", "ACTIVE=gone\n");
    EXPECT_EQ(ask(), std::nullopt);
    scratch.addFile("secret", "USER=anna\nCLASS=user\n");
    scratch.addFile("seats/seat0", "ACTIVE=../secret\n");
    EXPECT_EQ(ask(), std::nullopt);
    scratch.addFile("seats/seat0", "ACTIVE=c1\n");
    scratch.addFile("sessions/c1", "CLASS=user\nUID=12x\n");
    EXPECT_EQ(ask(), std::nullopt);
}

TEST_F(ConsoleUserTest, ASessionWithoutNameIsLookedUpByNumber) {
    scratch.addFile("seats/seat0", "ACTIVE=c1\n");
    scratch.addFile("sessions/c1", "CLASS=user\nUID=0\n");
    EXPECT_EQ(ask(), MaybeText("root"));
}

TEST_F(ConsoleUserTest, WithoutALoginManagerTheDisplaysRecordCountsBeforeATerminals) {
    addRecords({record("remote", "pts/0", "10.0.0.7"), record("serial", "ttyS0"),
                record("bert", "tty1"), record("anna", "tty7", ":0")});
    EXPECT_EQ(ask(), MaybeText("anna"));
    addRecords(
        {record("remote", "pts/0", "10.0.0.7"), record("bert", "tty1"), record("carl", "tty2")});
    EXPECT_EQ(ask(), MaybeText("bert"));
    addRecords({record("anna", ":0")});
    EXPECT_EQ(ask(), MaybeText("anna"));
}

TEST_F(ConsoleUserTest, RemoteAndEndedLoginsDoNotCount) {
    addRecords({record("remote", "pts/0", "10.0.0.7"), record("serial", "ttyS0"),
                record("anna", ":0", "", kEndedProcess), record("", "tty1")});
    EXPECT_EQ(ask(), std::nullopt);
}

TEST_F(ConsoleUserTest, BrokenRecordsAreNobodys) {
    EXPECT_EQ(ask(), std::nullopt);
    scratch.addFile("utmp", std::string(1000, 'x'));
    EXPECT_EQ(ask(), std::nullopt);
    ASSERT_EQ(::unlink((scratch / "utmp").c_str()), 0);
    ASSERT_EQ(::mkfifo((scratch / "utmp").c_str(), 0600), 0);
    EXPECT_EQ(ask(), std::nullopt);
}

} // namespace
} // namespace quorvane::platform::linux_
