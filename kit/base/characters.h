// Text measured in characters, which are UTF-16 code units here. A byte that is no part of valid
// UTF-8 counts as one character.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quorvane {

/// Length in characters.
std::size_t characterCount(std::string_view text);

/// How many bytes the character that begins the text has, a surrogate pair counted whole; 0 for an
/// empty text.
std::size_t firstCharacterLength(std::string_view text);

/// The text without its first, or last, `count` characters. A cut through a surrogate pair drops
/// the whole pair.
std::string_view dropFirstCharacters(std::string_view text, std::size_t count);
std::string_view dropLastCharacters(std::string_view text, std::size_t count);

/// The text without white space and line breaks at both ends: ASCII ones, U+0085, U+00A0, and the
/// separators of Unicode.
std::string_view trimWhitespace(std::string_view text);

/// Whether all bytes are ASCII: then each is one character.
bool isAscii(std::string_view bytes);

/// Whether the bytes are valid UTF-8.
bool isValidUtf8(std::string_view bytes);

/// The text with its letters in lower case, character by character. Where the system's table of
/// all letters is missing, only ASCII ones change.
std::string lowercase(std::string_view text);

/// The bytes with each one that is no part of valid UTF-8 replaced by U+FFFD.
std::string replaceInvalidBytes(std::string_view bytes);

/// The character with this number, in UTF-8; U+FFFD for numbers that are none.
std::string encodeCharacter(std::uint64_t number);

/// The text with every occurrence of a piece replaced, from left to right, in one pass.
std::string replaceAll(std::string_view text, std::string_view piece, std::string_view replacement);

} // namespace quorvane
