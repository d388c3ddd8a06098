#include "platform/linux/privileged_helper/request.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace quorvane::platform::linux_::helper {

Request parseRequest(std::span<const char> message) {
    Request request;
    RequestHeader header{};
    request.error = EBADMSG;
    if (message.size() < sizeof header) return request;
    std::memcpy(&header, message.data(), sizeof header);
    request.id = header.id;
    if (header.textCount > kMaximumTexts) {
        request.error = E2BIG;
        return request;
    }
    auto rest = message.subspan(sizeof header);
    while (request.count < header.textCount) {
        const auto end = std::find(rest.begin(), rest.end(), '\0');
        if (end == rest.end()) return request;
        request.texts.at(request.count++) = rest.data();
        rest = rest.subspan(static_cast<std::size_t>(end - rest.begin()) + 1);
    }
    if (request.count > 0 && rest.empty()) request.error = 0;
    return request;
}

} // namespace quorvane::platform::linux_::helper
