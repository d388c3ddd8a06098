// Digests by OpenSSL.
#pragma once

#include <memory>

#include "platform/Digests.h"

namespace quorvane::platform::linux_ {

std::shared_ptr<Digests> makeDigests();

} // namespace quorvane::platform::linux_
