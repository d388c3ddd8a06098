#include "platform/linux/trash_owner.h"

#include <unistd.h>

#include "platform/UserIdentity.h"
#include "platform/linux/accounts.h"
#include "platform/linux/console_user.h"
#include "platform/linux/environment.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr auto kUsualDataHome = "/.local/share";

std::optional<TrashOwner> consoleOwner(UserIdentity& identity) {
    const auto name = identity.consoleUser();
    if (!name || *name == kLoginWindow) return std::nullopt;
    const auto account = accountNamed(*name);
    const auto home = identity.homeDirectoryForUser(name);
    if (!account || !home || !home->starts_with('/')) return std::nullopt;
    return TrashOwner{account->uid, *home, *home + kUsualDataHome,
                      FileRights{account->uid, account->gid, groupsOf(*account)}};
}

} // namespace

std::optional<TrashOwner> trashOwner(UserIdentity& identity) {
    if (identity.realUserId() == kSuperuserId) return consoleOwner(identity);
    const auto home = identity.homeDirectory();
    if (!home || !home->starts_with('/')) return std::nullopt;
    return TrashOwner{::geteuid(), *home,
                      folderFromEnvironment("XDG_DATA_HOME").value_or(*home + kUsualDataHome),
                      std::nullopt};
}

} // namespace quorvane::platform::linux_
