#include "platform/linux/tools/ditto/zip_directory.h"

#include <algorithm>
#include <string_view>

#include "platform/linux/tools/ditto/interruption.h"
#include "platform/linux/tools/ditto/zip_end.h"
#include "platform/linux/tools/program.h"

namespace quorvane::platform::linux_::tools::ditto {
namespace {

constexpr const char* kDamaged = "its directory is damaged";

constexpr std::size_t kField64 = 1;
// The second byte of the general flags, which has the mark of UTF-8.
constexpr std::size_t kLocalFlags = 7;
constexpr std::size_t kDirectoryFlags = 9;
constexpr unsigned kUtf8Mark = 1U << 3U;
// The second byte of the versions: of the one that made an entry, the system.
constexpr std::size_t kLocalVersion = 5;
constexpr std::size_t kDirectoryVersion = 5;
// In an item's own header: checksum, compressed size and size.
constexpr std::size_t kLocalSizes = 14;
constexpr std::size_t kLocalSizesEnd = 26;

char withoutUtf8Mark(char flags) {
    return static_cast<char>(static_cast<unsigned char>(flags) & ~kUtf8Mark);
}

/// The numbers of an entry that may stand in a field of 64 bits.
struct Numbers {
    std::uint64_t size = 0;
    std::uint64_t compressed = 0;
    std::uint64_t header = 0;
};

/// A field holds those numbers, in this order, that do not fit into the entry's own.
void takeField64(std::string_view field, Numbers& numbers) {
    for (std::uint64_t* one : {&numbers.size, &numbers.compressed, &numbers.header}) {
        if (*one != kElsewhere32) continue;
        *one = number(field, 0, 8);
        field.remove_prefix(std::min<std::size_t>(8, field.size()));
    }
}

Numbers numbersOf(std::string_view header, std::string_view extra) {
    Numbers numbers{number(header, 24, 4), number(header, 20, 4), number(header, 42, 4)};
    while (extra.size() >= 4) {
        const std::string_view field = extra.substr(4, number(extra, 2, 2));
        if (number(extra, 0, 2) == kField64) takeField64(field, numbers);
        extra.remove_prefix(4 + field.size());
    }
    return numbers;
}

class DirectoryReader {
public:
    explicit DirectoryReader(const ArchiveFile& file) : file_(file), end_(findEnd(file)) {}

    ZipDirectory read() {
        std::uint64_t offset = end_.directory;
        while (offset < end_.directoryEnd) offset = takeHeader(offset);
        checkCount();
        checkPlaces();
        result_.begin = end_.begin;
        result_.end = end_.record + kDirectoryEndSize;
        dropComment();
        std::sort(result_.corrections.begin(), result_.corrections.end(),
                  [](const Correction& one, const Correction& other) {
                      return one.offset < other.offset;
                  });
        return std::move(result_);
    }

private:
    /// Takes one entry and returns where the next one begins.
    std::uint64_t takeHeader(std::uint64_t offset) {
        throwIfInterrupted();
        const std::string header = file_.read(offset, kDirectoryHeaderSize);
        const std::size_t nameSize = number(header, 28, 2);
        const std::size_t extraSize = number(header, 30, 2);
        const std::size_t commentSize = number(header, 32, 2);
        const std::uint64_t size = kDirectoryHeaderSize + nameSize + extraSize + commentSize;
        if (!header.starts_with(kDirectoryHeader) || size > end_.directoryEnd - offset)
            throw Failure(file_.path(), kDamaged);
        std::string name = file_.read(offset + kDirectoryHeaderSize, nameSize + extraSize);
        const std::string extra = name.substr(std::min(nameSize, name.size()));
        name.resize(std::min(nameSize, name.size()));
        const char flags = header[kDirectoryFlags];
        if (withoutUtf8Mark(flags) != flags)
            result_.corrections.push_back({offset + kDirectoryFlags, 1, {withoutUtf8Mark(flags)}});
        takeItem(header, std::move(name), numbersOf(header, extra));
        return offset + size;
    }

    void takeItem(std::string_view header, std::string name, const Numbers& numbers) {
        const std::uint64_t room = end_.directory - end_.begin;
        const std::uint64_t place = end_.begin + std::min(numbers.header, room);
        const std::string local = file_.read(place, kLocalHeaderSize + name.size());
        if (numbers.header >= room || local.size() < kLocalHeaderSize ||
            !local.starts_with(kLocalHeader))
            throw Failure(name, "is not where the directory says");
        if (number(local, 26, 2) != name.size() || local.substr(kLocalHeaderSize) != name)
            throw Failure(name, "has another name beside its data");
        const std::uint64_t data = place + local.size() + number(local, 28, 2);
        if (data > end_.directory || numbers.compressed > end_.directory - data)
            throw overlap(name);
        correctHeader(place, local, header[kDirectoryVersion]);
        result_.items.push_back({std::move(name), place, data + numbers.compressed, numbers.size,
                                 static_cast<std::uint32_t>(number(header, 16, 4))});
    }

    void correctHeader(std::uint64_t place, std::string_view local, char system) {
        Correction correction{place + kLocalVersion, kLocalSizesEnd - kLocalVersion, {}};
        const auto at = [&correction](std::size_t offset) -> char& {
            return correction.bytes.at(offset - kLocalVersion);
        };
        for (std::size_t offset = kLocalVersion; offset < kLocalSizes; ++offset)
            at(offset) = local[offset];
        at(kLocalVersion) = system;
        at(kLocalFlags) = withoutUtf8Mark(local[kLocalFlags]);
        result_.corrections.push_back(correction); // with zeros for what the directory tells
    }

    void checkCount() const {
        if (end_.tellsOf(result_.items.size())) return;
        throw Failure(file_.path(), "has a directory of " + std::to_string(result_.items.size()) +
                                        " items, and an end record that tells of " +
                                        std::to_string(end_.items));
    }

    void checkPlaces() {
        auto& items = result_.items;
        std::stable_sort(items.begin(), items.end(),
                         [](const ListedItem& one, const ListedItem& other) {
                             return one.header < other.header;
                         });
        const auto overlapping = std::adjacent_find(
            items.begin(), items.end(), [](const ListedItem& one, const ListedItem& next) {
                return one.dataEnd > next.header;
            });
        if (overlapping != items.end()) throw overlap(overlapping->name);
    }

    static Failure overlap(const std::string& name) {
        return {name, std::string("overlaps another item of the archive")};
    }

    void dropComment() {
        result_.corrections.push_back({end_.record + kDirectoryEndSize - 2, 2, {}});
    }

    const ArchiveFile& file_;
    const ZipEnd end_;
    ZipDirectory result_;
};

} // namespace

ZipDirectory readDirectory(const ArchiveFile& file) { return DirectoryReader(file).read(); }

} // namespace quorvane::platform::linux_::tools::ditto
