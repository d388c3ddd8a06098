// Formatting with a format text that is only known at run time, in the manner of the platform's
// strings: "%@" for any value, "%s", "%d", "%i", "%u", "%li", "%lu", "%lld", "%zu", "%x", "%c",
// "%f", "%0.2f" and so on, "%%" for a percent sign.
#pragma once

#include <concepts>
#include <initializer_list>
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

/// Formats the values. Never undefined, whatever the format: a missing value and a null one read
/// "(null)", a value of another type than its conversion is converted as well as can be, widths and
/// precisions are limited, and an unknown conversion is copied as it stands.
std::string formatText(std::string_view format, std::span<const FormatArgument> values);
std::string formatText(std::string_view format, std::initializer_list<FormatArgument> values);

} // namespace quorvane
