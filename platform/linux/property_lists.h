// Property lists in their XML and binary formats.
#pragma once

#include "platform/PropertyLists.h"

namespace quorvane::platform::linux_ {

/// Anything that is not a sound property list of reasonable size and depth is EINVAL (EFBIG beyond
/// 16 MiB).
class LinuxPropertyLists final : public PropertyLists {
public:
    Result<PropertyList> parse(std::string_view bytes) override;
    Result<PropertyList> parseFile(const Path& path) override;
};

} // namespace quorvane::platform::linux_
