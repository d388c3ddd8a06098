#include "platform/linux/property_lists.h"

#include <plist/plist.h>

#include <cstdlib>
#include <memory>

#include "platform/linux/posix.h"
#include "platform/linux/property_list_guard.h"
#include "platform/linux/small_file.h"

namespace quorvane::platform::linux_ {
namespace {

constexpr std::size_t kMaxFileSize = std::size_t{16} << 20U;

struct FreeNode {
    void operator()(void* node) const { ::plist_free(node); }
};
struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};
using Text = std::unique_ptr<char, FreeMemory>;

std::optional<PropertyList> converted(plist_t node, int depth);

std::optional<PropertyList> convertedArray(plist_t node, int depth) {
    PropertyList::Array array;
    plist_array_iter position = nullptr;
    ::plist_array_new_iter(node, &position);
    const std::unique_ptr<void, FreeMemory> owner(position);
    for (;;) {
        plist_t element = nullptr;
        ::plist_array_next_item(node, position, &element);
        if (element == nullptr) return PropertyList{std::move(array)};
        auto value = converted(element, depth + 1);
        if (!value) return std::nullopt;
        array.push_back(std::move(*value));
    }
}

std::optional<PropertyList> convertedDictionary(plist_t node, int depth) {
    PropertyList::Dictionary dictionary;
    plist_dict_iter position = nullptr;
    ::plist_dict_new_iter(node, &position);
    const std::unique_ptr<void, FreeMemory> owner(position);
    for (;;) {
        char* text = nullptr;
        plist_t element = nullptr;
        ::plist_dict_next_item(node, position, &text, &element);
        const Text key(text);
        if (element == nullptr) return PropertyList{std::move(dictionary)};
        auto value = converted(element, depth + 1);
        if (!value) return std::nullopt;
        if (key) dictionary.insert_or_assign(key.get(), std::move(*value));
    }
}

std::string stringOf(plist_t node) {
    std::uint64_t length = 0;
    const char* text = ::plist_get_string_ptr(node, &length);
    return text == nullptr ? std::string() : std::string(text, length);
}

Bytes dataOf(plist_t node) {
    std::uint64_t length = 0;
    const char* bytes = ::plist_get_data_ptr(node, &length);
    return bytes == nullptr ? Bytes() : Bytes(bytes, length);
}

PropertyList convertedScalar(plist_t node) {
    switch (::plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
        std::uint8_t value = 0;
        ::plist_get_bool_val(node, &value);
        return {value != 0};
    }
    case PLIST_UINT: {
        std::uint64_t value = 0;
        ::plist_get_uint_val(node, &value);
        return {static_cast<std::int64_t>(value)};
    }
    case PLIST_REAL: {
        double value = 0;
        ::plist_get_real_val(node, &value);
        return {value};
    }
    case PLIST_STRING:
        return {stringOf(node)};
    case PLIST_DATA:
        return {PropertyList::Data{dataOf(node)}};
    default:
        return {};
    }
}

std::optional<PropertyList> converted(plist_t node, int depth) {
    const plist_type type = ::plist_get_node_type(node);
    if (type != PLIST_ARRAY && type != PLIST_DICT) return convertedScalar(node);
    if (depth == kMaxPropertyListDepth) return std::nullopt;
    return type == PLIST_ARRAY ? convertedArray(node, depth) : convertedDictionary(node, depth);
}

/// Null for what is no list. From version 2.3 on the library would also tell the format.
template <class Status, class... Format>
plist_t read(Status (*fromMemory)(const char*, std::uint32_t, plist_t*, Format*...),
             std::string_view bytes) {
    plist_t node = nullptr;
    fromMemory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &node,
               static_cast<Format*>(nullptr)...);
    return node;
}

} // namespace

Result<PropertyList> LinuxPropertyLists::parse(std::string_view bytes) {
    if (bytes.size() > kMaxFileSize) return systemError(EFBIG);
    if (!isHarmlessPropertyList(bytes)) return systemError(EINVAL);
    const std::unique_ptr<void, FreeNode> owner(read(::plist_from_memory, bytes));
    plist_t node = owner.get();
    if (node == nullptr) return systemError(EINVAL);
    auto list = converted(node, 0);
    if (!list) return systemError(EINVAL);
    return std::move(*list);
}

Result<PropertyList> LinuxPropertyLists::parseFile(const Path& path) {
    const auto content = readSmallFile(path, kMaxFileSize);
    if (!content) return content.error();
    return parse(content.value());
}

} // namespace quorvane::platform::linux_
