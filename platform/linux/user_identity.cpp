#include "platform/linux/user_identity.h"

#include <sys/random.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>

#include "platform/linux/accounts.h"
#include "platform/linux/console_user.h"
#include "platform/linux/environment.h"
#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

std::atomic<std::uint64_t> uniqueStringCount{0};

// Random bytes in the form of a version 4 UUID.
std::string randomUuid() {
    std::array<std::uint8_t, 16> bytes{};
    // A request this short is answered whole. Where the kernel refuses it, the process number and
    // the counter behind the UUID still tell the strings of this machine apart.
    retryInterrupted([&] { return ::getrandom(bytes.data(), bytes.size(), 0); });
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0FU) | 0x40U);
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3FU) | 0x80U);

    static constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text;
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        if (index == 4 || index == 6 || index == 8 || index == 10) text += '-';
        text += kDigits[bytes[index] >> 4U];
        text += kDigits[bytes[index] & 0x0FU];
    }
    return text;
}

} // namespace

unsigned LinuxUserIdentity::realUserId() { return ::getuid(); }

MaybeText LinuxUserIdentity::userName() {
    const auto account = accountWithId(::getuid());
    if (!account) return std::nullopt;
    return account->name;
}

MaybePath LinuxUserIdentity::homeDirectory() {
    if (auto home = folderFromEnvironment("HOME")) return home;
    const auto account = accountWithId(::getuid());
    if (!account) return std::nullopt;
    return account->home;
}

MaybePath LinuxUserIdentity::homeDirectoryForUser(const MaybeText& name) {
    if (!name) return std::nullopt;
    const auto account = accountNamed(*name);
    if (!account) return std::nullopt;
    return account->home;
}

MaybeText LinuxUserIdentity::consoleUser() { return linux_::consoleUser(); }

MaybePath LinuxUserIdentity::temporaryDirectory() {
    return pathFromEnvironment("TMPDIR").value_or("/tmp");
}

std::string LinuxUserIdentity::globallyUniqueString() {
    std::array<char, 48> suffix{};
    std::snprintf(
        suffix.data(), suffix.size(), "-%ld-%016llX", static_cast<long>(::getpid()),
        static_cast<unsigned long long>(uniqueStringCount.fetch_add(1, std::memory_order_relaxed)));
    return randomUuid() + suffix.data();
}

} // namespace quorvane::platform::linux_
