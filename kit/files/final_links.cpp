#include "kit/files/final_links.h"

#include "kit/base/components.h"

namespace quorvane {
namespace {

/// As many as a path may lead over.
constexpr int kMostLinks = 40;

} // namespace

Path withoutFinalLinks(platform::FileManager& files, Path path) {
    for (int links = 0; links < kMostLinks; ++links) {
        const auto target = files.linkDestination(path);
        if (!target) break;
        path = target.value().starts_with('/')
                   ? target.value()
                   : joinPath(withoutLastComponent(path), target.value());
    }
    return path;
}

} // namespace quorvane
