#include "kit/base/format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <type_traits>

#include "kit/base/characters.h"

namespace quorvane {
namespace {

constexpr std::size_t kLimit = 500; ///< of widths and precisions
constexpr std::string_view kNull = "(null)";

/// The longest number: 309 digits before the point of a double, the point, the precision.
using NumberBuffer = std::array<char, 320 + kLimit>;

enum class Width : std::uint8_t { byte, half, word, wide };

/// What stands between "%" and the letter of a conversion, and the letter.
struct Conversion {
    bool left = false;
    bool plus = false;
    bool space = false;
    bool zero = false;
    bool alternate = false;
    std::size_t width = 0;
    std::optional<std::size_t> precision;
    Width argument = Width::word;
    char letter = 0;
};

/// Hands out the values one after the other.
class Values {
public:
    explicit Values(std::span<const FormatArgument> values) : rest_(values) {}

    const FormatArgument::Value& next() {
        static const FormatArgument missing(nullptr);
        if (rest_.empty()) return missing.value();
        const FormatArgument& value = rest_.front();
        rest_ = rest_.subspan(1);
        return value.value();
    }

private:
    std::span<const FormatArgument> rest_;
};

std::int64_t wholeNumber(double number) {
    constexpr double kEnd = 9223372036854775808.0; // 2^63
    if (number >= kEnd) return std::numeric_limits<std::int64_t>::max();
    if (number < -kEnd) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(number);
}

// Reading a conversion

/// The letters that end a conversion.
constexpr std::array<bool, 256> kLetters = [] {
    std::array<bool, 256> letters{};
    for (const char letter : std::string_view("@sSdiDuUxXoOcCpfFeEgGaA"))
        letters.at(static_cast<unsigned char>(letter)) = true;
    return letters;
}();

bool startsWithLetter(std::string_view text) {
    return !text.empty() && kLetters.at(static_cast<unsigned char>(text.front()));
}

std::size_t readNumber(std::string_view& text) {
    std::size_t number = 0;
    while (!text.empty() && text.front() >= '0' && text.front() <= '9') {
        number = std::min(kLimit, number * 10 + static_cast<std::size_t>(text.front() - '0'));
        text.remove_prefix(1);
    }
    return number;
}

void readFlags(std::string_view& text, Conversion& conversion) {
    for (; !text.empty(); text.remove_prefix(1)) {
        switch (text.front()) {
        case '-':
            conversion.left = true;
            break;
        case '+':
            conversion.plus = true;
            break;
        case ' ':
            conversion.space = true;
            break;
        case '0':
            conversion.zero = true;
            break;
        case '#':
            conversion.alternate = true;
            break;
        case '\'':
            break; // digits are never grouped
        default:
            return;
        }
    }
}

/// A width or precision: digits, or "*" for the next value.
std::int64_t readMeasure(std::string_view& text, Values& values) {
    if (!text.starts_with('*')) return static_cast<std::int64_t>(readNumber(text));
    text.remove_prefix(1);
    const FormatArgument::Value& value = values.next();
    constexpr auto kMost = static_cast<std::int64_t>(kLimit);
    if (const auto* number = std::get_if<std::int64_t>(&value))
        return std::clamp(*number, -kMost, kMost);
    if (const auto* number = std::get_if<std::uint64_t>(&value))
        return static_cast<std::int64_t>(std::min<std::uint64_t>(*number, kLimit));
    return 0;
}

void readArgumentWidth(std::string_view& text, Conversion& conversion) {
    if (text.starts_with('h')) {
        conversion.argument = text.starts_with("hh") ? Width::byte : Width::half;
        text.remove_prefix(conversion.argument == Width::byte ? 2 : 1);
        return;
    }
    while (!text.empty() &&
           std::string_view("lqjztL").find(text.front()) != std::string_view::npos) {
        conversion.argument = Width::wide;
        text.remove_prefix(1);
    }
}

/// Reads what follows a "%"; null where it is no conversion.
std::optional<Conversion> readConversion(std::string_view& text, Values& values) {
    Conversion conversion;
    if (startsWithLetter(text)) { // most conversions are nothing but a letter
        conversion.letter = text.front();
        text.remove_prefix(1);
        return conversion;
    }
    readFlags(text, conversion);
    const std::int64_t width = readMeasure(text, values);
    conversion.left = conversion.left || width < 0;
    conversion.width = static_cast<std::size_t>(width < 0 ? -width : width);
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        const std::int64_t precision = readMeasure(text, values);
        if (precision >= 0) conversion.precision = static_cast<std::size_t>(precision);
    }
    readArgumentWidth(text, conversion);
    if (!startsWithLetter(text)) return std::nullopt;
    conversion.letter = text.front();
    text.remove_prefix(1);
    return conversion;
}

// Writing values

/// Writes prefix and body, filled up to the width: with blanks, or with zeros between the two.
void pad(std::string& output, const Conversion& conversion, std::string_view prefix,
         std::string_view body, std::size_t characters, bool zeros) {
    const std::size_t fill = conversion.width > characters ? conversion.width - characters : 0;
    if (!conversion.left && !zeros) output.append(fill, ' ');
    output.append(prefix);
    if (!conversion.left && zeros) output.append(fill, '0');
    output.append(body);
    if (conversion.left) output.append(fill, ' ');
}

void writeText(std::string& output, const Conversion& conversion, std::string_view text) {
    if (conversion.width == 0 && !conversion.precision) {
        output.append(text);
        return;
    }
    std::size_t characters = characterCount(text);
    if (conversion.precision && *conversion.precision < characters) {
        text = dropLastCharacters(text, characters - *conversion.precision);
        characters = characterCount(text);
    }
    pad(output, conversion, {}, text, characters, false);
}

void capitalize(char* first, const char* last) {
    for (; first != last; ++first)
        if (*first >= 'a' && *first <= 'z') *first = static_cast<char>(*first - 'a' + 'A');
}

std::string_view signOf(const Conversion& conversion, bool negative) {
    if (negative) return "-";
    if (conversion.plus) return "+";
    return conversion.space ? " " : "";
}

bool isSigned(char letter) { return letter == 'd' || letter == 'i' || letter == 'D'; }

int baseOf(char letter) {
    switch (letter) {
    case 'x':
    case 'X':
    case 'p':
        return 16;
    case 'o':
    case 'O':
        return 8;
    default:
        return 10;
    }
}

/// Digits with as many zeros before them as the precision asks for.
void writeDigits(std::string& output, const Conversion& conversion, std::string_view sign,
                 std::uint64_t magnitude) {
    NumberBuffer buffer;
    const int base = baseOf(conversion.letter);
    const char* end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), magnitude, base).ptr;
    if (conversion.letter == 'X') capitalize(buffer.data(), end);
    const std::string_view digits(buffer.data(), end);
    if (conversion.width == 0 && !conversion.precision && !conversion.alternate) {
        output.append(sign).append(digits);
        return;
    }
    std::string prefix(sign);
    if (conversion.alternate && base == 16 && magnitude != 0)
        prefix += conversion.letter == 'X' ? "0X" : "0x";
    if (conversion.alternate && base == 8 && magnitude != 0) prefix += '0';
    const std::size_t least = conversion.precision.value_or(1);
    if (digits.size() < least) prefix.append(least - digits.size(), '0');
    pad(output, conversion, prefix, digits, prefix.size() + digits.size(),
        conversion.zero && !conversion.precision);
}

