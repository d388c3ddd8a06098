#include "tests/platform/linux/privileged_helper/helper_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <array>
#include <cstring>
#include <filesystem>

#include "platform/linux/privileged_helper/server.h"

namespace quorvane::testing {

using namespace platform::linux_;
using namespace platform::linux_::helper;

namespace {

bool setReadOnly(const char* place, bool readOnly) {
    mount_attr attributes{};
    (readOnly ? attributes.attr_set : attributes.attr_clr) = MOUNT_ATTR_RDONLY;
    return ::mount_setattr(AT_FDCWD, place, AT_RECURSIVE, &attributes, sizeof attributes) == 0;
}

/// Leaves a helper that is broken nothing but temporary folders to break.
bool protectMachine() {
    if (::geteuid() != 0) return true;
    const std::string temporary = std::filesystem::temp_directory_path();
    return ::unshare(CLONE_NEWNS) == 0 &&
           ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount(temporary.c_str(), temporary.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0 &&
           setReadOnly("/", true) && setReadOnly(temporary.c_str(), false);
}

} // namespace

std::string requestBytes(std::uint32_t id, const std::vector<std::string>& texts) {
    const RequestHeader header{id, static_cast<std::uint32_t>(texts.size())};
    std::string bytes(sizeof header, '\0');
    std::memcpy(bytes.data(), &header, sizeof header);
    for (const std::string& text : texts) bytes.append(text).push_back('\0');
    return bytes;
}

std::string Reply::text() const {
    std::string all;
    std::array<char, 512> chunk{};
    ssize_t size = 0;
    while (output && (size = ::read(output.get(), chunk.data(), chunk.size())) > 0)
        all.append(chunk.data(), static_cast<std::size_t>(size));
    return all;
}

HelperProcess::HelperProcess(uid_t user, const Path& records) {
    std::array<int, 2> ends{-1, -1};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
    socket_ = Descriptor(ends[0]);
    const Descriptor theirs(ends[1]);
    child_ = ::fork();
    if (child_ != 0) return;
    socket_.reset();
    ::_exit(protectMachine() && serve(theirs.get(), user, records) ? 0 : 1);
}

HelperProcess::~HelperProcess() {
    if (child_ != -1) end();
}

bool HelperProcess::send(const std::string& message) const {
    return ::send(socket(), message.data(), message.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(message.size());
}

std::optional<Reply> HelperProcess::receive() const {
    Reply reply;
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> ancillary{};
    iovec data{&reply.answer, sizeof reply.answer};
    msghdr message{};
    message.msg_iov = &data;
    message.msg_iovlen = 1;
    message.msg_control = ancillary.data();
    message.msg_controllen = ancillary.size();
    if (::recvmsg(socket(), &message, MSG_CMSG_CLOEXEC) !=
        static_cast<ssize_t>(sizeof reply.answer))
        return std::nullopt;
    if (const cmsghdr* header = CMSG_FIRSTHDR(&message)) {
        int descriptor = -1;
        std::memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
        reply.output = Descriptor(descriptor);
    }
    return reply;
}

Reply HelperProcess::ask(const std::vector<std::string>& texts) {
    if (lastId_ == 0) {
        const auto first = receive();
        EXPECT_TRUE(first && first->answer.kind == AnswerKind::granted && first->answer.id == 0);
    }
    EXPECT_TRUE(send(requestBytes(++lastId_, texts)));
    auto reply = receive();
    EXPECT_TRUE(reply) << "the helper hung up";
    if (!reply) return {};
    EXPECT_EQ(reply->answer.id, lastId_);
    return std::move(*reply);
}

int HelperProcess::run(const std::vector<std::string>& texts) {
    Reply reply = ask(texts);
    if (reply.answer.kind == AnswerKind::started) reply.text(); // until it ends
    return reply.answer.kind == AnswerKind::refused ? -1 : reply.answer.value;
}

int HelperProcess::refusal(const std::vector<std::string>& texts) {
    const Reply reply = ask(texts);
    EXPECT_FALSE(reply.output);
    return reply.answer.kind == AnswerKind::refused ? reply.answer.value : 0;
}

bool HelperProcess::end() {
    socket_.reset();
    int status = -1;
    ::waitpid(child_, &status, 0);
    child_ = -1;
    return status == 0;
}

} // namespace quorvane::testing
