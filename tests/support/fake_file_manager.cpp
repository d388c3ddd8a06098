#include "tests/support/fake_file_manager.h"

#include <iomanip>
#include <sstream>
#include <utility>

#include "kit/base/components.h"

namespace quorvane::testing {
namespace {

std::string secondsText(platform::FileTime date) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(date);
    const auto fraction = (date - seconds).count();
    std::ostringstream text;
    text << seconds.time_since_epoch().count();
    if (fraction == 0) return text.str();
    text << '.' << std::setw(9) << std::setfill('0') << fraction;
    std::string shortest = text.str();
    shortest.erase(shortest.find_last_not_of('0') + 1);
    return shortest;
}

std::string changesText(const platform::AttributeChanges& changes) {
    std::ostringstream text;
    if (changes.immutable) text << " immutable=" << (*changes.immutable ? "yes" : "no");
    if (changes.posixPermissions) text << " permissions=" << std::oct << *changes.posixPermissions;
    if (changes.creationDate) text << " creationDate=" << secondsText(*changes.creationDate);
    if (changes.modificationDate)
        text << " modificationDate=" << secondsText(*changes.modificationDate);
    return text.str();
}

std::string bytesText(std::string_view bytes) {
    return " " + std::to_string(bytes.size()) + " bytes";
}

/// The walk as the kit would make it with the other operations.
class Walk {
public:
    using Answer = platform::TreeVisitor::Answer;

    Walk(FakeDisk& disk, platform::ItemSizes sizes, platform::TreeVisitor& visitor)
        : disk_(disk), sizes_(sizes), visitor_(visitor) {}

    /// False when the visitor stopped it.
    bool folder(const Path& path, std::string_view name) {
        const Answer answer = visitor_.enterFolder(name, disk_.existence(path).identity);
        if (answer != Answer::goOn) return answer == Answer::skip;
        const auto names = disk_.contentsOfDirectory(path);
        for (const std::string& below : names ? names.value() : std::vector<std::string>())
            if (!entry(joinPath(path, below), below)) return false;
        visitor_.leaveFolder();
        return true;
    }

private:
    bool entry(const Path& path, const std::string& name) {
        if (disk_.existence(path).isDirectory) return folder(path, name);
        const auto attributes = disk_.attributes(path);
        const bool tells = sizes_ == platform::ItemSizes::told && attributes;
        return visitor_.meetItem(name, tells ? attributes.value().size : 0) != Answer::stop;
    }

    FakeDisk& disk_;
    platform::ItemSizes sizes_;
    platform::TreeVisitor& visitor_;
};

} // namespace

FakeFileManager::FakeFileManager(std::shared_ptr<FakeDisk> disk, std::shared_ptr<Journal> journal,
                                 JournalQueries queries)
    : disk_(std::move(disk)), journal_(std::move(journal)), queries_(queries) {}

void FakeFileManager::tellQuery(const std::string& query, const Path& path) {
    if (queries_ == JournalQueries::yes) journal_->add("files." + query + " " + path);
}

platform::Existence FakeFileManager::existence(const Path& path) {
    tellQuery("exists", path);
    return disk_->existence(path);
}

platform::Result<std::vector<std::string>> FakeFileManager::contentsOfDirectory(const Path& path) {
    tellQuery("list", path);
    return disk_->contentsOfDirectory(path);
}

platform::Result<Path> FakeFileManager::linkDestination(const Path& path) {
    tellQuery("linkDestination", path);
    return disk_->linkDestination(path);
}

platform::Result<void> FakeFileManager::walkTree(const Path& folder, platform::ItemSizes sizes,
                                                 platform::TreeVisitor& visitor) {
    tellQuery("walk", folder);
    if (auto error = disk_->scriptedFailure("walkTree", folder)) return *error;
    if (disk_->existence(folder).isDirectory) Walk(*disk_, sizes, visitor).folder(folder, {});
    return {};
}

platform::Result<void> FakeFileManager::removeItem(const Path& path) {
    journal_->add("files.remove " + path);
    return disk_->removeItem(path);
}

platform::Result<void> FakeFileManager::checkEmptyFolders(const Path& path) {
    tellQuery("checkEmptyFolders", path);
    return disk_->checkEmptyFolders(path);
}

platform::Result<void> FakeFileManager::removeEmptyFolders(const Path& path) {
    journal_->add("files.removeEmptyFolders " + path);
    return disk_->removeEmptyFolders(path);
}

platform::Result<void> FakeFileManager::moveItem(const Path& source, const Path& destination) {
    journal_->add("files.move " + source + " -> " + destination);
    return disk_->moveItem(source, destination);
}

