// What others might try to have done with the helper's rights.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <thread>

#include "tests/platform/linux/child_process.h"
#include "tests/platform/linux/privileged_helper/helper_process.h"
#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::platform::linux_::helper {
namespace {

using quorvane::testing::HelperProcess;
using quorvane::testing::requestBytes;
using quorvane::testing::ScratchFolder;
namespace fs = std::filesystem;

/// Runs the body in a child of this process; answers its exit status.
template <class Body>
int inAnotherProcess(const Body& body) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(body());
    int status = -1;
    ::waitpid(child, &status, 0);
    return status;
}

bool sendWithDescriptors(int socket, const std::string& bytes, int count) {
    std::vector<int> descriptors(static_cast<std::size_t>(count), STDERR_FILENO);
    const std::size_t size = sizeof(int) * descriptors.size();
    std::vector<char> ancillary(CMSG_SPACE(size));
    iovec data{const_cast<char*>(bytes.data()), bytes.size()};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = ancillary.data();
    message.msg_controllen = ancillary.size();
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(size);
    std::memcpy(CMSG_DATA(header), descriptors.data(), size);
    return ::sendmsg(socket, &message, 0) == static_cast<ssize_t>(bytes.size());
}

TEST(Attack, AnotherProcessWithTheSocketEndsTheSession) {
    const ScratchFolder scratch;
    const auto victim = scratch.addFile("victim");
    HelperProcess helper;
    ASSERT_TRUE(helper.receive());
    EXPECT_EQ(inAnotherProcess([&] {
                  return helper.send(requestBytes(1, {"/bin/rm", "-Rdf", victim})) ? 0 : 1;
              }),
              0);
    EXPECT_FALSE(helper.receive());
    EXPECT_FALSE(helper.end());
    EXPECT_TRUE(fs::exists(victim));
}

TEST(Attack, DescriptorsInARequestAreRefusedAndClosed) {
    const ScratchFolder scratch;
    const auto victim = scratch.addFile("victim");
    HelperProcess helper;
    ASSERT_TRUE(helper.receive());
    for (std::uint32_t id = 1; id <= 20; ++id) {
        ASSERT_TRUE(sendWithDescriptors(helper.socket(),
                                        requestBytes(id, {"/bin/rm", "-Rdf", victim}), 200));
        const auto reply = helper.receive();
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->answer.kind, AnswerKind::refused);
        EXPECT_EQ(reply->answer.value, EBADMSG);
    }
    EXPECT_TRUE(fs::exists(victim));
}

TEST(Attack, OverlongAndTruncatedRequestsAreRefused) {
    const ScratchFolder scratch;
    HelperProcess helper;
    ASSERT_TRUE(helper.receive());
    const std::string longest = requestBytes(5, {"/bin/rm", "-Rdf", scratch.addFile("victim")});
    ASSERT_TRUE(helper.send(longest + std::string(100000, 'x')));
    auto reply = helper.receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->answer.id, 5U);
    EXPECT_EQ(reply->answer.value, EMSGSIZE);
    for (std::size_t size = 1; size < longest.size(); ++size) {
        ASSERT_TRUE(helper.send(longest.substr(0, size)));
        reply = helper.receive();
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->answer.kind, AnswerKind::refused) << size;
    }
    ASSERT_TRUE(
        helper.send(requestBytes(6, {"/bin/rm", "-Rdf", scratch / std::string(8300, 'x')})));
    reply = helper.receive();
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->answer.value, ENAMETOOLONG);
    EXPECT_TRUE(helper.end());
    EXPECT_TRUE(fs::exists(scratch / "victim"));
}

TEST(Attack, ALinkSwappedIntoAParentFolderLeadsNowhere) {
    const ScratchFolder scratch;
    scratch.addFolder("parent");
    scratch.addFolder("victim");
    std::atomic<bool> done{false};
    HelperProcess helper;
    std::thread swapper([&] {
        fs::create_directory_symlink("victim", scratch / "link");
        while (!done) {
            ignore(::renameat2(AT_FDCWD, (scratch / "link").c_str(), AT_FDCWD,
                               (scratch / "parent").c_str(), RENAME_EXCHANGE));
        }
    });
    int refused = 0;
    int served = 0;
    for (int number = 0; number < 600; ++number) {
        scratch.addFile("victim/item", "precious");
        const auto reply = helper.ask({"/bin/rm", "-Rdf", scratch / "parent/item"});
        if (reply.answer.kind == AnswerKind::refused) {
            EXPECT_EQ(reply.answer.value, ELOOP);
            ++refused;
        } else {
            ++served;
        }
        ASSERT_TRUE(fs::exists(scratch / "victim/item"));
    }
    done = true;
    swapper.join();
    EXPECT_GT(refused, 0);
    EXPECT_GT(served, 0) << "the folder was never met as itself";
}

