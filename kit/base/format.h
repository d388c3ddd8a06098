// Formatting with a format text that is only known at run time, in the manner of the platform's
// strings: "%@" for any value, "%s", "%d", "%i", "%u", "%li", "%lu", "%lld", "%zu", "%x", "%c",
// "%f", "%0.2f" and so on, "%%" for a percent sign.
#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "platform/Values.h"

namespace quorvane {

/// One value to be formatted; refers to the text it was made from.
class FormatArgument {
public:
    FormatArgument(std::nullptr_t) {}
    FormatArgument(std::nullopt_t) {}
    FormatArgument(std::string_view text) : value_(text) {}
    FormatArgument(const std::string& text) : value_(std::string_view(text)) {}
    FormatArgument(const char* text) {
        if (text != nullptr) value_ = std::string_view(text);
    }
    FormatArgument(const MaybeText& text) {
        if (text) value_ = std::string_view(*text);
    }
    FormatArgument(std::signed_integral auto number) : value_(static_cast<std::int64_t>(number)) {}
    FormatArgument(std::unsigned_integral auto number)
        : value_(static_cast<std::uint64_t>(number)) {}
    FormatArgument(std::floating_point auto number) : value_(static_cast<double>(number)) {}

    using Value =
        std::variant<std::monostate, std::string_view, std::int64_t, std::uint64_t, double>;
    const Value& value() const { return value_; }

private:
    Value value_;
};

/// A format text that may be null; refers to the text it was made from, so that a call with a
/// literal copies nothing.
class FormatString {
public:
    FormatString(std::nullptr_t) {}
    FormatString(std::nullopt_t) {}
    FormatString(std::string_view text) : text_(text) {}
    FormatString(const std::string& text) : text_(text) {}
    FormatString(const char* text) {
        if (text != nullptr) text_ = text;
    }
    FormatString(const MaybeText& text) {
        if (text) text_ = *text;
    }

    const std::optional<std::string_view>& text() const { return text_; }

private:
    std::optional<std::string_view> text_;
};

/// Formats the values. Never undefined, whatever the format: a missing value and a null one read
/// "(null)", a value of another type than its conversion is converted as well as can be (text stays
/// text), widths and precisions are limited to 500, and an unknown conversion is copied as it
/// stands. "%s" takes a text up to its first NUL.
std::string formatText(std::string_view format, std::span<const FormatArgument> values);
std::string formatText(std::string_view format, std::initializer_list<FormatArgument> values);
/// The same, appended to a text.
void appendFormatted(std::string& output, std::string_view format,
                     std::span<const FormatArgument> values);

} // namespace quorvane
