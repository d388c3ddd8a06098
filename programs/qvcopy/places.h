// Where copies come from and go to.
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

/// The places of every source, looked over before anything is changed. Throws Failure. Seen before
/// anything is opened: folders among the sources and several sources without a folder to go to,
/// which is a failure of the status wrongKind; two names of one file, whatever links lead there;
/// and files that are there, unless the command replaces them. Seen next: what cannot be read or
/// written.
std::vector<Places> placesOf(const Command& command);

/// Makes the folders that the destinations lack, with the user's own rights alone. Throws Failure.
void makeFolders(const std::vector<Places>& all);

/// Why a destination cannot be opened, in the words of a Failure.
std::string reasonAgainst(const platform::Error& error);

} // namespace quorvane::programs::qvcopy
