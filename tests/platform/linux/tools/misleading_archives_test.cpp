// Archives whose directory is elsewhere, or tells something else, than a careless reader thinks.
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/linux/tools/hostile_archive.h"

namespace {

namespace fs = std::filesystem;
using namespace quorvane;
using quorvane::testing::contentOf;
using quorvane::testing::ToolRun;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;

constexpr const char* kSample = R"(
import random
random.seed(1)
add('dir/', '', FOLDER)
add('dir/\u00e9', 'content')
add('back\\slash', 'content')
add('empty', '')
add('link', 'dir', LINK)
add('large', random.randbytes(700000))
)";

/// Has the archive's end tell its numbers in 64 bits.
constexpr const char* kSample64 = "zipfile.ZIP_FILECOUNT_LIMIT = 0\n";

/// `data` is the archive's bytes; `end` is where its end record is, `end64` the one in 64 bits and
/// `locator` what leads there; the directory is `size` bytes from `start` on.
constexpr const char* kEdit = R"(
import struct, sys
data = bytearray(open(sys.argv[1], 'rb').read())
def put(form, place, *values): struct.pack_into('<' + form, data, place, *values)
def get(form, place): return struct.unpack_from('<' + form, data, place)[0]
end = data.rindex(b'PK\5\6')
locator, end64 = end - 20, end - 76
size, start = get('I', end + 12), get('I', end + 16)
def headers():
    place = start
    while data[place:place + 4] == b'PK\1\2':
        yield place
        place += 46 + sum(struct.unpack_from('<HHH', data, place + 28))
def header(name):
    return next(place for place in headers() if data[place + 46:].startswith(name.encode()))
def local(name): return get('I', header(name) + 42)
def overflow():
    put('HHII', end + 8, 0xffff, 0xffff, 0xffffffff, 0xffffffff)
)";

class MisleadingArchive : public quorvane::testing::HostileArchive {
protected:
    MisleadingArchive() { make(kSample); }

    void makeSample64() { make(std::string(kSample64) + kSample); }
    void edit(const std::string& script) {
        quorvane::testing::runPython(kEdit + script + "\nopen(sys.argv[1], 'wb').write(data)",
                                     {archive_});
    }
    void addInFront(const std::string& bytes) {
        const std::string whole = contentOf(archive_);
        std::ofstream(archive_, std::ios::binary) << bytes << whole;
    }
    void addBehind(const std::string& bytes) {
        std::ofstream(archive_, std::ios::binary | std::ios::app) << bytes;
    }
    void expectWhole() {
        const ToolRun run = unpackInto(folder_ / "new");
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.error, "");
        std::vector<std::string> items;
        for (const auto& entry : fs::recursive_directory_iterator(folder_ / "new"))
            items.push_back(entry.path().lexically_relative(folder_ / "new"));
        std::sort(items.begin(), items.end());
        EXPECT_THAT(items,
                    ElementsAre("back\\slash", "dir", "dir/\xc3\xa9", "empty", "large", "link"));
        EXPECT_EQ(contentOf(folder_ / "new/dir/\xc3\xa9"), "content");
        EXPECT_EQ(contentOf(folder_ / "new/large").size(), 700'000U);
        fs::remove_all(folder_ / "new");
    }
    void expectArchiveRefusal(const std::string& reason) {
        expectRefusal(EndsWith(archive_ + ": " + reason + "\n"));
    }
    void expectItemRefusal(const std::string& item, const std::string& reason) {
        expectRefusal(HasSubstr("ditto: " + item + ": " + reason + "\n"));
    }
};

constexpr const char* kNoEnd = "does not end as a zip archive does";
constexpr const char* kBadEnd = "its end record does not tell where its directory is";
constexpr const char* kBad64 = "its 64-bit end record is damaged";
constexpr const char* kBadDirectory = "its directory is damaged";

