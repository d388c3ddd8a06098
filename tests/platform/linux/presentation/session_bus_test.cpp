#include "platform/linux/presentation/session_bus.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <thread>
#include <vector>

#include "platform/linux/presentation/change_notices.h"
#include "tests/platform/linux/presentation/private_bus.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::platform::linux_ {
namespace {

namespace fs = std::filesystem;
using quorvane::testing::NoticeListener;
using quorvane::testing::PrivateBus;

class SessionBusTest : public ::testing::Test {
protected:
    SessionBusTest() {
        ::unsetenv("XDG_RUNTIME_DIR");
        ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    }

    /// A socket on which nobody ever takes anything in.
    Descriptor hungBus() const {
        Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        std::strncpy(name.sun_path, path.c_str(), sizeof name.sun_path - 1);
        const auto* generic = static_cast<const sockaddr*>(static_cast<const void*>(&name));
        EXPECT_EQ(::bind(socket.get(), generic, sizeof name), 0);
        EXPECT_EQ(::listen(socket.get(), 0), 0);
        return socket;
    }

    quorvane::testing::ScratchFolder scratch;
    const Path path = scratch / "bus";
    const std::string address = "unix:path=" + path;
};

TEST_F(SessionBusTest, TellsListenersWhatChanged) {
    const PrivateBus bus(scratch.path(), address);
    NoticeListener listener(address);
    ChangeNotices notices;
    EXPECT_TRUE(notices.announce(scratch.addFile("a b\n\xFF")));
    EXPECT_EQ(listener.next(), "FilesChanged [file://" + scratch.path() + "/a%20b%0A%FF]");
    EXPECT_TRUE(notices.announce(scratch.addFolder("folder") + "/"));
    EXPECT_EQ(listener.next(), "FilesAdded file://" + scratch.path() + "/folder");
    EXPECT_TRUE(notices.announce(scratch / "missing"));
    EXPECT_EQ(listener.next(), "FilesRemoved [file://" + scratch.path() + "/missing]");
    for (const Path& none : {Path(), Path("relative"), Path("/a\0b", 4)})
        EXPECT_FALSE(notices.announce(none));
}

TEST_F(SessionBusTest, LongPathsAndManyNoticesArriveInOrder) {
    const PrivateBus bus(scratch.path(), address);
    NoticeListener listener(address);
    ChangeNotices notices;
    const Path longest = "/" + std::string(4090, '\n');
    EXPECT_TRUE(notices.announce(longest));
    std::string encoded;
    for (int character = 0; character < 4090; ++character) encoded += "%0A";
    EXPECT_EQ(listener.next(), "FilesRemoved [file:///" + encoded + "]");
    for (int count = 0; count < 500; ++count) {
        const std::string name = "/missing-" + std::to_string(count);
        ASSERT_TRUE(notices.announce(name));
        ASSERT_EQ(listener.next(), "FilesRemoved [file://" + name + "]");
    }
}

TEST_F(SessionBusTest, TheLastWordOfAProgramIsHeard) {
    const PrivateBus bus(scratch.path(), address);
    NoticeListener listener(address);
    for (const Path item : {"/missing-1", "/missing-2", "/missing-3"}) {
        EXPECT_TRUE(ChangeNotices().announce(item));
        EXPECT_EQ(listener.next(), "FilesRemoved [file://" + item + "]");
    }
}

TEST_F(SessionBusTest, ThreadsMaySpeakAtOnce) {
    const PrivateBus bus(scratch.path(), address);
    NoticeListener listener(address);
    ChangeNotices notices;
    std::set<std::string> expected;
    std::vector<std::thread> threads;
    for (int number = 0; number < 40; ++number) {
        const std::string name = "/missing-" + std::to_string(number);
        expected.insert("FilesRemoved [file://" + name + "]");
        threads.emplace_back([&notices, name] { EXPECT_TRUE(notices.announce(name)); });
    }
    for (std::thread& thread : threads) thread.join();
    std::set<std::string> heard;
    for (int number = 0; number < 40; ++number) heard.insert(listener.next());
    EXPECT_EQ(heard, expected);
}

TEST_F(SessionBusTest, ABusThatCameAgainIsFound) {
    ChangeNotices notices;
    for (const Path item : {"/missing-1", "/missing-2"}) {
        const PrivateBus bus(scratch.path(), address);
        NoticeListener listener(address);
        EXPECT_TRUE(notices.announce(item));
        EXPECT_EQ(listener.next(), "FilesRemoved [file://" + item + "]");
    }
    EXPECT_FALSE(notices.announce("/missing-3"));
}

TEST_F(SessionBusTest, AddressesHaveManyForms) {
    const Path odd = scratch / "a b";
    const std::string abstract = "unix:abstract=" + scratch.path();
    for (const std::string& listening : {"unix:path=" + scratch.path() + "/a%20b", abstract}) {
        const PrivateBus bus(scratch.path(), listening);
        NoticeListener listener(listening);
        const std::string several = "tcp:host=localhost;unix:path=/missing,guid=0;unix:tmpdir=/tmp;"
                                    "unix:guid=0," +
                                    listening.substr(5);
        ::setenv("DBUS_SESSION_BUS_ADDRESS", several.c_str(), 1);
        ChangeNotices notices;
        EXPECT_TRUE(notices.announce("/missing"));
        EXPECT_EQ(listener.next(), "FilesRemoved [file:///missing]");
    }
}

TEST_F(SessionBusTest, TheUsersRuntimeFolderHasTheBusThatIsNotNamed) {
    const PrivateBus bus(scratch.path(), address);
    NoticeListener listener(address);
    ::setenv("XDG_RUNTIME_DIR", scratch.path().c_str(), 1);
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "", 1);
    ChangeNotices notices;
    EXPECT_TRUE(notices.announce("/missing"));
    EXPECT_EQ(listener.next(), "FilesRemoved [file:///missing]");
}

