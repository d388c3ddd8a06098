#include "platform/linux/console_user.h"

#include <utmpx.h>

#include <algorithm>
#include <charconv>
#include <csignal>
#include <cstring>
#include <string_view>

#include "platform/linux/accounts.h"
#include "platform/linux/posix.h"
#include "platform/linux/small_file.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr std::size_t kMaxStateFile = std::size_t{64} << 10U;
constexpr std::size_t kMaxLoginRecords = std::size_t{16} << 20U;

// The value of a "KEY=value" line; null without one.
MaybeText stateValue(std::string_view text, std::string_view key) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (line.size() > key.size() && line.starts_with(key) && line[key.size()] == '=')
            return std::string(line.substr(key.size() + 1));
    }
    return std::nullopt;
}

MaybeText userOfSession(const Path& loginManager, const std::string& session) {
    if (session.empty() || session.find('/') != std::string::npos) return std::nullopt;
    const auto state = readSmallFile(loginManager + "/sessions/" + session, kMaxStateFile);
    if (!state) return std::nullopt;
    if (stateValue(state.value(), "CLASS") == "greeter") return kLoginWindow;
    if (auto user = stateValue(state.value(), "USER"); user && !user->empty()) return user;

    const std::string id = stateValue(state.value(), "UID").value_or("");
    uid_t uid = 0;
    const auto [end, code] = std::from_chars(id.data(), id.data() + id.size(), uid);
    if (code != std::errc() || end != id.data() + id.size()) return std::nullopt;
    const auto account = accountWithId(uid);
    if (!account) return std::nullopt;
    return account->name;
}

template <std::size_t length>
std::string_view field(const char (&text)[length]) {
    return {text, ::strnlen(text, length)};
}

bool isLive(const utmpx& record) {
    return record.ut_type == USER_PROCESS && !field(record.ut_user).empty() && record.ut_pid > 0 &&
           (::kill(record.ut_pid, 0) == 0 || errno == EPERM);
}

bool isLocalDisplay(const utmpx& record) {
    return field(record.ut_line).starts_with(':') || field(record.ut_host).starts_with(':');
}

// A virtual terminal ("tty1"), not a serial line ("ttyS0") or a remote one ("pts/0").
bool isLocalTerminal(const utmpx& record) {
    const std::string_view line = field(record.ut_line);
    return line.size() > 3 && line.starts_with("tty") && line[3] >= '0' && line[3] <= '9';
}

MaybeText userOfLoginRecords(const Path& file) {
    const auto content = readSmallFile(file, kMaxLoginRecords);
    if (!content) return std::nullopt;
    MaybeText atTerminal;
    for (std::size_t offset = 0; offset + sizeof(utmpx) <= content.value().size();
         offset += sizeof(utmpx)) {
        utmpx record{};
        std::memcpy(&record, content.value().data() + offset, sizeof record);
        if (!isLive(record)) continue;
        if (isLocalDisplay(record)) return std::string(field(record.ut_user));
        if (!atTerminal && isLocalTerminal(record)) atTerminal = field(record.ut_user);
    }
    return atTerminal;
}

} // namespace

MaybeText consoleUser(const Path& loginManager, const Path& loginRecords) {
    const auto seat = readSmallFile(loginManager + "/seats/seat0", kMaxStateFile);
    if (!seat) return userOfLoginRecords(loginRecords);
    const auto session = stateValue(seat.value(), "ACTIVE");
    return session ? userOfSession(loginManager, *session) : std::nullopt;
}

} // namespace quorvane::platform::linux_