/// The bits that an unsigned conversion sees of a negative number.
std::uint64_t unsignedBits(std::int64_t number, Width width) {
    const auto bits = static_cast<std::uint64_t>(number);
    switch (width) {
    case Width::byte:
        return bits & 0xFFU;
    case Width::half:
        return bits & 0xFFFFU;
    case Width::word:
        return number >= std::numeric_limits<std::int32_t>::min() ? bits & 0xFFFFFFFFU : bits;
    case Width::wide:
        break;
    }
    return bits;
}

void writeInteger(std::string& output, const Conversion& conversion, std::int64_t number) {
    const auto bits = static_cast<std::uint64_t>(number);
    if (isSigned(conversion.letter))
        writeDigits(output, conversion, signOf(conversion, number < 0), number < 0 ? -bits : bits);
    else
        writeDigits(output, conversion, {},
                    number < 0 ? unsignedBits(number, conversion.argument) : bits);
}

void writeInteger(std::string& output, const Conversion& conversion, std::uint64_t number) {
    writeDigits(output, conversion, isSigned(conversion.letter) ? signOf(conversion, false) : "",
                number);
}

std::chars_format styleOf(char letter) {
    switch (letter) {
    case 'e':
    case 'E':
        return std::chars_format::scientific;
    case 'g':
    case 'G':
        return std::chars_format::general;
    case 'a':
    case 'A':
        return std::chars_format::hex;
    default:
        return std::chars_format::fixed;
    }
}

