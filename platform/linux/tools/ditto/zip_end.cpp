#include "platform/linux/tools/ditto/zip_end.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include "platform/linux/tools/program.h"

namespace quorvane::platform::linux_::tools::ditto {
namespace {

constexpr std::size_t kMostPadding = 1UL << 20U;

constexpr const char* kNoEnd = "does not end as a zip archive does";
constexpr const char* kBadEnd = "its end record does not tell where its directory is";
constexpr const char* kBadEnd64 = "its 64-bit end record is damaged";

/// The numbers of an end record, of either kind, as they stand in it.
struct Told {
    std::uint64_t items = 0;
    std::uint64_t size = 0;
    std::uint64_t start = 0;
};

Told toldBy(std::string_view record) {
    return {number(record, 10, 2), number(record, 12, 4), number(record, 16, 4)};
}

Told toldBy64(std::string_view record) {
    return {number(record, 32, 8), number(record, 40, 8), number(record, 48, 8)};
}

/// Whether a record says the same in fewer bits, or that it cannot.
bool agrees(const Told& told, const Told& told64) {
    return (told.items == told64.items || told.items == kElsewhere16) &&
           (told.size == told64.size || told.size == kElsewhere32) &&
           (told.start == told64.start || told.start == kElsewhere32);
}

/// Why a record does not end the archive.
struct NoEnd : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Looks at the records as they might end an archive. Throws NoEnd where they cannot.
class EndReader {
public:
    EndReader(const ArchiveFile& file, std::uint64_t record) : file_(file), record_(record) {}

    ZipEnd read() const {
        const Told told = toldBy(file_.read(record_, kDirectoryEndSize));
        const std::string locator = record_ < kLocator64Size
                                        ? std::string()
                                        : file_.read(record_ - kLocator64Size, kLocator64Size);
        if (!locator.starts_with(kLocator64)) return place(told, record_);
        const std::uint64_t told64 = number(locator, 8, 8);
        const std::uint64_t record64 = findRecord64(told64);
        ZipEnd end = place(read64(record64, told), record64);
        if (record64 - told64 != end.begin) throw NoEnd(kBadEnd64);
        end.countsIn64Bits = true;
        return end;
    }

private:
    /// Where the locator says, or where the record is whatever stands in front of the archive.
    std::uint64_t findRecord64(std::uint64_t told) const {
        const std::uint64_t end = record_ - kLocator64Size;
        if (end < kDirectoryEnd64Size) throw NoEnd(kBadEnd64);
        for (const std::uint64_t place : {told, end - kDirectoryEnd64Size}) {
            const std::string record = file_.read(place, kDirectoryEnd64Size);
            constexpr std::uint64_t kUncounted = 12;
            if (record.starts_with(kDirectoryEnd64) && place <= end - kDirectoryEnd64Size &&
                number(record, 4, 8) == end - place - kUncounted)
                return place;
        }
        throw NoEnd(kBadEnd64);
    }

    Told read64(std::uint64_t record64, const Told& told) const {
        const Told told64 = toldBy64(file_.read(record64, kDirectoryEnd64Size));
        if (!agrees(told, told64)) throw NoEnd(kBadEnd64);
        return told64;
    }

    /// The directory reaches up to the end records; where it should begin tells how much stands in
    /// front of the archive. Nothing is in front of an empty one, in which nothing could prove it.
    ZipEnd place(const Told& told, std::uint64_t directoryEnd) const {
        if (told.size > directoryEnd || told.start > directoryEnd - told.size) throw NoEnd(kBadEnd);
        const std::uint64_t directory = directoryEnd - told.size;
        const bool isEmpty = directoryEnd == 0 && told.items == 0;
        if (!isEmpty &&
            !file_.read(directory, kDirectoryHeader.size()).starts_with(kDirectoryHeader))
            throw NoEnd(kBadEnd);
        return {directory - told.start, directory, directoryEnd, record_, told.items, false};
    }

    const ArchiveFile& file_;
    const std::uint64_t record_;
};

/// Where the zeros begin that some archivers fill the last block of a pipe or tape with; they may
/// be the end record's own.
std::uint64_t endWithoutPadding(const ArchiveFile& file) {
    const std::uint64_t size = std::min<std::uint64_t>(file.size(), kMostPadding);
    const std::string tail = file.read(file.size() - size, size);
    const std::size_t last = tail.find_last_not_of('\0');
    return last == std::string::npos ? file.size() : file.size() - size + last + 1;
}

} // namespace

bool ZipEnd::tellsOf(std::uint64_t count) const {
    return items == (countsIn64Bits ? count : count & kElsewhere16);
}

ZipEnd findEnd(const ArchiveFile& file) {
    const std::uint64_t contentEnd = endWithoutPadding(file);
    const std::uint64_t tailStart =
        contentEnd - std::min<std::uint64_t>(contentEnd, kDirectoryEndSize + kLongestComment);
    const std::string tail = file.read(tailStart, contentEnd - tailStart + kDirectoryEndSize);
    std::vector<ZipEnd> ends;
    std::string reason;
    for (std::size_t rest = tail.size(); rest > 0;) {
        const std::size_t place = tail.rfind(kDirectoryEnd, rest - 1);
        if (place == std::string::npos) break;
        rest = place;
        const std::uint64_t record = tailStart + place;
        const std::uint64_t end = record + kDirectoryEndSize + number(tail, place + 20, 2);
        if (end < contentEnd || end > file.size()) continue;
        try {
            ends.push_back(EndReader(file, record).read());
        } catch (const NoEnd& none) { // as anything may stand in a comment
            if (reason.empty()) reason = none.what();
        }
    }
    if (ends.size() > 1) throw Failure(file.path(), "has two directories");
    if (ends.empty()) throw Failure(file.path(), reason.empty() ? kNoEnd : reason);
    return ends.front();
}

} // namespace quorvane::platform::linux_::tools::ditto