platform::Result<void> FakeFileManager::copyItem(const Path& source, const Path& destination) {
    journal_->add("files.copy " + source + " -> " + destination);
    return disk_->copyItem(source, destination);
}

platform::Result<void> FakeFileManager::createDirectories(const Path& path) {
    journal_->add("files.createDirectories " + path);
    return disk_->createDirectories(path);
}

platform::Result<platform::ItemAttributes> FakeFileManager::attributes(const Path& path) {
    tellQuery("attributes", path);
    return disk_->attributes(path);
}

platform::Result<void> FakeFileManager::setAttributes(const Path& path,
                                                      const platform::AttributeChanges& changes) {
    journal_->add("files.setAttributes " + path + changesText(changes));
    return disk_->setAttributes(path, changes);
}

bool FakeFileManager::isWritable(const Path& path) {
    tellQuery("isWritable", path);
    return disk_->isWritable(path);
}

bool FakeFileManager::isExecutable(const Path& path) {
    tellQuery("isExecutable", path);
    return disk_->isExecutable(path);
}

platform::Result<void> FakeFileManager::writeAtomically(const Path& path,
                                                        std::string_view content) {
    journal_->add("files.writeAtomically " + path + bytesText(content));
    return disk_->writeAtomically(path, content);
}

platform::Result<platform::StreamHandle> FakeFileManager::openForReading(const Path& path) {
    journal_->add("files.openForReading " + path);
    return disk_->openForReading(path);
}

platform::Result<platform::StreamHandle> FakeFileManager::openTruncated(const Path& path) {
    journal_->add("files.openTruncated " + path);
    return disk_->openTruncated(path);
}

platform::Result<platform::StreamHandle> FakeFileManager::openNew(const Path& path) {
    journal_->add("files.openNew " + path);
    return disk_->openNew(path);
}

platform::Result<platform::StreamHandle> FakeFileManager::openExisting(const Path& path) {
    journal_->add("files.openExisting " + path);
    return disk_->openExisting(path);
}

platform::Result<platform::StreamHandle> FakeFileManager::openForAppending(const Path& path) {
    journal_->add("files.open " + path);
    return disk_->openForAppending(path);
}

platform::Result<void> FakeFileManager::seek(platform::StreamHandle handle,
                                             std::uint64_t position) {
    journal_->add("files.seek " + disk_->pathOf(handle) + " " + std::to_string(position));
    return disk_->seek(handle, position);
}

platform::Result<std::uint64_t> FakeFileManager::seekToEnd(platform::StreamHandle handle) {
    journal_->add("files.seekToEnd " + disk_->pathOf(handle));
    return disk_->seekToEnd(handle);
}

platform::Result<std::size_t> FakeFileManager::write(platform::StreamHandle handle,
                                                     std::string_view bytes) {
    journal_->add("files.write " + disk_->pathOf(handle) + bytesText(bytes));
    return disk_->write(handle, bytes);
}

platform::StreamRead FakeFileManager::read(platform::StreamHandle handle, std::span<char> buffer) {
    journal_->add("files.read " + disk_->pathOf(handle) +
                  bytesText({buffer.data(), buffer.size()}));
    return disk_->read(handle, buffer);
}

platform::Result<void> FakeFileManager::truncate(platform::StreamHandle handle) {
    journal_->add("files.truncate " + disk_->pathOf(handle));
    return disk_->truncate(handle);
}

platform::Result<platform::FileIdentity> FakeFileManager::identity(platform::StreamHandle handle) {
    tellQuery("identity", disk_->pathOf(handle));
    return disk_->identity(handle);
}

platform::Result<void> FakeFileManager::removeEmpty(const Path& path,
                                                    platform::StreamHandle handle) {
    journal_->add("files.removeEmpty " + path);
    return disk_->removeEmpty(path, handle);
}

bool FakeFileManager::endsInsideLine(platform::StreamHandle handle) {
    tellQuery("endsInsideLine", disk_->pathOf(handle));
    return disk_->endsInsideLine(handle);
}

void FakeFileManager::close(platform::StreamHandle handle) {
    journal_->add("files.close " + disk_->pathOf(handle));
    disk_->close(handle);
}

std::function<std::unique_ptr<platform::FileManager>()>
fakeFileManagerMaker(std::shared_ptr<FakeDisk> disk, std::shared_ptr<Journal> journal,
                     JournalQueries queries) {
    return [disk = std::move(disk), journal = std::move(journal), queries] {
        return std::make_unique<FakeFileManager>(disk, journal, queries);
    };
}

} // namespace quorvane::testing
