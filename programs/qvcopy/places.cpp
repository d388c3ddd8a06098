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

constexpr const char* kTaken = "exists already; --force replaces its content";
constexpr const char* kLink = "is a link, and links are not followed here";

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

/// Every file that a command names, once.
class NamedFiles {
public:
    explicit NamedFiles(FileManager& files) : files_(files) {}

    void addSource(const SourceFile& source) {
        known_.emplace(samenessOf(source.path, files_), Name{source.name, nullptr});
    }
    /// Throws Failure for a file that is a source, or something else's destination.
    void addDestination(const Place& destination, const SourceFile& source) {
        const auto [found, isNew] =
            known_.emplace(samenessOf(destination.path, files_), Name{destination.name, &source});
        if (isNew) return;
        const Name& other = found->second;
        if (other.source == nullptr || other.source == &source)
            throw Failure(destination.name, "is the same file as " + other.text);
        throw Failure(destination.name,
                      other.source->name + " and " + source.name + " would both be copied there");
    }

private:
    struct Name {
        std::string text;
        const SourceFile* source; ///< of a destination
    };

    FileManager& files_;
    std::map<Sameness, Name> known_;
};

void checkKinds(const Command& command, FileManager& files) {
    const auto isFolder = [&files](const std::string& name) {
        return files.existence(absolutePath(name)).isDirectory;
    };
    for (const std::string& source : command.sources)
        if (isFolder(source))
            throw Failure(source,
                          "is a folder, and only files are copied; folders to copy to are named "
                          "with --to",
                          ExitStatus::wrongKind);
    const std::string& last = command.destinations.front();
    if (command.sources.size() > 1 && !command.toFolders && !isFolder(last))
        throw Failure(last,
                      "is no folder, which several sources need; several destinations are named "
                      "with --to",
                      ExitStatus::wrongKind);
}

Place destinationOf(const std::string& name, const Path& source, bool toFolders,
                    FileManager& files) {
    Place destination{name, absolutePath(name)};
    const Existence there = files.existence(destination.path);
    if (there.isDirectory || (toFolders && !there.exists)) {
        const std::string_view namesake = lastComponent(source);
        destination = {joinPath(name, namesake), joinPath(destination.path, namesake)};
        if (files.existence(destination.path).isDirectory) fail(destination.name, EISDIR);
    } else if (toFolders || name.ends_with('/')) {
        fail(name, ENOTDIR);
    }
    return destination;
}

void checkFree(const Place& destination, bool replaces, FileManager& files) {
    const Path folder(withoutLastComponent(destination.path));
    const Existence around = files.existence(folder);
    if (around.exists && !around.isDirectory) fail(destination.name, ENOTDIR);
    if (files.linkDestination(destination.path)) throw Failure(destination.name, kLink);
    const bool isThere = files.existence(destination.path).exists;
    if (isThere && !replaces) throw Failure(destination.name, kTaken);
    if (!isThere && around.exists && !files.isWritable(folder))
        throw Failure(destination.name, "cannot be written");
}

/// Opens what is there, and leaves it as it is.
void checkOpens(const Place& destination, FileManager& files) {
    if (!files.existence(destination.path).exists) return;
    const auto opened = files.openExisting(destination.path);
    if (!opened) throw Failure(destination.name, reasonAgainst(opened.error()));
    files.close(opened.value());
}

} // namespace

std::string reasonAgainst(const platform::Error& error) {
    switch (error.code) {
    case EEXIST:
        return kTaken;
    case ELOOP:
        return kLink;
    case ENXIO:
        return "is no regular file";
    default:
        return error.text;
    }
}

std::vector<Places> placesOf(const Command& command) {
    const std::unique_ptr<FileManager> files = platform::services().makeFileManager();
    checkKinds(command, *files);
    std::vector<Places> all;
    for (const std::string& name : command.sources)
        all.push_back({.source = {name, absolutePath(name)}, .destinations = {}});
    NamedFiles named(*files);
    for (const Places& each : all) named.addSource(each.source);
    for (auto& [source, destinations] : all)
        for (const std::string& name : command.destinations) {
            Place destination = destinationOf(name, source.path, command.toFolders, *files);
            named.addDestination(destination, source);
            checkFree(destination, command.replaces, *files);
            destinations.push_back(std::move(destination));
        }
    for (Places& each : all) {
        each.source = sourceFile(each.source.name);
        for (const Place& destination : each.destinations) checkOpens(destination, *files);
    }
    return all;
}

void makeFolders(const std::vector<Places>& all) {
    for (const Places& each : all)
        for (const Place& destination : each.destinations) {
            const Path folder(withoutLastComponent(destination.path));
            if (!QVFileManager::isDirectoryAtPath(folder) &&
                !QVFileManager::createDirectory(folder, ShouldAuth::no))
                throw Failure(destination.name, "its folder cannot be made");
        }
}

} // namespace quorvane::programs::qvcopy
