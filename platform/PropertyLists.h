// Property lists: the configuration files of bundles and preferences.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/Values.h"

namespace quorvane::platform {

/// A property list's value. Dates and references to other values are not kept: they read as null.
struct PropertyList {
    using Array = std::vector<PropertyList>;
    using Dictionary = std::map<std::string, PropertyList>;
    struct Data {
        Bytes bytes;
    };

    std::variant<std::monostate, bool, std::int64_t, double, std::string, Data, Array, Dictionary>
        value;

    /// The dictionary's entry; null when this is no dictionary or has no such key.
    const PropertyList* find(const std::string& key) const {
        const auto* dictionary = std::get_if<Dictionary>(&value);
        if (dictionary == nullptr) return nullptr;
        const auto entry = dictionary->find(key);
        return entry == dictionary->end() ? nullptr : &entry->second;
    }
};

/// Any thread.
class PropertyLists {
public:
    virtual ~PropertyLists() = default;
    /// Reads a property list in any of its formats. Hostile input gives an error.
    virtual Result<PropertyList> parse(std::string_view bytes) = 0;
    /// The same from a regular file of at most 16 MiB.
    virtual Result<PropertyList> parseFile(const Path& path) = 0;
};

} // namespace quorvane::platform
