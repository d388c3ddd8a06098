#include "platform/linux/property_lists.h"

#include <gmock/gmock.h>
#include <plist/plist.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "tests/platform/linux/scratch_folder.h"

namespace quorvane::platform::linux_ {
namespace {

using quorvane::testing::ScratchFolder;

std::string xml(const std::string& value) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">" + value +
           "</plist>\n";
}

template <class T>
T valueOf(const PropertyList* list) {
    if (list == nullptr || !std::holds_alternative<T>(list->value)) {
        ADD_FAILURE() << "missing or of another type";
        return T();
    }
    return std::get<T>(list->value);
}

std::string bigEndian(std::uint64_t value, int length) {
    std::string bytes;
    for (int shift = (length - 1) * 8; shift >= 0; shift -= 8)
        bytes += static_cast<char>((value >> static_cast<unsigned>(shift)) & 0xFFU);
    return bytes;
}

// A binary list of these encoded objects, the first one on top; references take four bytes.
std::string binary(const std::vector<std::string>& objects) {
    std::string bytes = "bplist00";
    std::string table;
    for (const std::string& object : objects) {
        table += bigEndian(bytes.size(), 4);
        bytes += object;
    }
    const std::size_t tableOffset = bytes.size();
    return bytes + table + std::string(6, '\0') + "\x04\x04" + bigEndian(objects.size(), 8) +
           bigEndian(0, 8) + bigEndian(tableOffset, 8);
}

// The library's own binary form of a list, which is freed.
std::string binaryForm(plist_t list) {
    char* bytes = nullptr;
    std::uint32_t length = 0;
    ::plist_to_bin(list, &bytes, &length);
    std::string form(bytes, length);
    std::free(bytes); // its versions have different names for this
    ::plist_free(list);
    return form;
}

std::string nested(std::size_t depth, const std::string& opening, const std::string& closing) {
    std::string text;
    for (std::size_t level = 0; level < depth; ++level) text += opening;
    for (std::size_t level = 0; level < depth; ++level) text += closing;
    return text;
}

std::string nestedBinary(std::size_t depth) {
    std::vector<std::string> objects;
    for (std::size_t level = 1; level < depth; ++level)
        objects.push_back("\xA1" + bigEndian(level, 4));
    objects.emplace_back("\xA0");
    return binary(objects);
}

class PropertyListsTest : public ::testing::Test {
protected:
    int errorOf(const std::string& bytes) {
        const auto list = lists.parse(bytes);
        return list ? 0 : list.error().code;
    }

    LinuxPropertyLists lists;
};

TEST_F(PropertyListsTest, ReadsEveryTypeOfXml) {
    const auto list =
        lists.parse(xml("<dict><key>yes</key><true/><key>no</key><false/>"
                        "<key>number</key><integer>-7</integer>"
                        "<key>real</key><real>1.5</real>"
                        "<key>text</key><string>Gr\xC3\xBC\xC3\x9F &amp; Gott</string>"
                        "<key>data</key><data>AAEC</data>"
                        "<key>date</key><date>2020-01-01T00:00:00Z</date>"
                        "<key>list</key><array><string>a</string><dict/></array>"
                        "</dict>"));
    ASSERT_TRUE(list);
    const PropertyList& top = list.value();
    EXPECT_TRUE(valueOf<bool>(top.find("yes")));
    EXPECT_FALSE(valueOf<bool>(top.find("no")));
    EXPECT_EQ(valueOf<std::int64_t>(top.find("number")), -7);
    EXPECT_EQ(valueOf<double>(top.find("real")), 1.5);
    EXPECT_EQ(valueOf<std::string>(top.find("text")), "Gr\xC3\xBC\xC3\x9F & Gott");
    EXPECT_EQ(valueOf<PropertyList::Data>(top.find("data")).bytes, std::string("\0\1\2", 3));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(top.find("date")->value));
    const auto array = valueOf<PropertyList::Array>(top.find("list"));
    ASSERT_EQ(array.size(), 2U);
    EXPECT_EQ(valueOf<std::string>(&array[0]), "a");
    EXPECT_TRUE(valueOf<PropertyList::Dictionary>(&array[1]).empty());
    EXPECT_EQ(top.find("other"), nullptr);
}

TEST_F(PropertyListsTest, ReadsTheBinaryFormat) {
    plist_t node = ::plist_new_dict();
    ::plist_dict_set_item(node, "CFBundleIdentifier", ::plist_new_string("com.quorvane.StageTidy"));
    const std::string longText(1000, 'x');
    ::plist_dict_set_item(node, "long", ::plist_new_string(longText.c_str()));
    const std::string written = binaryForm(node);

    const auto list = lists.parse(written);
    ASSERT_TRUE(list);
    EXPECT_EQ(valueOf<std::string>(list.value().find("CFBundleIdentifier")),
              "com.quorvane.StageTidy");
    EXPECT_EQ(valueOf<std::string>(list.value().find("long")), longText);
}

