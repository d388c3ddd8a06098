// The streams of a fake disk.
#include <algorithm>
#include <cerrno>
#include <utility>

#include "tests/support/errors.h"
#include "tests/support/fake_disk.h"

namespace quorvane::testing {
namespace {

using platform::Result;
using platform::StreamHandle;
using platform::StreamRead;

/// What keeps the process from writing a file; 0: nothing.
int writeProtection(const FakeItem& item) {
    if (item.isFolder()) return EISDIR;
    if (item.immutable) return EPERM;
    return item.writable ? 0 : EACCES;
}

} // namespace

void FakeDisk::onRead(ReadAction action) {
    const std::lock_guard lock(mutex_);
    readAction_ = std::move(action);
}

void FakeDisk::setMostBytes(const Path& path, std::size_t bytes) {
    const std::lock_guard lock(mutex_);
    item(path).mostBytes = bytes;
}

void FakeDisk::setFirstHandle(std::int64_t number) {
    const std::lock_guard lock(mutex_);
    firstHandle_ = number;
}

Result<std::shared_ptr<FakeItem>> FakeDisk::makeFile(const FakePlace& place) const {
    if (place.folder->immutable) return errorFor(EPERM);
    if (!place.folder->writable) return errorFor(EACCES);
    auto file = makeItem(FakeItem::Kind::file, {});
    place.folder->entries.emplace_back(place.name, file);
    return file;
}

StreamHandle FakeDisk::addStream(const Path& path, const std::shared_ptr<FakeItem>& item) {
    std::int64_t handle = firstHandle_;
    while (streams_.contains(StreamHandle{handle})) ++handle;
    streams_[StreamHandle{handle}] = {path, item};
    return StreamHandle{handle};
}

Result<StreamHandle> FakeDisk::openForReading(const Path& path) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("openForReading", path)) return *error;
    const Place place = findItem(root_, path, FinalLink::follow);
    if (!place) return place.error();
    return addStream(path, place.value().item);
}

Result<StreamHandle> FakeDisk::openTruncated(const Path& path) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("openTruncated", path)) return *error;
    const Place place = findPlace(root_, path, FinalLink::follow);
    if (!place) return place.error();
    if (!place.value().item) {
        const auto made = makeFile(place.value());
        if (!made) return made.error();
        return addStream(path, made.value());
    }
    FakeItem& item = *place.value().item;
    if (const int code = writeProtection(item)) return errorFor(code);
    item.content.clear();
    item.modificationDate = now_;
    return addStream(path, place.value().item);
}

Result<StreamHandle> FakeDisk::openNew(const Path& path) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("openNew", path)) return *error;
    const Place place = findPlace(root_, path, FinalLink::keep);
    if (!place) return place.error();
    if (place.value().item) return errorFor(EEXIST);
    const auto made = makeFile(place.value());
    if (!made) return made.error();
    return addStream(path, made.value());
}

Result<StreamHandle> FakeDisk::openExisting(const Path& path) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("openExisting", path)) return *error;
    const Place place = findItem(root_, path, FinalLink::keep);
    if (!place) return place.error();
    const std::shared_ptr<FakeItem>& item = place.value().item;
    if (item->isLink()) return errorFor(ELOOP);
    if (const int code = writeProtection(*item)) return errorFor(code);
    return addStream(path, item);
}

Result<StreamHandle> FakeDisk::openForAppending(const Path& path) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("openForAppending", path)) return *error;
    const Place place = findItem(root_, path, FinalLink::follow);
    if (!place) return place.error();
    if (const int code = writeProtection(*place.value().item)) return errorFor(code);
    const StreamHandle handle = addStream(path, place.value().item);
    streams_[handle].appends = true;
    return handle;
}

Result<void> FakeDisk::seek(StreamHandle handle, std::uint64_t position) {
    const std::lock_guard lock(mutex_);
    const auto stream = streams_.find(handle);
    if (stream == streams_.end()) return errorFor(EBADF);
    if (auto error = failure("seek", stream->second.path)) return *error;
    stream->second.position = position;
    return {};
}

