#include "platform/linux/extended_attributes.h"

#include <algorithm>
#include <array>

#include <sys/xattr.h>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr std::array<std::string_view, 4> kNamespaces = {"user.", "trusted.", "security.",
                                                         "system."};

/// Makes a system call with the path and the attribute's whole name.
template <class Call>
Result<std::size_t> perform(const Path& path, const std::string& name, Call call) {
    const Result<Path> plain = systemPath(path);
    if (!plain) return plain.error();
    const Result<std::string> wholeName = attributeName(name);
    if (!wholeName) return wholeName.error();
    const ssize_t size = call(plain.value().c_str(), wholeName.value().c_str());
    if (size < 0) return systemError();
    return static_cast<std::size_t>(size);
}

class LinuxExtendedAttributes : public ExtendedAttributes {
public:
    Result<std::size_t> size(const Path& path, const std::string& name) override {
        return perform(path, name, [](const char* item, const char* attribute) {
            return getxattr(item, attribute, nullptr, 0);
        });
    }

    Result<std::size_t> get(const Path& path, const std::string& name,
                            std::span<char> buffer) override {
        // The system call takes an empty buffer for the question of the size.
        if (buffer.empty()) {
            Result<std::size_t> needed = size(path, name);
            if (needed && needed.value() > 0) return systemError(ERANGE);
            return needed;
        }
        return perform(path, name, [&](const char* item, const char* attribute) {
            return getxattr(item, attribute, buffer.data(), buffer.size());
        });
    }

    Result<void> set(const Path& path, const std::string& name, std::string_view value) override {
        const Result<std::size_t> done =
            perform(path, name, [&](const char* item, const char* attribute) -> ssize_t {
                return setxattr(item, attribute, value.data(), value.size(), 0);
            });
        if (!done) return done.error();
        return {};
    }
};

} // namespace

Result<std::string> attributeName(const std::string& name) {
    if (name.find('\0') != std::string::npos) return systemError(EINVAL);
    const bool hasNamespace =
        std::any_of(kNamespaces.begin(), kNamespaces.end(),
                    [&](std::string_view each) { return name.starts_with(each); });
    return hasNamespace ? name : "user." + name;
}

std::shared_ptr<ExtendedAttributes> makeExtendedAttributes() {
    return std::make_shared<LinuxExtendedAttributes>();
}

} // namespace quorvane::platform::linux_
