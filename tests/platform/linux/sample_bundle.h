// Bundles for tests.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::testing {

/// A property list with texts; a value that begins with "<" is put in as it stands.
inline std::string infoText(const std::map<std::string, std::string>& values) {
    std::string text = "<plist version=\"1.0\"><dict>";
    for (const auto& [key, value] : values) {
        text.append("<key>").append(key).append("</key>");
        if (value.starts_with('<'))
            text.append(value);
        else
            text.append("<string>").append(value).append("</string>");
    }
    return text + "</dict></plist>";
}

/// A bundle that says this about itself.
inline Path addBundle(const ScratchFolder& scratch, std::string_view path,
                      const std::map<std::string, std::string>& values) {
    scratch.addFile(std::string(path) + "/Contents/Info.plist", infoText(values));
    return scratch / path;
}

} // namespace quorvane::testing
