#include "kit/files/file_copy.h"

namespace quorvane {
namespace {

template <class Value>
std::any valueOf(const std::optional<Value>& value) {
    return value ? std::any(*value) : std::any();
}

} // namespace

std::any FileCopySettings::objectForKey(std::string_view key) const {
    if (key == "source") return source();
    if (key == "destinations") return destinations();
    if (key == "operationtype") return operationType();
    if (key == "delegate") return delegate() ? std::any(delegate()) : std::any();
    if (key == "object") return object();
    if (key == "object2") return object2();
    // NOLINTBEGIN(clang-analyzer-cplusplus.NewDeleteLeaks): std::any deletes what it holds
    if (key == "sourceChecksum") return valueOf(sourceChecksum());
    if (key == "destChecksum") return valueOf(destChecksum());
    if (key == "destChecksums") return valueOf(destChecksums());
    // NOLINTEND(clang-analyzer-cplusplus.NewDeleteLeaks)
    return {};
}

} // namespace quorvane
