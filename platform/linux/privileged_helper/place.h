// Where an operand stands, held open so that nothing can be put in its way afterwards.
#pragma once

#include <sys/stat.h>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_::helper {

enum class MakeMissing : bool { no, yes };

/// A name in an open folder. The name lies in the operand.
struct Place {
    int error = 0; ///< why it could not be opened
    Descriptor folder;
    const char* name = nullptr;

    /// The item there, links not followed; false where nothing is.
    bool status(struct stat& status) const;
};

/// Opens the folder above a plain absolute path one part at a time. A symbolic link among the parts
/// is ELOOP. Missing folders are ENOENT, or made for everybody to read.
Place openPlace(const char* operand, MakeMissing makeMissing);

/// The same as the kit's file operations take it.
ItemPlace itemAt(const Place& place);

enum class Replace : bool { no, yes };

/// Renames an item. False with errno set; EEXIST where anything has the name and may not be
/// replaced.
bool renamePlace(const Place& source, const Place& destination, Replace replace);

/// Opens a folder in a folder as a place only; a link in its stead is ELOOP. Null with errno set.
Descriptor openBelow(int folder, const char* name);

} // namespace quorvane::platform::linux_::helper