Result<std::uint64_t> FakeDisk::seekToEnd(StreamHandle handle) {
    const std::lock_guard lock(mutex_);
    const auto stream = streams_.find(handle);
    if (stream == streams_.end()) return errorFor(EBADF);
    if (auto error = failure("seekToEnd", stream->second.path)) return *error;
    return stream->second.position = stream->second.item->content.size();
}

StreamRead FakeDisk::read(StreamHandle handle, std::span<char> buffer) {
    std::unique_lock lock(mutex_);
    const auto found = streams_.find(handle);
    if (found == streams_.end()) return {.error = errorFor(EBADF)};
    Stream& stream = found->second;
    if (auto error = failure("read", stream.path)) return {.error = *error};
    if (stream.item->isFolder()) return {.error = errorFor(EISDIR)};
    const std::string_view content = stream.item->content;
    const std::size_t start = std::min<std::size_t>(stream.position, content.size());
    Bytes bytes(content.substr(start, buffer.size()));
    stream.position += bytes.size();
    const Path path = stream.path;
    const ReadAction action = readAction_;
    lock.unlock();
    if (action) action(path, bytes);
    std::copy(bytes.begin(), bytes.end(), buffer.begin());
    return {.count = bytes.size(), .atEnd = bytes.size() < buffer.size()};
}

Result<std::size_t> FakeDisk::write(StreamHandle handle, std::string_view bytes) {
    const std::lock_guard lock(mutex_);
    const auto found = streams_.find(handle);
    if (found == streams_.end()) return errorFor(EBADF);
    Stream& stream = found->second;
    if (auto error = failure("write", stream.path)) return *error;
    if (stream.appends) stream.position = stream.item->content.size();
    const std::size_t room =
        stream.item->mostBytes - std::min<std::size_t>(stream.position, stream.item->mostBytes);
    if (room == 0 && !bytes.empty()) return errorFor(ENOSPC);
    bytes = bytes.substr(0, room);
    Bytes& content = stream.item->content;
    content.resize(std::max<std::size_t>(content.size(), stream.position + bytes.size()));
    content.replace(stream.position, bytes.size(), bytes);
    stream.position += bytes.size();
    stream.item->modificationDate = now_;
    return bytes.size();
}

Result<void> FakeDisk::truncate(StreamHandle handle) {
    const std::lock_guard lock(mutex_);
    const auto stream = streams_.find(handle);
    if (stream == streams_.end()) return errorFor(EBADF);
    if (auto error = failure("truncate", stream->second.path)) return *error;
    stream->second.item->content.clear();
    stream->second.item->modificationDate = now_;
    stream->second.position = 0;
    return {};
}

Result<platform::FileIdentity> FakeDisk::identity(StreamHandle handle) {
    const std::lock_guard lock(mutex_);
    const auto stream = streams_.find(handle);
    if (stream == streams_.end()) return errorFor(EBADF);
    return identityOf(*stream->second.item);
}

Result<void> FakeDisk::removeEmpty(const Path& path, StreamHandle handle) {
    const std::lock_guard lock(mutex_);
    if (auto error = failure("removeEmpty", path)) return *error;
    const auto stream = streams_.find(handle);
    if (stream == streams_.end()) return errorFor(EBADF);
    const Place place = findItem(root_, path, FinalLink::keep);
    if (!place) return place.error();
    const auto& [folder, name, item] = place.value();
    if (item != stream->second.item || !item->content.empty()) return errorFor(ESTALE);
    folder->removeEntry(name);
    return {};
}

bool FakeDisk::endsInsideLine(StreamHandle handle) const {
    const std::lock_guard lock(mutex_);
    const auto stream = streams_.find(handle);
    if (stream == streams_.end()) return false;
    const Bytes& content = stream->second.item->content;
    return !content.empty() && content.back() != '\n';
}

void FakeDisk::close(StreamHandle handle) {
    const std::lock_guard lock(mutex_);
    streams_.erase(handle);
}

Path FakeDisk::pathOf(StreamHandle handle) const {
    const std::lock_guard lock(mutex_);
    const auto stream = streams_.find(handle);
    return stream == streams_.end() ? Path() : stream->second.path;
}

} // namespace quorvane::testing
