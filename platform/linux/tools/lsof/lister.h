// The system's own lister of open files, given the arguments that callers use everywhere.
#pragma once

#include "platform/Values.h"

namespace quorvane::platform::linux_::tools::lsof {

/// The arguments as the system's lister takes them: no blanks in the list of fields, "-F a", which
/// other systems allow.
Arguments forSystemLister(Arguments arguments);

/// Whether no warnings are wanted: "-w" before the names.
bool isQuiet(const Arguments& arguments);

/// Goes on as the system's lister. Where no warnings are wanted, not even a missing file is
/// complained about, since callers take whatever is printed for a listing. Throws Failure where
/// there is no lister.
[[noreturn]] void becomeSystemLister(const Arguments& arguments);

} // namespace quorvane::platform::linux_::tools::lsof
