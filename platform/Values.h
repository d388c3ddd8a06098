// Values that cross the border between the kit and the operating system.
#pragma once

#include <cstdint>
#include <exception>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace quorvane {

/// An absolute POSIX path as bytes, any bytes but NUL; folders with or without a trailing "/".
using Path = std::string;
/// A path that may be null. Every kit operation accepts null and says what it answers.
using MaybePath = std::optional<Path>;
/// UTF-8 text that may be null.
using MaybeText = std::optional<std::string>;
/// Raw bytes.
using Bytes = std::string;
/// Arguments of a tool, each passed as one argument without any shell.
using Arguments = std::vector<std::string>;
/// A child's whole environment, name to value.
using Environment = std::map<std::string, std::string>;

namespace platform {

/// Why a platform operation failed: the system error number and its `strerror` wording.
struct Error {
    int code = 0;
    std::string text;
};

/// A platform exception; raised only by operations whose contract says so.
class Exception : public std::exception {
public:
    Exception(std::string name, std::string reason)
        : name_(std::move(name)), reason_(std::move(reason)) {}

    const std::string& name() const { return name_; }
    const std::string& reason() const { return reason_; }
    const char* what() const noexcept override { return reason_.c_str(); }

private:
    std::string name_;
    std::string reason_;
};

/// A value or the error that kept it from being made.
template <class T>
class [[nodiscard]] Result {
public:
    Result(T value) : held_(std::move(value)) {}
    Result(Error error) : held_(std::move(error)) {}

    bool ok() const { return held_.index() == 0; }
    explicit operator bool() const { return ok(); }
    const T& value() const { return std::get<0>(held_); }
    T& value() { return std::get<0>(held_); }
    const Error& error() const { return std::get<1>(held_); }

private:
    std::variant<T, Error> held_;
};

/// Success, or the error.
template <>
class [[nodiscard]] Result<void> {
public:
    Result() = default;
    Result(Error error) : error_(std::move(error)) {}

    bool ok() const { return !error_; }
    explicit operator bool() const { return ok(); }
    const Error& error() const { return *error_; }

private:
    std::optional<Error> error_;
};

} // namespace platform
} // namespace quorvane