const std::vector<std::string>& prefixes() {
    static const std::vector<std::string> all = {
        "#!/bin/sh\nexec unzip \"$0\"\n", std::string(1, '\0'), std::string(300'000, 'x'),
        // What a reader might take for a part of the archive.
        "PK\1\2" + std::string(42, '\0'), "PK\3\4" + std::string(26, '\0'),
        "PK\5\6" + std::string(18, '\0'), "PK\6\6" + std::string(52, '\0')};
    return all;
}

TEST_F(MisleadingArchive, HasSomethingInFront) {
    for (const std::string& prefix : prefixes()) {
        SCOPED_TRACE(prefix.substr(0, 10));
        make(kSample);
        addInFront(prefix);
        expectWhole();
    }
}

TEST_F(MisleadingArchive, HasSomethingInFrontOf64BitNumbers) {
    for (const std::string& prefix : prefixes()) {
        SCOPED_TRACE(prefix.substr(0, 10));
        makeSample64();
        addInFront(prefix);
        expectWhole();
        makeSample64();
        edit("overflow()");
        expectWhole();
        addInFront(prefix);
        expectWhole();
    }
}

TEST_F(MisleadingArchive, HasAnotherArchiveInFront) {
    const std::string other = contentOf(archive_);
    makeSample64();
    addInFront(other);
    expectWhole();
    make(kSample);
    addInFront(other);
    expectWhole();
}

TEST_F(MisleadingArchive, HasOffsetsThatCountWhatIsInFront) {
    make("archive.fp.write(b'#!/bin/sh\\n' * 10); archive.start_dir = 100\n" +
         std::string(kSample));
    expectWhole();
}

TEST_F(MisleadingArchive, HasA64BitEndThatLies) {
    for (const char* lie :
         {"data[end64 + 2] = 7", "data[end64 + 4] += 1", "put('Q', locator + 8, 0)",
          "put('Q', locator + 8, 2 ** 63 + 5)", "put('Q', locator + 8, end64 + 1)",
          "put('Q', end64 + 4, 2 ** 64 - 12)"}) {
        SCOPED_TRACE(lie);
        makeSample64();
        edit(lie);
        expectArchiveRefusal(kBad64);
        makeSample64();
        edit(std::string("overflow(); ") + lie);
        expectArchiveRefusal(kBad64);
    }
}

TEST_F(MisleadingArchive, HasA64BitEndThatPlacesTheDirectoryElsewhere) {
    for (const char* lie :
         {"put('Q', end64 + 48, start + 1)", "put('Q', end64 + 48, 2 ** 64 - 1)",
          "put('Q', end64 + 48, 2 ** 64 - size)", "put('Q', end64 + 40, size + 1)",
          "put('Q', end64 + 40, 2 ** 64 - start)", "put('Q', end64 + 40, 0)"}) {
        SCOPED_TRACE(lie);
        makeSample64();
        edit(std::string("overflow(); ") + lie);
        expectArchiveRefusal(kBadEnd);
        makeSample64();
        edit(lie);
        expectArchiveRefusal(kBad64); // as it contradicts the other
    }
}

TEST_F(MisleadingArchive, HasNo64BitEndWhereOneIsTold) {
    makeSample64();
    edit("overflow(); data[locator] = 0");
    expectArchiveRefusal(kBadEnd);
    make(kSample);
    edit("overflow()");
    expectArchiveRefusal(kBadEnd);
}

TEST_F(MisleadingArchive, TellsAnotherNumberOfItems) {
    for (const int count : {0, 1, 5, 7, 65535}) {
        SCOPED_TRACE(count);
        const std::string told = std::to_string(count);
        const std::string reason =
            "has a directory of 6 items, and an end record that tells of " + told;
        make(kSample);
        edit("put('HH', end + 8, " + told + ", " + told + ")");
        expectArchiveRefusal(reason);
        makeSample64();
        edit("overflow(); put('QQ', end64 + 24, " + told + ", " + told + ")");
        expectArchiveRefusal(reason);
    }
}

TEST_F(MisleadingArchive, TellsAnotherSizeOfItsDirectory) {
    edit("put('HHI', end + 8, 5, 5, header('large') - start)");
    expectArchiveRefusal(kBadEnd);
    make(kSample);
    edit("rest = header('back') - start\n"
         "put('HHII', end + 8, 4, 4, size - rest, start + rest)\n");
    EXPECT_EQ(unpackInto(folder_ / "new").status, 0); // a directory that is simply shorter
    fs::remove_all(folder_ / "new");
    make(kSample);
    edit("put('HHI', end + 8, 5, 5, size - (header('back') - start))");
    EXPECT_EQ(unpackInto(folder_ / "new").status, 1);
    make(kSample);
    edit("put('I', end + 12, size + 1)");
    expectArchiveRefusal(kBadEnd);
    make(kSample);
    edit("put('HHI', end + 8, 0, 0, 0)");
    expectArchiveRefusal(kBadEnd);
}

TEST_F(MisleadingArchive, HasAnEmptyDirectoryBehindItems) {
    edit("del data[start:end]; put('HHII', len(data) - 14, 0, 0, 0, start)");
    expectArchiveRefusal(kBadEnd);
    make(kSample);
    edit("put('HHII', end + 8, 0, 0, 0, 0)");
    expectArchiveRefusal(kBadEnd);
    make(kSample);
    edit("put('HHII', end + 8, 0, 0, 0, end)");
    expectArchiveRefusal(kBadEnd);
}

TEST_F(MisleadingArchive, HasADamagedDirectory) {
    for (const char* damage :
         {"data[header('back')] = 0", "data[header('back') + 3] = 4",
          "put('H', header('back') + 28, 0xffff)", "put('H', header('large') + 32, 1)",
          "data[header('empty') + 2:header('empty') + 4] = b'\\5\\6'",
          "data[header('link'):header('link') + 4] = b'PK\\5\\6'",
          "data[header('link'):header('link') + 4] = b'PK\\6\\6'"}) {
        SCOPED_TRACE(damage);
        make(kSample);
        edit(damage);
        expectArchiveRefusal(kBadDirectory);
    }
}

TEST_F(MisleadingArchive, GivesTwoItemsOnePlace) {
    edit("put('I', header('back') + 42, local('empty'))");
    expectRefusal(HasSubstr("ditto: back\\slash: "));
    // The same name in the directory too.
    make("add('x', 'first'); add('x', 'second'); add('y')");
    edit("put('I', list(headers())[1] + 42, 0)");
    expectItemRefusal("x", "overlaps another item of the archive");
}

TEST_F(MisleadingArchive, LaysItemsOverEachOther) {
    // One item's data is the next one, whole.
    make("add('a', 'content'); add('b', 'content')");
    edit("put('I', header('a') + 20, start - 31)");
    expectItemRefusal("a", "overlaps another item of the archive");
    make("add('a', 'content')");
    edit("put('I', header('a') + 20, start - 30)"); // reaches into the directory
    expectItemRefusal("a", "overlaps another item of the archive");
}

TEST_F(MisleadingArchive, PlacesAnItemWhereNoneIs) {
    for (const char* place : {"1", "start", "end", "2 ** 32 - 2", "2 ** 32 - 1"}) {
        SCOPED_TRACE(place);
        make(kSample);
        edit(std::string("put('I', header('empty') + 42, ") + place + ")");
        expectItemRefusal("empty", "is not where the directory says");
    }
}

TEST_F(MisleadingArchive, NamesItemsInTwoWays) {
    // All under one name, if the one beside the data counted.
    make("add('a', '1'); add('b', '2'); add('c', '3')");
    edit("data[local('b') + 30:local('b') + 31] = b'a'; data[local('c') + 30:local('c') + 31] = "
         "b'a'");
    expectItemRefusal("b", "has another name beside its data");
    make("add('a', '1')");
    edit("put('H', local('a') + 26, 2); put('H', local('a') + 28, 0xffff)");
    expectItemRefusal("a", "has another name beside its data");
}

TEST_F(MisleadingArchive, HasACommentLikeItsEnd) {
    const auto comment = [this](const std::string& bytes) {
        make(kSample);
        edit("data += " + bytes + "; put('H', end + 20, len(data) - end - 22)");
    };
    for (const char* bytes :
         {"b'a comment'", "b'PK\\5\\6'", "b'PK\\5\\6' + bytes(17)", "b'PK\\5\\6' + bytes(18)",
          "b'PK\\1\\2' + bytes(42)", "b'PK\\6\\7' + bytes(20) + b'PK\\5\\6' + bytes(18)",
          "b'x' * 65535", "b'PK\\5\\6' * 16383 + b'\\5\\6'"}) {
        SCOPED_TRACE(bytes);
        comment(bytes);
        expectWhole();
        addInFront("#!/bin/sh\n");
        expectWhole();
    }
    // A directory and an end of its own.
    comment("data[start:start + (header('dir/') - start)] + data[start:header('back')] + "
            "struct.pack('<4sHHHHIIH', b'PK\\5\\6', 0, 0, 2, 2, header('back') - start, start, 0)");
    expectArchiveRefusal("has two directories");
}

TEST_F(MisleadingArchive, HasSomethingBehindItsEnd) {
    for (const std::string& rest : {std::string("garbage"), std::string(100'000, '\0') + "garbage",
                                    std::string("PK\5\6", 4)}) {
        make(kSample);
        addBehind(rest);
        expectArchiveRefusal(kNoEnd);
    }
    make(kSample); // an empty archive
    addBehind("PK\5\6" + std::string(18, '\0'));
    expectArchiveRefusal(kBadEnd);
}

TEST_F(MisleadingArchive, IsPaddedWithZeros) {
    for (const std::size_t size : {1U, 100U, 70'000U, 1U << 19U}) {
        makeSample64();
        addBehind(std::string(size, '\0'));
        expectWhole();
        make(kSample);
        edit("data += b'comment'; put('H', end + 20, 7)");
        addBehind(std::string(size, '\0'));
        expectWhole();
    }
    addBehind(std::string(1U << 20U, '\0'));
    expectArchiveRefusal(kNoEnd);
}

TEST_F(MisleadingArchive, TellsAnotherSizeOrChecksum) {
    for (const char* item : {"large", "empty", "dir/'", "link"}) {
        for (const char* lie : {"put('I', place + 24, get('I', place + 24) + 1)", // the size
                                "put('I', place + 16, get('I', place + 16) + 1)"}) {
            const std::string name = item == std::string("dir/'") ? "dir/" : item;
            SCOPED_TRACE(name + ": " + lie);
            make(kSample);
            edit("place = header('" + name + "'); " + lie);
            expectRefusal(HasSubstr("ditto: " + name + ": "));
            // And beside the data, where the directory is not asked.
            make(kSample);
            edit("place = header('" + name + "'); " + lie + "; copied = local('" + name +
                 "'); data[copied + 14:copied + 26] = "
                 "data[place + 16:place + 28]");
            expectRefusal(HasSubstr("ditto: " + name + ": "));
        }
    }
}

TEST_F(MisleadingArchive, TellsAnotherSizeBesideTheData) {
    edit("put('III', local('large') + 14, 1, 2, 3)");
    expectWhole(); // the directory counts
}

TEST_F(MisleadingArchive, HasDataInAFolder) {
    make("add('d/', 'content', FOLDER)");
    expectItemRefusal("d/", "is a folder, and has data");
}

TEST_F(MisleadingArchive, GivesItemsOneName) {
    make("add('a'); add('a/b')");
    expectItemRefusal("a/b", "lies beyond a file");
    make("add('a/', '', FOLDER); add('a')");
    expectItemRefusal("a", "has the name of another item");
    make("add('a'); add('a/', '', FOLDER)");
    expectItemRefusal("a/", "lies beyond a file");
    make("add('a'); add('./a')");
    expectItemRefusal("./a", "has the name of another item");
    make("add('a', '', FOLDER); add('a', '', FOLDER)"); // is all there
    EXPECT_EQ(unpackInto(folder_ / "new").status, 0);
}

TEST_F(MisleadingArchive, GivesItemsOneNameInAnotherEncoding) {
    make(R"(
import binascii, struct
def add_named(name, other):
    entry = zipfile.ZipInfo(name)
    data = struct.pack('<BI', 1, binascii.crc32(name.encode())) + other.encode()
    entry.extra = struct.pack('<HH', 0x7075, len(data)) + data
    archive.writestr(entry, name)
add_named('a', 'c')
add_named('b', 'c')
)");
    expectItemRefusal("c", "has the name of another item");
}

} // namespace
