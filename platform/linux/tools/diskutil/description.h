// The description of a volume that programs read.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <variant>

#include "platform/Values.h"

namespace quorvane::platform::linux_::tools::diskutil {

/// What is known, by the names that readers of the list expect. Sizes are in bytes.
using Facts = std::map<std::string, std::variant<bool, std::uint64_t, std::string>>;

/// The facts about the volume that an item is on, or about a block device, given by its path or by
/// its name below /dev. None for anything else.
std::optional<Facts> describe(const std::string& itemOrDevice);

/// The facts as a property list in its XML format. Texts that such a list cannot hold, such as a
/// mount point that is no UTF-8, are left out.
std::string propertyList(const Facts& facts);

} // namespace quorvane::platform::linux_::tools::diskutil
