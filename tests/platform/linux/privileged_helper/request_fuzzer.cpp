// Feeds the helper's parser with whatever the fuzzer thinks of.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "platform/linux/privileged_helper/command.h"

using namespace quorvane::platform::linux_::helper;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto* const bytes = reinterpret_cast<const char*>(data);
    const Request request = parseRequest({bytes, size});
    if (request.error != 0) return 0;
    // The texts tile the message behind its header.
    const char* next = bytes + sizeof(RequestHeader);
    for (std::uint32_t index = 0; index < request.count; ++index) {
        require(request.texts.at(index) == next);
        next += std::strlen(next) + 1;
    }
    require(next == bytes + size);

    const Command command = readCommand(request);
    if (command.error != 0) return 0;
    for (std::uint32_t index = 0; index < command.operandCount; ++index) {
        const char* const operand = command.operands.at(index);
        require(operand[0] == '/' && operand[1] != '\0' && std::strstr(operand, "/../") == nullptr);
    }
    return 0;
}