/// What the owner of a folder does to a copy that is being made in it: puts links to a victim in
/// its path, over and over.
void divertCopies(const Path& folder, const Path& victim, const std::atomic<bool>& done) {
    const Path aside = folder + "/aside";
    ASSERT_EQ(::symlink(victim.c_str(), aside.c_str()), 0);
    while (!done) {
        for (const auto& entry : fs::directory_iterator(folder)) {
            const Path path = entry.path();
            if (path == aside) continue;
            for (int times = 0; times < 2; ++times)
                ignore(
                    ::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, aside.c_str(), RENAME_EXCHANGE));
        }
    }
}

TEST(Attack, TheOwnerOfTheDestinationCannotDivertACopy) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    for (int number = 0; number < 300; ++number)
        scratch.addFile("source/" + std::to_string(number), "planted");
    const Path victim = scratch.addFolder("victim");
    const Path folder = scratch.addFolder("user's");
    ASSERT_EQ(::chown(folder.c_str(), testing::kOrdinaryUser, testing::kOrdinaryUser), 0);
    ASSERT_EQ(::chmod(scratch.path().c_str(), 0755), 0);
    HelperProcess helper;
    std::atomic<bool> done{false};
    std::thread owner([&] {
        // Of this thread alone.
        ASSERT_EQ(::syscall(SYS_setresuid, testing::kOrdinaryUser, testing::kOrdinaryUser,
                            testing::kOrdinaryUser),
                  0);
        divertCopies(folder, victim, done);
    });
    for (int number = 0; number < 6; ++number)
        helper.run({"/bin/cp", "-f", "-p", "-R", scratch / "source",
                    folder + "/copy" + std::to_string(number)});
    done = true;
    owner.join();
    EXPECT_TRUE(fs::is_empty(victim));
}

/// What the owner of a tree does while it is copied: puts links to a victim in the place of its
/// folders, over and over.
void divertReading(const Path& folder, const Path& link, const std::atomic<bool>& done) {
    while (!done)
        ignore(::renameat2(AT_FDCWD, folder.c_str(), AT_FDCWD, link.c_str(), RENAME_EXCHANGE));
}

TEST(Attack, TheOwnerOfTheSourceCannotHaveOtherFilesCopied) {
    QV_NEEDS_SUPERUSER();
    const ScratchFolder scratch;
    for (int number = 0; number < 100; ++number) {
        scratch.addFile("source/a/" + std::to_string(number), "own");
        scratch.addFile("secret/" + std::to_string(number), "secret");
    }
    ASSERT_EQ(::chmod((scratch / "secret").c_str(), 0700), 0);
    ASSERT_EQ(::chmod(scratch.path().c_str(), 0755), 0);
    fs::create_directory_symlink(scratch / "secret", scratch / "source/link");
    const Path copies = scratch.addFolder("copies");
    ASSERT_EQ(::chown((scratch / "source").c_str(), testing::kOrdinaryUser, testing::kOrdinaryUser),
              0);
    HelperProcess helper;
    std::atomic<bool> done{false};
    std::thread owner([&] {
        // Of this thread alone.
        ASSERT_EQ(::syscall(SYS_setresuid, testing::kOrdinaryUser, testing::kOrdinaryUser,
                            testing::kOrdinaryUser),
                  0);
        divertReading(scratch / "source/a", scratch / "source/link", done);
    });
    for (int number = 0; number < 60; ++number)
        helper.run({"/bin/cp", "-f", "-p", "-R", scratch / "source",
                    copies + "/" + std::to_string(number)});
    done = true;
    owner.join();
    int files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(copies)) {
        if (!entry.is_regular_file() || entry.is_symlink()) continue;
        ++files;
        ASSERT_EQ(quorvane::testing::contentOf(entry.path()), "own");
    }
    EXPECT_GT(files, 0) << "nothing was ever copied";
}

} // namespace
} // namespace quorvane::platform::linux_::helper
