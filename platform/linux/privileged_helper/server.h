// The helper's conversation with its client.
#pragma once

#include <sys/types.h>

namespace quorvane::platform::linux_::helper {

/// Tells the client on the socket that it has the right, then carries out its requests, one after
/// the other, until it hangs up; a tool still running then goes on. Ends at once, and answers
/// false, if the client is not the user's or another process's message comes: somebody else has the
/// socket.
bool serve(int socket, uid_t user);

} // namespace quorvane::platform::linux_::helper
