// What is known of staging folders in use, so that one left behind can be found and told.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/linux/posix.h"

namespace quorvane::platform::linux_::helper {

/// What tells a staging folder from anything that others could put in its place.
struct StagingIdentity {
    std::uint64_t inode = 0; ///< 0 as long as it is not known
    std::int64_t bornSecond = 0;
    std::uint32_t bornNanosecond = 0;
    std::uint32_t owner = 0;
    std::uint32_t mode = 0;
    std::uint32_t unused = 0;

    bool operator==(const StagingIdentity&) const = default;
};

/// Not known where the folder cannot be asked.
StagingIdentity identityOf(int folder);

/// One staging folder, written down in a folder that only the superuser can enter and that stands
/// only as long as there is a record, under the staging folder's name. It is locked by each process
/// that uses the staging folder, and the system unlocks it when these end, whatever ends them.
class StagingRecord {
public:
    /// Writes down the name of a folder that will be made in another. Where nothing can be written
    /// the record is void: then nobody will find what is left behind.
    static StagingRecord begin(const Path& records, const std::string& name,
                               const Path& folderAbove);
    /// Opens one that nobody uses any more; void otherwise.
    static StagingRecord reopen(const Path& records, const std::string& name);

    StagingRecord() = default;
    explicit operator bool() const { return static_cast<bool>(file_); }

    void setIdentity(const StagingIdentity& identity);
    StagingIdentity identity() const;
    Path folderAbove() const;
    /// Strikes it out: nothing is left behind.
    void strike();

private:
    StagingRecord(Path path, Descriptor records, std::string name, Descriptor file);
    /// Whether it is locked now, and nobody struck it out meanwhile.
    bool lock(int operation);

    Path path_; ///< of the folder of records
    Descriptor records_;
    std::string name_;
    Descriptor file_;
};

/// The names of all records.
std::vector<std::string> recordedNames(const Path& records);

} // namespace quorvane::platform::linux_::helper
