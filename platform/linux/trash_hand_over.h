// What the superuser puts into a user's Trash has to be the user's to throw away.
#pragma once

#include <sys/types.h>

namespace quorvane::platform::linux_ {

/// Makes the user the owner of the folder and of the folders below it on the same volume, which is
/// all that emptying the Trash needs. Files keep their owners: a file may have another name
/// elsewhere, and its content stays as private as it was. Links are not followed. Folders deeper
/// than 200 levels, and those that cannot be changed, stay as they are. Any thread.
void handOverFolders(int folder, uid_t uid);

} // namespace quorvane::platform::linux_
