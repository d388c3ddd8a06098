// Bodies of tests that must not change the test program's own user or mounts.
#pragma once

#include <functional>
#include <string>

#include "platform/Values.h"

namespace quorvane::testing {

/// The user that asOrdinaryUser runs its body as, where the tests run as the superuser.
inline constexpr unsigned kOrdinaryUser = 65534;

/// Whether the tests run as the superuser.
bool isSuperuser();

/// Runs the body in a child that has no rights of the superuser; the folder is handed to its user.
/// Expectations that fail in the child fail the test.
void asOrdinaryUser(const Path& folder, const std::function<void()>& body);

/// Runs the body in a child whose mounts are its own and end with it. Superuser only.
void inPrivateMounts(const std::function<void()>& body);

/// Mounts a file system, in private mounts.
void mountVolume(const char* type, const Path& folder, const std::string& options = {});
/// Mounts one as users' disks are mounted: without effect for set-id bits, capabilities and
/// devices.
void mountUntrustedVolume(const Path& folder);
void remountReadOnly(const Path& folder);
/// Shows a folder in the place of another, in private mounts.
void bindFolder(const Path& folder, const Path& place);

/// The attribute in which a program has rights of its own.
inline constexpr const char* kCapability = "security.capability";
/// Gives a program the right to take any user's id. Superuser only.
void giveCapability(const Path& program);
/// Whether the item's volume lets set-id bits have an effect.
bool honoursSetIds(const Path& item);

} // namespace quorvane::testing

/// Ends the test where it cannot mount, or own what belongs to others.
#define QV_NEEDS_SUPERUSER()                                                                       \
    if (!quorvane::testing::isSuperuser()) GTEST_SKIP() << "needs the superuser's rights"
