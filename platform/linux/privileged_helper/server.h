// The helper's conversation with its client.
#pragma once

#include <sys/types.h>

#include "platform/Values.h"

namespace quorvane::platform::linux_::helper {

/// Tells the client on the socket that it has the right, then carries out its requests, one after
/// the other, until it hangs up; a tool still running then goes on. Ends at once, and answers
/// false, if the client is not the user's or another process's message comes: somebody else has the
/// socket. The folder of records, only the superuser's, says of staging folders in use; what
/// earlier sessions left behind is removed first, beside the conversation.
bool serve(int socket, uid_t user, const Path& records);

} // namespace quorvane::platform::linux_::helper
