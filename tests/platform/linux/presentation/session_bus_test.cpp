#include "platform/linux/presentation/session_bus.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <thread>
#include <utility>
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

    static const sockaddr* generic(const sockaddr_un& name) {
        return static_cast<const sockaddr*>(static_cast<const void*>(&name));
    }
    sockaddr_un socketName() const {
        sockaddr_un name{};
        name.sun_family = AF_UNIX;
        std::strncpy(name.sun_path, path.c_str(), sizeof name.sun_path - 1);
        return name;
    }
    /// A socket on which nobody ever takes anything in.
    Descriptor hungBus(int places = 0) const {
        Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        const sockaddr_un name = socketName();
        EXPECT_EQ(::bind(socket.get(), generic(name), sizeof name), 0);
        EXPECT_EQ(::listen(socket.get(), places), 0);
        return socket;
    }
    bool connectTo(const Descriptor& socket) const {
        const sockaddr_un name = socketName();
        return ::connect(socket.get(), generic(name), sizeof name) == 0;
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
        const Path started = scratch / "started";
        const std::string several = "unixexec:path=touch,argv1=" + started +
                                    ";tcp:host=localhost;;unix:path=/missing,guid=0;unix:tmpdir=/"
                                    "tmp;nonsense;" +
                                    bus.address();
        ::setenv("DBUS_SESSION_BUS_ADDRESS", several.c_str(), 1);
        ChangeNotices notices;
        EXPECT_TRUE(notices.announce("/missing"));
        EXPECT_EQ(listener.next(), "FilesRemoved [file:///missing]");
        EXPECT_FALSE(fs::exists(started));
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

TEST_F(SessionBusTest, ABusThatNeverAnswersIsAskedOnce) {
    const Descriptor hung = hungBus(10);
    const auto start = std::chrono::steady_clock::now();
    {
        ChangeNotices notices;
        for (int count = 0; count < 10'000; ++count)
            EXPECT_EQ(notices.announce("/missing").error().code, ETIMEDOUT);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    EXPECT_TRUE(Descriptor(::accept(hung.get(), nullptr, nullptr)));
    EXPECT_FALSE(Descriptor(::accept(hung.get(), nullptr, nullptr)));
}

TEST_F(SessionBusTest, AHungBusWhoseQueueIsFullHangsNobody) {
    const Descriptor hung = hungBus();
    EXPECT_EQ(ChangeNotices().announce("/missing").error().code, ETIMEDOUT);
    std::vector<Descriptor> others;
    do others.emplace_back(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    while (connectTo(others.back()));
    EXPECT_EQ(ChangeNotices().announce("/missing").error().code, EAGAIN);
}

TEST_F(SessionBusTest, ABusThatStopsReadingIsLeftAloneForAWhile) {
    const PrivateBus bus(scratch.path(), address);
    NoticeListener listener(address);
    SessionBus session(std::chrono::hours(1));
    BusSignal signal{"/", "org.kde.KDirNotify", "FilesAdded", std::string(4000, 'x')};
    EXPECT_TRUE(session.send(signal));
    EXPECT_EQ(listener.next(), "FilesAdded " + signal.text);
    bus.hang();
    // Until the socket takes no more.
    bool isTaken = true;
    for (int count = 0; isTaken && count < 10'000; ++count) isTaken = session.send(signal).ok();
    EXPECT_FALSE(isTaken);
    bus.goOn();
    EXPECT_EQ(session.send(signal).error().code, ETIMEDOUT);
}

TEST_F(SessionBusTest, ABusThatHungIsAskedAgainAfterThePause) {
    SessionBus session(std::chrono::milliseconds(0));
    const BusSignal signal{"/", "org.kde.KDirNotify", "FilesAdded", "text"};
    {
        const Descriptor hung = hungBus();
        EXPECT_EQ(session.send(signal).error().code, ETIMEDOUT);
    }
    EXPECT_EQ(session.send(signal).error().code, ECONNREFUSED);
    fs::remove(path);
    const PrivateBus bus(scratch.path(), address);
    NoticeListener listener(address);
    EXPECT_TRUE(session.send(signal));
    EXPECT_EQ(listener.next(), "FilesAdded text");
}

TEST_F(SessionBusTest, ARefusedSignalKeepsNoOtherFromBeingSent) {
    const PrivateBus bus(scratch.path(), address);
    NoticeListener listener(address);
    SessionBus session;
    const BusSignal good{"/", "org.kde.KDirNotify", "FilesAdded", "text"};
    EXPECT_TRUE(session.send(good));
    EXPECT_EQ(listener.next(), "FilesAdded text");
    for (const auto& [member, value] : {std::pair(&BusSignal::text, "\xFF"),
                                        {&BusSignal::object, "none"},
                                        {&BusSignal::interface, "none"},
                                        {&BusSignal::member, ""}}) {
        BusSignal bad = good;
        bad.*member = value;
        EXPECT_EQ(session.send(bad).error().code, EINVAL) << value;
    }
    EXPECT_TRUE(session.send(good));
    EXPECT_EQ(listener.next(), "FilesAdded text");
}

TEST_F(SessionBusTest, AForkedProgramSpeaksForItself) {
    const PrivateBus bus(scratch.path(), address);
    NoticeListener listener(address);
    ChangeNotices notices;
    EXPECT_TRUE(notices.announce("/missing-1"));
    EXPECT_EQ(listener.next(), "FilesRemoved [file:///missing-1]");
    const pid_t child = ::fork();
    // It ends at once, without closing anything.
    if (child == 0) ::_exit(notices.announce("/missing-2").ok() ? 0 : 1);
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(listener.next(), "FilesRemoved [file:///missing-2]");
    EXPECT_TRUE(notices.announce("/missing-3"));
    EXPECT_EQ(listener.next(), "FilesRemoved [file:///missing-3]");
}

} // namespace
} // namespace quorvane::platform::linux_
