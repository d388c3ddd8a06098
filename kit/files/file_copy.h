// What a copy with progress is given, and what it tells.
#pragma once

#include <any>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Values.h"

namespace quorvane {

class FileCopySettings;
using CopySettings = std::shared_ptr<const FileCopySettings>;

/// How a copy is verified: not at all, or by which digest. Other numbers are refused.
enum class VerificationType : int { none = 0, md5 = 1, sha1 = 2, sha256 = 3, sha512 = 4 };

/// Is told how a copy goes. An operation left empty is one that the delegate does not respond to.
struct FileCopyDelegate {
    /// `fileCopyBytesWritten:settings:`: bytes copied so far, of each destination. On a thread of
    /// the concurrent queue at each interval, at most about 500 times a copy; once more on the
    /// copying thread after a complete copy.
    std::function<void(std::uint64_t bytes, const CopySettings& settings)> fileCopyBytesWritten;
    /// `fileCopyShouldContinue:`: false cancels the copy, some chunks later. On a thread of the
    /// concurrent queue at each interval, after the above.
    std::function<bool(const CopySettings& settings)> fileCopyShouldContinue;
    /// `fileCopyVerificationFailed:file:`: a destination does not hold what the source does. On the
    /// copying thread.
    std::function<void(const CopySettings& settings, const Path& destination)>
        fileCopyVerificationFailed;
    /// `fileCopyFinished:`: the very end of a successful copy. On the copying thread.
    std::function<void(const CopySettings& settings)> fileCopyFinished;
};

/// What one copy is about, handed to every call of its delegate: a dictionary whose values have
/// types. Any thread; calls that come late find it alive.
class FileCopySettings {
public:
    FileCopySettings(Path source, std::vector<Path> destinations,
                     std::shared_ptr<const FileCopyDelegate> delegate, std::any object,
                     std::any object2)
        : source_(std::move(source)), destinations_(std::move(destinations)),
          delegate_(std::move(delegate)), object_(std::move(object)), object2_(std::move(object2)) {
    }

    const Path& source() const { return source_; }
    const std::vector<Path>& destinations() const { return destinations_; }
    static std::string operationType() { return "copy"; }
    /// Null without one.
    const std::shared_ptr<const FileCopyDelegate>& delegate() const { return delegate_; }
    /// The caller's own; empty where not given.
    const std::any& object() const { return object_; }
    const std::any& object2() const { return object2_; }

    /// The source's digest in lowercase hexadecimal; null before the end of a verified copy.
    MaybeText sourceChecksum() const { return guarded(sourceChecksum_); }
    /// The digest of the destination that failed last; null before, and where none could be made.
    MaybeText destChecksum() const { return guarded(destChecksum_); }
    /// The digests of all destinations, in their order; null before all are verified.
    std::optional<std::vector<MaybeText>> destChecksums() const { return guarded(destChecksums_); }

    /// The value of "source", "destinations", "operationtype", "delegate", "object", "object2",
    /// "sourceChecksum", "destChecksum" or "destChecksums", in the type that its accessor answers
    /// where it is there; empty where it is not, and for any other key. For delegates that pass
    /// settings on without knowing them.
    std::any objectForKey(std::string_view key) const;

    void setSourceChecksum(MaybeText text) { set(sourceChecksum_, std::move(text)); }
    void setDestChecksum(MaybeText text) { set(destChecksum_, std::move(text)); }
    void setDestChecksums(std::vector<MaybeText> texts) { set(destChecksums_, std::move(texts)); }

private:
    template <class Value>
    Value guarded(const Value& value) const {
        const std::lock_guard lock(mutex_);
        return value;
    }
    template <class Value, class New>
    void set(Value& value, New newValue) {
        const std::lock_guard lock(mutex_);
        value = std::move(newValue);
    }

    const Path source_;
    const std::vector<Path> destinations_;
    const std::shared_ptr<const FileCopyDelegate> delegate_;
    const std::any object_;
    const std::any object2_;
    mutable std::mutex mutex_; ///< guards the checksums
    MaybeText sourceChecksum_;
    MaybeText destChecksum_;
    std::optional<std::vector<MaybeText>> destChecksums_;
};

} // namespace quorvane
