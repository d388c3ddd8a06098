// The file manager on a fake disk.
#pragma once

#include <functional>
#include <memory>

#include "platform/FileManager.h"
#include "tests/support/fake_disk.h"
#include "tests/support/journal.h"

namespace quorvane::testing {

/// Whether questions that change nothing are told to the journal too.
enum class JournalQueries : bool { no, yes };

/// Each call adds one line to the journal before it is performed:
///     files.remove /a
///     files.removeEmptyFolders /a
///     files.move /a -> /b
///     files.copy /a -> /b
///     files.createDirectories /a/b
///     files.setAttributes /a immutable=no permissions=755 creationDate=1.5 modificationDate=2
///     files.writeAtomically /a 12 bytes
///     files.open /a, files.seekToEnd /a, files.write /a 12 bytes, files.close /a
///     files.openForReading /a, files.openTruncated /a, files.openNew /a, files.openExisting /a
///     files.truncate /a, files.removeEmpty /a, files.seek /a 65536, files.read /a 65536 bytes
/// and, when queries are asked for, files.exists, files.list, files.attributes,
/// files.linkDestination, files.walk, files.checkEmptyFolders, files.isWritable,
/// files.isExecutable, files.identity and files.endsInsideLine with the path. Dates are seconds
/// since the start of 1970.
class FakeFileManager : public platform::FileManager {
public:
    FakeFileManager(std::shared_ptr<FakeDisk> disk, std::shared_ptr<Journal> journal,
                    JournalQueries queries = JournalQueries::no);

    platform::Existence existence(const Path& path) override;
    platform::Result<std::vector<std::string>> contentsOfDirectory(const Path& path) override;
    platform::Result<Path> linkDestination(const Path& path) override;
    platform::Result<void> walkTree(const Path& folder, platform::ItemSizes sizes,
                                    platform::TreeVisitor& visitor) override;
    platform::Result<void> removeItem(const Path& path) override;
    platform::Result<void> checkEmptyFolders(const Path& path) override;
    platform::Result<void> removeEmptyFolders(const Path& path) override;
    platform::Result<void> moveItem(const Path& source, const Path& destination) override;
    platform::Result<void> copyItem(const Path& source, const Path& destination) override;
    platform::Result<void> createDirectories(const Path& path) override;
    platform::Result<platform::ItemAttributes> attributes(const Path& path) override;
    platform::Result<void> setAttributes(const Path& path,
                                         const platform::AttributeChanges& changes) override;
    bool isWritable(const Path& path) override;
    bool isExecutable(const Path& path) override;
    platform::Result<void> writeAtomically(const Path& path, std::string_view content) override;
    platform::Result<platform::StreamHandle> openForReading(const Path& path) override;
    platform::Result<platform::StreamHandle> openTruncated(const Path& path) override;
    platform::Result<platform::StreamHandle> openNew(const Path& path) override;
    platform::Result<platform::StreamHandle> openExisting(const Path& path) override;
    platform::Result<platform::StreamHandle> openForAppending(const Path& path) override;
    platform::Result<void> seek(platform::StreamHandle handle, std::uint64_t position) override;
    platform::Result<std::uint64_t> seekToEnd(platform::StreamHandle handle) override;
    platform::Result<std::size_t> write(platform::StreamHandle handle,
                                        std::string_view bytes) override;
    platform::StreamRead read(platform::StreamHandle handle, std::span<char> buffer) override;
    platform::Result<void> truncate(platform::StreamHandle handle) override;
    platform::Result<platform::FileIdentity> identity(platform::StreamHandle handle) override;
    platform::Result<void> removeEmpty(const Path& path, platform::StreamHandle handle) override;
    bool endsInsideLine(platform::StreamHandle handle) override;
    void close(platform::StreamHandle handle) override;

private:
    void tellQuery(const std::string& query, const Path& path);

    std::shared_ptr<FakeDisk> disk_;
    std::shared_ptr<Journal> journal_;
    JournalQueries queries_;
};

/// What Services::makeFileManager holds in a test.
std::function<std::unique_ptr<platform::FileManager>()>
fakeFileManagerMaker(std::shared_ptr<FakeDisk> disk, std::shared_ptr<Journal> journal,
                     JournalQueries queries = JournalQueries::no);

} // namespace quorvane::testing
