// The open destinations of one source.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/FileManager.h"
#include "platform/Services.h"
#include "programs/qvcopy/places.h"

namespace quorvane::programs::qvcopy {

/// The names of files that must not lose their content any more.
using TakenFiles = std::map<platform::FileIdentity, std::string>;

/// Opens all destinations before any of them is emptied, makes new ones exclusively, and follows no
/// link. During its life the kit is handed what is open here where it opens a destination by its
/// path, so that nobody can put another file in its place. While it is made and destroyed nobody
/// else uses the services. One thread.
class Destinations {
public:
    explicit Destinations(const std::vector<Place>& places);
    Destinations(const Destinations&) = delete;
    Destinations& operator=(const Destinations&) = delete;
    /// As giveUp, unless they are kept.
    ~Destinations();

    /// Throws Failure for the first that cannot be opened, and for one that is taken; what is
    /// opened is taken from then on.
    void open(bool replaces, TakenFiles& taken);
    /// To be called after a copy that came to its end.
    void keep() { isKept_ = true; }
    /// Removes what was made here and is still empty, and returns the names of those that hold a
    /// part of the source.
    std::vector<std::string> giveUp();

private:
    class Files;
    struct Destination {
        Place place;
        platform::StreamHandle handle{};
        bool isNew = false;
        bool isOpen = false;
        bool isHandedOver = false;
    };

    void open(Destination& destination, bool replaces);
    Destination* find(const Path& path);
    platform::Result<platform::StreamHandle> handOver(const Path& path);
    void noteClosed(platform::StreamHandle handle);

    const std::unique_ptr<platform::FileManager> files_;
    std::vector<Destination> all_;
    std::set<platform::StreamHandle> sources_; ///< open ones, which a failed copy leaves
    bool isKept_ = false;
    platform::Services services_;
    const platform::Services* before_;
};

} // namespace quorvane::programs::qvcopy
