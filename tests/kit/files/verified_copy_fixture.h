// The fake platform as the tests of copies with progress use it.
#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tests/kit/files/file_manager_fixture.h"

namespace quorvane::testing {

inline constexpr std::size_t kChunk = 65'536;

/// The fake files, with attributes of the test's own for the source.
class AttributedFiles : public FakeFileManager {
public:
    AttributedFiles(const FakePlatform& system, const platform::ItemAttributes& source)
        : FakeFileManager(system.disk, system.journal), source_(source) {}

    platform::Result<platform::ItemAttributes> attributes(const Path& path) override {
        return path == "/s" ? source_ : FakeFileManager::attributes(path);
    }

private:
    platform::ItemAttributes source_;
};

class VerifiedCopyTest : public FileManagerTest {
protected:
    using Destinations = std::vector<Path>;

    VerifiedCopyTest() {
        system.disk->addFolder("/d");
        // What is asked on the queue is answered at once.
        system.queues->setMode(Detached::inlined);
    }

    /// A delegate that writes its calls down: "bytesWritten 5", "shouldContinue",
    /// "verificationFailed /d/a" and "finished".
    std::shared_ptr<FileCopyDelegate> listener() {
        auto delegate = std::make_shared<FileCopyDelegate>();
        delegate->fileCopyBytesWritten = [this](std::uint64_t bytes, const CopySettings& settings) {
            note("bytesWritten " + std::to_string(bytes), settings);
        };
        delegate->fileCopyShouldContinue = [this](const CopySettings& settings) {
            note("shouldContinue", settings);
            return goOn;
        };
        delegate->fileCopyVerificationFailed = [this](const CopySettings& settings,
                                                      const Path& destination) {
            note("verificationFailed " + destination, settings);
        };
        delegate->fileCopyFinished = [this](const CopySettings& settings) {
            note("finished", settings);
        };
        return delegate;
    }
    std::vector<std::string> calls() {
        const std::lock_guard lock(mutex_);
        return calls_;
    }
    /// The settings of the last call.
    CopySettings settings() {
        const std::lock_guard lock(mutex_);
        return settings_;
    }
    /// What the source's attributes say from now on, whatever its content.
    void setSource(std::uint64_t size, std::optional<platform::FileTime> creationDate = {},
                   std::optional<platform::FileTime> modificationDate = {}) {
        platform::ItemAttributes source;
        source.size = size;
        source.creationDate = creationDate;
        source.modificationDate = modificationDate;
        system.services.makeFileManager = [this, source] {
            return std::make_unique<AttributedFiles>(system, source);
        };
    }
    bool copy(const Destinations& destinations, VerificationType type = VerificationType::none) {
        return QVFileManager::copyFileWithProgress("/s", destinations, type, listener());
    }
    std::vector<std::string> files() { return system.journal->entries("files."); }
    std::vector<std::string> console() { return system.consoleLog->messages(); }
    static MaybeText digest(VerificationType type, std::string_view bytes) {
        return fakeDigest(platform::DigestAlgorithm{static_cast<int>(type) - 1}, bytes);
    }

    bool goOn = true;

private:
    void note(std::string call, const CopySettings& settings) {
        const std::lock_guard lock(mutex_);
        calls_.push_back(std::move(call));
        settings_ = settings;
    }

    std::mutex mutex_;
    std::vector<std::string> calls_;
    CopySettings settings_;
};

} // namespace quorvane::testing
