// Where a copy comes from and goes to.
#pragma once

#include <string>
#include <vector>

#include "platform/Values.h"
#include "programs/qvcopy/command.h"
#include "programs/source_file.h"

namespace quorvane::programs::qvcopy {

struct Place {
    /// As the user named it.
    std::string name;
    Path path;
};

struct Places {
    SourceFile source;
    /// Files: of a folder that the user named, the source's namesake in it.
    std::vector<Place> destinations;
};

/// The places of a copy, looked over before anything is changed: opening a destination empties it.
/// Throws Failure for what cannot be read or written, for folders where files belong, and for two
/// names of one file, whatever links lead there.
Places placesOf(const Command& command);

/// Makes the folders that the destinations lack, with the user's own rights alone. Throws Failure.
void makeFolders(const Places& places);

} // namespace quorvane::programs::qvcopy