TEST_F(PropertyListsTest, AnythingElseIsAnError) {
    EXPECT_EQ(errorOf(""), EINVAL);
    EXPECT_EQ(errorOf("b"), EINVAL);
    EXPECT_EQ(errorOf("bplist00"), EINVAL);
    EXPECT_EQ(errorOf("just text"), EINVAL);
    EXPECT_EQ(errorOf("<plist><dict><key>a</key>"), EINVAL);
    EXPECT_EQ(errorOf(std::string(100, '\0')), EINVAL);
    EXPECT_EQ(errorOf("bplist00" + std::string(100, '\xFF')), EINVAL);
}

TEST_F(PropertyListsTest, EveryCutAndFlippedByteIsSurvived) {
    plist_t node = ::plist_new_dict();
    plist_t array = ::plist_new_array();
    ::plist_array_append_item(array, ::plist_new_string("text"));
    ::plist_array_append_item(array, ::plist_new_uint(300));
    ::plist_dict_set_item(node, "list", array);
    const std::string sound = binaryForm(node);

    ASSERT_EQ(errorOf(sound), 0);
    for (std::size_t cut = 0; cut < sound.size(); ++cut) (void)lists.parse(sound.substr(0, cut));
    for (std::size_t at = 0; at < sound.size(); ++at)
        for (unsigned bit = 0; bit < 8; ++bit) {
            std::string damaged = sound;
            damaged[at] = static_cast<char>(static_cast<unsigned char>(damaged[at]) ^ (1U << bit));
            (void)lists.parse(damaged);
        }
}

TEST_F(PropertyListsTest, DepthIsLimited) {
    EXPECT_EQ(errorOf(xml(nested(100, "<array>", "</array>"))), 0);
    EXPECT_EQ(errorOf(nestedBinary(100)), 0);
    for (const std::size_t depth : {std::size_t{200}, std::size_t{9'000}, std::size_t{300'000}}) {
        EXPECT_EQ(errorOf(xml(nested(depth, "<array>", "</array>"))), EINVAL);
        EXPECT_EQ(errorOf(xml(nested(depth, "<dict><key>k</key>", "</dict>"))), EINVAL);
        EXPECT_EQ(errorOf(nestedBinary(depth)), EINVAL);
    }
}

TEST_F(PropertyListsTest, ListsThatHoldThemselvesAreRefused) {
    EXPECT_EQ(errorOf(binary({"\xA1" + bigEndian(0, 4)})), EINVAL);
}

TEST_F(PropertyListsTest, SharedValuesThatGrowWithoutBoundAreRefused) {
    std::vector<std::string> doubling;
    for (std::size_t level = 1; level < 60; ++level)
        doubling.push_back("\xA2" + bigEndian(level, 4) + bigEndian(level, 4));
    doubling.emplace_back("\xA0");
    EXPECT_EQ(errorOf(binary(doubling)), EINVAL);

    // An array of 1000 references to one text of 1 MB.
    std::string array = "\xAF\x11" + bigEndian(1000, 2);
    for (int count = 0; count < 1000; ++count) array += bigEndian(1, 4);
    EXPECT_EQ(errorOf(binary(
                  {array, "\x5F\x12" + bigEndian(1'000'000, 4) + std::string(1'000'000, 'x')})),
              EINVAL);
}

TEST_F(PropertyListsTest, FilesAreRegularAndOfReasonableSize) {
    const ScratchFolder scratch;
    EXPECT_TRUE(lists.parseFile(scratch.addFile("sound.plist", xml("<dict/>"))));
    EXPECT_EQ(lists.parseFile(scratch / "missing").error().code, ENOENT);
    EXPECT_EQ(lists.parseFile(scratch.path()).error().code, EINVAL);
    ASSERT_EQ(::mkfifo((scratch / "fifo").c_str(), 0600), 0);
    EXPECT_EQ(lists.parseFile(scratch / "fifo").error().code, EINVAL);
    EXPECT_EQ(lists.parseFile("/dev/zero").error().code, EINVAL);

    const std::size_t limit = std::size_t{16} << 20U;
    std::string padded = xml("<dict/>");
    padded.append(limit - padded.size(), '\n');
    EXPECT_TRUE(lists.parseFile(scratch.addFile("full.plist", padded)));
    EXPECT_EQ(lists.parseFile(scratch.addFile("big.plist", padded + "\n")).error().code, EFBIG);
}

} // namespace
} // namespace quorvane::platform::linux_
