#include "kit/base/encodings.h"

#include <string>

#include <gtest/gtest.h>

namespace quorvane {
namespace {

using namespace std::string_literals;

/// The bytes from a value on, as many as told.
std::string bytesFrom(unsigned first, unsigned count) {
    std::string bytes;
    for (unsigned byte = first; byte < first + count; ++byte) bytes += static_cast<char>(byte);
    return bytes;
}

TEST(Encodings, HaveThePlatformsNumbers) {
    EXPECT_EQ(decodeText("a", TextEncoding{1}), "a");
    EXPECT_EQ(decodeText("\xC3\xA9", TextEncoding{4}), "é");
    EXPECT_EQ(decodeText("\xE9", TextEncoding{5}), "é");
    EXPECT_EQ(decodeText("\xFE\xFF\x20\xAC", TextEncoding{10}), "€");
    EXPECT_EQ(decodeText("\x80", TextEncoding{12}), "€");
    EXPECT_EQ(decodeText("\xDB", TextEncoding{30}), "€");
    EXPECT_EQ(decodeText("\x20\xAC", TextEncoding{0x90000100}), "€");
    EXPECT_EQ(decodeText("\xAC\x20", TextEncoding{0x94000100}), "€");
    for (const unsigned long unknown : {0UL, 2UL, 3UL, 6UL, 11UL, 31UL, 4711UL})
        EXPECT_EQ(decodeText("a", TextEncoding{unknown}), std::nullopt) << unknown;
}

TEST(Encodings, AsciiHasNoUpperHalf) {
    const std::string all = bytesFrom(0, 128);
    EXPECT_EQ(decodeText(all, TextEncoding::ascii), all);
    EXPECT_EQ(decodeText("a\x80", TextEncoding::ascii), std::nullopt);
}

TEST(Encodings, Utf8MustBeValid) {
    EXPECT_EQ(decodeText("a\0é€😀"s, TextEncoding::utf8), "a\0é€😀"s);
    for (const char* broken : {"\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"})
        EXPECT_EQ(decodeText(broken, TextEncoding::utf8), std::nullopt);
}

TEST(Encodings, SingleBytes) {
    for (const auto encoding :
         {TextEncoding::isoLatin1, TextEncoding::windowsLatin1, TextEncoding::macOSRoman}) {
        EXPECT_EQ(decodeText("", encoding), "");
        EXPECT_EQ(decodeText(bytesFrom(0, 128), encoding), bytesFrom(0, 128));
    }
    EXPECT_EQ(decodeText(bytesFrom(0xA0, 96), TextEncoding::isoLatin1),
              "\u00A0¡¢£¤¥¦§¨©ª«¬\u00AD®¯°±²³´µ¶·¸¹º»¼½¾¿"
              "ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞß"
              "àáâãäåæçèéêëìíîïðñòóôõö÷øùúûüýþÿ");
    EXPECT_EQ(decodeText(bytesFrom(0xA0, 96), TextEncoding::windowsLatin1),
              decodeText(bytesFrom(0xA0, 96), TextEncoding::isoLatin1));
    EXPECT_EQ(decodeText("\x80\x85\x92\x93\x94\x99\x9F", TextEncoding::windowsLatin1), "€…’“”™Ÿ");
    EXPECT_EQ(decodeText(bytesFrom(0x80, 128), TextEncoding::macOSRoman),
              "ÄÅÇÉÑÖÜáàâäãåçéèêëíìîïñóòôöõúùûü"
              "†°¢£§•¶ß®©™´¨≠ÆØ∞±≤≥¥µ∂∑∏π∫ªºΩæø"
              "¿¡¬√ƒ≈∆«»…\u00A0ÀÃÕŒœ–—“”‘’÷◊ÿŸ⁄€‹›ﬁﬂ"
              "‡·‚„‰ÂÊÁËÈÍÎÏÌÓÔ\uF8FFÒÚÛÙıˆ˜¯˘˙˚¸˝˛ˇ");
}

TEST(Encodings, FiveBytesAreNoWindowsLatin1) {
    for (const char* undefined : {"\x81", "\x8D", "\x8F", "\x90", "\x9D"})
        EXPECT_EQ(decodeText(undefined, TextEncoding::windowsLatin1), std::nullopt);
}

TEST(Encodings, Utf16WithAMark) {
    EXPECT_EQ(decodeText("\xFE\xFF\0a\xD8\x3D\xDE\0"s, TextEncoding::utf16), "a😀");
    EXPECT_EQ(decodeText("\xFF\xFE"
                         "a\0\x3D\xD8\0\xDE"s,
                         TextEncoding::utf16),
              "a😀");
    EXPECT_EQ(decodeText("\xFF\xFE", TextEncoding::utf16), "");
}

TEST(Encodings, Utf16WithoutAMarkIsInTheMachinesOrder) {
    const std::u16string text = u"aé€😀";
    const std::string bytes(reinterpret_cast<const char*>(text.data()), text.size() * 2);
    EXPECT_EQ(decodeText(bytes, TextEncoding::utf16), "aé€😀");
    EXPECT_EQ(decodeText("", TextEncoding::utf16), "");
}

TEST(Encodings, Utf16OfAGivenOrderHasNoMark) {
    EXPECT_EQ(decodeText("\0a\0\0"s, TextEncoding::utf16BigEndian), "a\0"s);
    EXPECT_EQ(decodeText("a\0\0\0"s, TextEncoding::utf16LittleEndian), "a\0"s);
    EXPECT_EQ(decodeText("\xFE\xFF\0a"s, TextEncoding::utf16BigEndian), "\uFEFFa");
}

TEST(Encodings, Utf16MustBeWhole) {
    for (const std::string& broken :
         {"a"s, "\0a\0"s, "\xD8\x3D"s, "\xD8\x3D\0a"s, "\xDE\0"s, "\xD8\x3D\xD8\x3D"s})
        EXPECT_EQ(decodeText(broken, TextEncoding::utf16BigEndian), std::nullopt);
}

} // namespace
} // namespace quorvane
