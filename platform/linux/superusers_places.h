// Places that nobody but the superuser decides about.
#pragma once

#include <sys/stat.h>

#include "platform/Values.h"

namespace quorvane::platform::linux_ {

/// Whether a folder of this status belongs to the superuser and nobody else can change what is in
/// it. In a sticky folder others can. Rights that a list gives to somebody show in the bits of the
/// group. Any thread, like all here.
bool isSuperusersAlone(const struct stat& folder);

/// As Workspace::isSuperusersPlace: what is true once stays true until the superuser changes it.
bool isSuperusersPlace(const Path& path);

} // namespace quorvane::platform::linux_
