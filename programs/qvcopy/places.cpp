#include "programs/qvcopy/places.h"

#include <cerrno>
#include <filesystem>
#include <map>
#include <memory>
#include <system_error>
#include <utility>

#include "kit/base/components.h"
#include "kit/files/QVFileManager.h"
#include "kit/files/final_links.h"
#include "platform/Services.h"
#include "programs/program.h"

namespace quorvane::programs::qvcopy {
namespace {

using platform::Existence;
using platform::FileIdentity;
using platform::FileManager;

[[noreturn]] void fail(const std::string& name, int code) {
    throw Failure(name, std::generic_category().message(code));
}

/// What two names of one file have in common: the file itself; of one that is not there yet its
/// folder and name; where that is not there either the whole path.
using Sameness = std::pair<FileIdentity, Path>;

Sameness samenessOf(const Path& name, FileManager& files) {
    const Path path = withoutFinalLinks(files, name);
    const Existence there = files.existence(path);
    if (there.exists) return {there.identity, {}};
    const Existence folder = files.existence(Path(withoutLastComponent(path)));
    if (folder.exists) return {folder.identity, Path(lastComponent(path))};
    return {{}, std::filesystem::path(path).lexically_normal()};
}

Place destinationOf(const std::string& name, const Path& source, FileManager& files) {
    Place destination{name, absolutePath(name)};
    if (files.existence(destination.path).isDirectory) {
        const std::string_view namesake = lastComponent(source);
        destination = {joinPath(name, namesake), joinPath(destination.path, namesake)};
        if (files.existence(destination.path).isDirectory) fail(destination.name, EISDIR);
    } else if (name.ends_with('/')) {
        fail(name, ENOTDIR);
    }
    return destination;
}

void checkWritable(const Place& destination, FileManager& files) {
    const Path folder(withoutLastComponent(destination.path));
    const Existence around = files.existence(folder);
    if (around.exists && !around.isDirectory) fail(destination.name, ENOTDIR);
    const bool isThere = files.existence(destination.path).exists;
    if (isThere || around.exists)
        if (!files.isWritable(isThere ? destination.path : folder))
            throw Failure(destination.name, "cannot be written");
}

} // namespace

Places placesOf(const Command& command) {
    const std::unique_ptr<FileManager> files = platform::services().makeFileManager();
    Places places{sourceFile(command.source), {}};
    std::map<Sameness, std::string> known = {
        {samenessOf(places.source.path, *files), places.source.name}};
    for (const std::string& name : command.destinations) {
        Place destination = destinationOf(name, places.source.path, *files);
        checkWritable(destination, *files);
        const auto [other, isNew] =
            known.emplace(samenessOf(destination.path, *files), destination.name);
        if (!isNew) throw Failure(destination.name, "is the same file as " + other->second);
        places.destinations.push_back(std::move(destination));
    }
    return places;
}

void makeFolders(const Places& places) {
    for (const Place& destination : places.destinations) {
        const Path folder(withoutLastComponent(destination.path));
        if (!QVFileManager::isDirectoryAtPath(folder) &&
            !QVFileManager::createDirectory(folder, ShouldAuth::no))
            throw Failure(destination.name, "its folder cannot be made");
    }
}

} // namespace quorvane::programs::qvcopy
