// How the fakes spell values in the journal.
#pragma once

#include <string>
#include <vector>

namespace quorvane::testing {

/// "[a, b, c]".
inline std::string bracketed(const std::vector<std::string>& items) {
    std::string text = "[";
    for (const std::string& item : items) {
        if (text.size() > 1) text += ", ";
        text += item;
    }
    return text + "]";
}

} // namespace quorvane::testing
