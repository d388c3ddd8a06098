#include "programs/qvcopy/destinations.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "kit/files/forwarding_file_manager.h"
#include "programs/program.h"

namespace quorvane::programs::qvcopy {
namespace {

using platform::FileIdentity;
using platform::Result;
using platform::StreamHandle;

platform::Error errorFor(int code) { return {code, std::generic_category().message(code)}; }

} // namespace

/// The kit's way to the destinations.
class Destinations::Files : public ForwardingFileManager {
public:
    Files(std::unique_ptr<platform::FileManager> next, Destinations& destinations)
        : ForwardingFileManager(std::move(next)), destinations_(destinations) {}

    Result<StreamHandle> openForReading(const Path& path) override {
        Result<StreamHandle> opened = ForwardingFileManager::openForReading(path);
        if (opened) destinations_.sources_.insert(opened.value());
        return opened;
    }
    Result<StreamHandle> openTruncated(const Path& path) override {
        return destinations_.handOver(path);
    }
    /// A link that stands at a destination now was put there meanwhile.
    Result<Path> linkDestination(const Path& path) override {
        if (destinations_.find(path) != nullptr) return errorFor(EINVAL);
        return ForwardingFileManager::linkDestination(path);
    }
    void close(StreamHandle handle) override {
        ForwardingFileManager::close(handle);
        destinations_.noteClosed(handle);
    }

private:
    Destinations& destinations_;
};

Destinations::Destinations(const std::vector<Place>& places)
    : files_(platform::services().makeFileManager()), services_(platform::services()) {
    for (const Place& place : places) all_.push_back({.place = place});
    services_.makeFileManager = [this, next = platform::services().makeFileManager] {
        return std::make_unique<Files>(next(), *this);
    };
    before_ = platform::installServices(&services_);
}

Destinations::~Destinations() {
    platform::installServices(before_);
    giveUp();
}

void Destinations::open(bool replaces, TakenFiles& taken) {
    for (Destination& each : all_) {
        open(each, replaces);
        const Result<FileIdentity> identity = files_->identity(each.handle);
        if (!identity) throw Failure(each.place.name, identity.error().text);
        const auto other = taken.find(identity.value());
        if (!each.isNew && other != taken.end())
            throw Failure(each.place.name, "is the same file as " + other->second);
        taken[identity.value()] = each.place.name;
    }
}

void Destinations::open(Destination& destination, bool replaces) {
    const auto& [name, path] = destination.place;
    Result<StreamHandle> opened = files_->openNew(path);
    destination.isNew = opened.ok();
    if (!opened && opened.error().code == EEXIST && replaces) opened = files_->openExisting(path);
    if (!opened) throw Failure(name, reasonAgainst(opened.error()));
    destination.handle = opened.value();
    destination.isOpen = true;
}

Destinations::Destination* Destinations::find(const Path& path) {
    const auto found = std::ranges::find_if(
        all_, [&path](const Destination& each) { return each.place.path == path; });
    return found == all_.end() ? nullptr : &*found;
}

Result<StreamHandle> Destinations::handOver(const Path& path) {
    Destination* destination = find(path);
    if (destination == nullptr || !destination->isOpen) return errorFor(ENOENT);
    if (!destination->isNew) {
        const Result<void> emptied = files_->truncate(destination->handle);
        if (!emptied) return emptied.error();
    }
    destination->isHandedOver = true;
    return destination->handle;
}

void Destinations::noteClosed(StreamHandle handle) {
    sources_.erase(handle);
    for (Destination& each : all_)
        if (each.isOpen && each.handle == handle) each.isOpen = false;
}

std::vector<std::string> Destinations::giveUp() {
    std::vector<std::string> parts;
    for (const Destination& each : std::exchange(all_, {})) {
        const bool isGone = !isKept_ && each.isNew && each.isOpen &&
                            files_->removeEmpty(each.place.path, each.handle).ok();
        if ((each.isNew || each.isHandedOver) && !isGone) parts.push_back(each.place.name);
        if (each.isOpen) files_->close(each.handle);
    }
    for (const StreamHandle source : std::exchange(sources_, {})) files_->close(source);
    return parts;
}

} // namespace quorvane::programs::qvcopy
