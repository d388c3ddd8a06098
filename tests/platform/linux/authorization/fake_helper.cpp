#include "tests/platform/linux/authorization/fake_helper.h"

#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace quorvane::testing {

using platform::linux_::Descriptor;
namespace helper = platform::linux_::helper;

TestPipe::TestPipe() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    reading = Descriptor(ends[0]);
    writing = Descriptor(ends[1]);
}

void TestPipe::write(std::string_view text) const {
    EXPECT_EQ(::write(writing.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

std::size_t openDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

FakeHelper::FakeHelper() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()), 0);
    clientEnd_ = Descriptor(ends[0]);
    socket_ = Descriptor(ends[1]);
}

FakeHelper::~FakeHelper() {
    clientEnd_.reset();
    if (thread_.joinable()) thread_.join();
}

void FakeHelper::serve(std::function<void(const Request&)> handle) {
    thread_ = std::thread([this, handle = std::move(handle)] {
        while (const auto request = receive()) handle(*request);
    });
}

std::optional<FakeHelper::Request> FakeHelper::receive() const {
    std::string bytes(2 * helper::kMaximumRequest, '\0');
    const auto size = ::recv(socket_.get(), bytes.data(), bytes.size(), 0);
    helper::RequestHeader header{};
    if (size < static_cast<ssize_t>(sizeof header)) return std::nullopt;
    bytes.resize(static_cast<std::size_t>(size));
    std::memcpy(&header, bytes.data(), sizeof header);
    Request request{header.id, header.textCount, {}};
    for (std::size_t start = sizeof header; start < bytes.size();) {
        const std::size_t end = bytes.find('\0', start);
        request.texts.push_back(bytes.substr(start, end - start));
        start = end + 1;
    }
    return request;
}

void FakeHelper::answer(std::uint32_t id, Kind kind, std::int32_t value,
                        const std::vector<int>& descriptors) const {
    const helper::Answer answer{id, kind, value};
    std::string bytes(sizeof answer, '\0');
    std::memcpy(bytes.data(), &answer, sizeof answer);
    send(bytes, descriptors);
}

void FakeHelper::send(std::string_view message, const std::vector<int>& descriptors) const {
    std::string bytes(message);
    iovec place{bytes.data(), bytes.size()};
    std::vector<char> control(CMSG_SPACE(descriptors.size() * sizeof(int)));
    msghdr header{};
    header.msg_iov = &place;
    header.msg_iovlen = 1;
    if (!descriptors.empty()) {
        header.msg_control = control.data();
        header.msg_controllen = control.size();
        cmsghdr* part = CMSG_FIRSTHDR(&header);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(descriptors.size() * sizeof(int));
        std::memcpy(CMSG_DATA(part), descriptors.data(), descriptors.size() * sizeof(int));
    }
    EXPECT_EQ(::sendmsg(socket_.get(), &header, MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
}

} // namespace quorvane::testing
