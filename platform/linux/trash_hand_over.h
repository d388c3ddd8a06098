// What the superuser puts into a user's Trash has to be the user's to throw away.
#pragma once

#include <sys/types.h>

namespace quorvane::platform::linux_ {

/// Makes the user the owner of the folder and of the folders below it, however deep, which is all
/// that emptying the Trash needs. Files keep their owners: a file may have another name elsewhere,
/// and its content stays as private as it was. Links are not followed. What is mounted below, and
/// folders that cannot be changed, stay as they are; a folder that is moved away meanwhile ends it.
/// Any thread.
void handOverFolders(int folder, uid_t uid);

} // namespace quorvane::platform::linux_
