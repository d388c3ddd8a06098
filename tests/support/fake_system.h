// The small services: console log, uncaught exceptions, facts about the machine, property lists,
// places of tools.
#pragma once

#include <cerrno>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "platform/ConsoleLog.h"
#include "platform/Exceptions.h"
#include "platform/PropertyLists.h"
#include "platform/SystemInfo.h"
#include "platform/Tools.h"
#include "tests/support/journal.h"

namespace quorvane::testing {

/// Records messages, and journals "console.log MESSAGE".
class FakeConsoleLog : public platform::ConsoleLog {
public:
    explicit FakeConsoleLog(Journal& journal) : journal_(journal) {}

    void log(const std::string& message) override {
        journal_.add("console.log " + message);
        const std::lock_guard lock(mutex_);
        messages_.push_back(message);
    }

    std::vector<std::string> messages() const {
        const std::lock_guard lock(mutex_);
        return messages_;
    }

private:
    Journal& journal_;
    mutable std::mutex mutex_;
    std::vector<std::string> messages_;
};

/// Keeps the handler, and lets the test raise what nobody catches.
class FakeExceptions : public platform::Exceptions {
public:
    void
    setUncaughtExceptionHandler(std::function<void(const platform::Exception&)> handler) override {
        const std::lock_guard lock(mutex_);
        handler_ = std::move(handler);
    }

    bool hasHandler() const {
        const std::lock_guard lock(mutex_);
        return handler_ != nullptr;
    }

    /// Calls the handler; a test without one fails with std::bad_function_call.
    void raise(const platform::Exception& exception) const {
        std::function<void(const platform::Exception&)> handler;
        {
            const std::lock_guard lock(mutex_);
            handler = handler_;
        }
        handler(exception);
    }

private:
    mutable std::mutex mutex_;
    std::function<void(const platform::Exception&)> handler_;
};

/// Set the members before other threads ask.
class FakeSystemInfo : public platform::SystemInfo {
public:
    std::string version = "Version 13.6 (Build 22G120)";
    long processors = 4;
    std::uint64_t memory = 17179869184; // 16 GiB
    MaybePath executable = "/Applications/Fake Tool.app/Contents/MacOS/Fake Tool";
    MaybeText bundle = "1.2.3";

    std::string operatingSystemVersion() override { return version; }
    long processorCount() override { return processors; }
    std::uint64_t physicalMemory() override { return memory; }
    MaybePath executablePath() override { return executable; }
    MaybeText bundleVersion() override { return bundle; }
};

/// Lists by path and by text; everything else is unreadable. Set the members before other threads
/// ask.
class FakePropertyLists : public platform::PropertyLists {
public:
    std::map<Path, platform::PropertyList> files;
    std::map<std::string, platform::PropertyList, std::less<>> texts;

    platform::Result<platform::PropertyList> parse(std::string_view bytes) override {
        const auto found = texts.find(bytes);
        if (found == texts.end()) return platform::Error{EINVAL, "Invalid argument"};
        return found->second;
    }

    platform::Result<platform::PropertyList> parseFile(const Path& path) override {
        const auto found = files.find(path);
        if (found == files.end()) return platform::Error{ENOENT, "No such file or directory"};
        return found->second;
    }
};

/// Tools stand where they are named, or where the test says. Set before threads ask.
class FakeTools : public platform::Tools {
public:
    Path locate(const Path& tool) override {
        const auto place = places.find(tool);
        return place == places.end() ? tool : place->second;
    }

    std::map<Path, Path> places;
};

} // namespace quorvane::testing