void writeReal(std::string& output, const Conversion& conversion, double number) {
    NumberBuffer buffer;
    char* const first = buffer.data();
    char* const last = first + buffer.size();
    const std::chars_format style = styleOf(conversion.letter);
    const double magnitude = std::fabs(number);
    const bool exact = style == std::chars_format::hex && !conversion.precision;
    const auto precision = static_cast<int>(conversion.precision.value_or(6));
    const char* const end = exact ? std::to_chars(first, last, magnitude, style).ptr
                                  : std::to_chars(first, last, magnitude, style, precision).ptr;
    std::string prefix(signOf(conversion, std::signbit(number)));
    if (style == std::chars_format::hex && std::isfinite(number)) prefix += "0x";
    const std::string_view capitals = "FEGA";
    if (capitals.find(conversion.letter) != std::string_view::npos) {
        capitalize(first, end);
        capitalize(prefix.data(), prefix.data() + prefix.size());
    }
    const std::string_view digits(first, end);
    pad(output, conversion, prefix, digits, prefix.size() + digits.size(),
        conversion.zero && std::isfinite(number));
}

/// A number in its usual form, for the text conversions.
template <class Number>
void writeDescription(std::string& output, const Conversion& conversion, Number number) {
    std::array<char, 32> buffer{};
    const char* const end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
    writeText(output, conversion, std::string_view(buffer.data(), end));
}

template <class Number>
void writeNumber(std::string& output, Conversion conversion, Number number) {
    switch (conversion.letter) {
    case '@':
    case 's':
    case 'S':
        return writeDescription(output, conversion, number);
    case 'f':
    case 'F':
    case 'e':
    case 'E':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
        return writeReal(output, conversion, static_cast<double>(number));
    default:
        break;
    }
    if constexpr (std::is_same_v<Number, double>) {
        if (std::isfinite(number)) return writeNumber(output, conversion, wholeNumber(number));
        return writeDescription(output, conversion, number);
    } else {
        if (conversion.letter == 'c' || conversion.letter == 'C')
            return writeText(output, conversion,
                             encodeCharacter(static_cast<std::uint64_t>(number)));
        conversion.alternate = conversion.alternate || conversion.letter == 'p';
        writeInteger(output, conversion, number);
    }
}

void writeValue(std::string& output, const Conversion& conversion,
                const FormatArgument::Value& value) {
    std::visit(
        [&](const auto& held) {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::monostate>)
                writeText(output, conversion, kNull);
            else if constexpr (std::is_same_v<Held, std::string_view>)
                writeText(output, conversion,
                          conversion.letter == 's' ? held.substr(0, held.find('\0')) : held);
            else
                writeNumber(output, conversion, held);
        },
        value);
}

} // namespace

void appendFormatted(std::string& output, std::string_view format,
                     std::span<const FormatArgument> arguments) {
    Values values(arguments);
    for (;;) {
        const std::size_t percent = format.find('%');
        output.append(format.substr(0, percent));
        if (percent == std::string_view::npos) return;
        format.remove_prefix(percent);
        if (format.starts_with("%%")) {
            output += '%';
            format.remove_prefix(2);
            continue;
        }
        std::string_view rest = format.substr(1);
        if (const auto conversion = readConversion(rest, values))
            writeValue(output, *conversion, values.next());
        else
            output.append(format.substr(0, format.size() - rest.size()));
        format = rest;
    }
}

std::string formatText(std::string_view format, std::span<const FormatArgument> values) {
    constexpr std::size_t kRoomForAValue = 32;
    std::string output;
    output.reserve(format.size() + values.size() * kRoomForAValue);
    appendFormatted(output, format, values);
    return output;
}

std::string formatText(std::string_view format, std::initializer_list<FormatArgument> values) {
    return formatText(format, std::span<const FormatArgument>(values.begin(), values.size()));
}

} // namespace quorvane