TEST_F(SessionBusTest, WithoutASessionNobodyIsTold) {
    ChangeNotices notices;
    const std::string tooLong = "unix:path=/" + std::string(200, 'x');
    for (const char* none : {"unix:path=/missing", "nonsense", ";;,=", "unix:", "unix:path=",
                             "unix:abstract=", "autolaunch:", "unix:path=%", tooLong.c_str()}) {
        ::setenv("DBUS_SESSION_BUS_ADDRESS", none, 1);
        EXPECT_FALSE(notices.announce(scratch.path())) << none;
    }
    ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
    EXPECT_EQ(notices.announce(scratch.path()).error().code, ENOENT);
    ::setenv("XDG_RUNTIME_DIR", scratch.path().c_str(), 1);
    EXPECT_EQ(notices.announce(scratch.path()).error().code, ENOENT);
}

TEST_F(SessionBusTest, AHungBusHangsNobody) {
    const Descriptor hung = hungBus();
    const Path item = "/" + std::string(4000, 'x');
    ChangeNotices first;
    EXPECT_TRUE(first.announce(item));
    // Until the socket takes no more; from then on nobody can be told.
    bool isTaken = true;
    for (int count = 0; isTaken && count < 10'000; ++count) isTaken = first.announce(item).ok();
    EXPECT_FALSE(isTaken);
    EXPECT_FALSE(first.announce(item));
    ChangeNotices second;
    EXPECT_FALSE(second.announce(item)) << "the queue of the socket is full";
}

TEST_F(SessionBusTest, AHungBusKeepsNoProgramFromEnding) {
    const Descriptor hung = hungBus();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(ChangeNotices().announce("/missing"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST_F(SessionBusTest, ABusThatHangsUpIsAFailureOfTheNextNoticesOnly) {
    ChangeNotices notices;
    {
        const Descriptor hung = hungBus();
        EXPECT_TRUE(notices.announce("/missing"));
    }
    EXPECT_EQ(notices.announce("/missing").error().code, ECONNREFUSED);
    fs::remove(path);
    const PrivateBus bus(scratch.path(), address);
    NoticeListener listener(address);
    EXPECT_TRUE(notices.announce("/missing"));
    EXPECT_EQ(listener.next(), "FilesRemoved [file:///missing]");
}

} // namespace
} // namespace quorvane::platform::linux_
