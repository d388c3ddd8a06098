// Where unpacked items stand until all are there.
#pragma once

#include <string>
#include <vector>

#include "platform/Values.h"
#include "platform/linux/posix.h"
#include "platform/linux/tools/program.h"

namespace quorvane::platform::linux_::tools::ditto {

/// A hidden folder of its own on the volume of the items' destination: beside it while that is
/// missing, or in it. In the end it is deleted, with all that it then holds.
class Staging {
public:
    /// For a destination at an absolute path; a link there is followed. Throws Failure.
    Staging(const Path& destination, Report& report);
    ~Staging();
    Staging(const Staging&) = delete;
    Staging& operator=(const Staging&) = delete;

    /// Where the items go for the time being.
    const Descriptor& folder() const { return items_; }
    /// The destination, if it is there; none otherwise.
    const Descriptor* destination() const { return missing_.empty() ? &place_.folder : nullptr; }
    /// Has a missing destination appear, with the folders above it, all at once and with all that
    /// is in it. Throws Failure, also where something has its name by now.
    void appear();

private:
    struct Way {
        Descriptor there;
        std::vector<std::string> missing;
    };

    Staging(Path destination, Way way, Report& report);
    static Way wayTo(const Path& destination);

    Path destination_;
    Report& report_;
    /// The names on the way to the destination from the last folder that is there.
    std::vector<std::string> missing_;
    ItemPlace place_;   ///< of the hidden folder; without a name once that has become the first
                        ///< of the missing ones
    Descriptor hidden_; ///< the hidden folder
    Descriptor items_;  ///< the same, or in it the last of the missing ones
};

} // namespace quorvane::platform::linux_::tools::ditto
